#include "platform/posix/registry_store.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "platform/posix/account.h"
#include "platform/posix/error.h"

namespace kx::platform {
namespace {

// "kxr7", so that a database of somebody else's is told from a store.
constexpr std::int64_t kApplicationId = 0x6B787237;
constexpr std::int64_t kSchemaVersion = 1;

constexpr const char* kQueries[] = {
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
    "SELECT id FROM keys WHERE path = ?1",
    "SELECT 1 FROM keys WHERE id = ?1",
    "SELECT name, path FROM keys WHERE parent = ?1 ORDER BY path LIMIT 1 OFFSET ?2",
    "SELECT name, path FROM keys WHERE parent = ?1 AND path > ?2 ORDER BY path LIMIT 1",
    "INSERT INTO keys (parent, name, path) VALUES (?1, ?2, ?3)",
    "DELETE FROM keys WHERE id = ?1",
    "SELECT v.type, v.data, k.id FROM keys k CROSS JOIN vals v"
    " WHERE k.path = ?1 AND v.key = k.id AND v.folded = ?2",
    "SELECT type, data, 1 FROM vals WHERE key = ?1 AND folded = ?2"
    " UNION ALL SELECT 0, x'', 0 FROM keys WHERE id = ?1 LIMIT 1",
    "SELECT name, folded, type, data FROM vals WHERE key = ?1 ORDER BY folded LIMIT 1 OFFSET ?2",
    "SELECT name, folded, type, data FROM vals WHERE key = ?1 AND folded > ?2"
    " ORDER BY folded LIMIT 1",
    "INSERT INTO vals (key, folded, name, type, data) VALUES (?1, ?2, ?3, ?4, ?5)"
    " ON CONFLICT (key, folded) DO UPDATE SET type = ?4, data = ?5",
    "DELETE FROM vals WHERE key = (SELECT id FROM keys WHERE path = ?1) AND folded = ?2",
    "DELETE FROM vals WHERE key = ?1",
};
static_assert(std::size(kQueries) == static_cast<std::size_t>(Query::count));

// Ids are never used again, so that a handle on a removed key can't come to mean another.
constexpr const char* kSchema =
    "CREATE TABLE keys (id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL,"
    " name TEXT NOT NULL, path TEXT NOT NULL UNIQUE);"
    "CREATE UNIQUE INDEX children ON keys (parent, path);"
    "CREATE TABLE vals (key INTEGER NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY (key, folded)) WITHOUT ROWID;";
constexpr const char* kMachineHives =
    "INSERT INTO keys (parent, name, path) VALUES (0, 'CLASSES', 'CLASSES'),"
    " (0, 'MACHINE', 'MACHINE');";
constexpr const char* kUserHive =
    "INSERT INTO keys (parent, name, path) VALUES (0, 'USER', 'USER');";

// At most 32 MiB of a store are kept in memory, which takes what is read often of a million values;
// a mapping of the file would spare them, but be made anew after every write.
constexpr const char* kCache = "PRAGMA cache_size = -32768";

// Waits for another process's turn to end, in short naps, for half a minute in all.
int WaitForTurn(void*, int tries) {
    constexpr int kShortTries = 20;
    constexpr int kMaxTries = 15'000;
    if (tries >= kMaxTries) return 0;
    const timespec nap{0, tries < kShortTries ? 100'000 : 2'000'000};
    nanosleep(&nap, nullptr);
    return 1;
}

// Makes the directory and those above it; one that exists is left as it is.
NativeError MakeDirectories(const std::string& path, mode_t mode) {
    if (mkdir(path.c_str(), mode) == 0 || errno == EEXIST) return kSuccess;
    const std::size_t slash = path.find_last_of('/');
    if (errno != ENOENT || slash == std::string::npos || slash == 0) {
        return NativeErrorFromErrno(errno);
    }
    if (const NativeError error = MakeDirectories(path.substr(0, slash), mode); error != kSuccess) {
        return error;
    }
    return mkdir(path.c_str(), mode) == 0 || errno == EEXIST ? kSuccess
                                                             : NativeErrorFromErrno(errno);
}

// A new file gets its mode before SQLite gives the same one to the log. An existing file is never
// opened here: closing it again would drop the locks that this process holds on it.
void MakeFile(const std::string& path, mode_t mode) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file >= 0) close(file);
}

// Environment variables count in a program that runs with its own user's rights only.
std::string Environment(const char* name) {
    const char* const value = secure_getenv(name);
    return value != nullptr ? value : "";
}

std::string HomeDirectory() {
    if (std::string home = Environment("HOME"); !home.empty()) return home;
    Account account;
    return FindOwnAccount(&account) ? account.home : "/nonexistent";
}

// A relative directory in XDG_DATA_HOME is to be ignored, by the rules of that variable.
std::string UserDirectory() {
    if (std::string data = Environment("XDG_DATA_HOME"); data.starts_with('/')) {
        return data + "/kxcore7";
    }
    return HomeDirectory() + "/.local/share/kxcore7";
}

}  // namespace

NativeError NativeErrorFromSqlite(sqlite3* database, int code) {
    switch (code & 0xFF) {
        case SQLITE_OK:
        case SQLITE_ROW:
        case SQLITE_DONE:
            return kSuccess;
        case SQLITE_NOMEM:
            return kOutOfMemory;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return kBusy;
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return kAccessDenied;
        case SQLITE_NOTADB:
        case SQLITE_CORRUPT:
            return kBadDatabase;
        case SQLITE_FULL:
            return kDiskFull;
        case SQLITE_CANTOPEN:
            return database != nullptr ? NativeErrorFromErrno(sqlite3_system_errno(database))
                                       : kRegistryIoFailed;
        case SQLITE_IOERR:
            return code == SQLITE_IOERR_NOMEM ? kOutOfMemory : kRegistryIoFailed;
        default:
            return kRegistryIoFailed;
    }
}

Run& Run::Bind(std::int64_t value) {
    sqlite3_bind_int64(m_statement, ++m_arguments, value);
    return *this;
}

Run& Run::Bind(std::string_view text) {
    sqlite3_bind_text64(m_statement, ++m_arguments, text.data(), text.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
    return *this;
}

Run& Run::BindData(const void* data, std::size_t size) {
    sqlite3_bind_blob64(m_statement, ++m_arguments, size != 0 ? data : "", size, SQLITE_STATIC);
    return *this;
}

bool Run::Step() {
    const int code =
        m_statement != nullptr ? sqlite3_step(m_statement) : sqlite3_extended_errcode(m_database);
    if (code == SQLITE_ROW) return true;
    m_error = NativeErrorFromSqlite(m_database, code);
    return false;
}

NativeError Run::Finish() {
    Step();
    return m_error;
}

std::int64_t Run::Integer(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

std::string_view Run::Text(int column) const {
    const auto* const text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
}

std::string_view Run::Data(int column) const {
    const auto* const data = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    return {data, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
}

NativeError Connection::Open(const std::string& path, int flags) {
    const int code = sqlite3_open_v2(path.c_str(), &m_database,
                                     flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    if (code != SQLITE_OK) return NativeErrorFromSqlite(m_database, code);
    sqlite3_busy_handler(m_database, WaitForTurn, nullptr);
    // The log stays when the last one closes, so that a user who may only read the directory can
    // open the store at all times.
    int keepLog = 1;
    sqlite3_file_control(m_database, "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
    return kSuccess;
}

NativeError Connection::OpenForReading(const std::string& path) {
    NativeError error = Open(path, SQLITE_OPEN_READONLY);
    bool isNew = false;
    if (error == kSuccess) error = Identify(&isNew);
    if (error == kSuccess && isNew) error = kFileNotFound;
    if (error == kSuccess) error = Execute(kCache);
    if (error != kSuccess) CloseQuickly();
    return error;
}

NativeError Connection::OpenForWriting(const std::string& path, bool isPrivate) {
    NativeError error =
        MakeDirectories(path.substr(0, path.find_last_of('/')), isPrivate ? 0700 : 0755);
    if (error != kSuccess) return error;
    MakeFile(path, isPrivate ? 0600 : 0644);
    error = Open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    bool isNew = false;
    if (error == kSuccess) error = Identify(&isNew);
    if (error == kSuccess && isNew) error = Initialise(isPrivate);
    if (error == kSuccess) error = Execute("PRAGMA synchronous = NORMAL");
    if (error == kSuccess) error = Execute(kCache);
    if (error != kSuccess) CloseQuickly();
    return error;
}

// Nothing is written before it is sure that the file is a store or empty. The answers are of one
// moment: another process may be making the store.
NativeError Connection::Identify(bool* isNew) {
    std::int64_t application = 0;
    std::int64_t version = 0;
    std::int64_t tables = 0;
    NativeError error = Execute("SAVEPOINT identity");
    if (error == kSuccess) error = AskInteger("PRAGMA application_id", &application);
    if (error == kSuccess) error = AskInteger("PRAGMA user_version", &version);
    if (error == kSuccess) error = AskInteger("SELECT count(*) FROM sqlite_master", &tables);
    if (error == kSuccess) error = Execute("RELEASE identity");
    if (error != kSuccess) return error;
    *isNew = application == 0 && tables == 0;
    const bool isStore = application == kApplicationId && version == kSchemaVersion;
    return *isNew || isStore ? kSuccess : kBadDatabase;
}

// Another process may do the same at this moment: the change of the journal's mode answers "busy"
// at once where waiting might be a deadlock, so it is tried again; and who comes second into the
// transaction finds a store.
NativeError Connection::Initialise(bool isPrivate) {
    NativeError error = Execute("PRAGMA journal_mode = WAL");
    for (int tries = 0; error == kBusy && WaitForTurn(nullptr, tries) != 0; ++tries) {
        error = Execute("PRAGMA journal_mode = WAL");
    }
    if (error == kSuccess) error = Execute("BEGIN IMMEDIATE");
    if (error != kSuccess) return error;
    bool isNew = false;
    error = Identify(&isNew);
    if (error == kSuccess && isNew) {
        static const std::string identity =
            "PRAGMA application_id = " + std::to_string(kApplicationId) +
            "; PRAGMA user_version = " + std::to_string(kSchemaVersion) + ";";
        error = Execute(kSchema);
        if (error == kSuccess) error = Execute(isPrivate ? kUserHive : kMachineHives);
        if (error == kSuccess) error = Execute(identity.c_str());
    }
    if (error == kSuccess) error = Execute("COMMIT");
    if (error != kSuccess) Execute("ROLLBACK");
    return error;
}

NativeError Connection::Execute(const char* sql) {
    return NativeErrorFromSqlite(m_database,
                                 sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr));
}

NativeError Connection::AskInteger(const char* sql, std::int64_t* answer) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr);
    NativeError error = kSuccess;
    {
        Run run(m_database, statement);
        if (run.Step()) *answer = run.Integer(0);
        error = run.Error();
    }
    sqlite3_finalize(statement);
    return error;
}

void Connection::Close() {
    for (sqlite3_stmt*& statement : m_statements) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    sqlite3_close(m_database);
    m_database = nullptr;
    m_ids = nullptr;
}

void Connection::CloseQuickly() {
    if (m_database != nullptr) {
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    Close();
}

Run Connection::Start(Query query) {
    const auto index = static_cast<std::size_t>(query);
    sqlite3_stmt*& statement = m_statements[index];
    if (statement == nullptr) {
        sqlite3_prepare_v3(m_database, kQueries[index], -1, SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr);
    }
    return Run(m_database, statement);
}

// Bounded, at about two megabytes, by beginning anew.
void Connection::Remember(const std::string& path, std::int64_t id) {
    constexpr std::size_t kMost = 16'384;
    if (m_ids == nullptr) m_ids = std::make_unique<KeyIds>();
    if (m_ids->size() >= kMost) m_ids->clear();
    m_ids->insert_or_assign(path, id);
}

bool Connection::Recall(const std::string& path, std::int64_t* id) const {
    if (m_ids == nullptr) return false;
    const auto found = m_ids->find(path);
    if (found == m_ids->end()) return false;
    *id = found->second;
    return true;
}

std::string Store::Path() const {
    const char* const name = m_isPrivate ? "/user.db" : "/machine.db";
    if (std::string directory = Environment("KX_REGISTRY_DIR"); !directory.empty()) {
        return directory + name;
    }
    return (m_isPrivate ? UserDirectory() : std::string(KXCORE7_MACHINE_REGISTRY_DIR)) + name;
}

namespace {

void PrepareFork() {
    MachineStore().PrepareFork();
    UserStore().PrepareFork();
}

void FinishFork() {
    UserStore().FinishFork();
    MachineStore().FinishFork();
}

void WatchForks() {
    static const int watching = pthread_atfork(PrepareFork, FinishFork, FinishFork);
    static_cast<void>(watching);
}

}  // namespace

// Asked first, because SQLite's "can't open" does not tell a missing file from a refused one.
NativeError Store::CheckExists(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) return kSuccess;
    return errno == ENOTDIR ? kFileNotFound : NativeErrorFromErrno(errno);
}

NativeError Store::OpenReader() {
    if (m_reader.connection.IsOpen()) return kSuccess;
    WatchForks();
    const std::string path = Path();
    const NativeError error = CheckExists(path);
    return error == kSuccess ? m_reader.connection.OpenForReading(path) : error;
}

NativeError Store::OpenWriter(IfMissing ifMissing) {
    if (m_writer.connection.IsOpen()) return kSuccess;
    WatchForks();
    const std::string path = Path();
    if (ifMissing == IfMissing::fail) {
        if (const NativeError error = CheckExists(path); error != kSuccess) return error;
    }
    const NativeError error = m_writer.connection.OpenForWriting(path, m_isPrivate);
    if (error != kSuccess) return error;
    const std::lock_guard lock(m_reader.mutex);
    m_reader.connection.Close();
    return kSuccess;
}

void Store::CloseIdle() {
    for (Channel* const channel : {&m_reader, &m_writer}) {
        const std::unique_lock lock(channel->mutex, std::try_to_lock);
        if (lock.owns_lock()) channel->connection.Close();
    }
}

void Store::PrepareFork() {
    m_writer.mutex.lock();
    m_reader.mutex.lock();
    m_writer.connection.CloseQuickly();
    m_reader.connection.CloseQuickly();
}

void Store::FinishFork() {
    m_reader.mutex.unlock();
    m_writer.mutex.unlock();
}

namespace {

// A thread that outlives the library's end may still be in a call, so the stores have no end of
// their own.
union EndlessStore {
    explicit constexpr EndlessStore(bool isPrivate) : store(isPrivate) {}
    ~EndlessStore() {}

    Store store;
};

constinit EndlessStore g_machineStore(false);
constinit EndlessStore g_userStore(true);

}  // namespace

Store& MachineStore() {
    return g_machineStore.store;
}

Store& UserStore() {
    return g_userStore.store;
}

}  // namespace kx::platform
