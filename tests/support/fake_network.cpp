#include "support/fake_network.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <ostream>

namespace kx::test {

FakeNetwork g_network;
std::atomic<int> g_listsInUse{0};

IpAddress Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
    return {4, {a, b, c, d}, 0};
}

IpAddress Ipv6(std::uint16_t first, std::uint8_t last, std::uint32_t scope) {
    IpAddress address{16, {}, scope};
    address.bytes[0] = static_cast<std::uint8_t>(first >> 8);
    address.bytes[1] = static_cast<std::uint8_t>(first & 0xFF);
    address.bytes[15] = last;
    return address;
}

IpAddress LinkLocal(std::uint8_t last, std::uint32_t scope) {
    return Ipv6(0xFE80, last, scope);
}

std::vector<IpAddress> AddressesIn(const addrinfo* list) {
    std::vector<IpAddress> addresses;
    for (; list != nullptr; list = platform::NextOf(*list)) {
        addresses.push_back(platform::AddressOf(*list));
    }
    return addresses;
}

RecordList::RecordList(const std::vector<IpAddress>& addresses, const char* canonicalName)
    : m_rooms(addresses.size()), m_name(canonicalName != nullptr ? canonicalName : "") {
    for (const IpAddress& address : addresses) {
        m_addresses.push_back(platform::MakeSocketAddress(address));
    }
    for (std::size_t i = addresses.size(); i-- > 0;) {
        addrinfo* const record = platform::MakeRecord(&m_rooms[i], &m_addresses[i]);
        platform::NextOf(*record) = m_head;
        m_head = record;
    }
    if (m_head != nullptr && canonicalName != nullptr) {
        platform::CanonicalNameOf(*m_head) = m_name.data();
    }
    ++g_listsInUse;
}

RecordList::~RecordList() {
    --g_listsInUse;
}

namespace {

// What the resolver gave, by head.
std::map<const addrinfo*, std::unique_ptr<RecordList>> g_given;

int Answer(const char* node, const char* canonicalName, addrinfo** out) {
    const auto found = g_network.names.find(node);
    if (found == g_network.names.end()) return FakeNetwork::kUnknownName;
    auto list = std::make_unique<RecordList>(found->second, canonicalName);
    *out = list->Head();
    g_given[*out] = std::move(list);
    return 0;
}

}  // namespace
}  // namespace kx::test

namespace kx::platform {

using test::g_network;

void PrintTo(const IpAddress& address, std::ostream* out) {
    for (std::size_t i = 0; i < address.length; ++i) *out << unsigned{address.bytes[i]} << '.';
    *out << '%' << address.scope;
}

bool StartNetwork() noexcept {
    if (g_network.onStart) g_network.onStart();
    ++g_network.starts;
    if (g_network.startsThatFail == 0) return true;
    --g_network.startsThatFail;
    return false;
}

int Resolve(const char* node, const char* service, const addrinfo* hints, addrinfo** out) {
    g_network.asked.emplace_back(node);
    g_network.service = service;
    g_network.hints = hints;
    if (g_network.whileAsked) g_network.whileAsked(node);
    return test::Answer(node, nullptr, out);
}

addrinfo* ResolveCanonical(const char* node) {
    ++g_network.canonicalAsked;
    if (g_network.whileCanonicalAsked) g_network.whileCanonicalAsked();
    addrinfo* list = nullptr;
    const std::string& name = g_network.canonicalName;
    test::Answer(node, name.empty() ? nullptr : name.c_str(), &list);
    return list;
}

void FreeResolved(addrinfo* list) noexcept {
    test::g_given.erase(list);
}

int ResolverOutOfMemory() noexcept {
    return -10;
}

NativeError QueryHostName(char* out, std::size_t size) noexcept {
    g_network.hostNameSize = size;
    std::vector<NativeError>& errors = g_network.hostNameErrors;
    if (!errors.empty()) {
        const NativeError error = errors.front();
        errors.erase(errors.begin());
        if (error != kSuccess) return error;
    }
    const std::string& name = g_network.hostName;
    const std::size_t length = std::min(name.size() + 1, size);
    std::copy_n(name.c_str(), length, out);
    return kSuccess;
}

SocketAddressList InterfaceAddresses(Family family) noexcept {
    ++g_network.interfaceQueries;
    const auto& addresses = family == Family::kIpv4 ? g_network.ipv4 : g_network.ipv6;
    SocketAddressList list;
    if (addresses.empty()) return list;
    list.entries =
        static_cast<SocketAddress*>(std::calloc(addresses.size(), sizeof(SocketAddress)));
    for (const test::IpAddress& address : addresses) {
        list.entries[list.count++] = MakeSocketAddress(address);
    }
    return list;
}

}  // namespace kx::platform
