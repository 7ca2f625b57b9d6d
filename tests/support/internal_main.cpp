// Runs the tests of the library's inside: there is no loader to start it, so this does.
#include <gtest/gtest.h>

#include "platform/entry.h"
#include "platform/registry.h"
#include "support/faults.h"
#include "support/test_registry.h"

int main(int argc, char** argv) {
    const kx::test::TestRegistry registry(argc, argv);
    kx::test::KeepFaultsQuiet();
    ::testing::InitGoogleTest(&argc, argv);
    kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
    const int result = RUN_ALL_TESTS();
    kx::core::LibraryMain(nullptr, kx::core::kProcessDetach);
    kx::platform::CloseRegistry();
    return result;
}
