// Whoever need not wait, and wakes nobody, does not ask the kernel. The operations run in a child
// that may no longer do so.
#include <gtest/gtest.h>
#include <kxcore7/address.h>
#include <kxcore7/mutex.h>
#include <kxcore7/rwlock.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "support/named_objects.h"
#include "support/waitables.h"

namespace {

// The thread sanitizer asks the kernel for memory of its own behind any access. Under it no more
// is forbidden than to sleep and to wake.
#if defined(__SANITIZE_THREAD__)
constexpr bool kAllCallsAreForbidden = false;
#else
constexpr bool kAllCallsAreForbidden = true;
#endif

// How a child ends: the number of the forbidden call is added to the last.
constexpr int kQuiet = 0;
constexpr int kWrongResult = 1;
constexpr int kNoFilter = 2;
constexpr int kSystemCall = 3;

void EndAtSystemCall(int, siginfo_t* info, void*) {
    _exit(kSystemCall + info->si_syscall % 250);
}

constexpr sock_filter Statement(unsigned code, std::uint32_t operand) {
    return {static_cast<std::uint16_t>(code), 0, 0, operand};
}

// Answers a call of that number with an action, and goes on to the next rule with others.
template <std::size_t Size>
std::size_t AddRule(sock_filter (&program)[Size], std::size_t at, long call, std::uint32_t action) {
    program[at] = {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<std::uint32_t>(call)};
    program[at + 1] = Statement(BPF_RET | BPF_K, action);
    return at + 2;
}

// From here on this process ends at a system call other than that which ends it.
bool ForbidSystemCalls() {
    struct sigaction action {};
    action.sa_sigaction = EndAtSystemCall;
    action.sa_flags = SA_SIGINFO;
    if (sigaction(SIGSYS, &action, nullptr) != 0) return false;

    sock_filter program[8];
    program[0] = Statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    std::size_t size = 1;
    if (kAllCallsAreForbidden) {
        size = AddRule(program, size, SYS_exit_group, SECCOMP_RET_ALLOW);
        size = AddRule(program, size, SYS_rt_sigreturn, SECCOMP_RET_ALLOW);
        // Asked by the address sanitizer in front of every end of a process.
        size = AddRule(program, size, SYS_sigaltstack, SECCOMP_RET_ALLOW);
        program[size++] = Statement(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    } else {
        size = AddRule(program, size, SYS_futex, SECCOMP_RET_TRAP);
        program[size++] = Statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    }
    const sock_fprog filter{static_cast<unsigned short>(size), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0;
}

// How a child ends that runs the operations, which tell whether their results were right. Once
// they run before: names are bound then, and the thread knows its number.
template <typename Operations>
int EndOfChildWith(Operations operations) {
    const pid_t child = fork();
    if (child == 0) {
        if (!operations()) _exit(kWrongResult);
        if (!ForbidSystemCalls()) _exit(kNoFilter);
        _exit(operations() ? kQuiet : kWrongResult);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << status;
    return WEXITSTATUS(status);
}

template <typename Operations>
void ExpectNoSystemCall(Operations operations) {
    const int end = EndOfChildWith(operations);
    EXPECT_NE(kWrongResult, end);
    EXPECT_NE(kNoFilter, end);
    EXPECT_LT(end, kSystemCall) << "system call " << end - kSystemCall;
}

// Whether all succeed, called in the order in which they are written.
bool AllSucceed(std::initializer_list<KXResult> results) {
    return std::ranges::all_of(results, [](KXResult result) { return result == KX_S_OK; });
}

constexpr std::uint32_t kLimits[] = {0, 1, 600'000, 0xFFFFFFFFu};

}  // namespace

// What the others rely on.
TEST(NoSystemCalls, ACallIsNoticed) {
    bool forbidden = false;
    EXPECT_EQ(kSystemCall + SYS_futex, EndOfChildWith([&] {
                  if (!forbidden) return forbidden = true;
                  int word = 0;
                  return syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0) == 0;
              }));
    if (!kAllCallsAreForbidden) return;
    forbidden = false;
    EXPECT_EQ(kSystemCall + SYS_sched_yield, EndOfChildWith([&] {
                  if (!forbidden) return forbidden = true;
                  return syscall(SYS_sched_yield) == 0;
              }));
}

TEST(NoSystemCalls, OfAnEvent) {
    for (const std::uint32_t flags : {0u, KX_EVENT_MANUAL_RESET}) {
        const kx::test::Event event(flags);
        ExpectNoSystemCall([&] {
            bool good = true;
            for (const std::uint32_t limit : kLimits) {
                good = good && AllSucceed({KXEventSignal(event), KXEventSignal(event),
                                           KXEventTimedWait(event, limit), KXEventReset(event),
                                           KXEventReset(event)});
            }
            return good &&
                   AllSucceed({KXEventSignal(event), KXEventWait(event), KXEventReset(event)}) &&
                   KXEventTimedWait(event, 0) == KX_ERROR_TIMEOUT;
        });
    }
}

TEST(NoSystemCalls, OfAGate) {
    const kx::test::Gate gate;
    ExpectNoSystemCall([&] {
        bool good = true;
        for (const std::uint32_t limit : kLimits) {
            good = good && AllSucceed({KXGateOpen(gate), KXGateOpen(gate), KXGateWait(gate),
                                       KXGateTryWait(gate), KXGateTimedWait(gate, limit),
                                       KXGateClose(gate), KXGateClose(gate)});
        }
        return good && KXGateTryWait(gate) == KX_E_FAIL &&
               KXGateTimedWait(gate, 0) == KX_ERROR_TIMEOUT;
    });
}

TEST(NoSystemCalls, OfASemaphore) {
    const kx::test::Semaphore semaphore(KX_SEM_MAX - 2);
    ExpectNoSystemCall([&] {
        return AllSucceed({KXSemaphorePost(semaphore), KXSemaphorePost(semaphore)}) &&
               KXSemaphorePost(semaphore) == KX_E_FAIL &&
               AllSucceed({KXSemaphoreWait(semaphore), KXSemaphoreTryWait(semaphore)});
    });
    const kx::test::Semaphore empty(0);
    ExpectNoSystemCall([&] {
        return KXSemaphoreTryWait(empty) == KX_E_FAIL &&
               AllSucceed({KXSemaphorePost(empty), KXSemaphoreWait(empty), KXSemaphorePost(empty),
                           KXSemaphoreTryWait(empty)});
    });
}

TEST(NoSystemCalls, OfANamedSemaphore) {
    const std::string name = kx::test::UniqueName();
    const kx::test::NamedSemaphore semaphore(name, KX_SEM_MAX - 2);
    ExpectNoSystemCall([&] {
        return AllSucceed({KXNamedSemPost(semaphore), KXNamedSemPost(semaphore)}) &&
               KXNamedSemPost(semaphore) == KX_E_FAIL &&
               AllSucceed({KXNamedSemWait(semaphore), KXNamedSemTryWait(semaphore)});
    });
    const kx::test::NamedSemaphore empty(name + "'s other");
    ExpectNoSystemCall([&] {
        return KXNamedSemTryWait(empty) == KX_E_FAIL &&
               AllSucceed({KXNamedSemPost(empty), KXNamedSemWait(empty), KXNamedSemPost(empty),
                           KXNamedSemTryWait(empty)});
    });
}

TEST(NoSystemCalls, OfAConditionForWhichNobodyWaits) {
    const kx::test::Condition condition;
    ExpectNoSystemCall([&] {
        return AllSucceed({KXConditionSignal(condition), KXConditionBroadcast(condition),
                           KXConditionAcquire(condition), KXConditionAcquire(condition),
                           KXConditionSignal(condition), KXConditionBroadcast(condition),
                           KXConditionRelease(condition), KXConditionRelease(condition)});
    });
}

TEST(NoSystemCalls, OfAMutex) {
    for (const std::uint32_t flags : {0u, KX_MUTEX_SPIN, KX_MUTEX_CHECKED}) {
        KXMutexHandle mutex = 0;
        ASSERT_RESULT(KX_S_OK, KXMutexCreate("test", flags, &mutex));
        ExpectNoSystemCall([&] {
            return AllSucceed({KXMutexAcquire(mutex), KXMutexTryAcquire(mutex),
                               KXMutexAcquire(mutex), KXMutexRelease(mutex), KXMutexRelease(mutex),
                               KXMutexRelease(mutex), KXMutexTryAcquire(mutex),
                               KXMutexRelease(mutex)});
        });
        KXMutexDestroy(mutex);
    }
}

TEST(NoSystemCalls, OfAReaderWriterLock) {
    KXRWLockHandle lock = 0;
    ASSERT_RESULT(KX_S_OK, KXRWLockCreate("test", 0, &lock));
    ExpectNoSystemCall([&] {
        return AllSucceed({KXRWLockAcquireRead(lock), KXRWLockTryAcquireRead(lock),
                           KXRWLockReleaseRead(lock), KXRWLockReleaseRead(lock)}) &&
               AllSucceed({KXRWLockAcquireWrite(lock), KXRWLockTryAcquireWrite(lock),
                           KXRWLockReleaseWrite(lock), KXRWLockReleaseWrite(lock)}) &&
               AllSucceed({KXRWLockTryAcquireRead(lock), KXRWLockReleaseRead(lock),
                           KXRWLockTryAcquireWrite(lock), KXRWLockReleaseWrite(lock)}) &&
               AllSucceed({KXRWLockAcquireRead(lock), KXRWLockAcquireWrite(lock),
                           KXRWLockReleaseWrite(lock), KXRWLockReleaseRead(lock)});
    });
    KXRWLockDestroy(lock);
}

TEST(NoSystemCalls, OfANameThatIsKnown) {
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    ASSERT_RESULT(KX_S_OK, KXGetMyAddressInformation(&mine, &loopback));
    ASSERT_EQ(1, KXIsThisMyComputerA("localhost"));
    ExpectNoSystemCall([&] {
        return KXIsThisMyComputerA("LocalHost") == 1 && KXIsThisMyComputerA("") == 1 &&
               KXIsThisMyComputerW(u"127.0.0.1") == 1 &&
               KXGetMyAddressInformation(&mine, &loopback) == KX_S_OK;
    });
}
