// Runs the tests of the library's inside: there is no loader to start it, so this does.
#include <gtest/gtest.h>

#include "platform/entry.h"
#include "platform/registry.h"
#include "support/scratch_registry.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const kx::test::ScratchRegistry registry;
    kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
    const int result = RUN_ALL_TESTS();
    kx::core::LibraryMain(nullptr, kx::core::kProcessDetach);
    kx::platform::CloseRegistry();
    return result;
}
