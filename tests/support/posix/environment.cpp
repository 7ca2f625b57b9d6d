#include "support/environment.h"

namespace kx::test {

void SetVariable(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace kx::test
