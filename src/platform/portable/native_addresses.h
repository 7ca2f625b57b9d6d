// The addresses of every system that has sockets. A system's addresses.cpp includes the headers
// that declare them, then this, and nobody else does.
#ifndef KXCORE7_SRC_PLATFORM_PORTABLE_NATIVE_ADDRESSES_H
#define KXCORE7_SRC_PLATFORM_PORTABLE_NATIVE_ADDRESSES_H

#include <cstring>

#include "platform/addresses.h"

namespace kx::platform {
namespace {

using NativeFamily = decltype(sockaddr::sa_family);

static_assert(sizeof(SocketAddress) >= sizeof(sockaddr_in6) &&
              sizeof(SocketAddress) >= sizeof(sockaddr_in));
static_assert(sizeof(RecordRoom) >= sizeof(addrinfo) && alignof(RecordRoom) >= alignof(addrinfo));

constexpr std::size_t kIpv4Length = sizeof(in_addr);

// Of the bytes of an address in the system's form, which may be aligned in any way.
template <typename Native>
Native Copied(const void* bytes) noexcept {
    Native native;
    std::memcpy(&native, bytes, sizeof native);
    return native;
}

IpAddress ReadNative(const void* bytes, NativeFamily family) noexcept {
    IpAddress address;
    if (family == AF_INET) {
        const auto native = Copied<sockaddr_in>(bytes);
        address.length = kIpv4Length;
        std::memcpy(address.bytes.data(), &native.sin_addr, address.length);
    } else if (family == AF_INET6) {
        const auto native = Copied<sockaddr_in6>(bytes);
        address.length = sizeof native.sin6_addr;
        std::memcpy(address.bytes.data(), &native.sin6_addr, address.length);
        address.scope = native.sin6_scope_id;
    }
    return address;
}

NativeFamily FamilyOf(const SocketAddress& address) noexcept {
    return Copied<sockaddr>(address.storage).sa_family;
}

}  // namespace

SocketAddress MakeSocketAddress(const IpAddress& address) noexcept {
    SocketAddress made{};
    if (address.length == kIpv4Length) {
        sockaddr_in native{};
        native.sin_family = AF_INET;
        std::memcpy(&native.sin_addr, address.bytes.data(), sizeof native.sin_addr);
        std::memcpy(made.storage, &native, sizeof native);
    } else {
        sockaddr_in6 native{};
        native.sin6_family = AF_INET6;
        std::memcpy(&native.sin6_addr, address.bytes.data(), sizeof native.sin6_addr);
        native.sin6_scope_id = address.scope;
        std::memcpy(made.storage, &native, sizeof native);
    }
    return made;
}

IpAddress ReadAddress(const SocketAddress& address) noexcept {
    return ReadNative(address.storage, FamilyOf(address));
}

addrinfo* MakeRecord(RecordRoom* room, SocketAddress* address) noexcept {
    auto* const record = reinterpret_cast<addrinfo*>(room->storage);
    record->ai_family = FamilyOf(*address);
    record->ai_addrlen = record->ai_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    record->ai_addr = reinterpret_cast<sockaddr*>(address->storage);
    return record;
}

void SetStream(addrinfo* record) noexcept {
    record->ai_socktype = SOCK_STREAM;
    record->ai_protocol = IPPROTO_TCP;
}

IpAddress AddressOf(const addrinfo& record) noexcept {
    if (record.ai_addr == nullptr) return {};
    return ReadNative(record.ai_addr, static_cast<NativeFamily>(record.ai_family));
}

addrinfo*& NextOf(addrinfo& record) noexcept {
    return record.ai_next;
}

const addrinfo* NextOf(const addrinfo& record) noexcept {
    return record.ai_next;
}

char*& CanonicalNameOf(addrinfo& record) noexcept {
    return record.ai_canonname;
}

}  // namespace kx::platform

#endif
