// A floor whose network a test makes up: what interfaces there are, and what the resolver answers.
// Linked in place of the system's network.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_NETWORK_H
#define KXCORE7_TESTS_SUPPORT_FAKE_NETWORK_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "platform/network.h"

namespace kx::platform {

// What a failed test shows.
void PrintTo(const IpAddress& address, std::ostream* out);

}  // namespace kx::platform

namespace kx::test {

using platform::IpAddress;

IpAddress Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d);
// The address whose first byte pair and last byte are these, and all others 0.
IpAddress Ipv6(std::uint16_t first, std::uint8_t last, std::uint32_t scope = 0);
// fe80:: with a last byte.
IpAddress LinkLocal(std::uint8_t last, std::uint32_t scope);

inline constexpr IpAddress kLoopback4{4, {127, 0, 0, 1}, 0};

// What stands in a list of records.
std::vector<IpAddress> AddressesIn(const addrinfo* list);

// A list as a resolver gives it, in one piece.
class RecordList final {
  public:
    explicit RecordList(const std::vector<IpAddress>& addresses,
                        const char* canonicalName = nullptr);
    ~RecordList();
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    // Null for an empty list.
    addrinfo* Head() const { return m_head; }

  private:
    std::vector<platform::SocketAddress> m_addresses;
    std::vector<platform::RecordRoom> m_rooms;
    std::string m_name;
    addrinfo* m_head = nullptr;
};

struct FakeNetwork {
    static constexpr int kUnknownName = -2;

    int startsThatFail = 0;         // so many, before the others succeed
    int starts = 0;                 // successful or not
    std::function<void()> onStart;  // before each

    std::vector<IpAddress> ipv4;  // of all interfaces
    std::vector<IpAddress> ipv6;
    int interfaceQueries = 0;

    std::map<std::string, std::vector<IpAddress>> names;
    std::string canonicalName;       // of "localhost"; none if empty
    std::vector<std::string> asked;  // names, in order; by one thread at a time
    int canonicalAsked = 0;
    // Runs while the resolver is asked, with the name, before its data are looked at.
    std::function<void(const std::string&)> whileAsked;
    std::function<void()> whileCanonicalAsked;
    const char* service = nullptr;  // what came with the last name
    const addrinfo* hints = nullptr;

    std::string hostName = "machine";
    std::vector<platform::NativeError>
        hostNameErrors;            // of the next calls, the first of them first
    std::size_t hostNameSize = 0;  // what the last call gave
};

extern FakeNetwork g_network;
// Lists that the resolver gave and did not get back.
extern std::atomic<int> g_listsInUse;

}  // namespace kx::test

#endif
