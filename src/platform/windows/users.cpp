#include "platform/users.h"

#include "platform/windows/native.h"

namespace kx::platform {

NativeError QueryUserName(char16_t* out, std::uint32_t size) {
    DWORD length = size;
    return ErrorUnless(GetUserNameW(Native(out), &length));
}

}  // namespace kx::platform
