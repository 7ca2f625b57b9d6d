#include "platform/posix/paths.h"

#include <unistd.h>

#include <climits>

namespace kx::platform {

bool MakeAbsolute(std::string* path) {
    if (path->starts_with('/')) return true;
    char here[PATH_MAX];
    if (getcwd(here, sizeof here) == nullptr) return false;
    *path = std::string(here) + '/' + *path;
    return true;
}

}  // namespace kx::platform
