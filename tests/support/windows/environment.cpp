#include "support/environment.h"

#include <time.h>

namespace kx::test {

// An empty value takes the variable away. The runtime passes the change on to the system, but looks
// at the zone again only when told.
void SetVariable(const std::string& name, const std::optional<std::string>& value) {
    _putenv((name + "=" + value.value_or("")).c_str());
    _tzset();
}

}  // namespace kx::test
