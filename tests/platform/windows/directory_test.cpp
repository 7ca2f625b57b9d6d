#include <gtest/gtest.h>
#include <kxcore7/directory.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "support/libraries.h"
#include "support/results.h"
#include "support/scratch_dir.h"
#include "support/windows/system_objects.h"

using namespace kx::test;

namespace {

// All entries of a directory by their names.
std::map<std::u16string, KXDirEntry> ListingOf(const std::u16string& path) {
    std::map<std::u16string, KXDirEntry> listing;
    KXDirHandle directory = 0;
    EXPECT_RESULT(KX_S_OK, KXDirOpen(path.c_str(), &directory));
    if (directory == KX_INVALID_HANDLE) return listing;
    KXDirEntry entry;
    while (KXDirRead(directory, &entry, 0) >= 0) listing[entry.name] = entry;
    EXPECT_RESULT(KX_S_OK, KXDirClose(directory));
    return listing;
}

// The current directory for the time of a scope.
class WorkingDirectory final {
  public:
    explicit WorkingDirectory(const std::filesystem::path& path) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(m_before); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  private:
    const std::filesystem::path m_before = std::filesystem::current_path();
};

}  // namespace

TEST(WindowsDirectory, ADriveAloneIsItsCurrentDirectory) {
    const ScratchDir folder;
    std::ofstream(folder / "here") << "text";
    const std::u16string drive = Wide(folder.Path()).substr(0, 2);
    ASSERT_TRUE(drive.ends_with(u':'));
    const WorkingDirectory working(folder.Path());
    EXPECT_EQ(1u, ListingOf(drive).count(u"here"));
    EXPECT_EQ(0u, ListingOf(drive + u'\\').count(u"here")) << "the root";
    EXPECT_EQ(0u, ListingOf(u"").count(u"here")) << "the current drive's root";
}

TEST(WindowsDirectory, NoOtherAttributeGetsIntoTheMode) {
    const ScratchDir folder;
    const std::filesystem::path path = folder / "file";
    std::ofstream(path) << "text";
    ASSERT_NE(0, SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                                      FILE_ATTRIBUTE_ARCHIVE));
    EXPECT_EQ(0x1B6u, ListingOf(Wide(folder.Path()))[u"file"].mode);
    ASSERT_NE(0, SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(0x124u, ListingOf(Wide(folder.Path()))[u"file"].mode);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(WindowsDirectory, AListingLeavesNothingBehind) {
    const ScratchDir folder;
    const std::u16string path = Wide(folder.Path());
    ListingOf(path);  // what the system keeps for itself from the first time on
    constexpr int kRounds = 50;
    const HANDLE handle = NextHandle();
    const std::size_t blocks = BlockCount();
    for (int round = 0; round < kRounds; ++round) EXPECT_EQ(2u, ListingOf(path).size());
    EXPECT_EQ(handle, NextHandle());
    EXPECT_GT(blocks + kRounds, BlockCount());
}
