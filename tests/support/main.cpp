// Runs the tests over a registry of their own.
#include <gtest/gtest.h>

#include "support/scratch_registry.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::GTEST_FLAG(death_test_style) = "fast";
    const kx::test::ScratchRegistry registry;
    return RUN_ALL_TESTS();
}
