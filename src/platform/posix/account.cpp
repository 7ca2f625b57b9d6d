#include "platform/posix/account.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace kx::platform {

bool FindOwnAccount(Account* out) {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    passwd entry{};
    passwd* found = nullptr;
    for (std::size_t size = std::size_t{1} << 14; size <= kMost; size *= 2) {
        std::vector<char> buffer(size);
        const int error = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE) continue;
        if (error != 0 || found == nullptr) return false;
        *out = {found->pw_name, found->pw_dir};
        return true;
    }
    return false;
}

}  // namespace kx::platform
