#include "platform/threads.h"

#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/posix/error.h"
#include "platform/posix/immortal.h"
#include "platform/waitables.h"

namespace kx::platform {
namespace {

// Asked of the kernel once a thread. "initial-exec" makes the access one instruction, which a
// library that is loaded at start-up or by dlopen can afford for four bytes.
[[gnu::tls_model("initial-exec")]] thread_local std::uint32_t t_threadId = 0;

// The child of a fork runs on under a new id.
void ForgetThreadId() {
    t_threadId = 0;
}

[[gnu::noinline, gnu::cold]] std::uint32_t AskThreadId() noexcept {
    static const int registered = pthread_atfork(nullptr, nullptr, ForgetThreadId);
    static_cast<void>(registered);
    t_threadId = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return t_threadId;
}

constexpr std::uintptr_t kPseudoHandle = ~std::uintptr_t{1};

// --- Threads that were started here --------------------------------------------------------------

// The runtime lets a thread be waited for once, by one thread, and notices any way of ending: so
// the first that waits here waits for that, and the others for the first.
class Thread final {
  public:
    Thread() { m_ended.Create(true); }

    // By the runtime's own outcome.
    int Start(const pthread_attr_t* attributes, ThreadStart* start) {
        return pthread_create(&m_thread, attributes, &Run, start);
    }

    // The id is in the number of the thread's clock (the kernel's CPUCLOCK_PID), which a thread has
    // as long as it has not ended; the thread itself need not be asked, nor waited for.
    std::uint32_t Id() const {
        clockid_t clock = 0;
        pthread_getcpuclockid(m_thread, &clock);
        return static_cast<std::uint32_t>(~(clock >> 3));
    }

    NativeError Wait() noexcept {
        Use before = Use::none;
        if (!m_use.compare_exchange_strong(before, Use::waitedFor)) {
            return before == Use::letGo ? kInvalidHandle : m_ended.Wait(kNoLimit);
        }
        void* result = nullptr;
        // The runtime refuses to let a thread wait for itself, and two for each other.
        if (pthread_join(m_thread, &result) == EDEADLK) m_ended.Wait(kNoLimit);
        m_exitCode = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(result));
        return m_ended.Set();
    }

    std::uint32_t ExitCode() const noexcept { return m_exitCode; }

    // Who waits already goes on doing so.
    void LetGo() noexcept {
        Use before = Use::none;
        if (m_use.compare_exchange_strong(before, Use::letGo)) pthread_detach(m_thread);
    }

  private:
    enum class Use { none, waitedFor, letGo };

    static void* Run(void* argument) {
        auto* const start = static_cast<ThreadStart*>(argument);
        return reinterpret_cast<void*>(std::uintptr_t{start->run(start)});
    }

    pthread_t m_thread{};
    std::atomic<Use> m_use{Use::none};
    std::atomic<std::uint32_t> m_exitCode{0};
    Event m_ended;
};

// By handle, whose number is given once.
class Threads final {
  public:
    ThreadHandle Add(std::shared_ptr<Thread> thread) {
        const std::lock_guard guard(m_lock);
        const ThreadHandle handle = m_next;
        m_threads.emplace(handle, std::move(thread));
        ++m_next;
        return handle;
    }
    std::shared_ptr<Thread> Find(ThreadHandle handle) {
        const std::lock_guard guard(m_lock);
        const auto found = m_threads.find(handle);
        return found != m_threads.end() ? found->second : nullptr;
    }
    std::shared_ptr<Thread> Take(ThreadHandle handle) {
        const std::lock_guard guard(m_lock);
        const auto node = m_threads.extract(handle);
        return node.empty() ? nullptr : node.mapped();
    }

  private:
    std::mutex m_lock;
    ThreadHandle m_next = kNoThread + 1;
    std::unordered_map<ThreadHandle, std::shared_ptr<Thread>> m_threads;
};

Threads& TheThreads() noexcept {
    static Immortal<Threads> threads;
    return threads.Get();
}

// The runtime's attributes of a thread with a stack of so many bytes.
class Attributes final {
  public:
    explicit Attributes(std::uint32_t stackSize) {
        pthread_attr_init(&m_attributes);
        if (stackSize == 0) return;
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
        const std::size_t size = std::max<std::size_t>(stackSize, least);
        pthread_attr_setstacksize(&m_attributes, (size + page - 1) / page * page);
    }
    ~Attributes() { pthread_attr_destroy(&m_attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const pthread_attr_t* Get() const { return &m_attributes; }

  private:
    pthread_attr_t m_attributes;
};

// --- Processors ----------------------------------------------------------------------------------

// As many as the kernel can be built for.
using Processors = std::array<unsigned long, 8192 / (CHAR_BIT * sizeof(unsigned long))>;

bool QueryProcessors(Processors* processors) noexcept {
    *processors = {};
    return syscall(SYS_sched_getaffinity, 0, sizeof *processors, processors->data()) >= 0;
}

bool SetProcessors(const Processors& processors) noexcept {
    return syscall(SYS_sched_setaffinity, 0, sizeof processors, processors.data()) == 0;
}

}  // namespace

std::uint32_t CurrentThreadId() noexcept {
    const std::uint32_t known = t_threadId;
    return known != 0 ? known : AskThreadId();
}

std::uintptr_t CurrentThreadPseudoHandle() noexcept {
    return kPseudoHandle;
}

void Sleep(std::uint32_t milliseconds) noexcept {
    if (milliseconds == 0) {
        YieldThread();
        return;
    }
    timespec left{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

void YieldThread() noexcept {
    sched_yield();
}

// The kernel takes what it can of a mask, and is content with one processor of it.
NativeError SwapThreadAffinity(std::uintptr_t mask, std::uintptr_t* previous) noexcept {
    *previous = 0;
    Processors before;
    if (!QueryProcessors(&before)) return NativeErrorFromErrno(errno);
    Processors wanted{};
    wanted[0] = mask;
    if (!SetProcessors(wanted)) return NativeErrorFromErrno(errno);
    Processors now;
    if (!QueryProcessors(&now) || now != wanted) {
        SetProcessors(before);
        return kInvalidParameter;
    }
    *previous = before[0];
    return kSuccess;
}

NativeError StartThread(ThreadStart* start, std::uint32_t stackSize, ThreadHandle* handle,
                        std::uint32_t* id) {
    const auto thread = std::make_shared<Thread>();
    *handle = TheThreads().Add(thread);
    const Attributes attributes(stackSize);
    if (thread->Start(attributes.Get(), start) != 0) {
        TheThreads().Take(*handle);
        *handle = kNoThread;
        return kNotEnoughMemory;
    }
    *id = thread->Id();
    return kSuccess;
}

NativeError WaitForThread(ThreadHandle thread) noexcept {
    while (thread == kPseudoHandle) pause();
    const std::shared_ptr<Thread> found = TheThreads().Find(thread);
    if (found == nullptr) return kInvalidHandle;
    return found->Wait();
}

NativeError QueryThreadExitCode(ThreadHandle thread, std::uint32_t* exitCode) noexcept {
    const std::shared_ptr<Thread> found = TheThreads().Find(thread);
    if (found == nullptr) return kInvalidHandle;
    *exitCode = found->ExitCode();
    return kSuccess;
}

NativeError CloseThread(ThreadHandle thread) noexcept {
    if (thread == kPseudoHandle) return kSuccess;
    const std::shared_ptr<Thread> found = TheThreads().Take(thread);
    if (found == nullptr) return kInvalidHandle;
    found->LetGo();
    return kSuccess;
}

}  // namespace kx::platform
