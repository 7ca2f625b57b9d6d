// The system's records of addresses, read without the library.
#ifndef KXCORE7_TESTS_SUPPORT_NATIVE_ADDRESSES_H
#define KXCORE7_TESTS_SUPPORT_NATIVE_ADDRESSES_H

#include <string>
#include <vector>

struct addrinfo;

namespace kx::test {

// As people write them, "fe80::1%2" with a scope; "?" for one of another family, with a port, or
// with a length that is not its family's.
std::vector<std::string> AddressTexts(const addrinfo* list);

// What socket types and protocols stand beside them, "1/6".
std::vector<std::string> SocketTexts(const addrinfo* list);

// The resolver is to take a name for an address and ask nobody.
const addrinfo* NumericHint();

// The name that the system has for this machine.
std::string NativeHostName();

}  // namespace kx::test

#endif
