// Paths as the system has them.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_PATHS_H
#define KXCORE7_SRC_PLATFORM_POSIX_PATHS_H

#include <string>

namespace kx::platform {

// Puts the current directory before a relative path; nothing else is looked at. False with errno.
bool MakeAbsolute(std::string* path);

}  // namespace kx::platform

#endif
