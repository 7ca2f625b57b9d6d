// Threads in line for an object, one behind the other.
#ifndef KXCORE7_TESTS_SUPPORT_WAITING_LINE_H
#define KXCORE7_TESTS_SUPPORT_WAITING_LINE_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

#include "support/results.h"
#include "support/waiting_thread.h"

namespace kx::test {

// Tells in which order they came through.
class Line final {
  public:
    // Each calls wait, which is to give 0.
    template <typename Wait>
    Line(int count, Wait wait) : m_order(static_cast<std::size_t>(count)) {
        for (int i = 0; i < count; ++i) {
            m_threads.push_back(std::make_unique<WaitingThread>([this, wait, i] {
                EXPECT_RESULT(KX_S_OK, wait());
                m_order[static_cast<std::size_t>(m_passed.fetch_add(1))] = i;
            }));
            m_threads.back()->WaitUntilAsleep();
        }
    }

    void WaitUntilPassed(int count) const {
        while (m_passed < count) std::this_thread::yield();
    }
    void WaitUntilAsleep(int first) const {
        for (std::size_t i = static_cast<std::size_t>(first); i < m_threads.size(); ++i) {
            m_threads[i]->WaitUntilAsleep();
        }
    }
    // Whether the index-th came to sleep, or through.
    bool IsAsleep(int index) const {
        return m_threads[static_cast<std::size_t>(index)]->WaitUntilAsleepOrEnded();
    }
    void Join() {
        for (const auto& thread : m_threads) thread->Join();
    }
    int Passed() const { return m_passed; }
    // Who came through as the index-th.
    int Passed(int index) const { return m_order[static_cast<std::size_t>(index)]; }

  private:
    std::atomic<int> m_passed{0};
    std::vector<std::atomic<int>> m_order;
    std::vector<std::unique_ptr<WaitingThread>> m_threads;
};

}  // namespace kx::test

#endif
