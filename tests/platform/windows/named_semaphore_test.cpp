#include <gtest/gtest.h>
#include <kxcore7/semaphore.h>

#include <string>

#include "support/results.h"
#include "support/windows/system_objects.h"

using namespace kx::test;

namespace {

// A name that no other run of the tests has.
std::string OwnName(const std::string& name) {
    return "kxcore7-test-" + name + '-' + std::to_string(GetCurrentProcessId());
}

class NamedSemaphore final {
  public:
    NamedSemaphore(const std::string& name, std::uint32_t count) {
        EXPECT_RESULT(KX_S_OK, KXNamedSemOpen(name.c_str(), count, &m_handle));
    }
    ~NamedSemaphore() { EXPECT_RESULT(KX_S_OK, KXNamedSemClose(m_handle)); }
    NamedSemaphore(const NamedSemaphore&) = delete;
    NamedSemaphore& operator=(const NamedSemaphore&) = delete;

    operator KXSemaphoreHandle() const { return m_handle; }

  private:
    KXSemaphoreHandle m_handle = 0;
};

// The object begins with the system's handle.
HANDLE SystemHandleOf(KXSemaphoreHandle semaphore) {
    return *reinterpret_cast<const HANDLE*>(semaphore);
}

}  // namespace

TEST(WindowsNamedSemaphore, IsTheSystemsUnderItsName) {
    const std::string name = OwnName("system");
    const NamedSemaphore semaphore(name, 5);
    const SystemHandle system(OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, ("SEM:" + name).c_str()));
    ASSERT_TRUE(system);
    LONG before = 0;
    EXPECT_NE(0, ReleaseSemaphore(system.Get(), 1, &before));
    EXPECT_EQ(5, before);
    EXPECT_EQ(0, ReleaseSemaphore(system.Get(), KX_SEM_MAX - 5, &before)) << "the most is 32767";
    EXPECT_NE(0, ReleaseSemaphore(system.Get(), KX_SEM_MAX - 6, &before));
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemPost(semaphore));
}

TEST(WindowsNamedSemaphore, IsOneThatTheSystemMadeBefore) {
    const std::string name = OwnName("before");
    const SystemHandle system(CreateSemaphoreA(nullptr, 2, 9, ("SEM:" + name).c_str()));
    const NamedSemaphore semaphore(name, 0);
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(semaphore));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(semaphore));
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemTryWait(semaphore));
}

TEST(WindowsNamedSemaphore, IsForAuthenticatedUsersAlone) {
    const std::string name = OwnName("access");
    const NamedSemaphore semaphore(name, 0);
    const SystemHandle system(OpenSemaphoreA(READ_CONTROL, FALSE, ("SEM:" + name).c_str()));
    ASSERT_TRUE(system);
    EXPECT_EQ("allow 1F0003 S-1-5-11;", AccessTo(system.Get()));
}

TEST(WindowsNamedSemaphore, IsInheritedAndOneWithoutANameIsNot) {
    const NamedSemaphore named(OwnName("inherited"), 0);
    EXPECT_TRUE(IsInheritable(SystemHandleOf(named)));
    KXSemaphoreHandle unnamed = 0;
    ASSERT_RESULT(KX_S_OK, KXSemaphoreCreate(0, "n", KX_SEM_SHARED, &unnamed));
    EXPECT_FALSE(IsInheritable(SystemHandleOf(unnamed)));
    EXPECT_RESULT(KX_S_OK, KXSemaphoreDestroy(unnamed));
}

TEST(WindowsNamedSemaphore, IsRefusedUnderTheNameOfSomethingElse) {
    const std::string name = OwnName("other");
    const SystemHandle event(CreateEventA(nullptr, TRUE, FALSE, ("SEM:" + name).c_str()));
    KXSemaphoreHandle semaphore = 77;
    EXPECT_RESULT(KX_E_HANDLE, KXNamedSemOpen(name.c_str(), 1, &semaphore));
    EXPECT_EQ(KX_INVALID_HANDLE, semaphore);
}

// The system's names are paths, and have a limit.
TEST(WindowsNamedSemaphore, TheSystemsNamesHaveNoBackslashAndNoMoreThan259Characters) {
    KXSemaphoreHandle semaphore = 77;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXNamedSemOpen("folder\\name", 1, &semaphore));
    EXPECT_EQ(KX_INVALID_HANDLE, semaphore);
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemOpen(std::string(256, 'n').c_str(), 1, &semaphore));
    EXPECT_EQ(KX_INVALID_HANDLE, semaphore);
    const NamedSemaphore longest(std::string(255, 'n'), 1);
}

TEST(WindowsNamedSemaphore, LeavesNothingBehind) {
    constexpr int kRounds = 100;
    const std::string name = OwnName("memory");
    const std::size_t before = BlockCount();
    const HANDLE handle = NextHandle();
    for (int round = 0; round < kRounds; ++round) const NamedSemaphore semaphore(name, 0);
    EXPECT_GT(before + kRounds, BlockCount());
    EXPECT_EQ(handle, NextHandle());
}
