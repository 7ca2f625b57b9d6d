#include <gtest/gtest.h>
#include <kxcore7/file.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/environment.h"
#include "support/libraries.h"
#include "support/results.h"
#include "support/scratch_dir.h"
#include "support/windows/system_objects.h"
#include "support/wine.h"

using namespace kx::test;

namespace {

class WindowsFile : public ::testing::Test {
  protected:
    ~WindowsFile() override { Close(); }

    KXResult Open(std::uint32_t flags, std::uint32_t permissions = 0666) {
        Close();
        return KXFileOpen(Wide(m_path).c_str(), flags, permissions, &m_file);
    }
    KXResult OpenFresh(std::uint32_t flags) {
        Close();
        return KXFileOpen(nullptr, flags, 0, &m_file);
    }
    void Close() {
        if (m_file != KX_INVALID_HANDLE) KXFileClose(m_file);
        m_file = KX_INVALID_HANDLE;
    }

    // Whether somebody else may have the open file with the access.
    bool IsSharedFor(DWORD access) const {
        const SystemHandle other(CreateFileW(m_path.c_str(), access,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                             nullptr, OPEN_EXISTING, 0, nullptr));
        return static_cast<bool>(other);
    }

    const ScratchDir m_folder;
    const std::filesystem::path m_path = m_folder / "file";
    KXFileHandle m_file = KX_INVALID_HANDLE;
};

// What of a handle's rights is a matter of the flags.
constexpr ACCESS_MASK kRead = FILE_READ_DATA;
constexpr ACCESS_MASK kWrite = FILE_WRITE_DATA | FILE_APPEND_DATA;

DWORD AttributesOf(KXFileHandle file) {
    BY_HANDLE_FILE_INFORMATION information{};
    EXPECT_NE(0, GetFileInformationByHandle(Native(file), &information));
    return information.dwFileAttributes;
}

// FileModeInformation, which the headers do not name.
ULONG ModeOf(KXFileHandle file) {
    const auto query = reinterpret_cast<decltype(&NtQueryInformationFile)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationFile")));
    IO_STATUS_BLOCK status{};
    ULONG mode = 0;
    EXPECT_EQ(0, query(Native(file), &status, &mode, sizeof mode,
                       static_cast<FILE_INFORMATION_CLASS>(16)));
    return mode;
}

}  // namespace

TEST_F(WindowsFile, HasTheRightsThatAreAskedForAndNoOthers) {
    std::ofstream(m_path) << "text";
    const struct {
        std::uint32_t flags;
        ACCESS_MASK rights;
    } kCases[] = {{0, 0},
                  {KX_FILE_READ, kRead},
                  {KX_FILE_WRITE, kWrite},
                  {KX_FILE_READ | KX_FILE_WRITE, kRead | kWrite},
                  {KX_FILE_TEMPORARY, DELETE},
                  {KX_FILE_TEMPORARY | KX_FILE_READ, DELETE | kRead}};
    for (const auto& [flags, rights] : kCases) {
        ASSERT_LE(0, Open(flags)) << std::hex << flags;
        EXPECT_EQ(rights, RightsOf(Native(m_file)) & (kRead | kWrite | DELETE))
            << std::hex << flags;
    }
}

TEST_F(WindowsFile, IsSharedForReadingAndWritingWhateverTheFlagsAndNotForDeletion) {
    std::ofstream(m_path) << "text";
    for (const std::uint32_t flags : {KX_FILE_READ, KX_FILE_WRITE, KX_FILE_READ | KX_FILE_CREATE,
                                      KX_FILE_READ | KX_FILE_WRITE | KX_FILE_WRITE_THROUGH}) {
        ASSERT_LE(0, Open(flags));
        EXPECT_TRUE(IsSharedFor(GENERIC_READ | GENERIC_WRITE)) << std::hex << flags;
        EXPECT_FALSE(IsSharedFor(DELETE)) << std::hex << flags;
        EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileDelete(Wide(m_path).c_str()));
    }
}

TEST_F(WindowsFile, TemporaryIsNotOpenedAgainByThisLibrary) {
    ASSERT_RESULT(2, Open(KX_FILE_TEMPORARY | KX_FILE_READ));
    KXFileHandle again = 77;
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileOpen(Wide(m_path).c_str(), KX_FILE_READ, 0, &again));
    EXPECT_EQ(KX_INVALID_HANDLE, again);
}

TEST_F(WindowsFile, IsNotInherited) {
    ASSERT_RESULT(2, Open(KX_FILE_CREATE | KX_FILE_WRITE));
    EXPECT_FALSE(IsInheritable(Native(m_file)));
}

TEST_F(WindowsFile, WritesThroughWhereThatIsAskedFor) {
    constexpr ULONG kWriteThrough = 2;
    ASSERT_RESULT(2, Open(KX_FILE_CREATE | KX_FILE_WRITE));
    EXPECT_EQ(0u, ModeOf(m_file) & kWriteThrough);
    ASSERT_RESULT(KX_S_OK, Open(KX_FILE_WRITE | KX_FILE_WRITE_THROUGH));
    EXPECT_EQ(kWriteThrough, ModeOf(m_file) & kWriteThrough);
}

TEST_F(WindowsFile, OnlyATemporaryOneHasTheAttribute) {
    SKIP_UNDER_WINE("the attribute is not kept");
    ASSERT_RESULT(2, Open(KX_FILE_CREATE | KX_FILE_WRITE));
    EXPECT_EQ(0u, AttributesOf(m_file) & FILE_ATTRIBUTE_TEMPORARY);
    Close();
    std::filesystem::remove(m_path);
    ASSERT_RESULT(2, Open(KX_FILE_TEMPORARY | KX_FILE_WRITE));
    EXPECT_NE(0u, AttributesOf(m_file) & FILE_ATTRIBUTE_TEMPORARY);
}

TEST_F(WindowsFile, FreshTemporaryFailsWhereThereIsNoFolderForIt) {
    for (const std::string& nowhere : {(m_folder / "missing").string(), std::string(300, 'x')}) {
        const ScopedEnvironment folder("TMP", nowhere);
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, OpenFresh(KX_FILE_TEMPORARY | KX_FILE_READ));
        EXPECT_EQ(KX_INVALID_HANDLE, m_file);
    }
}

TEST(WindowsPath, ExpandsWithDrivesAndEitherSeparator) {
    const auto expanded = [](const std::u16string& path) {
        char16_t buffer[300] = {};
        EXPECT_RESULT(KX_S_OK, KXPathExpand(path.c_str(), buffer, 300));
        return std::u16string(buffer);
    };
    EXPECT_EQ(u"C:\\b", expanded(u"C:\\a\\..\\b"));
    EXPECT_EQ(u"C:\\a\\c", expanded(u"C:/a/./b/../c"));
    EXPECT_EQ(u"C:\\", expanded(u"C:\\..\\.."));
    EXPECT_EQ(u"\\\\server\\share\\b", expanded(u"\\\\server\\share\\a\\..\\b"));
    const std::u16string here = Wide(std::filesystem::current_path());
    EXPECT_EQ(here + u"\\x", expanded(here.substr(0, 2) + u"x"));
}

TEST(WindowsPath, EmptyIsAFailureWhateverErrorCameBefore) {
    char16_t buffer[300] = {};
    SetLastError(ERROR_SUCCESS);
    EXPECT_RESULT(KX_E_FAIL, KXPathExpand(u"", buffer, 300));
    EXPECT_EQ(0, buffer[0]);
}
