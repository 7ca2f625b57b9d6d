#include "platform/users.h"

#include <algorithm>

#include "platform/posix/account.h"
#include "platform/posix/utf8.h"

namespace kx::platform {

NativeError QueryUserName(char16_t* out, std::uint32_t size) {
    Account account;
    if (!FindOwnAccount(&account)) return kNoSuchUser;
    const std::u16string name = WideFromPath(account.name);
    if (name.size() >= size) return kInsufficientBuffer;
    *std::copy(name.begin(), name.end(), out) = 0;
    return kSuccess;
}

}  // namespace kx::platform
