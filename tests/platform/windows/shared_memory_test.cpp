#include <gtest/gtest.h>
#include <kxcore7/sharedmem.h>

#include <string>

#include "support/results.h"
#include "support/windows/system_objects.h"

using namespace kx::test;

namespace {

constexpr std::uint32_t kSize = 100;

class WindowsSharedMemory : public ::testing::Test {
  protected:
    ~WindowsSharedMemory() override {
        if (m_memory != KX_INVALID_HANDLE) KXSharedMemClose(m_memory);
    }

    KXResult Open(std::uint32_t flags) {
        return KXSharedMemOpen(m_name.c_str(), flags, 0, kSize, &m_memory);
    }

    // A name that no other run of the tests has.
    const std::string m_name = "kxcore7-test-" + std::to_string(GetCurrentProcessId());
    const std::string m_systemName = "SHM:" + m_name;
    KXSharedMemHandle m_memory = KX_INVALID_HANDLE;
};

}  // namespace

TEST_F(WindowsSharedMemory, IsTheSystemsUnderItsName) {
    ASSERT_RESULT(2, Open(KX_FILE_CREATE));
    const SystemHandle system(OpenFileMappingA(FILE_MAP_WRITE, FALSE, m_systemName.c_str()));
    EXPECT_TRUE(system);
}

TEST_F(WindowsSharedMemory, IsEverybodys) {
    ASSERT_RESULT(2, Open(KX_FILE_CREATE));
    const SystemHandle system(OpenFileMappingA(READ_CONTROL, FALSE, m_systemName.c_str()));
    ASSERT_TRUE(system);
    EXPECT_EQ("everything", AccessTo(system.Get()));
}

TEST_F(WindowsSharedMemory, IsInheritedWhereItIsCreatedAndWhereItIsOpened) {
    const SystemHandle system(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 kSize, m_systemName.c_str()));
    ASSERT_RESULT(KX_S_OK, Open(KX_FILE_CREATE));
    EXPECT_TRUE(IsInheritable(Native(m_memory)));
    KXSharedMemClose(m_memory);
    ASSERT_LE(0, Open(0));
    EXPECT_TRUE(IsInheritable(Native(m_memory)));
}

TEST_F(WindowsSharedMemory, IsOpenedWithTheRightsThatAreAskedForAndNoOthers) {
    const SystemHandle system(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 kSize, m_systemName.c_str()));
    const struct {
        std::uint32_t flags;
        ACCESS_MASK rights;
    } kCases[] = {{0, SECTION_MAP_READ},
                  {KX_FILE_READ, SECTION_MAP_READ},
                  {KX_FILE_WRITE, SECTION_MAP_WRITE},
                  {KX_FILE_READ | KX_FILE_WRITE, SECTION_MAP_WRITE}};
    for (const auto& [flags, rights] : kCases) {
        ASSERT_LE(0, Open(flags));
        EXPECT_EQ(rights, RightsOf(Native(m_memory))) << std::hex << flags;
        KXSharedMemClose(m_memory);
    }
}

// The system says nothing of its own where it opens, and what it said last still stands.
TEST_F(WindowsSharedMemory, APlainOpenAnswersByTheErrorThatTheThreadHadBefore) {
    const SystemHandle system(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 kSize, m_systemName.c_str()));
    SetLastError(ERROR_SUCCESS);
    EXPECT_RESULT(2, Open(0));
    KXSharedMemClose(m_memory);
    SetLastError(ERROR_ALREADY_EXISTS);
    EXPECT_RESULT(KX_S_OK, Open(0));
}

TEST_F(WindowsSharedMemory, IsRefusedUnderTheNameOfSomethingElse) {
    const SystemHandle event(CreateEventA(nullptr, TRUE, FALSE, m_systemName.c_str()));
    for (const std::uint32_t flags : {std::uint32_t{0}, KX_FILE_CREATE, KX_FILE_EXCLUSIVE,
                                      KX_FILE_CREATE | KX_FILE_EXCLUSIVE}) {
        m_memory = 77;
        EXPECT_RESULT(KX_E_HANDLE, Open(flags)) << std::hex << flags;
        EXPECT_EQ(KX_INVALID_HANDLE, m_memory);
    }
}

TEST_F(WindowsSharedMemory, RefusedBecauseItExistsItLeavesNoHandleBehind) {
    const SystemHandle system(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 kSize, m_systemName.c_str()));
    const HANDLE before = NextHandle();
    EXPECT_RESULT(KX_E_FAIL, Open(KX_FILE_CREATE | KX_FILE_EXCLUSIVE));
    EXPECT_EQ(KX_INVALID_HANDLE, m_memory);
    EXPECT_EQ(before, NextHandle());
}
