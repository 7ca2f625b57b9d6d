#include <winsock2.h>
#include <ws2tcpip.h>

// Behind the headers that it needs.
#include "support/native_address_texts.h"

namespace kx::test {

// The network is started here as well: the library may not have been asked so far.
std::string NativeHostName() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    WSACleanup();
    return name;
}

}  // namespace kx::test
