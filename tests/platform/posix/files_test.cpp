// Files and directories where the system's own ways show through.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <kxcore7/directory.h>
#include <kxcore7/file.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <map>
#include <string>
#include <vector>

#include "support/environment.h"
#include "support/files.h"
#include "support/posix/descriptors.h"
#include "support/posix/fork.h"

using kx::test::BecomeAnybody;
using kx::test::File;
using kx::test::InChild;
using kx::test::kReadWrite;
using kx::test::NothingStaysOpen;
using kx::test::Store;
using kx::test::Stored;
namespace fs = std::filesystem;

namespace {

constexpr KXResult kIsNew = 2;

class PosixFile : public ::testing::Test {
  protected:
    fs::path Path(const std::string& name) const { return m_directory / name; }
    const fs::path& Directory() const { return m_directory.Path(); }

  private:
    const kx::test::ScratchDir m_directory;
};

using PosixDirectory = PosixFile;

// A umask for the time of a scope.
class Mask final {
  public:
    explicit Mask(mode_t mask) : m_old(umask(mask)) {}
    ~Mask() { umask(m_old); }
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;

  private:
    const mode_t m_old;
};

mode_t ModeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(0, lstat(path.c_str(), &status));
    return status.st_mode & 07777;
}

std::vector<std::u16string> NamesIn(const fs::path& path) {
    std::vector<std::u16string> names;
    KXDirHandle listing = KX_INVALID_HANDLE;
    if (KXDirOpen(path.u16string().c_str(), &listing) < 0) return names;
    KXDirEntry entry;
    while (KXDirRead(listing, &entry, 0) >= 0) names.emplace_back(entry.name);
    KXDirClose(listing);
    std::sort(names.begin(), names.end());
    return names;
}

KXDirEntry EntryOf(const fs::path& directory, const std::u16string& name) {
    KXDirHandle listing = KX_INVALID_HANDLE;
    EXPECT_RESULT(KX_S_OK, KXDirOpen(directory.u16string().c_str(), &listing));
    KXDirEntry entry{};
    while (KXDirRead(listing, &entry, 0) >= 0 && entry.name != name) entry = {};
    KXDirClose(listing);
    return entry;
}

KXFileHandle OpenWide(const std::u16string& path, std::uint32_t flags, KXResult* result) {
    KXFileHandle file = 0;
    *result = KXFileOpen(path.c_str(), flags, 0644, &file);
    return file;
}

}  // namespace

// --- Names ---------------------------------------------------------------------------------------

TEST_F(PosixFile, NamesThatAreNoUtf8AreListedAndOpenedAgain) {
    const std::string names[] = {"\xFF\xFE", "a\x80z", "caf\xE9", "\xC3\xA4\xC3", "\xED\xA0\x80"};
    for (const std::string& name : names) Store(Path(name), name);
    const auto listed = NamesIn(Directory());
    EXPECT_EQ(2 + std::size(names), listed.size());
    std::vector<std::string> found;
    for (const std::u16string& name : listed) {
        if (name == u"." || name == u"..") continue;
        KXResult result = KX_E_FAIL;
        const auto file = OpenWide(Directory().u16string() + u'/' + name, KX_FILE_READ, &result);
        ASSERT_RESULT(KX_S_OK, result);
        char bytes[16];
        std::uint32_t read = 0;
        EXPECT_RESULT(KX_S_OK, KXFileRead(file, bytes, sizeof bytes, &read));
        found.emplace_back(bytes, read);
        EXPECT_RESULT(KX_S_OK, KXFileClose(file));
        EXPECT_RESULT(KX_S_OK, KXFileDelete((Directory().u16string() + u'/' + name).c_str()));
    }
    EXPECT_TRUE(
        std::is_permutation(found.begin(), found.end(), std::begin(names), std::end(names)));
    EXPECT_TRUE(fs::is_empty(Directory()));
}

TEST_F(PosixFile, PathsPastTheSystemsLimitAreRefused) {
    KXResult result = 0;
    const std::u16string longName(NAME_MAX, u'n');
    const std::u16string here = Directory().u16string() + u'/';
    EXPECT_RESULT(KX_S_OK, KXFileClose(OpenWide(here + longName, KX_FILE_CREATE, &result)));
    EXPECT_RESULT(kIsNew, result);
    EXPECT_EQ(longName, NamesIn(Directory()).back());
    for (const std::u16string& path :
         {here + longName + u'n', here + std::u16string(PATH_MAX, u'/') + u'x'}) {
        EXPECT_EQ(KX_INVALID_HANDLE, OpenWide(path, KX_FILE_CREATE, &result));
        EXPECT_RESULT(KX_E_FAIL, result);
        EXPECT_RESULT(KX_E_FAIL, KXFileDelete(path.c_str()));
        EXPECT_RESULT(KX_E_FAIL, KXDirCreate(path.c_str(), 0));
        EXPECT_RESULT(KX_E_FAIL, KXDirRemove(path.c_str()));
    }
}

TEST_F(PosixFile, AColonIsALetterLikeAnyOther) {
    fs::create_directory(Path("drive:"));
    Store(Path("drive:") / "file", "");
    EXPECT_EQ((std::vector<std::u16string>{u".", u"..", u"file"}), NamesIn(Path("drive:")));
}

// --- Modes ---------------------------------------------------------------------------------------

TEST_F(PosixFile, ANewFileIsItsOwnersWhateverTheMask) {
    for (const mode_t mask : {0777u, 0222u, 0444u, 0077u}) {
        const Mask scope(mask);
        File file(Path("new"), KX_FILE_WRITE | KX_FILE_CREATE, 0666);
        EXPECT_RESULT(kIsNew, file.Result());
        EXPECT_EQ(0066u & ~mask, ModeOf(Path("new")) & 0077u);
        EXPECT_EQ(0600u, ModeOf(Path("new")) & 0700u);
        fs::remove(Path("new"));
        EXPECT_RESULT(kIsNew, File(Path("new"), KX_FILE_WRITE | KX_FILE_CREATE, 0444).Result());
        EXPECT_EQ(0400u, ModeOf(Path("new")) & 0700u);
        EXPECT_EQ(0u, ModeOf(Path("new")) & 0222u);
        fs::remove(Path("new"));
    }
}

TEST_F(PosixFile, OthersGetNoMoreThanThePermissionsSay) {
    const Mask scope(0);
    for (const auto& [permissions, mode] : std::map<std::uint32_t, mode_t>{{0600, 0600},
                                                                           {0644, 0644},
                                                                           {0666, 0666},
                                                                           {0440, 0440},
                                                                           {0, 0400},
                                                                           {0200, 0600},
                                                                           {07777, 0666}}) {
        EXPECT_RESULT(kIsNew, File(Path("new"), KX_FILE_CREATE, permissions).Result());
        EXPECT_EQ(mode, ModeOf(Path("new"))) << std::oct << permissions;
        fs::remove(Path("new"));
    }
}

TEST_F(PosixFile, ATemporaryFileIsItsOwnersAlone) {
    const Mask scope(0);
    const kx::test::ScopedEnvironment environment("TMPDIR", Directory().string());
    const File named(Path("named"), kReadWrite | KX_FILE_TEMPORARY, 0666);
    EXPECT_EQ(0600u, ModeOf(Path("named")));
    fs::create_directory(Path("other"));
    const kx::test::ScopedEnvironment other("TMPDIR", Path("other").string());
    const File nameless(fs::path(), kReadWrite | KX_FILE_TEMPORARY);
    ASSERT_FALSE(fs::is_empty(Path("other")));
    EXPECT_EQ(0600u, ModeOf(fs::directory_iterator(Path("other"))->path()));
}

TEST_F(PosixFile, NobodyIsLetInWhoMayNot) {
    Store(Path("mine"), "secret");
    fs::permissions(Path("mine"), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_directory(Path("closed"));
    fs::permissions(Path("closed"), fs::perms::none);
    fs::permissions(Directory(), fs::perms::all);
    const bool isAdministrator = geteuid() == 0;
    const int answer = InChild([&] {
        if (!BecomeAnybody()) return 1;
        if (isAdministrator) {
            if (File(Path("mine"), KX_FILE_READ).Result() != KX_E_ACCESSDENIED) return 2;
            if (File(Path("mine"), KX_FILE_WRITE).Result() != KX_E_ACCESSDENIED) return 3;
            if (File(Path("mine"), 0).Result() != KX_S_OK) return 4;
        }
        KXDirHandle listing = 0;
        if (KXDirOpen(Path("closed").u16string().c_str(), &listing) != KX_E_ACCESSDENIED) return 5;
        if (KXDirCreate((Path("closed") / "x").u16string().c_str(), 0) != KX_E_ACCESSDENIED)
            return 6;
        if (File(Path("closed") / "x", KX_FILE_CREATE).Result() != KX_E_ACCESSDENIED) return 7;
        return 0;
    });
    EXPECT_EQ(0, answer);
    fs::permissions(Path("closed"), fs::perms::owner_all);
}

// --- Temporary files -----------------------------------------------------------------------------

TEST_F(PosixFile, ATemporaryFileGoesFromWhereItWasMade) {
    fs::create_directory(Path("here"));
    const fs::path before = fs::current_path();
    fs::current_path(Path("here"));
    File file(fs::path("relative"), kReadWrite | KX_FILE_TEMPORARY);
    fs::current_path(before);
    ASSERT_TRUE(fs::exists(Path("here") / "relative"));
    EXPECT_RESULT(KX_S_OK, file.Close());
    EXPECT_FALSE(fs::exists(Path("here") / "relative"));
}

TEST_F(PosixFile, AFileThatTookATemporaryOnesNameIsLeftAlone) {
    File file(Path("brief"), kReadWrite | KX_FILE_TEMPORARY);
    fs::remove(Path("brief"));
    Store(Path("brief"), "another");
    EXPECT_RESULT(KX_S_OK, file.Close());
    EXPECT_EQ("another", Stored(Path("brief")));
}

TEST_F(PosixFile, AForkThatClosesATemporaryFileDoesNotTakeItAway) {
    File file(Path("brief"), kReadWrite | KX_FILE_TEMPORARY);
    EXPECT_EQ(0, InChild([&] { return file.Close() == KX_S_OK ? 0 : 1; }));
    EXPECT_TRUE(fs::exists(Path("brief")));
    EXPECT_RESULT(KX_S_OK, file.Close());
    EXPECT_FALSE(fs::exists(Path("brief")));
}

TEST_F(PosixFile, AFolderForTemporaryFilesThatIsNoneIsPassedOver) {
    const kx::test::ScopedEnvironment environment("TMPDIR", Path("none").string());
    File file(fs::path(), kReadWrite | KX_FILE_TEMPORARY);
    EXPECT_RESULT(KX_S_OK, file.Result());
    EXPECT_TRUE(fs::is_empty(Directory()));
}

// --- Limits --------------------------------------------------------------------------------------

TEST_F(PosixFile, AFullDeviceIsAFailureAndLosesNothingBefore) {
    File full(fs::path("/dev/full"), KX_FILE_WRITE);
    std::uint32_t written = 77;
    EXPECT_RESULT(KX_E_FAIL, KXFileWrite(full, "x", 1, &written));
    EXPECT_EQ(0u, written);
    Store(Path("from"), std::string(40'000, 'x'));
    EXPECT_RESULT(KX_E_FAIL,
                  KXFileCopy(Path("from").u16string().c_str(), u"/dev/full", 0, 0, nullptr));
}

TEST_F(PosixFile, AWriteThatFillsTheFileIsShortAndTheNextOneFails) {
    EXPECT_EQ(
        0, InChild([&] {
            const rlimit limit{10'000, 10'000};
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
            signal(SIGXFSZ, SIG_IGN);
            const std::string bytes(8'000, 'x');
            File file(Path("limited"), KX_FILE_WRITE | KX_FILE_CREATE);
            std::uint32_t written = 0;
            if (KXFileWrite(file, bytes.data(), 8'000, &written) != KX_S_OK || written != 8'000)
                return 2;
            if (KXFileWrite(file, bytes.data(), 8'000, &written) != KX_S_OK || written != 2'000)
                return 3;
            if (KXFileWrite(file, bytes.data(), 8'000, &written) != KX_E_FAIL || written != 0)
                return 4;
            return 0;
        }));
    EXPECT_EQ(std::string(10'000, 'x'), Stored(Path("limited")));
}

TEST_F(PosixFile, ACopyThatIsCutShortTellsAndKeepsWhatIsThere) {
    Store(Path("from"), std::string(40'000, 'x'));
    EXPECT_EQ(0, InChild([&] {
                  const rlimit limit{20'000, 20'000};
                  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
                  signal(SIGXFSZ, SIG_IGN);
                  KXFileHandle out = 0;
                  const KXResult result =
                      KXFileCopy(Path("from").u16string().c_str(), Path("to").u16string().c_str(),
                                 KX_FILE_CREATE, 0644, &out);
                  return result == KX_E_FAIL && out == KX_INVALID_HANDLE ? 0 : 2;
              }));
    EXPECT_EQ(std::string(20'000, 'x'), Stored(Path("to")));
}

TEST_F(PosixFile, WithoutDescriptorsNothingOpensAndNothingIsLost) {
    Store(Path("from"), "text");
    EXPECT_EQ(0, InChild([&] {
                  // From here on up all are free, and none below.
                  const int last = *kx::test::OpenDescriptors().rbegin();
                  while (dup(0) < last) {
                  }
                  const auto used = static_cast<rlim_t>(*kx::test::OpenDescriptors().rbegin());
                  for (rlim_t more = 0; more < 3; ++more) {
                      const rlimit limit{used + 1 + more, used + 4};
                      if (setrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
                      KXDirHandle listing = 0;
                      const KXResult listed = KXDirOpen(Directory().u16string().c_str(), &listing);
                      if (listed != (more == 0 ? KX_E_FAIL : KX_S_OK)) return 2;
                      if (listed == KX_S_OK) KXDirClose(listing);
                      // A copy takes two.
                      const KXResult copied =
                          KXFileCopy(Path("from").u16string().c_str(),
                                     Path("to").u16string().c_str(), KX_FILE_CREATE, 0644, nullptr);
                      if (copied != (more < 2 ? KX_E_FAIL : KX_S_OK)) return 3;
                  }
                  return 0;
              }));
    EXPECT_EQ("text", Stored(Path("to")));
}

TEST_F(PosixFile, NoFailureLeavesADescriptorOpen) {
    Store(Path("file"), "text");
    Store(Path("read-only"), "text");
    fs::permissions(Path("read-only"), fs::perms::owner_read);
    const NothingStaysOpen scope;
    EXPECT_RESULT(KX_E_ACCESSDENIED, File(Directory(), KX_FILE_READ).Result());
    EXPECT_RESULT(KX_E_ACCESSDENIED, File(Path("read-only"), KX_FILE_WRITE).Result());
    EXPECT_RESULT(KX_E_FAIL, File(Path("file"), KX_FILE_CREATE | KX_FILE_EXCLUSIVE).Result());
    EXPECT_RESULT(KX_E_FAIL, File(Path("file"), KX_FILE_READ | KX_FILE_TRUNCATE).Result());
    EXPECT_RESULT(KX_E_ACCESSDENIED,
                  KXFileCopy(Path("file").u16string().c_str(),
                             Path("read-only").u16string().c_str(), 0, 0, nullptr));
    EXPECT_RESULT(KX_S_OK, KXFileCopy(Path("file").u16string().c_str(),
                                      Path("to").u16string().c_str(), KX_FILE_CREATE, 0, nullptr));
    KXDirHandle listing = 0;
    EXPECT_RESULT(KX_E_FAIL, KXDirOpen(Path("file").u16string().c_str(), &listing));
    ASSERT_RESULT(KX_S_OK, KXDirOpen(Directory().u16string().c_str(), &listing));
    KXDirEntry entry;
    EXPECT_RESULT(KX_S_OK, KXDirRead(listing, &entry, 0));
    EXPECT_RESULT(KX_S_OK, KXDirClose(listing));
}

TEST_F(PosixFile, OtherProgramsDoNotInheritFiles) {
    const File file(Path("file"), KX_FILE_CREATE);
    EXPECT_EQ(FD_CLOEXEC, fcntl(static_cast<int>(file), F_GETFD));
}

// --- Handles that are no files' ------------------------------------------------------------------

TEST_F(PosixFile, WhatHasNoPositionsIsOpenAllTheSameWhereAppendFails) {
    ASSERT_EQ(0, mkfifo(Path("pipe").c_str(), 0600));
    File file(Path("pipe"), kReadWrite | KX_FILE_APPEND);
    EXPECT_RESULT(KX_E_FAIL, file.Result());
    ASSERT_NE(KX_INVALID_HANDLE, file);
    EXPECT_RESULT(KX_S_OK, file.Write("through"));
    EXPECT_EQ("through", file.Read(99));
    EXPECT_RESULT(KX_S_OK, file.Close());
}

TEST_F(PosixFile, NumbersThatNoDescriptorHasAreBadHandles) {
    for (const KXFileHandle handle :
         {KXFileHandle{INT_MAX}, KXFileHandle{INT_MAX} + 1, KXFileHandle{0x1'0000'0000} + 1}) {
        std::uint32_t done = 0;
        char byte = 0;
        EXPECT_RESULT(KX_E_HANDLE, KXFileRead(handle, &byte, 1, &done));
        EXPECT_RESULT(KX_E_HANDLE, KXFileClose(handle));
    }
}

TEST_F(PosixFile, AnExclusiveLockTakesAHandleThatMayWrite) {
    Store(Path("file"), "text");
    const File reader(Path("file"), KX_FILE_READ);
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileLock(reader, 0, 1, 0));
    EXPECT_RESULT(KX_S_OK, KXFileLock(reader, 0, 1, KX_FILE_LOCK_SHARED));
}

TEST_F(PosixFile, ALockOfAnEmptyRangeKeepsNobodyOut) {
    const File first(Path("file"), kReadWrite | KX_FILE_CREATE);
    const File second(Path("file"), kReadWrite);
    EXPECT_RESULT(KX_S_OK, KXFileLock(first, 2, 0, 0));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 8, 0));
}

TEST_F(PosixFile, ALockGoesWithTheLastProcessThatHasTheHandle) {
    File first(Path("file"), kReadWrite | KX_FILE_CREATE);
    const File second(Path("file"), kReadWrite);
    ASSERT_RESULT(KX_S_OK, KXFileLock(first, 0, 1, 0));
    int gate[2];
    ASSERT_EQ(0, pipe(gate));
    const pid_t child = fork();
    if (child == 0) {
        char byte = 0;
        close(gate[1]);
        _exit(read(gate[0], &byte, 1) == 0 ? 0 : 1);
    }
    EXPECT_RESULT(KX_S_OK, first.Close());
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 0, 1, 0));
    close(gate[1]);
    waitpid(child, nullptr, 0);
    close(gate[0]);
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 1, 0));
}

// --- Links ---------------------------------------------------------------------------------------

TEST_F(PosixFile, ALinkThatLeadsNowhereIsCreatedThrough) {
    fs::create_symlink(Path("target"), Path("link"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, File(Path("link"), KX_FILE_READ).Result());
    EXPECT_RESULT(KX_E_FAIL, File(Path("link"), KX_FILE_CREATE | KX_FILE_EXCLUSIVE).Result());
    EXPECT_RESULT(kIsNew, File(Path("link"), KX_FILE_CREATE).Result());
    EXPECT_TRUE(fs::is_regular_file(Path("target")));
    EXPECT_TRUE(fs::is_symlink(Path("link")));
}

TEST_F(PosixFile, ADeletedLinkLeavesWhatItLeadsTo) {
    Store(Path("target"), "text");
    fs::permissions(Path("target"), fs::perms::owner_read);
    fs::create_symlink(Path("target"), Path("link"));
    EXPECT_RESULT(KX_S_OK, KXFileDelete(Path("link").u16string().c_str()));
    EXPECT_TRUE(fs::exists(Path("target")));
    fs::create_symlink(Directory(), Path("link"));
    EXPECT_RESULT(KX_E_FAIL, KXDirRemove(Path("link").u16string().c_str()));
}

TEST_F(PosixDirectory, ALinkIsListedAsWhatItLeadsTo) {
    Store(Path("target"), "12345");
    fs::create_directory(Path("directory"));
    fs::create_symlink(Path("target"), Path("to file"));
    fs::create_symlink(Path("directory"), Path("to directory"));
    fs::create_symlink(Path("none"), Path("to nothing"));
    EXPECT_EQ(5u, EntryOf(Directory(), u"to file").sizeLow);
    EXPECT_EQ(0x41B6u, EntryOf(Directory(), u"to directory").mode);
    EXPECT_EQ(0x1B6u, EntryOf(Directory(), u"to nothing").mode);
}

// --- Listings ------------------------------------------------------------------------------------

TEST_F(PosixDirectory, NamesThatMayBeReadAloneAreListedAlone) {
    fs::create_directory(Path("closed"));
    fs::create_directory(Path("closed") / "below");
    Store(Path("closed") / "file", "12345");
    fs::permissions(Directory(), fs::perms::all);
    fs::permissions(
        Path("closed"),
        fs::perms::all & ~(fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec));
    EXPECT_EQ(0, InChild([&] {
                  if (!BecomeAnybody()) return 1;
                  const KXDirEntry file = EntryOf(Path("closed"), u"file");
                  if (file.mode != 0x1B6 || file.sizeLow != 0 || file.writeTime != -1) return 2;
                  return EntryOf(Path("closed"), u"below").mode == 0x41B6 ? 0 : 3;
              }));
    fs::permissions(Path("closed"), fs::perms::owner_all);
}

TEST_F(PosixDirectory, TimesAreTheFilesOwn) {
    Store(Path("file"), "");
    const timespec times[2] = {{1'000'000'000, 999'999'999}, {1'500'000'001, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, Path("file").c_str(), times, 0));
    const kx::test::ScopedEnvironment zone("TZ", "UTC");
    const KXDirEntry entry = EntryOf(Directory(), u"file");
    EXPECT_EQ(1'000'000'000, entry.accessTime);
    EXPECT_EQ(1'500'000'001, entry.writeTime);
    EXPECT_LT(1'700'000'000, entry.creationTime);
}

// The bias of today is taken off, and the calendar of that day put on: a zone that has moved since
// shows.
TEST_F(PosixDirectory, TimesGoByWayOfTheBiasOfToday) {
    Store(Path("file"), "");
    // In Moscow it was UTC+4 all the year round from 2011 to 2014, and has been UTC+3 since.
    constexpr time_t kSummer2012 = 1'341'100'000;
    const timespec times[2] = {{kSummer2012, 0}, {kSummer2012, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, Path("file").c_str(), times, 0));
    const kx::test::ScopedEnvironment zone("TZ", "Europe/Moscow");
    tzset();
    tm local{};
    const time_t now = time(nullptr);
    if (localtime_r(&now, &local)->tm_gmtoff != 3 * 3600) FAIL() << "no zone database";
    EXPECT_EQ(kSummer2012 - 3600, EntryOf(Directory(), u"file").writeTime);
}

TEST_F(PosixDirectory, WhatStoodThroughoutIsListedOnceWhateverComesAndGoes) {
    constexpr int kStanding = 200;
    for (int i = 0; i < kStanding; ++i) Store(Path("standing " + std::to_string(i)), "");
    int gate[2];
    ASSERT_EQ(0, pipe(gate));
    const pid_t child = fork();
    if (child == 0) {
        close(gate[0]);
        for (int i = 0; write(gate[1], "x", i % 100 == 0 ? 1 : 0) >= 0; ++i) {
            const std::string path = Path("passing " + std::to_string(i % 50)).string();
            close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            unlink(Path("passing " + std::to_string((i + 25) % 50)).c_str());
        }
        _exit(0);
    }
    close(gate[1]);
    for (int round = 0; round < 15; ++round) {
        // The other process has gone on since the last listing.
        char byte = 0;
        ASSERT_EQ(1, read(gate[0], &byte, 1));
        const auto names = NamesIn(Directory());
        EXPECT_EQ(names.end(), std::adjacent_find(names.begin(), names.end()));
        const auto isStanding = [](const std::u16string& name) {
            return name.starts_with(u"standing");
        };
        EXPECT_EQ(kStanding, std::count_if(names.begin(), names.end(), isStanding));
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(gate[0]);
}
