#include <kxcore7/directory.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/wine.h"

using kx::test::Store;
namespace fs = std::filesystem;

namespace {

// A listing, ended at the end of its scope.
class Listing final {
  public:
    explicit Listing(const std::u16string& path) : m_result(KXDirOpen(path.c_str(), &m_handle)) {}
    ~Listing() {
        if (m_handle == KX_INVALID_HANDLE) return;
        EXPECT_RESULT(KX_S_OK, KXDirClose(m_handle));
    }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    KXResult Result() const { return m_result; }
    KXDirHandle Handle() const { return m_handle; }
    KXResult Read(KXDirEntry* entry) const { return KXDirRead(m_handle, entry, 0); }

    std::vector<KXDirEntry> All() const {
        std::vector<KXDirEntry> entries;
        KXDirEntry entry;
        while (Read(&entry) >= 0) entries.push_back(entry);
        return entries;
    }

  private:
    KXDirHandle m_handle = 0;
    const KXResult m_result;
};

std::vector<std::u16string> NamesIn(const std::u16string& path) {
    std::vector<std::u16string> names;
    for (const KXDirEntry& entry : Listing(path).All()) names.emplace_back(entry.name);
    std::sort(names.begin(), names.end());
    return names;
}

class DirectoryTest : public ::testing::Test {
  protected:
    fs::path Path(const std::string& name) const { return m_directory / name; }
    std::u16string Wide(const std::string& name) const { return Path(name).u16string(); }
    std::u16string Wide() const { return m_directory.Path().u16string(); }

    std::optional<KXDirEntry> Find(const std::u16string& name) const {
        for (const KXDirEntry& entry : Listing(Wide()).All()) {
            if (entry.name == name) return entry;
        }
        return std::nullopt;
    }
    std::uint32_t ModeOf(const std::u16string& name) const {
        const auto entry = Find(name);
        return entry ? entry->mode : 0;
    }

  private:
    const kx::test::ScratchDir m_directory;
};

using DirCreate = DirectoryTest;
using DirRemove = DirectoryTest;
using DirOpen = DirectoryTest;
using DirRead = DirectoryTest;

}  // namespace

TEST_F(DirCreate, ADirectoryIsThere) {
    EXPECT_RESULT(KX_S_OK, KXDirCreate(Wide("new").c_str(), 0));
    EXPECT_TRUE(fs::is_directory(Path("new")));
    Store(Path("new") / "file", "");
}

TEST_F(DirCreate, ANameThatIsTakenIsToldAsSuch) {
    Store(Path("file"), "");
    fs::create_directory(Path("directory"));
    EXPECT_RESULT(KX_ERROR_ALREADY_EXISTS, KXDirCreate(Wide("directory").c_str(), 0777));
    EXPECT_RESULT(KX_ERROR_ALREADY_EXISTS, KXDirCreate(Wide("file").c_str(), 0777));
}

TEST_F(DirCreate, WhatItWouldLieInHasToExist) {
    Store(Path("file"), "");
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirCreate(Wide("none/new").c_str(), 0));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirCreate(Wide("file/new").c_str(), 0));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirCreate(u"", 0));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirCreate(nullptr, 0));
}

TEST_F(DirRemove, AnEmptyDirectoryIsGone) {
    fs::create_directory(Path("directory"));
    EXPECT_RESULT(KX_S_OK, KXDirRemove(Wide("directory").c_str()));
    EXPECT_FALSE(fs::exists(Path("directory")));
}

TEST_F(DirRemove, FilesAndFullDirectoriesAreNotRemoved) {
    fs::create_directory(Path("directory"));
    Store(Path("directory") / "file", "");
    EXPECT_RESULT(KX_E_FAIL, KXDirRemove(Wide("directory").c_str()));
    EXPECT_RESULT(KX_E_FAIL, KXDirRemove((Path("directory") / "file").u16string().c_str()));
    EXPECT_TRUE(fs::exists(Path("directory") / "file"));
}

TEST_F(DirRemove, WhatIsMissingIsNotFound) {
    Store(Path("file"), "");
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirRemove(Wide("none").c_str()));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirRemove(Wide("none/below").c_str()));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirRemove(Wide("file/below").c_str()));
}

TEST_F(DirRemove, NoPathIsNotFound) {
    SKIP_UNDER_WINE("it is a name that is not valid");
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirRemove(u""));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirRemove(nullptr));
}

TEST_F(DirOpen, WhatCanNotBeListedFailsAtOnce) {
    Store(Path("file"), "");
    const auto resultFor = [this](const char* name) {
        const Listing listing(Wide(name));
        EXPECT_EQ(KX_INVALID_HANDLE, listing.Handle()) << name;
        return listing.Result();
    };
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, resultFor("none"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, resultFor("none/below"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, resultFor("file/below"));
    EXPECT_RESULT(KX_E_FAIL, resultFor("file"));
    KXDirHandle handle = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXDirOpen(nullptr, &handle));
    EXPECT_EQ(KX_INVALID_HANDLE, handle);
}

TEST_F(DirOpen, SeparatorsAtTheEndCountForNothing) {
    Store(Path("file"), "");
    const std::vector<std::u16string> names{u".", u"..", u"file"};
    for (const char16_t* const end : {u"", u"/", u"///", u"\\", u"/\\/"}) {
        EXPECT_EQ(names, NamesIn(Wide() + end));
    }
}

TEST_F(DirOpen, SeparatorsAloneAndNothingAreTheRoot) {
    const auto roots = NamesIn(fs::current_path().root_path().u16string());
    EXPECT_FALSE(roots.empty());
    EXPECT_EQ(roots, NamesIn(u""));
    EXPECT_EQ(roots, NamesIn(u"/"));
    EXPECT_EQ(roots, NamesIn(u"\\"));
    EXPECT_EQ(roots, NamesIn(u"//"));
}

// More of them than a system gives at once.
TEST_F(DirRead, EveryEntryIsListedOnce) {
    std::vector<std::u16string> names{u".", u".."};
    for (int i = 0; i < 2000; ++i) {
        const std::string name = "entry " + std::to_string(i);
        Store(Path(name), "");
        names.emplace_back(name.begin(), name.end());
    }
    const std::u16string wide = u"\u00C4\u0416\U0001F600";
    fs::create_directory(fs::path(Wide()) / wide);
    names.push_back(wide);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, NamesIn(Wide()));
}

TEST_F(DirRead, AnEmptyDirectoryHasItselfAndTheOneAbove) {
    EXPECT_EQ((std::vector<std::u16string>{u".", u".."}), NamesIn(Wide()));
    EXPECT_EQ(0x41B6u, ModeOf(u"."));
    EXPECT_EQ(0x4000u, ModeOf(u"..") & 0x4000u);
}

TEST_F(DirRead, BehindTheLastEntryEveryReadFailsAndTheEntryIsLeftAlone) {
    const Listing listing(Wide());
    listing.All();
    KXDirEntry entry;
    std::memset(&entry, 0x5A, sizeof entry);
    const KXDirEntry before = entry;
    for (int again = 0; again < 3; ++again) {
        EXPECT_RESULT(KX_E_FAIL, listing.Read(&entry));
        EXPECT_EQ(0, std::memcmp(&before, &entry, sizeof entry));
    }
}

TEST_F(DirRead, TheModeTellsDirectoriesAndWhatIsReadOnly) {
    const auto noWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    Store(Path("file"), "");
    Store(Path("read-only"), "");
    fs::create_directory(Path("directory"));
    fs::create_directory(Path("read-only directory"));
    fs::permissions(Path("read-only"), noWrite, fs::perm_options::remove);
    EXPECT_EQ(0x1B6u, ModeOf(u"file"));
    EXPECT_EQ(0x124u, ModeOf(u"read-only"));
    EXPECT_EQ(0x41B6u, ModeOf(u"directory"));
    fs::permissions(Path("read-only"), fs::perms::owner_write, fs::perm_options::add);
}

TEST_F(DirRead, TheSizeComesInTwoHalvesTheUpperOneFirst) {
    constexpr std::uint64_t kSize = 0x1'4000'0005;
    Store(Path("small"), "12345");
    Store(Path("large"), "");
    fs::resize_file(Path("large"), kSize);
    const auto small = Find(u"small");
    const auto large = Find(u"large");
    ASSERT_TRUE(small && large);
    EXPECT_EQ(0u, small->sizeHigh);
    EXPECT_EQ(5u, small->sizeLow);
    EXPECT_EQ(1u, large->sizeHigh);
    EXPECT_EQ(0x4000'0005u, large->sizeLow);
}

TEST_F(DirRead, TimesAreSecondsOfNowInTheZoneOfNow) {
    using namespace std::chrono_literals;
    const std::time_t before = std::time(nullptr);
    Store(Path("file"), "");
    fs::last_write_time(Path("file"), fs::last_write_time(Path("file")) - 1000s);
    const auto entry = Find(u"file");
    const std::time_t after = std::time(nullptr);
    ASSERT_TRUE(entry);
    // File systems keep times by clocks that run a tick behind.
    EXPECT_LE(before - 1, entry->accessTime);
    EXPECT_GE(after, entry->accessTime);
    EXPECT_LE(before - 1001, entry->writeTime);
    EXPECT_GE(after - 1000, entry->writeTime);
    EXPECT_GE(after, entry->creationTime);
}

TEST_F(DirRead, ThereIsNoShortName) {
    Store(Path("a name that is longer than eight and three"), "");
    const auto entry = Find(u"a name that is longer than eight and three");
    ASSERT_TRUE(entry);
    for (const char16_t unit : entry->alternateName) EXPECT_EQ(0, unit);
}

TEST_F(DirRead, BehindANameThereAreZeros) {
    Store(Path("file"), "");
    const Listing listing(Wide());
    KXDirEntry entry;
    std::memset(&entry, 0x5A, sizeof entry);
    while (listing.Read(&entry) >= 0) {
        const auto* const end = std::find(std::begin(entry.name), std::end(entry.name), u'\0');
        EXPECT_TRUE(
            std::all_of(end, std::cend(entry.name), [](char16_t unit) { return unit == 0; }));
        std::memset(&entry, 0x5A, sizeof entry);
    }
}

TEST_F(DirRead, TwoListingsOfOneDirectoryKeepTheirPlaces) {
    Store(Path("file"), "");
    const Listing first(Wide());
    const Listing second(Wide());
    KXDirEntry entry;
    EXPECT_RESULT(KX_S_OK, first.Read(&entry));
    EXPECT_EQ(3u, second.All().size());
    EXPECT_EQ(2u, first.All().size());
}
