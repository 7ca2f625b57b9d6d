// The process's environment variables.
#ifndef KXCORE7_SRC_PLATFORM_ENVIRONMENT_H
#define KXCORE7_SRC_PLATFORM_ENVIRONMENT_H

#include <cstddef>

namespace kx::platform {

// Whether the runtime's environment, as getenv sees it at this moment, has the variable.
bool HasVariable(const char* name) noexcept;

// Writes text with each %NAME% replaced by that environment variable; an unknown one stays as it
// stands. Returns the units that the whole takes with its terminator, whether they fit into size
// or not; what does not fit is not to be read.
std::size_t ExpandEnvironment(const char16_t* text, char16_t* out, std::size_t size);

}  // namespace kx::platform

#endif
