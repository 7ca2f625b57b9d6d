// Runs the tests over a registry of their own.
#include <gtest/gtest.h>

#include "support/faults.h"
#include "support/test_registry.h"

int main(int argc, char** argv) {
    const kx::test::TestRegistry registry(argc, argv);
    kx::test::KeepFaultsQuiet();
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::GTEST_FLAG(death_test_style) = "fast";
    return RUN_ALL_TESTS();
}
