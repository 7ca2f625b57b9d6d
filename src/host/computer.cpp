#include "host/computer.h"

#include <kxcore7/address.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "frame/exception.h"
#include "locks/scoped_lock.h"
#include "platform/locale.h"

namespace kx::core {
namespace {

struct FreeResolved {
    void operator()(addrinfo* list) const noexcept { platform::FreeResolved(list); }
};
using Resolved = std::unique_ptr<addrinfo, FreeResolved>;

// A name as it is compared: cut where it is too long, and in lower case.
class Key final {
  public:
    explicit Key(const char* name) {
        const std::size_t size = KXStrLenA(name) + 1;
        KXStrNCpyA(m_text, name, std::min(size, sizeof m_text - 1));
        m_text[sizeof m_text - 1] = '\0';
        KXStrToLowerA(m_text);
    }

    const char* Text() const { return m_text; }

  private:
    char m_text[kHostNameSize];
};

}  // namespace

// Whatever goes wrong, the answer so far is the answer.
KXBool16 KnownComputers::IsThis(const char* name) noexcept {
    KXBool16 answer = 0;
    Guarded([&] {
        Judge(name, &answer);
        return KX_S_OK;
    });
    return answer;
}

void KnownComputers::Judge(const char* name, KXBool16* answer) {
    const KXMutexHandle lock = m_lock.Get();
    if (!m_isSeeded.load(std::memory_order_acquire)) {
        const ScopedLock held(lock);
        if (!m_isSeeded.load(std::memory_order_relaxed)) Seed();
    }
    if (!m_isSeeded.load(std::memory_order_acquire)) return;
    const Key key(name);
    const ScopedLock held(lock);
    const auto known = m_names.find(std::string_view(key.Text()));
    if (known != m_names.end()) {
        *answer = known->second;
        return;
    }
    *answer = Ask(key.Text());
    m_names.emplace(key.Text(), *answer);
}

// Leaves the names unseeded where there is no network to be had.
void KnownComputers::Seed() {
    if (!platform::StartNetwork()) return;
    char host[kHostNameSize] = {};  // the last byte stays the terminator
    platform::QueryHostName(host, sizeof host - 1);
    m_addresses.Get(&m_mine, &m_loopback);
    KXStrToLowerA(host);
    for (const char* const name :
         {static_cast<const char*>(host), "localhost", "127.0.0.1", "::1", ""}) {
        m_names.insert_or_assign(name, KXBool16{1});
    }
    m_isSeeded.store(true, std::memory_order_release);
}

KXBool16 KnownComputers::Ask(const char* name) const {
    addrinfo* list = nullptr;
    if (ResolveLowerCase(name, nullptr, nullptr, &list) != 0) return 0;
    const Resolved resolved(list);
    if (KXCompareAddressInformation(list, m_loopback) != 0) return 1;
    return KXCompareAddressInformation(list, m_mine);
}

}  // namespace kx::core

using namespace kx;

KXBool16 KXIsThisMyComputerA(const char* name) {
    static core::KnownComputers s_computers(core::ProcessAddresses());
    return s_computers.IsThis(name);
}

KXBool16 KXIsThisMyComputerW(const char16_t* name) {
    char narrow[core::kHostNameSize];
    if (platform::WideToCodePage(narrow, name, sizeof narrow) == 0) return 0;
    return KXIsThisMyComputerA(narrow);
}
