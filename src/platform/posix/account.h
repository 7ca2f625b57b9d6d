// What the system keeps about a user.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_ACCOUNT_H
#define KXCORE7_SRC_PLATFORM_POSIX_ACCOUNT_H

#include <string>

namespace kx::platform {

struct Account {
    std::string name;
    std::string home;
};

// That of the user whose rights the process has; false where there is none.
bool FindOwnAccount(Account* out);

}  // namespace kx::platform

#endif
