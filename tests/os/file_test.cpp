#include <kxcore7/file.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "support/actor.h"
#include "support/child_process.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/wine.h"

using kx::test::File;
using kx::test::kReadWrite;
using kx::test::Store;
using kx::test::Stored;
namespace fs = std::filesystem;

namespace {

constexpr KXResult kIsNew = 2;

class FileTest : public ::testing::Test {
  protected:
    fs::path Path(const std::string& name) const { return m_directory / name; }
    fs::path Stored8() const {
        Store(Path("eight"), "01234567");
        return Path("eight");
    }
    std::size_t Entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_directory.Path()), fs::directory_iterator()));
    }
    const fs::path& Directory() const { return m_directory.Path(); }

  private:
    const kx::test::ScratchDir m_directory;
};

bool IsReadOnly(const fs::path& path) {
    return (fs::status(path).permissions() & fs::perms::owner_write) == fs::perms::none;
}

void MakeReadOnly(const fs::path& path) {
    fs::permissions(path, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
}

using FileClose = FileTest;
using FileRead = FileTest;
using FileWrite = FileTest;
using FileSeek = FileTest;
using FileLock = FileTest;
using FileFlush = FileTest;
using FileDelete = FileTest;
using FileCopy = FileTest;
using FileOpen = FileTest;

}  // namespace

// --- Opening -------------------------------------------------------------------------------------

namespace {

// How files come out of an opening, for one that exists with eight bytes and for none.
struct Opening {
    std::uint32_t how;
    KXResult existing;
    std::uintmax_t sizeOfExisting;
    KXResult missing;
};

std::ostream& operator<<(std::ostream& out, const Opening& opening) {
    return out << std::hex << opening.how;
}

constexpr Opening kOpenings[] = {
    {0, KX_S_OK, 8, KX_ERROR_FILE_NOT_FOUND},
    {KX_FILE_CREATE, KX_S_OK, 8, kIsNew},
    {KX_FILE_TRUNCATE, KX_S_OK, 0, KX_ERROR_FILE_NOT_FOUND},
    {KX_FILE_CREATE | KX_FILE_TRUNCATE, KX_S_OK, 0, kIsNew},
    {KX_FILE_CREATE | KX_FILE_EXCLUSIVE, KX_E_FAIL, 8, KX_S_OK},
    {KX_FILE_CREATE | KX_FILE_TRUNCATE | KX_FILE_EXCLUSIVE, KX_E_FAIL, 8, KX_S_OK},
    {KX_FILE_EXCLUSIVE, KX_E_FAIL, 8, KX_E_FAIL},
    {KX_FILE_TRUNCATE | KX_FILE_EXCLUSIVE, KX_E_FAIL, 8, KX_E_FAIL},
};

}  // namespace

TEST_F(FileOpen, AFileThatExistsIsOpenedByTheTable) {
    for (const Opening& opening : kOpenings) {
        SCOPED_TRACE(opening);
        const fs::path path = Stored8();
        const File file(path, kReadWrite | opening.how);
        EXPECT_RESULT(opening.existing, file.Result());
        EXPECT_EQ(opening.existing >= 0, file != KX_INVALID_HANDLE);
        EXPECT_EQ(opening.sizeOfExisting, fs::file_size(path));
    }
}

TEST_F(FileOpen, AFileThatIsMissingIsCreatedByTheTable) {
    for (const Opening& opening : kOpenings) {
        SCOPED_TRACE(opening);
        const fs::path path = Path("new");
        {
            const File file(path, kReadWrite | opening.how);
            EXPECT_RESULT(opening.missing, file.Result());
            EXPECT_EQ(opening.missing >= 0, file != KX_INVALID_HANDLE);
        }
        EXPECT_EQ(opening.missing >= 0, fs::remove(path));
    }
}

TEST_F(FileOpen, BitsWithoutAMeaningAreIgnored) {
    const File file(Stored8(), kReadWrite | 0x3FFFE8B7u);
    EXPECT_RESULT(KX_S_OK, file.Result());
    EXPECT_TRUE(fs::exists(Path("eight")));
}

TEST_F(FileOpen, AccessIsWhatWasAskedFor) {
    const fs::path path = Stored8();
    char byte = 'x';
    std::uint32_t done = 77;
    const File reader(path, KX_FILE_READ);
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileWrite(reader, &byte, 1, &done));
    EXPECT_EQ(0u, done);
    EXPECT_RESULT(KX_S_OK, KXFileRead(reader, &byte, 1, &done));
    const File writer(path, KX_FILE_WRITE);
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileRead(writer, &byte, 1, &done));
    EXPECT_EQ(0u, done);
    EXPECT_RESULT(KX_S_OK, KXFileWrite(writer, &byte, 1, &done));
}

TEST_F(FileOpen, WithoutAccessAFileIsOpenedAllTheSame) {
    File file(Stored8(), 0);
    ASSERT_RESULT(KX_S_OK, file.Result());
    char byte = 'x';
    std::uint32_t done = 77;
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileRead(file, &byte, 1, &done));
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileWrite(file, &byte, 1, &done));
    std::uint64_t size = 0;
    EXPECT_RESULT(KX_S_OK, KXFileGetSize(file, &size));
    EXPECT_EQ(8u, size);
    EXPECT_RESULT(KX_S_OK, KXFileSeek64(file, 3, 0, KX_FILE_BEGIN, &size));
}

TEST_F(FileOpen, WithoutAccessAFileIsCreatedAllTheSame) {
    const File file(Path("new"), KX_FILE_CREATE);
    EXPECT_RESULT(kIsNew, file.Result());
    EXPECT_TRUE(fs::exists(Path("new")));
}

TEST_F(FileOpen, AFileIsReplacedWithoutTheRightToWrite) {
    const fs::path path = Stored8();
    const File file(path, KX_FILE_READ | KX_FILE_CREATE | KX_FILE_TRUNCATE);
    EXPECT_RESULT(KX_S_OK, file.Result());
    EXPECT_EQ(0u, fs::file_size(path));
}

TEST_F(FileOpen, OthersMayReadAndWriteMeanwhile) {
    const fs::path path = Stored8();
    File first(path, kReadWrite);
    File second(path, kReadWrite);
    EXPECT_RESULT(KX_S_OK, first.Write("ab"));
    EXPECT_EQ("ab234567", second.Read(99));
}

TEST_F(FileOpen, AFileThatHasNoWriteBitIsCreatedReadOnly) {
    for (const std::uint32_t permissions : {0444u, 0u, 0555u}) {
        const fs::path path = Path("new");
        File file(path, KX_FILE_WRITE | KX_FILE_CREATE, permissions);
        EXPECT_RESULT(kIsNew, file.Result());
        EXPECT_RESULT(KX_S_OK, file.Write("by its creator"));
        file.Close();
        EXPECT_TRUE(IsReadOnly(path));
        fs::permissions(path, fs::perms::owner_write, fs::perm_options::add);
        fs::remove(path);
    }
}

TEST_F(FileOpen, AFileThatHasAWriteBitIsCreatedWritable) {
    for (const std::uint32_t permissions : {0644u, 0200u, 0020u, 0002u, 0777u, 0xFFFFFFFFu}) {
        const fs::path path = Path("new");
        EXPECT_RESULT(kIsNew, File(path, KX_FILE_WRITE | KX_FILE_CREATE, permissions).Result());
        EXPECT_FALSE(IsReadOnly(path)) << std::oct << permissions;
        EXPECT_RESULT(KX_S_OK, File(path, kReadWrite).Result());
        fs::remove(path);
    }
}

TEST_F(FileOpen, PermissionsAreForNewFilesAlone) {
    const fs::path path = Stored8();
    EXPECT_RESULT(KX_S_OK, File(path, KX_FILE_WRITE, 0444).Result());
    EXPECT_RESULT(KX_S_OK, File(path, KX_FILE_WRITE | KX_FILE_CREATE, 0444).Result());
    EXPECT_FALSE(IsReadOnly(path));
}

TEST_F(FileOpen, AReadOnlyFileIsNotOpenedForWriting) {
    SKIP_UNDER_WINE("read-only files are kept by the permissions below it, and not from root");
    const fs::path path = Stored8();
    MakeReadOnly(path);
    EXPECT_RESULT(KX_E_ACCESSDENIED, File(path, KX_FILE_WRITE).Result());
    EXPECT_RESULT(KX_E_ACCESSDENIED, File(path, kReadWrite | KX_FILE_CREATE).Result());
    EXPECT_RESULT(KX_E_ACCESSDENIED, File(path, KX_FILE_READ | KX_FILE_TEMPORARY).Result());
    EXPECT_RESULT(KX_E_ACCESSDENIED,
                  File(path, KX_FILE_READ | KX_FILE_CREATE | KX_FILE_TRUNCATE).Result());
    EXPECT_RESULT(KX_S_OK, File(path, KX_FILE_READ).Result());
    EXPECT_EQ("01234567", Stored(path));
}

TEST_F(FileOpen, ADirectoryIsNoFile) {
    for (const std::uint32_t flags : {std::uint32_t{KX_FILE_READ}, std::uint32_t{KX_FILE_WRITE},
                                      KX_FILE_READ | KX_FILE_CREATE}) {
        const File file(Directory(), flags);
        EXPECT_RESULT(KX_E_ACCESSDENIED, file.Result());
        EXPECT_EQ(KX_INVALID_HANDLE, file);
    }
}

TEST_F(FileOpen, WhatIsMissingIsNotFound) {
    const fs::path file = Stored8();
    for (const fs::path& path :
         {Path("none"), Path("none") / "below", file / "below", fs::path()}) {
        SCOPED_TRACE(path);
        const File missing(path, KX_FILE_READ);
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, missing.Result());
        EXPECT_EQ(KX_INVALID_HANDLE, missing);
    }
    KXFileHandle handle = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXFileOpen(nullptr, KX_FILE_READ, 0, &handle));
    EXPECT_EQ(KX_INVALID_HANDLE, handle);
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  File(Path("none") / "below", KX_FILE_WRITE | KX_FILE_CREATE).Result());
}

TEST_F(FileOpen, AppendIsWhereItStartsAndNoMore) {
    const fs::path path = Stored8();
    File file(path, kReadWrite | KX_FILE_APPEND);
    ASSERT_RESULT(KX_S_OK, file.Result());
    EXPECT_EQ(8u, file.Position());
    EXPECT_RESULT(KX_S_OK, file.Write("89"));
    std::uint32_t position = 77;
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 0, KX_FILE_BEGIN, &position));
    EXPECT_RESULT(KX_S_OK, file.Write("ab"));
    EXPECT_EQ("ab23456789", Stored(path));
}

TEST_F(FileOpen, AppendToANewFileTellsThatItIsNew) {
    EXPECT_RESULT(kIsNew,
                  File(Path("new"), KX_FILE_WRITE | KX_FILE_CREATE | KX_FILE_APPEND).Result());
}

TEST_F(FileOpen, ThroughToTheDeviceWritesLikeAnyOther) {
    File file(Path("new"), KX_FILE_WRITE | KX_FILE_CREATE | KX_FILE_WRITE_THROUGH);
    EXPECT_RESULT(KX_S_OK, file.Write("safe"));
    EXPECT_EQ("safe", Stored(Path("new")));
}

// --- Temporary files -----------------------------------------------------------------------------

TEST_F(FileOpen, ATemporaryFileIsThereUntilItIsClosed) {
    File file(Path("brief"), kReadWrite | KX_FILE_TEMPORARY, 0);
    ASSERT_RESULT(kIsNew, file.Result());
    EXPECT_RESULT(KX_S_OK, file.Write("brief"));
    EXPECT_TRUE(fs::exists(Path("brief")));
    EXPECT_RESULT(KX_S_OK, file.Close());
    EXPECT_FALSE(fs::exists(Path("brief")));
}

TEST_F(FileOpen, AFileThatExistsCanBecomeATemporaryOne) {
    File file(Stored8(), KX_FILE_READ | KX_FILE_TEMPORARY);
    ASSERT_RESULT(KX_S_OK, file.Result());
    EXPECT_EQ("01234567", file.Read(99));
    EXPECT_RESULT(KX_S_OK, file.Close());
    EXPECT_FALSE(fs::exists(Path("eight")));
}

TEST_F(FileOpen, ATemporaryFileWithoutAPathIsInTheFolderForSuchFiles) {
    const kx::test::ScopedEnvironment unixes("TMPDIR", Directory().string());
    const kx::test::ScopedEnvironment windowses("TMP", Directory().string());
    for (const char16_t* const path : {static_cast<const char16_t*>(nullptr), u""}) {
        File file;
        // No flag for how to open counts.
        ASSERT_RESULT(
            KX_S_OK,
            KXFileOpen(path, kReadWrite | KX_FILE_TEMPORARY | KX_FILE_CREATE | KX_FILE_EXCLUSIVE,
                       0666, file.Out()));
        EXPECT_RESULT(KX_S_OK, file.Write("nameless"));
        ASSERT_EQ(1u, Entries());
        const fs::path found = fs::directory_iterator(Directory())->path();
        EXPECT_EQ("tmp", found.filename().string().substr(0, 3));
        std::uint32_t position = 0;
        EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 0, KX_FILE_BEGIN, &position));
        EXPECT_EQ("nameless", file.Read(99));
        EXPECT_RESULT(KX_S_OK, file.Close());
        EXPECT_EQ(0u, Entries());
    }
}

TEST_F(FileOpen, TemporaryFilesWithoutAPathAreDifferentOnes) {
    const kx::test::ScopedEnvironment unixes("TMPDIR", Directory().string());
    const kx::test::ScopedEnvironment windowses("TMP", Directory().string());
    const File first(fs::path(), kReadWrite | KX_FILE_TEMPORARY);
    const File second(fs::path(), kReadWrite | KX_FILE_TEMPORARY);
    EXPECT_RESULT(KX_S_OK, first.Result());
    EXPECT_RESULT(KX_S_OK, second.Result());
    EXPECT_EQ(2u, Entries());
}

TEST_F(FileOpen, ATemporaryFileThatIsNotClosedGoesWithItsProcess) {
    kx::test::ChildProcess process(KXTEST_PROBE, {"temporary", Path("brief").string()});
    EXPECT_EQ("there", process.ReadLine());
    EXPECT_EQ(0, process.Wait());
    EXPECT_FALSE(fs::exists(Path("brief")));
}

// --- Handles -------------------------------------------------------------------------------------

TEST_F(FileClose, AHandleThatIsNoneIsBadForEveryCall) {
    File file(Stored8(), kReadWrite);
    const KXFileHandle closed = file;
    ASSERT_RESULT(KX_S_OK, file.Close());
    char byte = 0;
    for (const KXFileHandle handle : {closed, KXFileHandle{KX_INVALID_HANDLE}}) {
        std::uint32_t done = 77;
        std::uint64_t position = 77;
        EXPECT_RESULT(KX_E_HANDLE, KXFileRead(handle, &byte, 1, &done));
        EXPECT_EQ(0u, done);
        EXPECT_RESULT(KX_E_HANDLE, KXFileWrite(handle, &byte, 1, &done));
        EXPECT_RESULT(KX_E_HANDLE, KXFileSeek64(handle, 0, 0, KX_FILE_BEGIN, &position));
        EXPECT_EQ(0u, position);
        for (const std::uint32_t origin : {KX_FILE_BEGIN, KX_FILE_CURRENT, KX_FILE_END}) {
            EXPECT_RESULT(KX_E_HANDLE, KXFileSeek(handle, 0, origin, &done));
            EXPECT_EQ(0xFFFFFFFFu, done);
        }
        EXPECT_RESULT(KX_E_HANDLE, KXFileGetSize(handle, &position));
        EXPECT_RESULT(KX_E_HANDLE, KXFileLock(handle, 0, 1, 0));
        EXPECT_RESULT(KX_E_HANDLE, KXFileUnlock(handle, 0, 1));
        EXPECT_RESULT(KX_E_HANDLE, KXFileFlush(handle));
        EXPECT_RESULT(KX_E_HANDLE, KXFileClose(handle));
    }
}

TEST_F(FileRead, TellsHowManyBytesThereWere) {
    File file(Stored8(), KX_FILE_READ);
    EXPECT_EQ("01234", file.Read(5));
    EXPECT_RESULT(KX_S_OK, file.Result());
    EXPECT_EQ("567", file.Read(5));
    EXPECT_RESULT(KX_S_OK, file.Result());
}

TEST_F(FileRead, NothingReadIsTheEnd) {
    File file(Stored8(), KX_FILE_READ);
    EXPECT_EQ("", file.Read(0));
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, file.Result());
    EXPECT_EQ("01234567", file.Read(99));
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ("", file.Read(1));
        EXPECT_RESULT(KX_ERROR_HANDLE_EOF, file.Result());
    }
}

TEST_F(FileWrite, NothingWrittenIsNoFailure) {
    File file(Stored8(), KX_FILE_WRITE);
    EXPECT_RESULT(KX_S_OK, file.Write(""));
    EXPECT_EQ("01234567", Stored(Path("eight")));
}

TEST_F(FileWrite, BehindTheEndLeavesZerosInBetween) {
    File file(Stored8(), KX_FILE_WRITE);
    std::uint32_t position = 0;
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 2, KX_FILE_END, &position));
    EXPECT_RESULT(KX_S_OK, file.Write("!"));
    EXPECT_EQ(std::string("01234567\0\0!", 11), Stored(Path("eight")));
}

// --- Positions -----------------------------------------------------------------------------------

TEST_F(FileSeek, StartsFromAnyOrigin) {
    const File file(Stored8(), KX_FILE_READ);
    std::uint32_t position = 0;
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 5, KX_FILE_BEGIN, &position));
    EXPECT_EQ(5u, position);
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, -2, KX_FILE_CURRENT, &position));
    EXPECT_EQ(3u, position);
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, -1, KX_FILE_END, &position));
    EXPECT_EQ(7u, position);
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 100, KX_FILE_END, &position));
    EXPECT_EQ(108u, position);
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(file, 0, 3, &position));
    EXPECT_EQ(0xFFFFFFFFu, position);
}

TEST_F(FileSeek, ThereIsNothingInFrontOfTheFile) {
    File file(Stored8(), KX_FILE_READ);
    std::uint32_t position = 0;
    std::uint64_t longPosition = 77;
    ASSERT_RESULT(KX_S_OK, KXFileSeek(file, 4, KX_FILE_BEGIN, &position));
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(file, -1, KX_FILE_BEGIN, &position));
    EXPECT_EQ(0xFFFFFFFFu, position);
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(file, -5, KX_FILE_CURRENT, &position));
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(file, -9, KX_FILE_END, &position));
    EXPECT_RESULT(KX_E_FAIL,
                  KXFileSeek64(file, 0xFFFFFFFF, 0xFFFFFFFF, KX_FILE_BEGIN, &longPosition));
    EXPECT_EQ(0u, longPosition);
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek64(file, 0, 0, 3, &longPosition));
    EXPECT_EQ(4u, file.Position());
}

TEST_F(FileSeek, TheLastPositionOf32BitsIsNoFailure) {
    const File file(Stored8(), KX_FILE_READ);
    std::uint32_t position = 0;
    std::uint64_t longPosition = 0;
    ASSERT_RESULT(KX_S_OK, KXFileSeek64(file, 0xFFFFFFFE, 0, KX_FILE_BEGIN, &longPosition));
    EXPECT_RESULT(KX_S_OK, KXFileSeek(file, 1, KX_FILE_CURRENT, &position));
    EXPECT_EQ(0xFFFFFFFFu, position);
}

TEST_F(FileSeek, APositionPast32BitsFailsAndTheFileStaysWhereItWas) {
    SKIP_UNDER_WINE("a position past 32 bits is no failure");
    File file(Stored8(), KX_FILE_READ);
    std::uint32_t position = 0;
    std::uint64_t longPosition = 0;
    ASSERT_RESULT(KX_S_OK, KXFileSeek64(file, 0xFFFFFFFF, 0, KX_FILE_BEGIN, &longPosition));
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(file, 1, KX_FILE_CURRENT, &position));
    EXPECT_EQ(0xFFFFFFFFu, position);
    EXPECT_EQ(0xFFFFFFFFu, file.Position());
    File large(Path("sparse"), kReadWrite | KX_FILE_CREATE);
    ASSERT_RESULT(KX_S_OK, KXFileSeek64(large, 0, 1, KX_FILE_BEGIN, &longPosition));
    ASSERT_RESULT(KX_S_OK, large.Write("far"));
    EXPECT_RESULT(KX_E_FAIL, KXFileSeek(large, 0, KX_FILE_END, &position));
}

TEST_F(FileSeek, PositionsAndSizesGoPast4GiB) {
    constexpr std::uint64_t kFar = 0x1'4000'0005;
    File file(Path("sparse"), kReadWrite | KX_FILE_CREATE);
    std::uint64_t position = 0;
    ASSERT_RESULT(KX_S_OK, KXFileSeek64(file, 0x4000'0005, 1, KX_FILE_BEGIN, &position));
    EXPECT_EQ(kFar, position);
    ASSERT_RESULT(KX_S_OK, file.Write("far"));
    std::uint64_t size = 0;
    EXPECT_RESULT(KX_S_OK, KXFileGetSize(file, &size));
    EXPECT_EQ(kFar + 3, size);
    EXPECT_RESULT(KX_S_OK, KXFileSeek64(file, 0xFFFFFFFD, 0xFFFFFFFF, KX_FILE_CURRENT, &position));
    EXPECT_EQ(kFar, position);
    EXPECT_EQ("far", file.Read(9));
}

// --- Locks ---------------------------------------------------------------------------------------

TEST_F(FileLock, TwoHandlesOfOneProcessKeepEachOtherOut) {
    const fs::path path = Stored8();
    const File first(path, kReadWrite);
    const File second(path, kReadWrite);
    EXPECT_RESULT(KX_S_OK, KXFileLock(first, 2, 4, 0));
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 0, 8, 0));
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 5, 1, 0));
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 5, 1, KX_FILE_LOCK_SHARED));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 2, 0));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 6, 1, 0));
    EXPECT_RESULT(KX_S_OK, KXFileUnlock(first, 2, 4));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 2, 4, 0));
}

TEST_F(FileLock, SharedLocksAreHeldBesideEachOther) {
    const fs::path path = Stored8();
    const File first(path, kReadWrite);
    const File second(path, kReadWrite);
    EXPECT_RESULT(KX_S_OK, KXFileLock(first, 0, 4, KX_FILE_LOCK_SHARED));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 4, KX_FILE_LOCK_SHARED));
    const File third(path, kReadWrite);
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(third, 0, 4, 0));
}

TEST_F(FileLock, ALockThatWaitsGetsItsTurn) {
    const fs::path path = Stored8();
    const File first(path, kReadWrite);
    const File second(path, kReadWrite);
    ASSERT_RESULT(KX_S_OK, KXFileLock(first, 0, 4, 0));
    kx::test::Actor other;
    other.Start([&] { return KXFileLock(second, 0, 4, KX_FILE_LOCK_WAIT); });
    other.WaitUntilAsleep();
    EXPECT_RESULT(KX_S_OK, KXFileUnlock(first, 0, 4));
    EXPECT_RESULT(KX_S_OK, other.Finish());
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(first, 0, 4, 0));
}

TEST_F(FileLock, ClosingTheHandleUnlocks) {
    const fs::path path = Stored8();
    File first(path, kReadWrite);
    const File second(path, kReadWrite);
    ASSERT_RESULT(KX_S_OK, KXFileLock(first, 0, 8, 0));
    ASSERT_RESULT(KX_S_OK, first.Close());
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 8, 0));
}

TEST_F(FileLock, RangesLieAnywhereIn4GiB) {
    const fs::path path = Stored8();
    const File first(path, kReadWrite);
    const File second(path, kReadWrite);
    EXPECT_RESULT(KX_S_OK, KXFileLock(first, 0xFFFFFFFF, 0xFFFFFFFF, 0));
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 0xFFFFFFFF, 1, 0));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 0xFFFFFFFF, 0));
}

// --- Flush, delete -------------------------------------------------------------------------------

TEST_F(FileFlush, TakesAHandleThatMayWrite) {
    const fs::path path = Stored8();
    EXPECT_RESULT(KX_S_OK, KXFileFlush(File(path, KX_FILE_WRITE)));
    EXPECT_RESULT(KX_S_OK, KXFileFlush(File(path, kReadWrite)));
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileFlush(File(path, KX_FILE_READ)));
}

TEST_F(FileDelete, AFileIsGone) {
    EXPECT_RESULT(KX_S_OK, KXFileDelete(Stored8().u16string().c_str()));
    EXPECT_EQ(0u, Entries());
}

TEST_F(FileDelete, NeitherDirectoriesNorReadOnlyFilesAreDeleted) {
    fs::create_directory(Path("directory"));
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileDelete(Path("directory").u16string().c_str()));
    const fs::path path = Stored8();
    MakeReadOnly(path);
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXFileDelete(path.u16string().c_str()));
    EXPECT_EQ(2u, Entries());
}

TEST_F(FileDelete, WhatIsMissingIsNotFound) {
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXFileDelete(Path("none").u16string().c_str()));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  KXFileDelete((Path("none") / "below").u16string().c_str()));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXFileDelete((Stored8() / "below").u16string().c_str()));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXFileDelete(u""));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXFileDelete(nullptr));
}

// --- Copies --------------------------------------------------------------------------------------

namespace {

KXResult Copy(const fs::path& from, const fs::path& to, std::uint32_t flags,
              KXFileHandle* out = nullptr) {
    return KXFileCopy(from.u16string().c_str(), to.u16string().c_str(), flags, 0644, out);
}

}  // namespace

TEST_F(FileCopy, EveryByteArrivesWhateverTheLength) {
    for (const std::size_t size : {0u, 1u, 16'383u, 16'384u, 16'385u, 32'768u, 100'001u}) {
        std::string bytes(size, 0);
        for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 >> 3);
        Store(Path("from"), bytes);
        EXPECT_RESULT(KX_S_OK, Copy(Path("from"), Path("to"), KX_FILE_CREATE));
        EXPECT_EQ(bytes, Stored(Path("to")));
        fs::remove(Path("to"));
    }
}

TEST_F(FileCopy, TheDestinationIsOpenedByItsFlags) {
    const fs::path from = Stored8();
    Store(Path("to"), "0123456789");
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Copy(from, Path("none"), 0));
    EXPECT_RESULT(KX_E_FAIL, Copy(from, Path("to"), KX_FILE_CREATE | KX_FILE_EXCLUSIVE));
    EXPECT_RESULT(KX_S_OK, Copy(from, Path("to"), 0));
    EXPECT_EQ("0123456789", Stored(Path("to")));
    EXPECT_RESULT(KX_S_OK, Copy(from, Path("to"), KX_FILE_APPEND));
    EXPECT_EQ("012345678901234567", Stored(Path("to")));
    EXPECT_RESULT(KX_S_OK, Copy(from, Path("to"), KX_FILE_TRUNCATE));
    EXPECT_EQ("01234567", Stored(Path("to")));
}

TEST_F(FileCopy, ThePermissionsAreTheDestinations) {
    EXPECT_RESULT(KX_S_OK, KXFileCopy(Stored8().u16string().c_str(), Path("to").u16string().c_str(),
                                      KX_FILE_CREATE, 0444, nullptr));
    EXPECT_TRUE(IsReadOnly(Path("to")));
}

TEST_F(FileCopy, WhoAsksForTheDestinationGetsItOpenAtItsEnd) {
    File to;
    EXPECT_RESULT(KX_S_OK, Copy(Stored8(), Path("to"), KX_FILE_READ | KX_FILE_CREATE, to.Out()));
    ASSERT_NE(KX_INVALID_HANDLE, to);
    EXPECT_EQ(8u, to.Position());
    EXPECT_RESULT(KX_S_OK, to.Write("89"));
    EXPECT_EQ("0123456789", Stored(Path("to")));
}

TEST_F(FileCopy, WithoutTheSourceNothingIsMade) {
    KXFileHandle out = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Copy(Path("none"), Path("to"), KX_FILE_CREATE, &out));
    EXPECT_EQ(KX_INVALID_HANDLE, out);
    EXPECT_RESULT(KX_E_ACCESSDENIED, Copy(Directory(), Path("to"), KX_FILE_CREATE));
    EXPECT_EQ(0u, Entries());
}

TEST_F(FileCopy, ADestinationThatIsRefusedLeavesNoHandle) {
    KXFileHandle out = 0;
    EXPECT_RESULT(KX_E_ACCESSDENIED, Copy(Stored8(), Directory(), KX_FILE_CREATE, &out));
    EXPECT_EQ(KX_INVALID_HANDLE, out);
}

TEST_F(FileCopy, TheCopyOfATemporaryFileGoesWithItsHandle) {
    File to;
    EXPECT_RESULT(KX_S_OK, Copy(Stored8(), Path("to"), KX_FILE_TEMPORARY, to.Out()));
    EXPECT_TRUE(fs::exists(Path("to")));
    EXPECT_RESULT(KX_S_OK, to.Close());
    EXPECT_FALSE(fs::exists(Path("to")));
}

// --- Paths ---------------------------------------------------------------------------------------

namespace {

std::u16string Expanded(const std::u16string& path) {
    char16_t buffer[1024] = u"untouched";
    EXPECT_RESULT(KX_S_OK, KXPathExpand(path.c_str(), buffer, 1024));
    return buffer;
}

}  // namespace

TEST(PathExpand, ARelativePathStartsFromTheCurrentDirectory) {
    const fs::path here = fs::current_path();
    EXPECT_EQ((here / "a" / "b").make_preferred().u16string(), Expanded(u"a/b"));
    EXPECT_EQ(here.u16string(), Expanded(u"."));
    EXPECT_EQ((here / "b").make_preferred().u16string(), Expanded(u"a/../b"));
    EXPECT_EQ(here.parent_path().u16string(), Expanded(u".."));
}

TEST(PathExpand, DotsAndRepeatedSeparatorsGo) {
    const std::u16string root = fs::current_path().root_path().u16string();
    const auto under = [&](const char16_t* path) {
        return fs::path(root + path).make_preferred().u16string();
    };
    EXPECT_EQ(under(u"a/c"), Expanded(root + u"a/./b/../c"));
    EXPECT_EQ(under(u"a/b"), Expanded(root + u"a//b"));
    EXPECT_EQ(under(u"a"), Expanded(root + u"../../a"));
    EXPECT_EQ(under(u"a/"), Expanded(root + u"a/"));
    EXPECT_EQ(root, Expanded(root));
    EXPECT_EQ(root, Expanded(root + u"a/.."));
}

TEST(PathExpand, ABufferThatIsTooSmallIsNoFailureAndNotFilled) {
    const std::u16string root = fs::current_path().root_path().u16string();
    const std::u16string path = fs::path(root + u"abc").make_preferred().u16string();
    const auto size = static_cast<std::uint32_t>(path.size());
    char16_t buffer[16] = u"#";
    EXPECT_RESULT(KX_S_OK, KXPathExpand(path.c_str(), buffer, size));
    EXPECT_NE(path, buffer);
    EXPECT_RESULT(KX_S_OK, KXPathExpand(path.c_str(), buffer, 0));
    EXPECT_RESULT(KX_S_OK, KXPathExpand(path.c_str(), buffer, size + 1));
    EXPECT_EQ(path, buffer);
}

TEST(PathExpand, NoPathIsAFailure) {
    char16_t buffer[16] = u"untouched";
    EXPECT_RESULT(KX_E_FAIL, KXPathExpand(u"", buffer, 16));
    EXPECT_RESULT(KX_E_FAIL, KXPathExpand(nullptr, buffer, 16));
    EXPECT_EQ(std::u16string(u"untouched"), buffer);
}
