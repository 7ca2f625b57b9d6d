#include <kxcore7/process.h>

#include <windows.h>

#include "support/started_child.h"

using kx::test::StartedChild;

// The number means that a process runs, whoever ends with it.
TEST(WindowsProcess, ThatEndsWith259CantBeJoined) {
    StartedChild child(KXTEST_CHILD, u"exit 259");
    std::uint32_t exitCode = 77;
    kx::test::AwaitEnd(child.Handle());
    EXPECT_RESULT(0x80004005, KXProcessJoin(child.Handle(), &exitCode));
    EXPECT_RESULT(0x80004005, KXProcessGetExitCode(child.Handle(), &exitCode));
    EXPECT_EQ(77u, exitCode);
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(child.Release()));
}

TEST(WindowsProcess, HasExitCodesOf32Bits) {
    EXPECT_EQ(0xC0FFEEu, StartedChild(KXTEST_CHILD, u"exit 0xC0FFEE").Join());
}

TEST(WindowsProcess, ItsParentsEndsAreNotInheritable) {
    StartedChild child(KXTEST_CHILD, u"wait");
    for (int slot = 0; slot < 3; ++slot) {
        DWORD flags = HANDLE_FLAG_INHERIT;
        ASSERT_NE(0, GetHandleInformation(reinterpret_cast<HANDLE>(child.End(slot)), &flags));
        EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
    }
    DWORD flags = HANDLE_FLAG_INHERIT;
    ASSERT_NE(0, GetHandleInformation(reinterpret_cast<HANDLE>(child.Handle()), &flags));
    EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
}

TEST(WindowsProcess, StartsAndRefusalsLeaveNoHandle) {
    const auto run = [] {
        for (int i = 0; i < 5; ++i) {
            StartedChild(KXTEST_CHILD, nullptr).Join();
            EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, StartedChild("nothing", nullptr).Result());
        }
    };
    run();
    DWORD before = 0;
    DWORD after = 0;
    GetProcessHandleCount(GetCurrentProcess(), &before);
    run();
    GetProcessHandleCount(GetCurrentProcess(), &after);
    EXPECT_EQ(before, after);
}
