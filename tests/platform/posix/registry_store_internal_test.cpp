// The files under the registry: where they are, and what bad ones do.
#include <fcntl.h>
#include <kxcore7/registry.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include "platform/posix/registry_store.h"
#include "platform/registry.h"
#include "support/posix/futex_wait.h"
#include "support/results.h"
#include "support/scratch_registry.h"
#include "support/waiting_thread.h"

using namespace kx::test;
using kx::platform::CloseRegistry;

namespace {

// A scratch registry that nothing has opened yet, closed before it goes.
class RegistryStore : public ::testing::Test {
  protected:
    RegistryStore() { CloseRegistry(); }
    ~RegistryStore() override { CloseRegistry(); }

    std::filesystem::path UserStore() const { return m_registry.Directory() / "user.db"; }

    void WriteFile(const std::string& content) const {
        std::ofstream(UserStore(), std::ios::binary) << content;
    }
    std::string ReadFile() const {
        std::ifstream file(UserStore(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static KXResult Get() {
        std::uint32_t bytes = 0;
        return KXRegistryGetValue(KX_HKEY_USER, u"Key", u"v", nullptr, nullptr, &bytes);
    }
    static KXResult Set() { return SetText(KX_HKEY_USER, u"Key", u"v", u"text"); }

    // Every operation on a store that is no good gives a code and leaves the file as it was.
    void ExpectUnusable(KXResult read, KXResult write) const {
        const std::string before = ReadFile();
        KXRegistryEnumHandle walk = 0;
        EXPECT_RESULT(read, Get());
        EXPECT_RESULT(write, Set());
        EXPECT_RESULT(write, KXRegistryDeleteValue(KX_HKEY_USER, u"Key", u"v"));
        EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(KX_HKEY_USER, u"Key"));
        EXPECT_RESULT(KX_E_FAIL, KXRegistryOpenKeyEnum(KX_HKEY_USER, u"Key", &walk));
        EXPECT_EQ(KX_INVALID_HANDLE, walk);
        EXPECT_RESULT(read, KXRegistryOpenValueEnum(KX_HKEY_USER, u"Key", &walk));
        CloseRegistry();
        EXPECT_TRUE(before == ReadFile()) << "the file was changed";
    }

    const ScratchRegistry m_registry;
};

// Runs the call in a child without the rights of root, which no file mode binds.
template <typename Call>
int InUnprivilegedChild(Call&& call) {
    CloseRegistry();
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(99);
        call();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace

TEST(RegistryErrors, OfSqliteBecomeNativeOnes) {
    using namespace kx::platform;
    static constexpr struct {
        int code;
        NativeError native;
    } kTable[] = {
        {SQLITE_OK, kSuccess},
        {SQLITE_ROW, kSuccess},
        {SQLITE_DONE, kSuccess},
        {SQLITE_NOMEM, kOutOfMemory},
        {SQLITE_IOERR_NOMEM, kOutOfMemory},
        {SQLITE_BUSY, kBusy},
        {SQLITE_BUSY_SNAPSHOT, kBusy},
        {SQLITE_LOCKED, kBusy},
        {SQLITE_READONLY, kAccessDenied},
        {SQLITE_PERM, kAccessDenied},
        {SQLITE_NOTADB, kBadDatabase},
        {SQLITE_CORRUPT, kBadDatabase},
        {SQLITE_FULL, kDiskFull},
        {SQLITE_IOERR_READ, kRegistryIoFailed},
        {SQLITE_CONSTRAINT, kRegistryIoFailed},
    };
    for (const auto& row : kTable) {
        EXPECT_EQ(row.native, NativeErrorFromSqlite(nullptr, row.code)) << row.code;
    }
}

TEST_F(RegistryStore, ReadingWhereThereIsNoneFindsNothingAndMakesNothing) {
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Get());
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXRegistryDeleteValue(KX_HKEY_USER, u"Key", u"v"));
    EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(KX_HKEY_USER, u"Key"));
    EXPECT_EQ(5, KXRegistryDeleteKey(KX_HKEY_USER, u""));
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(KX_HKEY_USER, u"", &walk)) << "a root is there";
    char16_t name[8];
    std::uint32_t length = 8;
    EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextKey(walk, name, &length));
    KXRegistryCloseEnum(walk);
    EXPECT_TRUE(std::filesystem::is_empty(m_registry.Directory().Path()));
}

TEST_F(RegistryStore, AStoreMadeLaterIsSeen) {
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Get());
    EXPECT_RESULT(KX_S_OK, Set());
    EXPECT_RESULT(KX_S_OK, Get());
    EXPECT_TRUE(std::filesystem::exists(UserStore()));
    EXPECT_FALSE(std::filesystem::exists(m_registry.Directory() / "machine.db"));
}

TEST_F(RegistryStore, UsersStoreIsPrivate) {
    Set();
    struct stat status {};
    for (const char* const name : {"user.db", "user.db-wal", "user.db-shm"}) {
        ASSERT_EQ(0, stat((m_registry.Directory() / name).c_str(), &status)) << name;
        EXPECT_EQ(0600u, status.st_mode & 0777) << name;
    }
}

TEST_F(RegistryStore, MachinesStoreIsReadableByAll) {
    const mode_t mask = umask(022);
    const std::filesystem::path directory = m_registry.Directory() / "new";
    const ScopedEnvironment variable("KX_REGISTRY_DIR", directory.string());
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_CONFIG, u"Key", u"v", u"text"));
    umask(mask);
    struct stat status {};
    ASSERT_EQ(0, stat((directory / "machine.db").c_str(), &status));
    EXPECT_EQ(0644u, status.st_mode & 0777);
    ASSERT_EQ(0, stat(directory.c_str(), &status));
    EXPECT_EQ(0755u, status.st_mode & 0777);
    CloseRegistry();
}

TEST_F(RegistryStore, AnEmptyFileBecomesAStore) {
    WriteFile("");
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Get());
    EXPECT_RESULT(KX_S_OK, Set());
    EXPECT_RESULT(KX_S_OK, Get());
}

TEST_F(RegistryStore, AFileThatIsNoDatabaseIsRefusedAndLeft) {
    WriteFile(
        "This is a letter to a friend, and longer than the header of a database has to be. "
        "It has nothing to do with keys and values.");
    ExpectUnusable(KX_E_FAIL, KX_E_FAIL);
}

TEST_F(RegistryStore, ADamagedStoreIsRefusedAndLeft) {
    Set();
    CloseRegistry();
    std::filesystem::remove(m_registry.Directory() / "user.db-wal");
    std::filesystem::remove(m_registry.Directory() / "user.db-shm");
    std::string content = ReadFile();
    for (std::size_t i = 100; i < content.size(); ++i) content[i] = static_cast<char>(i * 31);
    WriteFile(content);
    ExpectUnusable(KX_E_FAIL, KX_E_FAIL);
}

TEST_F(RegistryStore, ADatabaseOfSomebodyElseIsRefusedAndLeft) {
    sqlite3* database = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(UserStore().c_str(), &database));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_exec(database, "CREATE TABLE recipes (name)", nullptr, nullptr, nullptr));
    sqlite3_close(database);
    ExpectUnusable(KX_E_FAIL, KX_E_FAIL);
}

TEST_F(RegistryStore, AStoreOfALaterVersionIsRefusedAndLeft) {
    Set();
    CloseRegistry();
    sqlite3* database = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(UserStore().c_str(), &database));
    sqlite3_exec(database, "PRAGMA user_version = 99", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    ExpectUnusable(KX_E_FAIL, KX_E_FAIL);
}

TEST_F(RegistryStore, ARemovedKeyLeavesNothingInTheFile) {
    Set();
    EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_USER, u"Key"));
    CloseRegistry();
    sqlite3* database = nullptr;
    sqlite3_stmt* count = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(UserStore().c_str(), &database));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_prepare_v2(database, "SELECT count(*) FROM vals", -1, &count, nullptr));
    ASSERT_EQ(SQLITE_ROW, sqlite3_step(count));
    EXPECT_EQ(0, sqlite3_column_int(count, 0));
    sqlite3_finalize(count);
    sqlite3_close(database);
}

TEST_F(RegistryStore, ADirectoryInItsPlaceIsRefused) {
    std::filesystem::create_directory(UserStore());
    EXPECT_LT(Get(), 0);
    EXPECT_LT(Set(), 0);
    EXPECT_TRUE(std::filesystem::is_directory(UserStore()));
}

TEST_F(RegistryStore, AFileInPlaceOfItsDirectoryIsNotFound) {
    WriteFile("");
    const ScopedEnvironment variable("KX_REGISTRY_DIR", UserStore().string());
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Get());
    EXPECT_LT(Set(), 0);
}

TEST_F(RegistryStore, WithoutPermissionToReadIsDenied) {
    Set();
    CloseRegistry();
    std::filesystem::permissions(UserStore(), std::filesystem::perms::none);
    std::filesystem::permissions(m_registry.Directory().Path(), std::filesystem::perms::all);
    EXPECT_EQ(0, InUnprivilegedChild([&] {
                  EXPECT_RESULT(KX_E_ACCESSDENIED, Get());
                  EXPECT_RESULT(KX_E_ACCESSDENIED, Set());
              }));
}

// A machine's store belongs to root; everybody reads it, also when nobody else has it open.
TEST_F(RegistryStore, WithoutPermissionToWriteIsReadAndWritesAreDenied) {
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_CONFIG, u"Key\\Sub", u"v", u"text"));
    CloseRegistry();
    using std::filesystem::perms;
    for (const auto& file : std::filesystem::directory_iterator(m_registry.Directory().Path())) {
        std::filesystem::permissions(file,
                                     perms::owner_read | perms::group_read | perms::others_read);
    }
    const perms readable = perms::owner_read | perms::owner_exec | perms::others_read |
                           perms::others_exec | perms::group_read | perms::group_exec;
    std::filesystem::permissions(m_registry.Directory().Path(), readable);
    EXPECT_EQ(0, InUnprivilegedChild([&] {
                  EXPECT_EQ(u"text", GetText(KX_HKEY_CONFIG, u"Key\\Sub", u"v"));
                  EXPECT_RESULT(KX_E_ACCESSDENIED,
                                SetText(KX_HKEY_CONFIG, u"Key\\Sub", u"v", u"other"));
                  EXPECT_RESULT(KX_E_ACCESSDENIED,
                                KXRegistryDeleteValue(KX_HKEY_CONFIG, u"Key\\Sub", u"v"));
                  EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(KX_HKEY_CONFIG, u"Key"));
                  EXPECT_EQ(u"text", GetText(KX_HKEY_CONFIG, u"Key\\Sub", u"v"));
              }));
    std::filesystem::permissions(m_registry.Directory().Path(), perms::owner_all);
}

TEST_F(RegistryStore, WithoutAVariableIsUnderTheUsersData) {
    const ScopedEnvironment none("KX_REGISTRY_DIR", std::nullopt);
    const std::string home = m_registry.Directory().Path().string();
    {
        const ScopedEnvironment data("XDG_DATA_HOME", home + "/data");
        EXPECT_RESULT(KX_S_OK, Set());
        EXPECT_TRUE(std::filesystem::exists(home + "/data/kxcore7/user.db"));
        CloseRegistry();
    }
    const ScopedEnvironment homeVariable("HOME", home);
    for (const auto& data :
         {std::optional<std::string>("relative"), std::optional<std::string>()}) {
        const ScopedEnvironment variable("XDG_DATA_HOME", data);
        EXPECT_RESULT(KX_S_OK, Set());
        EXPECT_TRUE(std::filesystem::exists(home + "/.local/share/kxcore7/user.db"));
        CloseRegistry();
        std::filesystem::remove_all(home + "/.local");
    }
}

TEST_F(RegistryStore, AnEmptyVariableIsNone) {
    const ScopedEnvironment none("KX_REGISTRY_DIR", "");
    const ScopedEnvironment data("XDG_DATA_HOME", m_registry.Directory().Path().string());
    EXPECT_RESULT(KX_S_OK, Set());
    EXPECT_TRUE(std::filesystem::exists(m_registry.Directory() / "kxcore7/user.db"));
    CloseRegistry();
}

namespace {

// How many descriptors of the store's files this process has, by a part of their names.
int Descriptors(const std::string& name) {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<int>(std::count_if(
        Iterator("/proc/self/fd"), Iterator(), [&](const std::filesystem::path& entry) {
            std::error_code gone;
            const std::string target = std::filesystem::read_symlink(entry, gone).string();
            return target.find(name) != std::string::npos;
        }));
}

// The exit status of a forked child: how many descriptors of the store it has inherited.
int InheritedDescriptors() {
    const pid_t child = fork();
    if (child == 0) _exit(Descriptors("user.db"));
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace

// SQLite's connections do not survive a fork: they are closed ahead of it.
TEST_F(RegistryStore, AForkAfterAWriteInheritsNoConnection) {
    EXPECT_RESULT(KX_S_OK, Set());
    EXPECT_EQ(0, InheritedDescriptors());
    EXPECT_RESULT(KX_S_OK, Get());
}

TEST_F(RegistryStore, AForkAfterAReadInheritsNoConnection) {
    const pid_t writer = fork();
    if (writer == 0) _exit(Set() == 0 ? 0 : 1);
    int status = -1;
    ASSERT_EQ(writer, waitpid(writer, &status, 0));
    ASSERT_EQ(0, status);
    EXPECT_RESULT(KX_S_OK, Get());
    EXPECT_EQ(0, InheritedDescriptors());
    EXPECT_RESULT(KX_S_OK, Get());
}

TEST_F(RegistryStore, ServesBothSidesOfAFork) {
    EXPECT_RESULT(KX_S_OK, Set());
    const pid_t child = fork();
    if (child == 0) {
        const bool good = Get() == 0 && SetText(KX_HKEY_USER, u"Key", u"child", u"text") == 0;
        _exit(good ? 0 : 1);
    }
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_USER, u"Key", u"parent", u"text"));
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(u"text", GetText(KX_HKEY_USER, u"Key", u"child"));
    EXPECT_EQ(u"text", GetText(KX_HKEY_USER, u"Key", u"parent"));
}

// The parent ends first; what the child writes then must not go to a log that was thrown away.
TEST_F(RegistryStore, OutlivesTheParentOfAFork) {
    const pid_t parent = fork();
    if (parent == 0) {
        Set();
        int gate[2];
        if (pipe(gate) != 0) _exit(1);
        const pid_t child = fork();
        if (child == 0) {
            close(gate[1]);
            char byte = 0;
            if (read(gate[0], &byte, 1) != 0) _exit(1);  // the parent has closed its registry
            SetText(KX_HKEY_USER, u"Key", u"child", u"text");
            _exit(0);
        }
        close(gate[0]);
        Get();
        CloseRegistry();
        close(gate[1]);
        int status = 0;
        waitpid(child, &status, 0);
        _exit(status);
    }
    int status = -1;
    ASSERT_EQ(parent, waitpid(parent, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(u"text", GetText(KX_HKEY_USER, u"Key", u"child"));
}

TEST_F(RegistryStore, ReadsGoOnWhileAnotherProcessHoldsTheTurnToWrite) {
    EXPECT_RESULT(KX_S_OK, Set());
    sqlite3* other = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(UserStore().c_str(), &other));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    EXPECT_RESULT(KX_S_OK, Get());
    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(other);
}

// What one connection has in memory another one's write takes away.
TEST_F(RegistryStore, IsReadTheWayItWasWritten) {
    EXPECT_RESULT(KX_S_OK, Set());
    CloseRegistry();
    EXPECT_RESULT(KX_S_OK, Get());
    for (int i = 0; i < 2; ++i) {
        EXPECT_RESULT(KX_S_OK, Set());
        EXPECT_RESULT(KX_S_OK, Get());
        EXPECT_EQ(1, Descriptors("user.db-wal"));
    }
}

TEST_F(RegistryStore, ReadsGoOnWhileAThreadWritesAndAnotherWaitsForIt) {
    EXPECT_RESULT(KX_S_OK, Set());
    std::promise<void> begun;
    std::promise<void> end;
    std::thread writer([&] {
        kx::platform::UserStore().Write(kx::platform::IfMissing::fail,
                                        [&](kx::platform::Connection&) {
                                            begun.set_value();
                                            end.get_future().wait();
                                            return kx::platform::kSuccess;
                                        });
    });
    begun.get_future().wait();
    EXPECT_RESULT(KX_S_OK, Get());
    {
        WaitingThread next([] { EXPECT_RESULT(KX_S_OK, Set()); });
        while (next.Id() == 0 || !FutexWaitOf(next.Id())) std::this_thread::yield();
        EXPECT_RESULT(KX_S_OK, Get());
        end.set_value();
    }
    writer.join();
}

// However many there are, memory has a bound.
TEST(RegistryConnection, RemembersTheLatestKeysAndNoneWrongly) {
    constexpr std::int64_t kKeys = 50'000;
    const auto path = [](std::int64_t key) { return "USER\\" + std::to_string(key); };
    kx::platform::Connection connection;
    std::int64_t id = -1;
    EXPECT_FALSE(connection.Recall(path(0), &id));
    for (std::int64_t key = 0; key < kKeys; ++key) connection.Remember(path(key), key);
    int remembered = 0;
    for (std::int64_t key = 0; key < kKeys; ++key) {
        if (!connection.Recall(path(key), &id)) continue;
        ++remembered;
        EXPECT_EQ(key, id);
    }
    EXPECT_TRUE(connection.Recall(path(kKeys - 1), &id));
    EXPECT_GE(16'384, remembered);
    connection.Remember(path(kKeys - 1), 7);
    EXPECT_TRUE(connection.Recall(path(kKeys - 1), &id));
    EXPECT_EQ(7, id);
    connection.Close();
    EXPECT_FALSE(connection.Recall(path(kKeys - 1), &id));
}

TEST_F(RegistryStore, LeavesNoDescriptorBehind) {
    const auto descriptors = [] {
        using Iterator = std::filesystem::directory_iterator;
        return std::distance(Iterator("/proc/self/fd"), Iterator());
    };
    const auto before = descriptors();
    Set();
    Get();
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_CONFIG, u"Key", u"v", u"text"));
    EXPECT_EQ(u"text", GetText(KX_HKEY_CONFIG, u"Key", u"v"));
    EXPECT_GT(descriptors(), before);
    CloseRegistry();
    EXPECT_EQ(before, descriptors());
}

TEST_F(RegistryStore, ADiskThatIsFullFailsTheWriteAndKeepsTheStore) {
    EXPECT_RESULT(KX_S_OK, Set());
    const std::string large(4'000'000, 'x');
    const pid_t child = fork();
    if (child == 0) {
        // A limit on the size of files stands for the end of a disk.
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{200'000, 200'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const KXResult result =
            KXRegistrySetValue(KX_HKEY_USER, u"Key", u"large", KX_REG_BINARY, large.data(),
                               static_cast<std::uint32_t>(large.size()));
        const bool kept = result == KX_E_FAIL && Get() == 0 && Set() == 0;
        _exit(kept ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_RESULT(KX_S_OK, Get());
}
