// The two databases behind the registry and the connections to them.
//
// A store is one SQLite database in WAL mode: a reader sees a whole state and never waits for a
// writer, writers of all processes take turns, and what a commit has put into the log survives the
// death of the process at any instruction. The log is synchronised with the disk at checkpoints
// only, so that after a loss of power a store is whole but may lack the latest writes.
//
//   keys   id, parent's id, name as first written, path: the folded components from the hive down
//   vals   key's id, folded name, name as first written, native type, data
#ifndef KXCORE7_SRC_PLATFORM_POSIX_REGISTRY_STORE_H
#define KXCORE7_SRC_PLATFORM_POSIX_REGISTRY_STORE_H

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/error.h"

namespace kx::platform {

enum class Query : std::size_t {
    begin,
    commit,
    rollback,
    findKey,
    keyExists,
    keyAt,
    keyBehind,
    insertKey,
    deleteKey,
    readValue,
    readValueOfKey,
    valueAt,
    valueBehind,
    writeValue,
    deleteValue,
    deleteValues,
    count
};

// The native error for what SQLite answered.
NativeError NativeErrorFromSqlite(sqlite3* database, int code);

// One run of a prepared statement, from the binding of its arguments to the reset that ends its
// transaction. Text and data bound must outlive the run.
class Run final {
  public:
    Run(sqlite3* database, sqlite3_stmt* statement)
        : m_database(database), m_statement(statement) {}
    ~Run() { sqlite3_reset(m_statement); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    Run& Bind(std::int64_t value);
    Run& Bind(std::string_view text);
    Run& BindData(const void* data, std::size_t size);

    // True for a row, which stays readable until the next step; false at the end or on an error.
    bool Step();
    // What ended the run: kSuccess at the end of the rows.
    NativeError Error() const { return m_error; }
    // Runs a statement without rows.
    NativeError Finish();

    std::int64_t Integer(int column) const;
    std::string_view Text(int column) const;
    std::string_view Data(int column) const;

  private:
    sqlite3* const m_database;
    sqlite3_stmt* const m_statement;
    int m_arguments = 0;
    NativeError m_error = kSuccess;
};

// One open database. Belongs to one thread at a time.
class Connection final {
  public:
    constexpr Connection() = default;
    ~Connection() { Close(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool IsOpen() const { return m_database != nullptr; }
    // Whether a store that could be opened can't be written.
    bool IsReadOnly() const { return sqlite3_db_readonly(m_database, "main") == 1; }

    // Opens an existing store for reading. kFileNotFound where there is none yet.
    NativeError OpenForReading(const std::string& path);
    // Opens the store, making it, its directory and those above if missing.
    NativeError OpenForWriting(const std::string& path, bool isPrivate);
    void Close();
    // Leaves moving the log into the database to others, so that it costs nothing.
    void CloseQuickly();

    Run Start(Query query);

    // The ids of keys by their paths, as far as they are remembered. Such a key may be gone by now,
    // but an id never comes to mean another.
    void Remember(const std::string& path, std::int64_t id);
    bool Recall(const std::string& path, std::int64_t* id) const;

    // Rows that the latest statement changed.
    int Changes() const { return sqlite3_changes(m_database); }
    // The id of the row that the latest insertion made.
    std::int64_t InsertedId() const { return sqlite3_last_insert_rowid(m_database); }

  private:
    using KeyIds = std::unordered_map<std::string, std::int64_t>;

    NativeError Open(const std::string& path, int flags);
    NativeError Identify(bool* isNew);
    NativeError Initialise(bool isPrivate);
    NativeError Execute(const char* sql);
    NativeError AskInteger(const char* sql, std::int64_t* answer);

    sqlite3* m_database = nullptr;
    std::array<sqlite3_stmt*, static_cast<std::size_t>(Query::count)> m_statements{};
    std::unique_ptr<KeyIds> m_ids;
};

// What a writer does about a store that is not there yet.
enum class IfMissing { fail, make };

// A store with a connection for reading and one for writing, so that a thread that waits for its
// turn to write holds up nobody who reads. Each is opened by its first user and used under its own
// mutex, the writer's first where both are. Once the writer's is open, reads go over it while
// nobody writes or waits to: what it has in memory outlasts its own writes, while any other
// connection reads it anew behind each.
class Store final {
  public:
    explicit constexpr Store(bool isPrivate) : m_isPrivate(isPrivate) {}

    // Runs the call with the open connection and returns its native error, or that of the open:
    // kFileNotFound where there is no store yet.
    template <typename Call>
    NativeError Read(Call&& call) {
        {
            const std::unique_lock lock(m_writer.mutex, std::try_to_lock);
            if (lock.owns_lock() && m_writer.connection.IsOpen()) return call(m_writer.connection);
        }
        const std::lock_guard lock(m_reader.mutex);
        const NativeError error = OpenReader();
        return error == kSuccess ? call(m_reader.connection) : error;
    }
    template <typename Call>
    NativeError Write(IfMissing ifMissing, Call&& call) {
        const std::lock_guard lock(m_writer.mutex);
        const NativeError error = OpenWriter(ifMissing);
        return error == kSuccess ? call(m_writer.connection) : error;
    }
    // Runs the call in a transaction that is committed if it returns kSuccess.
    template <typename Call>
    NativeError Transact(IfMissing ifMissing, Call&& call) {
        return Write(ifMissing, [&](Connection& connection) -> NativeError {
            NativeError error = connection.Start(Query::begin).Finish();
            if (error != kSuccess) return error;
            error = call(connection);
            if (error == kSuccess) error = connection.Start(Query::commit).Finish();
            if (error != kSuccess) connection.Start(Query::rollback).Finish();
            return error;
        });
    }

    // Closes what nobody uses at this moment.
    void CloseIdle();
    // Around a fork, since no connection survives one: closes all, waiting for those in use, and
    // keeps everybody out until the fork is done.
    void PrepareFork();
    void FinishFork();

  private:
    struct Channel {
        std::mutex mutex;
        Connection connection;
    };

    std::string Path() const;
    static NativeError CheckExists(const std::string& path);
    NativeError OpenReader();
    NativeError OpenWriter(IfMissing ifMissing);

    const bool m_isPrivate;
    Channel m_reader;
    Channel m_writer;
};

// The machine's store (classes and machine hives) and the user's.
Store& MachineStore();
Store& UserStore();

}  // namespace kx::platform

#endif
