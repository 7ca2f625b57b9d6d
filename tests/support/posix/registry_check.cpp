#include "support/registry_check.h"

#include <cstdlib>
#include <string>

#include "support/child_process.h"

namespace kx::test {

bool RegistryIsWhole() {
    const std::string store = std::getenv("KX_REGISTRY_DIR") + std::string("/user.db");
    ChildProcess check(KXTEST_INTEGRITY_CHECK, {store});
    return check.ReadLine() == "ok" && check.Wait() == 0;
}

}  // namespace kx::test
