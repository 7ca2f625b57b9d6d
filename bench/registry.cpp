#include <benchmark/benchmark.h>
#include <dlfcn.h>
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
#include <utility>
#include <vector>

#include "report.h"
#include "rows.h"
#include "subjects.h"
#include "support/environment.h"

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
        m_walk = Prepare("SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY name");
        m_delete = Prepare("DELETE FROM vals WHERE key = ?1 AND name = ?2");
    }

    // What part() writes is one transaction, which is the quick way to fill a table.
    template <typename Part>
    void InOne(Part part) {
        Execute("BEGIN");
        part();
        Execute("COMMIT");
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
    // The values that a key has.
    int Walk(const std::string& key) {
        sqlite3_stmt* const statement = m_walk.get();
        sqlite3_bind_text64(statement, 1, key.data(), key.size(), SQLITE_STATIC, SQLITE_UTF8);
        int count = 0;
        for (; sqlite3_step(statement) == SQLITE_ROW; ++count) {
            benchmark::DoNotOptimize(sqlite3_column_text16(statement, 0));
            benchmark::DoNotOptimize(sqlite3_column_blob(statement, 2));
        }
        sqlite3_reset(statement);
        return count;
    }
    bool Delete(const std::string& key, const std::string& name) {
        sqlite3_stmt* const statement = m_delete.get();
        BindNames(statement, key, name);
        const bool done = sqlite3_step(statement) == SQLITE_DONE;
        sqlite3_reset(statement);
        return done && sqlite3_changes(m_database.get()) == 1;
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
    Statement m_walk;
    Statement m_delete;
};

struct FreeKeyFile {
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

class KeyFile final {
  public:
    explicit KeyFile(const std::filesystem::path& file) : m_path(file) {}

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
    int Walk(const std::string& key) {
        gsize count = 0;
        gchar** const names = g_key_file_get_keys(m_file.get(), key.c_str(), &count, nullptr);
        for (gsize i = 0; i < count; ++i) Read(key, names[i]);
        g_strfreev(names);
        return static_cast<int>(count);
    }
    bool Delete(const std::string& key, const std::string& name) {
        return g_key_file_remove_key(m_file.get(), key.c_str(), name.c_str(), nullptr) != FALSE;
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

// --- Stores of many values -----------------------------------------------------------------------

// A value, in the letters of every store.
struct Place {
    explicit Place(std::size_t number)
        : key("Program" + std::to_string(number / kValuesPerKey) + "\\Settings"),
          name("Value" + std::to_string(number % kValuesPerKey)),
          wideKey(Widen(key)),
          wideName(Widen(name)) {}

    std::string key;
    std::string name;
    std::u16string wideKey;
    std::u16string wideName;
};

// Values from everywhere in a store, in an order without a pattern: more of them than fit into
// anybody's cache of a large store.
class Round final {
  public:
    explicit Round(std::size_t size) {
        constexpr std::size_t kPlaces = 4096;
        std::uint64_t state = size;
        for (std::size_t i = 0; i < kPlaces; ++i) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            m_places.emplace_back((state >> 33) % size);
        }
    }
    const Place& Next() { return m_places[m_next++ % m_places.size()]; }
    // Changes from one round to the next, so that every write is a change.
    std::size_t Turn() const { return m_next / m_places.size() % 2; }

  private:
    std::vector<Place> m_places;
    std::size_t m_next = 0;
};

// Where its registry is, a library decides at its first write and its first read: each store has a
// copy of the library to itself.
class KxCopy final {
  public:
    explicit KxCopy(const std::filesystem::path& folder) {
        std::filesystem::create_directory(folder);
        const std::filesystem::path library = folder / "library.so";
        std::filesystem::copy_file(BENCH_LIBRARY_PATH, library);
        m_library.reset(dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL));
        Require(m_library != nullptr, "a copy of the library can't be loaded");
        Find("KXRegistryGetValue", &m_get);
        Find("KXRegistrySetValue", &m_set);
        Find("KXRegistryDeleteValue", &m_delete);
        Find("KXRegistryOpenValueEnum", &m_open);
        Find("KXRegistryEnumNextValue", &m_next);
        Find("KXRegistryCloseEnum", &m_close);
        const kx::test::ScopedEnvironment where("KX_REGISTRY_DIR", folder.string());
        Require(Write(Place(0), Widen(kTexts[0])), "a value can't be stored");
        Require(Read(Place(0)), "a value that was stored can't be read");
        Require(std::filesystem::exists(folder / "machine.db"), "a copy writes elsewhere");
    }

    template <typename Part>
    void InOne(Part part) {
        part();
    }
    bool Read(const Place& place) {
        std::uint32_t type = 0;
        char data[kRoom];
        std::uint32_t length = kRoom;
        const KXResult result = m_get(KX_HKEY_CLASSES, place.wideKey.c_str(),
                                      place.wideName.c_str(), &type, data, &length);
        benchmark::DoNotOptimize(data);
        return result == 0;
    }
    bool Write(const Place& place, const std::u16string& text) {
        return m_set(KX_HKEY_CLASSES, place.wideKey.c_str(), place.wideName.c_str(), KX_REG_SZ,
                     text.c_str(), KxStore::Bytes(text)) == 0;
    }
    int Walk(const Place& place) {
        KXRegistryEnumHandle handle = KX_INVALID_HANDLE;
        if (m_open(KX_HKEY_CLASSES, place.wideKey.c_str(), &handle) != 0) return 0;
        int count = 0;
        while (Step(handle)) ++count;
        m_close(handle);
        return count;
    }
    bool Delete(const Place& place) {
        return m_delete(KX_HKEY_CLASSES, place.wideKey.c_str(), place.wideName.c_str()) == 0;
    }

  private:
    struct Unload {
        void operator()(void* library) const { dlclose(library); }
    };

    template <typename Function>
    void Find(const char* name, Function* function) {
        *function = reinterpret_cast<Function>(dlsym(m_library.get(), name));
        Require(*function != nullptr, name);
    }
    bool Step(KXRegistryEnumHandle handle) {
        char16_t name[kRoom];
        std::uint32_t nameLength = kRoom;
        std::uint32_t type = 0;
        char data[kRoom];
        std::uint32_t length = kRoom;
        const KXResult result = m_next(handle, name, &nameLength, &type, data, &length);
        benchmark::DoNotOptimize(data);
        return result == 0;
    }

    std::unique_ptr<void, Unload> m_library;
    decltype(&KXRegistryGetValue) m_get = nullptr;
    decltype(&KXRegistrySetValue) m_set = nullptr;
    decltype(&KXRegistryDeleteValue) m_delete = nullptr;
    decltype(&KXRegistryOpenValueEnum) m_open = nullptr;
    decltype(&KXRegistryEnumNextValue) m_next = nullptr;
    decltype(&KXRegistryCloseEnum) m_close = nullptr;
};

class BareStore final {
  public:
    explicit BareStore(const std::filesystem::path& file) : m_database(file) {}
    template <typename Part>
    void InOne(Part part) {
        m_database.InOne(part);
    }
    bool Read(const Place& place) {
        std::int64_t type = 0;
        char data[kRoom];
        const bool found = m_database.Read(place.key, place.name, &type, data);
        benchmark::DoNotOptimize(data);
        return found;
    }
    bool Write(const Place& place, const std::u16string& text) {
        return m_database.Write(place.key, place.name, text);
    }
    int Walk(const Place& place) { return m_database.Walk(place.key); }
    bool Delete(const Place& place) { return m_database.Delete(place.key, place.name); }

  private:
    BareDatabase m_database;
};

// It stays in memory: what a rewrite of the file costs is shown with few values.
class KeyFileStore final {
  public:
    explicit KeyFileStore(const std::filesystem::path& file) : m_file(file) {}
    template <typename Part>
    void InOne(Part part) {
        part();
    }
    bool Read(const Place& place) { return m_file.Read(place.key, place.name); }
    bool Write(const Place& place, const std::u16string& text) {
        m_file.Set(place.key, place.name, std::string(text.begin(), text.end()));
        return true;
    }
    int Walk(const Place& place) { return m_file.Walk(place.key); }
    bool Delete(const Place& place) { return m_file.Delete(place.key, place.name); }

  private:
    KeyFile m_file;
};

// A store of so many values, made when the first benchmark asks for it.
template <typename Store>
class Large final {
  public:
    Large(std::filesystem::path place, std::size_t size)
        : m_place(std::move(place)), m_round(size), m_size(size) {}

    Store& Get() {
        if (m_store == nullptr) m_store = Made();
        return *m_store;
    }
    Round& Places() { return m_round; }

  private:
    std::unique_ptr<Store> Made() const {
        auto store = std::make_unique<Store>(m_place);
        const std::u16string text = Widen(kTexts[0]);
        store->InOne([&] {
            for (std::size_t i = 0; i < m_size; ++i) {
                Require(store->Write(Place(i), text), "a store can't be filled");
            }
        });
        return store;
    }

    const std::filesystem::path m_place;
    Round m_round;
    const std::size_t m_size;
    std::unique_ptr<Store> m_store;
};

template <typename Store, typename Work>
auto Measured(std::shared_ptr<Large<Store>> large, Work work) {
    return [large, work](const std::string& name) {
        benchmark::RegisterBenchmark(name.c_str(), [large, work](benchmark::State& state) {
            Store& store = large->Get();
            Round& places = large->Places();
            bool done = true;
            for (auto _ : state) {
                const std::size_t turn = places.Turn();
                done &= work(store, places.Next(), turn);
            }
            if (!done) Fail(state, "a call to a store fails");
        });
    };
}

struct Stores {
    Stores(const std::filesystem::path& folder, std::size_t size)
        : label(", " + std::to_string(size) + " values"),
          kx(std::make_shared<Large<KxCopy>>(folder / ("kx" + std::to_string(size)), size)),
          bare(std::make_shared<Large<BareStore>>(folder / ("bare" + std::to_string(size)), size)),
          keyFile(std::make_shared<Large<KeyFileStore>>(folder / "none", size)) {}

    const std::string label;
    const std::shared_ptr<Large<KxCopy>> kx;
    const std::shared_ptr<Large<BareStore>> bare;
    const std::shared_ptr<Large<KeyFileStore>> keyFile;
};

template <typename Work>
void AddLarge(Report& report, const std::string& what, const Stores& stores, const char* statement,
              Work work) {
    Rows(what + stores.label)
        .Own(Measured(stores.kx, work))
        .Peer(statement, Measured(stores.bare, work))
        .Aside("GLib GKeyFile (in memory)", Measured(stores.keyFile, work))
        .AddTo(report);
}

void RegisterLarge(Report& report, const std::filesystem::path& folder,
                   const std::vector<std::size_t>& sizes) {
    const std::array<std::u16string, 2> texts = {Widen(kTexts[1]), Widen(kTexts[0])};
    const std::string read = "registry read";
    for (const std::size_t size : sizes) {
        const Stores stores(folder, size);
        AddLarge(report, read, stores, "bare SQLite SELECT",
                 [](auto& store, const Place& place, std::size_t) { return store.Read(place); });
        AddLarge(report, "registry write", stores, "bare SQLite INSERT",
                 [texts](auto& store, const Place& place, std::size_t turn) {
                     return store.Write(place, texts[turn]);
                 });
        AddLarge(report, "registry walk of 10", stores, "bare SQLite SELECT",
                 [](auto& store, const Place& place, std::size_t) {
                     return store.Walk(place) == kValuesPerKey;
                 });
        AddLarge(report, "registry delete + write", stores, "bare SQLite DELETE + INSERT",
                 [texts](auto& store, const Place& place, std::size_t turn) {
                     return store.Delete(place) && store.Write(place, texts[turn]);
                 });
    }
    constexpr double kFlat = 1.5;
    const auto few = Stores(folder, sizes.front()).label;
    const auto many = Stores(folder, sizes.back()).label;
    report.Add({.what = read + many,
                .benchmark = read + many + "/kxcore7",
                .peers = {{"the same" + few, read + few + "/kxcore7"}},
                .wanted = kFlat});
}

}  // namespace

void RegisterRegistry(Report& report, const std::filesystem::path& scratch,
                      const std::filesystem::path& large, bool quick) {
    const KxStore filled;
    const auto database = std::make_shared<BareDatabase>(scratch / "bare.db");
    Fill(*database);
    const auto file = std::make_shared<KeyFile>(scratch / "keyfile.ini");
    Fill(*file);
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
    RegisterLarge(report, large,
                  quick ? std::vector<std::size_t>{100, 1000, 10'000}
                        : std::vector<std::size_t>{100, 10'000, 1'000'000});
}

}  // namespace bench
