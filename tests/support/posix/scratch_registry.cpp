#include "support/scratch_registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/child_process.h"

namespace kx::test {
namespace {

const std::string kUserStore = "/user.db";

}  // namespace

// The library follows the variable by itself, and all of the registry is in that directory.

void JoinScratchRegistry() {}

void RemoveScratchRegistry() {}

void ExpectWholeRegistry() {
    ChildProcess check(KXTEST_INTEGRITY_CHECK, {std::getenv("KX_REGISTRY_DIR") + kUserStore});
    EXPECT_EQ("ok", check.ReadLine());
    EXPECT_EQ(0, check.Wait());
}

}  // namespace kx::test
