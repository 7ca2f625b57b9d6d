#include "platform/textfiles.h"

namespace kx::platform {

// ICU ends a line as the system does.
std::int32_t PutLine(const char16_t* line, UFILE* file) noexcept {
    return u_fputs(line, file);
}

}  // namespace kx::platform
