// The addresses of this machine, and names as the resolver takes them.
#ifndef KXCORE7_SRC_HOST_ADDRESS_H
#define KXCORE7_SRC_HOST_ADDRESS_H

#include <kxcore7/result.h>

#include <cstddef>

#include "host/lazy_lock.h"
#include "platform/addresses.h"
#include "platform/network.h"

namespace kx::core {

// Room for the longest host name that some system has, with its terminator.
inline constexpr std::size_t kHostNameSize = 1026;

// Two lists, built at the first call that finds a network to ask, and left as they are from then
// on: whoever has a head may read the list without a lock, and nothing ever frees one.
class MyAddresses final {
  public:
    constexpr MyAddresses() = default;
    MyAddresses(const MyAddresses&) = delete;
    MyAddresses& operator=(const MyAddresses&) = delete;

    // As told for KXGetMyAddressInformation. Without a lock throws EKXCoreException, with *mine
    // null.
    KXResult Get(addrinfo** mine, addrinfo** loopback);

  private:
    void Build();
    void AddIpv6();
    void Append(platform::SocketAddress* address);
    addrinfo* LinkLocalRecord();
    void NameTheFirst();

    LazyLock m_lock{"KXGetMyAddressInformation"};
    bool m_isBuilt = false;
    // Records point into them.
    platform::SocketAddressList m_ipv4;
    platform::SocketAddressList m_ipv6;
    platform::SocketAddress m_linkLocalAddress{};
    platform::RecordRoom m_linkLocalRoom{};
    addrinfo* m_mine = nullptr;
    addrinfo* m_mineLast = nullptr;
    addrinfo* m_loopback = nullptr;
};

// Those of the process.
MyAddresses& ProcessAddresses();

// KXgetaddrinfo, but that exhausted memory is thrown.
int ResolveLowerCase(const char* node, const char* service, const addrinfo* hints, addrinfo** out);

}  // namespace kx::core

#endif
