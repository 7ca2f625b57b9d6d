// Socket addresses, and the resolver's records of them. A record is the system's own addrinfo,
// whose members stand in another order on each system: it is made and read here alone.
#ifndef KXCORE7_SRC_PLATFORM_ADDRESSES_H
#define KXCORE7_SRC_PLATFORM_ADDRESSES_H

#include <array>
#include <cstddef>
#include <cstdint>

struct addrinfo;

namespace kx::platform {

// What an address says, without a port.
struct IpAddress {
    std::size_t length = 0;  // 4 or 16 bytes; none for a family that is neither IPv4 nor IPv6
    std::array<std::uint8_t, 16> bytes{};  // as on the wire; 0 behind the length
    std::uint32_t scope = 0;               // of IPv6

    bool operator==(const IpAddress&) const = default;
};

// Room for the system's form of an address, and for its record.
struct SocketAddress {
    alignas(8) std::byte storage[28];
};
struct RecordRoom {
    alignas(8) std::byte storage[48];
};

// Port and flow are 0. The address has a length.
SocketAddress MakeSocketAddress(const IpAddress& address) noexcept;
IpAddress ReadAddress(const SocketAddress& address) noexcept;

// Makes a record in a room that is all 0: family, length and address are set, nothing else. The
// address has to live as long as the record does.
addrinfo* MakeRecord(RecordRoom* room, SocketAddress* address) noexcept;
// The record's address is one for streams over TCP.
void SetStream(addrinfo* record) noexcept;

// The address of a record from wherever.
IpAddress AddressOf(const addrinfo& record) noexcept;

// Two of the record's members.
addrinfo*& NextOf(addrinfo& record) noexcept;
const addrinfo* NextOf(const addrinfo& record) noexcept;
char*& CanonicalNameOf(addrinfo& record) noexcept;

}  // namespace kx::platform

#endif
