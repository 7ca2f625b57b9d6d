#include <kxcore7/thread.h>

#include <windows.h>

#include "support/results.h"

// It never came to the end of its routine, so the record stays.
TEST(WindowsThread, ThatEndsItselfIsJoinedWithItsCodeAndNeverForgotten) {
    const auto exits = [](void*) -> std::uint32_t { ExitThread(0xC0FFEE01); };
    KXThreadHandle thread = 0;
    std::uint32_t id = 0;
    ASSERT_RESULT(KX_S_OK, KXThreadCreate(exits, nullptr, 0, 0, &thread, &id));
    std::uint32_t exitCode = 0;
    EXPECT_RESULT(KX_S_OK, KXThreadJoin(thread, &exitCode));
    EXPECT_EQ(0xC0FFEE01u, exitCode);
    EXPECT_EQ(0, KXThreadIsFinished(thread));
    EXPECT_RESULT(0x80070006, KXThreadJoin(thread, nullptr));
}

TEST(WindowsThread, JoinedAndDetachedThreadsLeaveNoHandle) {
    const auto run = [] {
        for (int i = 0; i < 50; ++i) {
            KXThreadHandle thread = 0;
            std::uint32_t id = 0;
            ASSERT_RESULT(KX_S_OK,
                          KXThreadCreate([](void*) { return 0u; }, nullptr, 0, 0, &thread, &id));
            if (i % 2 == 0) {
                EXPECT_RESULT(KX_S_OK, KXThreadJoin(thread, nullptr));
            } else {
                EXPECT_RESULT(KX_S_OK, KXThreadDetach(thread));
                while (KXThreadIsFinished(thread) == 0) SwitchToThread();
            }
        }
    };
    run();
    DWORD before = 0;
    DWORD after = 0;
    GetProcessHandleCount(GetCurrentProcess(), &before);
    run();
    GetProcessHandleCount(GetCurrentProcess(), &after);
    EXPECT_LT(after, before + 25) << "what the system keeps for threads that end just now may vary";
}
