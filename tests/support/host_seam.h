// What the library remembers of hosts, in a state as if it had just been loaded, over a network
// that a test makes up.
#ifndef KXCORE7_TESTS_SUPPORT_HOST_SEAM_H
#define KXCORE7_TESTS_SUPPORT_HOST_SEAM_H

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <thread>

#include "frame/startup.h"
#include "host/computer.h"
#include "support/fake_network.h"
#include "support/results.h"

namespace kx::test {

// Never freed, as the library's own are not.
template <typename State, typename... Arguments>
State& Fresh(Arguments&... arguments) {
    static auto& all = *new std::deque<State>;
    return all.emplace_back(arguments...);
}

inline core::MyAddresses& FreshAddresses() {
    return Fresh<core::MyAddresses>();
}

inline core::KnownComputers& FreshComputers() {
    return Fresh<core::KnownComputers>(FreshAddresses());
}

// The resolver's way, closed to all until somebody opens it.
class Gate final {
  public:
    void Pass() {
        m_isReached = true;
        while (!m_isOpen) std::this_thread::yield();
    }
    void WaitUntilReached() const {
        while (!m_isReached) std::this_thread::yield();
    }
    void Open() { m_isOpen = true; }

  private:
    std::atomic<bool> m_isReached{false};
    std::atomic<bool> m_isOpen{false};
};

class HostSeam : public ::testing::Test {
  protected:
    void SetUp() override {
        g_network = {};
        ASSERT_RESULT(KX_S_OK, core::KXCoreInit());
    }
    void TearDown() override {
        core::KXCoreTerm();
        g_network = {};
    }
};

}  // namespace kx::test

#endif
