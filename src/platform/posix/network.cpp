#include "platform/network.h"

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/posix/error.h"
// Behind the headers that it needs.
#include "platform/portable/native_resolver.h"

namespace kx::platform {
namespace {

struct FreeInterfaces {
    void operator()(ifaddrs* list) const noexcept { freeifaddrs(list); }
};
using Interfaces = std::unique_ptr<ifaddrs, FreeInterfaces>;

Interfaces AllInterfaces() noexcept {
    ifaddrs* list = nullptr;
    return Interfaces(getifaddrs(&list) == 0 ? list : nullptr);
}

// An interface without an address is told as well.
bool Has(const ifaddrs& entry, int family) noexcept {
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == family;
}

std::size_t CountOf(const ifaddrs* list, int family) noexcept {
    std::size_t count = 0;
    for (; list != nullptr; list = list->ifa_next) count += Has(*list, family) ? 1 : 0;
    return count;
}

}  // namespace

bool StartNetwork() noexcept {
    return true;
}

NativeError QueryHostName(char* out, std::size_t size) noexcept {
    return gethostname(out, size) == 0 ? kSuccess : NativeErrorFromErrno(errno);
}

SocketAddressList InterfaceAddresses(Family family) noexcept {
    const bool isIpv4 = family == Family::kIpv4;
    const int native = isIpv4 ? AF_INET : AF_INET6;
    const std::size_t length = isIpv4 ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    const Interfaces interfaces = AllInterfaces();
    SocketAddressList list;
    const std::size_t count = CountOf(interfaces.get(), native);
    if (count != 0) {
        list.entries = static_cast<SocketAddress*>(std::calloc(count, sizeof(SocketAddress)));
    }
    if (list.entries == nullptr) return list;
    for (const ifaddrs* entry = interfaces.get(); entry != nullptr; entry = entry->ifa_next) {
        if (!Has(*entry, native)) continue;
        std::memcpy(list.entries[list.count++].storage, entry->ifa_addr, length);
    }
    return list;
}

}  // namespace kx::platform
