#include <kxcore7/thread.h>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <fstream>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/environment.h"
#include "support/posix/descriptors.h"
#include "support/posix/fork.h"
#include "support/results.h"

using kx::test::InChild;

namespace {

KXThreadHandle Start(KXThreadRoutine routine, void* argument = nullptr) {
    KXThreadHandle handle = 0;
    std::uint32_t id = 0;
    EXPECT_RESULT(KX_S_OK, KXThreadCreate(routine, argument, 0, 0, &handle, &id));
    return handle;
}

std::size_t ThreadsOfThisProcess() {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t count = 0;
    while (status >> word && word != "Threads:") {
    }
    status >> count;
    return count;
}

}  // namespace

TEST(PosixThread, TheIdIsTheKernels) {
    const auto ownId = [](void*) { return static_cast<std::uint32_t>(gettid()); };
    const KXThreadHandle thread = Start(ownId);
    std::uint32_t inside = 0;
    EXPECT_RESULT(KX_S_OK, KXThreadJoin(thread, &inside));
    EXPECT_EQ(inside, thread);
}

// It never came to the end of its routine, so the record stays.
TEST(PosixThread, ThatEndsItselfIsJoinedWithItsCodeAndNeverForgotten) {
    const auto exits = [](void*) -> std::uint32_t {
        pthread_exit(reinterpret_cast<void*>(std::uintptr_t{0xC0FFEE01}));
    };
    const KXThreadHandle thread = Start(exits);
    std::uint32_t exitCode = 0;
    EXPECT_RESULT(KX_S_OK, KXThreadJoin(thread, &exitCode));
    EXPECT_EQ(0xC0FFEE01u, exitCode);
    EXPECT_EQ(0, KXThreadIsFinished(thread));
    EXPECT_RESULT(0x80070006, KXThreadJoin(thread, nullptr));
}

// Of a user who may have no more threads, which holds for all but the administrator.
TEST(PosixThread, AThreadThatTheSystemDoesNotGiveIsRefused) {
    EXPECT_EQ(0, InChild([] {
                  if (!kx::test::BecomeAnybody()) return 1;
                  rlimit before{};
                  getrlimit(RLIMIT_NPROC, &before);
                  const rlimit none{0, before.rlim_max};
                  KXThreadHandle handle = 0;
                  std::uint32_t id = 1;
                  setrlimit(RLIMIT_NPROC, &none);
                  const KXResult result =
                      KXThreadCreate([](void*) { return 0u; }, nullptr, 0, 0, &handle, &id);
                  setrlimit(RLIMIT_NPROC, &before);
                  if (result != KX_E_FAIL) return 2;
                  if (handle != KX_INVALID_THREAD || id != 0) return 3;
                  return KXThreadJoin(Start([](void*) { return 0u; }), nullptr) == KX_S_OK ? 0 : 4;
              }));
}

TEST(PosixThread, ManyLeaveNoDescriptorAndNoThread) {
    // The first thread may bring one along that a sanitizer needs.
    EXPECT_RESULT(KX_S_OK, KXThreadJoin(Start([](void*) { return 0u; }), nullptr));
    const kx::test::NothingStaysOpen open;
    const std::size_t threads = ThreadsOfThisProcess();
    for (int i = 0; i < 500; ++i) {
        const KXThreadHandle joined = Start([](void*) { return 0u; });
        const KXThreadHandle detached = Start([](void*) { return 0u; });
        EXPECT_RESULT(KX_S_OK, KXThreadDetach(detached));
        EXPECT_RESULT(KX_S_OK, KXThreadJoin(joined, nullptr));
        while (KXThreadIsFinished(detached) == 0) std::this_thread::yield();
    }
    // A joined thread may be in the kernel's list for a moment yet.
    while (ThreadsOfThisProcess() > threads) std::this_thread::yield();
}

// In a process of its own, which has little else: threads are made from eight threads at once.
TEST(PosixThread, TenThousandDoNotMakeTheProcessGrow) {
    // A sanitizer would keep all that is freed for a while.
    const kx::test::ScopedEnvironment asan(
        "ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0");
    kx::test::ChildProcess probe(KXTEST_PROBE, {"threads grow"});
    const long growth = std::stol(probe.ReadLine());
    EXPECT_LT(growth, 8 << 20);
    EXPECT_EQ(0, probe.Wait());
}

// Threads that are still there when the library goes down end as they like.
TEST(PosixThread, MayEndWhileTheProcessDoes) {
    for (int i = 0; i < 20; ++i) {
        kx::test::ChildProcess probe(KXTEST_PROBE, {"threads at the end"});
        EXPECT_EQ(0, probe.Wait());
    }
}
