// A thread that does what a test tells it, one call after the other.
#ifndef KXCORE7_TESTS_SUPPORT_ACTOR_H
#define KXCORE7_TESTS_SUPPORT_ACTOR_H

#include <kxcore7/result.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include "support/asleep.h"

namespace kx::test {

class Actor final {
  public:
    using Call = std::function<KXResult()>;

    Actor() : m_thread([this] { Run(); }) { m_id = m_started.get_future().get(); }
    ~Actor() {
        Hand(nullptr);
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
        m_entered = std::promise<void>();
        m_result = std::promise<KXResult>();
        Hand(std::move(call));
        m_entered.get_future().wait();
    }
    KXResult Finish() { return m_result.get_future().get(); }
    void WaitUntilAsleep() const { kx::test::WaitUntilAsleep(m_id); }

  private:
    void Hand(Call call) {
        {
            const std::lock_guard guard(m_mutex);
            m_call = std::move(call);
            m_handed = true;
        }
        m_condition.notify_one();
    }

    Call Take() {
        std::unique_lock guard(m_mutex);
        m_condition.wait(guard, [this] { return m_handed; });
        m_handed = false;
        return std::exchange(m_call, nullptr);
    }

    void Run() {
        m_started.set_value(ThisThread());
        while (const Call call = Take()) {
            m_entered.set_value();
            m_result.set_value(call());
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_condition;
    Call m_call;
    bool m_handed = false;
    std::promise<std::uint32_t> m_started;
    std::promise<void> m_entered;
    std::promise<KXResult> m_result;
    std::uint32_t m_id = 0;
    std::thread m_thread;
};

}  // namespace kx::test

#endif
