// What the system's network knows of this machine and of others by name.
#ifndef KXCORE7_SRC_PLATFORM_NETWORK_H
#define KXCORE7_SRC_PLATFORM_NETWORK_H

#include <cstddef>

#include "platform/addresses.h"
#include "platform/error.h"

namespace kx::platform {

// --- Start ---------------------------------------------------------------------------------------

// What QueryHostName leaves on a system whose network has to be started first.
inline constexpr NativeError kNetworkNotStarted = 10093;

// Starts the network for this process, for good; it may be started any number of times. Whether it
// did. A system that needs no start says yes.
bool StartNetwork() noexcept;

// --- Names ---------------------------------------------------------------------------------------

// The resolver: 0 and a list of records, or an error in the system's numbers.
int Resolve(const char* node, const char* service, const addrinfo* hints, addrinfo** out);
// The same of a name alone, whose canonical form comes with the first record. Null for a failure.
addrinfo* ResolveCanonical(const char* node);
void FreeResolved(addrinfo* list) noexcept;

// The resolver's own number for exhausted memory.
int ResolverOutOfMemory() noexcept;

// Writes the machine's name and, where size has room for it, a terminator. Errors of the network
// keep their own numbers, from 10000 on, on a system that has such.
NativeError QueryHostName(char* out, std::size_t size) noexcept;

// --- Interfaces ----------------------------------------------------------------------------------

enum class Family { kIpv4, kIpv6 };

// Addresses in one block of malloc's; none is null.
struct SocketAddressList {
    std::size_t count = 0;
    SocketAddress* entries = nullptr;
};

// The addresses of one family that all interfaces have, in the system's order, those of IPv6 that
// are valid on one interface alone with its number as their scope. What can't be asked for, or not
// be held for want of memory, is left out. The caller frees the block.
SocketAddressList InterfaceAddresses(Family family) noexcept;

}  // namespace kx::platform

#endif
