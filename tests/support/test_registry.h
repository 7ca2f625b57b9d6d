// The registry of a whole test program.
#ifndef KXCORE7_TESTS_SUPPORT_TEST_REGISTRY_H
#define KXCORE7_TESTS_SUPPORT_TEST_REGISTRY_H

#include <optional>
#include <string_view>

#include "support/scratch_registry.h"

namespace kx::test {

// A scratch registry for the program; a death test's child that is started afresh works on that of
// the program which started it, since it ends without cleaning up.
class TestRegistry final {
  public:
    TestRegistry(int argc, char** argv) {
        for (int i = 1; i < argc; ++i) {
            if (std::string_view(argv[i]).starts_with("--gtest_internal_run_death_test")) {
                JoinScratchRegistry();
                return;
            }
        }
        m_registry.emplace();
    }

  private:
    std::optional<ScratchRegistry> m_registry;
};

}  // namespace kx::test

#endif
