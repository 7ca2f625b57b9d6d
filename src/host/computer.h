// Whether a name means this computer.
#ifndef KXCORE7_SRC_HOST_COMPUTER_H
#define KXCORE7_SRC_HOST_COMPUTER_H

#include <kxcore7/types.h>

#include <atomic>
#include <map>
#include <string>

#include "host/address.h"

namespace kx::core {

// Names that were judged, with the answer. What was entered once is never changed.
class KnownComputers final {
  public:
    explicit KnownComputers(MyAddresses& addresses) : m_addresses(addresses) {}
    KnownComputers(const KnownComputers&) = delete;
    KnownComputers& operator=(const KnownComputers&) = delete;

    // As told for KXIsThisMyComputerA.
    KXBool16 IsThis(const char* name) noexcept;

  private:
    void Judge(const char* name, KXBool16* answer);
    void Seed();
    KXBool16 Ask(const char* name) const;

    MyAddresses& m_addresses;
    // Held while the resolver is asked, so that a name which many ask for is resolved once.
    LazyLock m_lock{"KXIsThisMyComputerA"};
    std::atomic<bool> m_isSeeded{false};
    std::map<std::string, KXBool16, std::less<>> m_names;
    addrinfo* m_mine = nullptr;
    addrinfo* m_loopback = nullptr;
};

}  // namespace kx::core

#endif
