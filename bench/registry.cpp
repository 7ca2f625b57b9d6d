#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/registry.h>
#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

// The value that is read and written, and how many there are besides. Each store gets the same.
const std::string kKey = "Bench.Program\\Settings\\Window";
const std::string kName = "Placement";
const std::array<std::string, 2> kTexts = {"0, 0, 1280, 720, 96", "9, 9, 1920, 999, 72"};
constexpr int kOtherKeys = 100;
constexpr int kValuesPerKey = 10;
constexpr std::size_t kRoom = 256;

void Require(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string("registry benchmark: ") + what);
}

// All names and texts here are ASCII.
std::u16string Widen(const std::string& text) {
    return {text.begin(), text.end()};
}

template <typename Store>
void Fill(Store& store) {
    for (int key = 0; key < kOtherKeys; ++key) {
        const std::string path = "Other.Program" + std::to_string(key) + "\\Settings\\General";
        for (int value = 0; value < kValuesPerKey; ++value) {
            store.Set(path, "Value" + std::to_string(value), kTexts[0]);
        }
    }
    store.Set(kKey, kName, kTexts[0]);
}

class KxStore final {
  public:
    KxStore() { Fill(*this); }

    void Set(const std::string& key, const std::string& name, const std::string& text) {
        Require(Write(Widen(key), Widen(name), Widen(text)), "a value can't be stored");
    }
    static bool Write(const std::u16string& key, const std::u16string& name,
                      const std::u16string& text) {
        return KXRegistrySetValue(KX_HKEY_CLASSES, key.c_str(), name.c_str(), KX_REG_SZ,
                                  text.c_str(), Bytes(text)) == 0;
    }
    static std::uint32_t Bytes(const std::u16string& text) {
        return static_cast<std::uint32_t>((text.size() + 1) * sizeof(char16_t));
    }
};

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// A table of values by key and name and the two statements that it takes: the least that a store in
// SQLite can be. It is used by one thread, so the connection has no mutex.
class BareDatabase final {
  public:
    explicit BareDatabase(const std::filesystem::path& file) {
        Open(file);
        Execute("PRAGMA journal_mode = WAL");
        Execute("PRAGMA synchronous = NORMAL");
        Execute(
            "CREATE TABLE vals (key TEXT NOT NULL, name TEXT NOT NULL, type INTEGER NOT NULL,"
            " data BLOB NOT NULL, PRIMARY KEY (key, name)) WITHOUT ROWID");
        m_select = Prepare("SELECT type, data FROM vals WHERE key = ?1 AND name = ?2");
        m_insert = Prepare(
            "INSERT INTO vals (key, name, type, data) VALUES (?1, ?2, ?3, ?4)"
            " ON CONFLICT (key, name) DO UPDATE SET type = ?3, data = ?4");
        Fill(*this);
    }

    void Set(const std::string& key, const std::string& name, const std::string& text) {
        Require(Write(key, name, Widen(text)), "a row can't be stored");
    }
    bool Write(const std::string& key, const std::string& name, const std::u16string& text) {
        sqlite3_stmt* const statement = m_insert.get();
        BindNames(statement, key, name);
        sqlite3_bind_int64(statement, 3, 1);
        sqlite3_bind_blob64(statement, 4, text.c_str(), KxStore::Bytes(text), SQLITE_STATIC);
        const bool done = sqlite3_step(statement) == SQLITE_DONE;
        sqlite3_reset(statement);
        return done;
    }
    bool Read(const std::string& key, const std::string& name, std::int64_t* type, char* data) {
        sqlite3_stmt* const statement = m_select.get();
        BindNames(statement, key, name);
        const bool found = sqlite3_step(statement) == SQLITE_ROW;
        if (found) {
            *type = sqlite3_column_int64(statement, 0);
            const void* const blob = sqlite3_column_blob(statement, 1);
            std::memcpy(data, blob, static_cast<std::size_t>(sqlite3_column_bytes(statement, 1)));
        }
        sqlite3_reset(statement);
        return found;
    }

  private:
    void Open(const std::filesystem::path& file) {
        sqlite3* database = nullptr;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        const int code = sqlite3_open_v2(file.c_str(), &database, flags, nullptr);
        m_database.reset(database);
        Require(code == SQLITE_OK, "the bare database can't be opened");
    }
    void Execute(const char* sql) {
        Require(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
    }
    Statement Prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr);
        Require(statement != nullptr, sql);
        return Statement(statement);
    }
    static void BindNames(sqlite3_stmt* statement, const std::string& key,
                          const std::string& name) {
        sqlite3_bind_text64(statement, 1, key.data(), key.size(), SQLITE_STATIC, SQLITE_UTF8);
        sqlite3_bind_text64(statement, 2, name.data(), name.size(), SQLITE_STATIC, SQLITE_UTF8);
    }

    std::unique_ptr<sqlite3, CloseDatabase> m_database;
    Statement m_select;
    Statement m_insert;
};

struct FreeKeyFile {
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

class KeyFile final {
  public:
    explicit KeyFile(const std::filesystem::path& file) : m_path(file) { Fill(*this); }

    void Set(const std::string& key, const std::string& name, const std::string& text) {
        g_key_file_set_string(m_file.get(), key.c_str(), name.c_str(), text.c_str());
    }
    bool Save() { return g_key_file_save_to_file(m_file.get(), m_path.c_str(), nullptr) != FALSE; }
    bool Read(const std::string& key, const std::string& name) {
        gchar* const text = g_key_file_get_string(m_file.get(), key.c_str(), name.c_str(), nullptr);
        benchmark::DoNotOptimize(text);
        g_free(text);
        return text != nullptr;
    }

  private:
    const std::filesystem::path m_path;
    const std::unique_ptr<GKeyFile, FreeKeyFile> m_file{g_key_file_new()};
};

void KxRead(benchmark::State& state) {
    const std::u16string key = Widen(kKey);
    const std::u16string name = Widen(kName);
    bool done = true;
    for (auto _ : state) {
        std::uint32_t type = 0;
        char data[kRoom];
        std::uint32_t length = kRoom;
        done &= KXRegistryGetValue(KX_HKEY_CLASSES, key.c_str(), name.c_str(), &type, data,
                                   &length) == 0;
        benchmark::DoNotOptimize(data);
    }
    if (!done) Fail(state, "a registry value can't be read");
}

void BareRead(benchmark::State& state, BareDatabase& database) {
    bool done = true;
    for (auto _ : state) {
        std::int64_t type = 0;
        char data[kRoom];
        done &= database.Read(kKey, kName, &type, data);
        benchmark::DoNotOptimize(data);
    }
    if (!done) Fail(state, "a bare row can't be read");
}

void KeyFileRead(benchmark::State& state, KeyFile& file) {
    bool done = true;
    for (auto _ : state) done &= file.Read(kKey, kName);
    if (!done) Fail(state, "an entry of the key file can't be read");
}

// The writes take turns between two texts, so that each is a change.

void KxWrite(benchmark::State& state) {
    const std::u16string key = Widen(kKey);
    const std::u16string name = Widen(kName);
    const std::array<std::u16string, 2> texts = {Widen(kTexts[0]), Widen(kTexts[1])};
    bool done = true;
    std::size_t turn = 0;
    for (auto _ : state) done &= KxStore::Write(key, name, texts[turn++ % 2]);
    if (!done) Fail(state, "a registry value can't be written");
}

void BareWrite(benchmark::State& state, BareDatabase& database) {
    const std::array<std::u16string, 2> texts = {Widen(kTexts[0]), Widen(kTexts[1])};
    bool done = true;
    std::size_t turn = 0;
    for (auto _ : state) done &= database.Write(kKey, kName, texts[turn++ % 2]);
    if (!done) Fail(state, "a bare row can't be written");
}

void KeyFileWrite(benchmark::State& state, KeyFile& file) {
    bool done = true;
    std::size_t turn = 0;
    for (auto _ : state) {
        file.Set(kKey, kName, kTexts[turn++ % 2]);
        done &= file.Save();
    }
    if (!done) Fail(state, "the key file can't be written");
}

}  // namespace

void RegisterRegistry(Report& report, const std::filesystem::path& scratch) {
    const KxStore filled;
    const auto database = std::make_shared<BareDatabase>(scratch / "bare.db");
    const auto file = std::make_shared<KeyFile>(scratch / "keyfile.ini");
    using benchmark::RegisterBenchmark;
    using benchmark::State;
    RegisterBenchmark("registry read/kxcore7", KxRead);
    RegisterBenchmark("registry read/bare",
                      [database](State& state) { BareRead(state, *database); });
    RegisterBenchmark("registry read/keyfile", [file](State& state) { KeyFileRead(state, *file); });
    RegisterBenchmark("registry write/kxcore7", KxWrite);
    RegisterBenchmark("registry write/bare",
                      [database](State& state) { BareWrite(state, *database); });
    RegisterBenchmark("registry write/keyfile",
                      [file](State& state) { KeyFileWrite(state, *file); });
    report.Add({.what = "KXRegistryGetValue",
                .benchmark = "registry read/kxcore7",
                .peers = {{"bare SQLite SELECT", "registry read/bare"}},
                .asides = {{"GLib GKeyFile (in memory)", "registry read/keyfile"}},
                .wanted = 2.0});
    report.Add({.what = "KXRegistrySetValue, replacing",
                .benchmark = "registry write/kxcore7",
                .peers = {{"bare SQLite INSERT", "registry write/bare"}},
                .asides = {{"GLib GKeyFile (rewrites whole file)", "registry write/keyfile"}}});
}

}  // namespace bench
