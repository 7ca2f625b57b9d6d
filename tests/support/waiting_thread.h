// Threads that are seen to wait, so that a test may go on when they do.
#ifndef KXCORE7_TESTS_SUPPORT_WAITING_THREAD_H
#define KXCORE7_TESTS_SUPPORT_WAITING_THREAD_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <utility>

namespace kx::test {

// The system's number of the calling thread.
std::uint32_t CurrentThread();

// Returns when the thread sleeps in one of the library's waits, for an object, a lock, a file, a
// thread or a child, or has ended what it was to do; whether it sleeps.
bool WaitUntilAsleep(std::uint32_t thread, const std::atomic<bool>& ended);

class WaitingThread final {
  public:
    template <typename Body>
    explicit WaitingThread(Body body)
        : m_thread([this, run = std::move(body)] {
              m_id = CurrentThread();
              run();
              m_ended = true;
          }) {}
    ~WaitingThread() { Join(); }
    WaitingThread(const WaitingThread&) = delete;
    WaitingThread& operator=(const WaitingThread&) = delete;

    // Returns when the thread sleeps in one of the library's waits, for an object, a lock or a
    // file. It is a failure of the test if the thread ends instead.
    void WaitUntilAsleep() const {
        EXPECT_TRUE(WaitUntilAsleepOrEnded()) << "the thread has ended";
    }
    // The same of a thread that may have ended; whether it sleeps.
    bool WaitUntilAsleepOrEnded() const {
        while (m_id == 0) std::this_thread::yield();
        return kx::test::WaitUntilAsleep(m_id, m_ended);
    }
    void Join() {
        if (m_thread.joinable()) m_thread.join();
    }

    // The system's number of the thread; 0 as long as it has not begun.
    std::uint32_t Id() const { return m_id; }

  private:
    std::atomic<std::uint32_t> m_id{0};
    std::atomic<bool> m_ended{false};
    std::thread m_thread;  // the last: it uses the others
};

}  // namespace kx::test

#endif
