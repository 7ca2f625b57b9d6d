// A thread that does what a test tells it, one call after the other.
#ifndef KXCORE7_TESTS_SUPPORT_ACTOR_H
#define KXCORE7_TESTS_SUPPORT_ACTOR_H

#include <kxcore7/result.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "support/waiting_thread.h"

namespace kx::test {

class Actor final {
  public:
    using Call = std::function<KXResult()>;

    Actor() : m_thread([this] { Run(); }) {}
    ~Actor() {
        Enter(kLeave);
        m_thread.join();
    }
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    // Makes the call there and gives its result.
    KXResult Do(Call call) {
        Start(std::move(call));
        return Finish();
    }

    // The same in two steps. In between the call may be seen to wait.
    void Start(Call call) {
        m_call = std::move(call);
        m_ended = false;
        Enter(kHanded);
        Await([this] { return m_stage != kHanded; });
    }
    KXResult Finish() {
        Await([this] { return m_stage == kEnded; });
        return m_result;
    }
    // It is a failure of the test if the call ends instead.
    void WaitUntilAsleep() const {
        EXPECT_TRUE(kx::test::WaitUntilAsleep(m_id, m_ended)) << "the call has ended";
    }

  private:
    // Whose turn it is: the test's before a call and behind it, the thread's in between.
    enum Stage { kIdle, kHanded, kInside, kEnded, kLeave };

    void Enter(Stage stage) {
        {
            const std::lock_guard guard(m_mutex);
            m_stage = stage;
        }
        m_condition.notify_all();
    }

    template <typename Condition>
    void Await(Condition condition) {
        std::unique_lock guard(m_mutex);
        m_condition.wait(guard, condition);
    }

    void Run() {
        m_id = CurrentThread();
        for (;;) {
            Await([this] { return m_stage == kHanded || m_stage == kLeave; });
            if (m_stage == kLeave) return;
            Enter(kInside);
            m_result = m_call();
            m_ended = true;
            Enter(kEnded);
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::atomic<Stage> m_stage{kIdle};
    Call m_call;
    KXResult m_result = 0;
    std::atomic<bool> m_ended{false};
    std::atomic<std::uint32_t> m_id{0};
    std::thread m_thread;  // the last: it uses the others
};

}  // namespace kx::test

#endif
