#include "host/address.h"

#include <kxcore7/address.h>
#include <kxcore7/conversion.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "frame/exception.h"
#include "locks/scoped_lock.h"

namespace kx::core {
namespace {

using platform::IpAddress;

constexpr IpAddress kIpv6Loopback{16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0};
constexpr IpAddress kLinkLocalLoopback{
    16, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 1};

// The domain behind a host name that is an IPv6 address, written without what a host name can't
// have.
constexpr const char* kLiteralSuffix = ".ipv6-literal.net";

bool IsSameHost(const addrinfo& left, const addrinfo& right) {
    const IpAddress address = platform::AddressOf(left);
    const IpAddress other = platform::AddressOf(right);
    return address.length != 0 && address.length == other.length && address.bytes == other.bytes;
}

bool HasHost(const addrinfo* list, const addrinfo& wanted) {
    for (; list != nullptr; list = platform::NextOf(*list)) {
        if (IsSameHost(*list, wanted)) return true;
    }
    return false;
}

// Cuts the suffix off, and puts back what it stands for.
void UncoverLiteral(char* name) {
    char* const suffix = KXStrStrA(name, kLiteralSuffix);
    if (suffix == nullptr) return;
    *suffix = '\0';
    std::replace(name, suffix, '-', ':');
    std::replace(name, suffix, 's', '%');
}

}  // namespace

KXResult MyAddresses::Get(addrinfo** mine, addrinfo** loopback) {
    *mine = nullptr;
    const ScopedLock lock(m_lock.Get());
    if (!m_isBuilt) {
        if (!platform::StartNetwork()) return KX_E_FAIL;
        Build();
        m_isBuilt = true;
    }
    *mine = m_mine;
    *loopback = m_loopback;
    return KX_S_OK;
}

// What can't be had only makes a list shorter.
void MyAddresses::Build() {
    m_loopback = platform::ResolveCanonical("localhost");
    m_ipv4 = platform::InterfaceAddresses(platform::Family::kIpv4);
    m_ipv6 = platform::InterfaceAddresses(platform::Family::kIpv6);
    for (std::size_t i = 0; i < m_ipv4.count; ++i) Append(&m_ipv4.entries[i]);
    AddIpv6();
    NameTheFirst();
}

void MyAddresses::AddIpv6() {
    addrinfo* const linkLocal = LinkLocalRecord();
    for (std::size_t i = 0; i < m_ipv6.count; ++i) {
        const IpAddress address = platform::ReadAddress(m_ipv6.entries[i]);
        if (address.bytes == kIpv6Loopback.bytes) continue;
        if (address == kLinkLocalLoopback && m_loopback != linkLocal) {
            platform::NextOf(*linkLocal) = m_loopback;
            m_loopback = linkLocal;
        } else {
            Append(&m_ipv6.entries[i]);
        }
    }
}

// What stands for fe80::1 of the first interface, when it comes to be in front of the others.
addrinfo* MyAddresses::LinkLocalRecord() {
    m_linkLocalAddress = platform::MakeSocketAddress(kLinkLocalLoopback);
    addrinfo* const record = platform::MakeRecord(&m_linkLocalRoom, &m_linkLocalAddress);
    platform::SetStream(record);
    if (m_loopback != nullptr) {
        platform::CanonicalNameOf(*record) = platform::CanonicalNameOf(*m_loopback);
    }
    return record;
}

void MyAddresses::Append(platform::SocketAddress* address) {
    auto* const room =
        static_cast<platform::RecordRoom*>(std::calloc(1, sizeof(platform::RecordRoom)));
    if (room == nullptr) return;
    addrinfo* const record = platform::MakeRecord(room, address);
    (m_mine != nullptr ? platform::NextOf(*m_mineLast) : m_mine) = record;
    m_mineLast = record;
}

// The machine's list has the name that the resolver gives the machine.
void MyAddresses::NameTheFirst() {
    if (m_loopback == nullptr || m_mine == nullptr) return;
    const char* const name = platform::CanonicalNameOf(*m_loopback);
    if (name == nullptr) return;
    const std::size_t size = std::strlen(name) + 1;
    auto* const copy = static_cast<char*>(std::calloc(size, 1));
    if (copy != nullptr) std::memcpy(copy, name, size);
    platform::CanonicalNameOf(*m_mine) = copy;
}

MyAddresses& ProcessAddresses() {
    static constinit MyAddresses s_addresses;
    return s_addresses;
}

int ResolveLowerCase(const char* node, const char* service, const addrinfo* hints, addrinfo** out) {
    std::string name = node;
    KXStrToLowerA(name.data());
    UncoverLiteral(name.data());
    return platform::Resolve(name.c_str(), service, hints, out);
}

}  // namespace kx::core

using namespace kx;

KXResult KXGetMyAddressInformation(addrinfo** mine, addrinfo** loopback) {
    return core::Guarded([&] { return core::ProcessAddresses().Get(mine, loopback); });
}

KXBool16 KXCompareAddressInformation(const addrinfo* a, const addrinfo* b) {
    for (; a != nullptr; a = platform::NextOf(*a)) {
        if (core::HasHost(b, *a)) return 1;
    }
    return 0;
}

int KXgetaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    try {
        return core::ResolveLowerCase(node, service, hints, result);
    } catch (const std::bad_alloc&) {
        return platform::ResolverOutOfMemory();
    }
}

void KXfreeaddrinfo(addrinfo* list) {
    platform::FreeResolved(list);
}

KXResult KXGetHostNameA(char* name, size_t size) {
    char own[core::kHostNameSize] = {};
    platform::NativeError error = platform::QueryHostName(own, sizeof own);
    if (error == platform::kNetworkNotStarted) {
        platform::StartNetwork();
        error = platform::QueryHostName(own, sizeof own);
    }
    own[sizeof own - 1] = '\0';
    if (error != platform::kSuccess) return KXResultFromNative(error);
    const std::size_t needed = std::strlen(own) + 1;
    if (size < needed) return KX_E_FAIL;
    std::memcpy(name, own, needed);
    return KX_S_OK;
}

KXResult KXGetHostName(char16_t* name, size_t size) {
    char narrow[core::kHostNameSize];
    if (const KXResult result = KXGetHostNameA(narrow, sizeof narrow); result < 0) return result;
    const std::size_t needed = std::strlen(narrow) + 1;
    if (size < needed) return KX_E_FAIL;
    // A name that is no text in the locale is cut where that begins to show.
    std::fill_n(name, needed, u'\0');
    KXAnsiToUnicode(name, narrow, needed);
    return KX_S_OK;
}
