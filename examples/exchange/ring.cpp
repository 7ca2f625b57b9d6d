#include "ring.h"

#include <kxcore7/current.h>

#include <stdexcept>

namespace {

constexpr std::uint32_t kPatience = 20;  // milliseconds

const char* NameOf(Role role) {
    return role == Role::producer ? "producer" : "consumer";
}

Role Opposite(Role role) {
    return role == Role::producer ? Role::consumer : Role::producer;
}

void Require(KXResult result, const char* what) {
    if (result < 0) throw std::runtime_error(std::string("no ") + what + " to be had");
}

}  // namespace

// Opened instead of made, it is another's, and not held any longer than it takes to see that.
Place::Place(const std::string& name) {
    for (;;) {
        const KXResult result = KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, 1, &m_handle);
        Require(result, "place");
        if (result != 0) return;
        KXSharedMemClose(m_handle);
        KXSleep(kPatience);
    }
}

Place::~Place() {
    KXSharedMemClose(m_handle);
}

Ring::Memory::Memory(const std::string& name) {
    Require(KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, sizeof(Shared), &m_handle), "memory");
    const KXResult result = KXSharedMemAttach(m_handle, KX_FILE_READ | KX_FILE_WRITE, &m_view);
    if (result < 0) KXSharedMemClose(m_handle);
    Require(result, "memory");
}

Ring::Memory::~Memory() {
    KXSharedMemDetach(m_view);
    KXSharedMemClose(m_handle);
}

Ring::Bell::Bell(const std::string& name) {
    Require(KXNamedSemOpen(name.c_str(), 0, &m_handle), "semaphore");
}

Ring::Bell::~Bell() {
    KXNamedSemClose(m_handle);
}

// At the most that a semaphore counts it is refused, and not needed: nobody sleeps then.
void Ring::Bell::Sound() {
    KXNamedSemPost(m_handle);
}

void Ring::Bell::Wait() {
    Require(KXNamedSemWait(m_handle), "semaphore");
}

// The post, at last, that the killed one may have owed.
Ring::Ring(const std::string& name, Role role)
    : m_role(role),
      m_place(name + " " + NameOf(role)),
      m_memory(name + " ring"),
      m_otherBell(name + " for the " + NameOf(Opposite(role))),
      m_ownBell(name + " for the " + NameOf(role)),
      m_shared(m_memory.Get()),
      m_own(role == Role::producer ? m_shared->producer : m_shared->consumer),
      m_other(role == Role::producer ? m_shared->consumer : m_shared->producer) {
    m_otherBell.Sound();
}

Ring::~Ring() = default;

void Ring::Announce(std::uint64_t total) {
    std::uint64_t none = 0;
    m_shared->total.compare_exchange_strong(none, total);
}

std::uint64_t Ring::Sum() const {
    const std::uint64_t done = Done();
    return done != 0 ? m_own.sums[(done - 1) % 2] : 0;
}

bool Ring::IsAllDone() const {
    return Done() == Total() && Total() != 0;
}

bool Ring::IsReady() const {
    const std::uint64_t ahead = m_role == Role::producer ? kSlots : 0;
    return Done() < DoneByOther() + ahead;
}

Item* Ring::Next() {
    while (!IsAllDone()) {
        if (IsReady()) return &m_shared->items[Done() % kSlots];
        m_ownBell.Wait();
    }
    return nullptr;
}

void Ring::Commit(std::uint64_t addend) {
    const std::uint64_t done = Done();
    m_own.sums[done % 2] = Sum() + addend;
    m_own.count = done + 1;
    m_otherBell.Sound();
}

void Ring::AwaitOther() {
    while (DoneByOther() < Done()) m_ownBell.Wait();
}
