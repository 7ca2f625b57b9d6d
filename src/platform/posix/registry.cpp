#include "platform/registry.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "platform/posix/registry_names.h"
#include "platform/posix/registry_store.h"
#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

// An id that no key has.
constexpr std::int64_t kNoKey = -1;

// Where a walk by index stands: the next index, and the folded name behind which its entry is
// found. By the name an entry is found in one search, and a walk is not disturbed by entries that
// come and go.
struct Cursor {
    std::uint32_t next = 0;
    std::string behind;
};

struct OpenedKey {
    Store* store;
    std::int64_t id;
    std::string path;
    Cursor keys = {};
    Cursor values = {};
};

// A key named by a handle and a path under it: the store and the folded path there.
struct Place {
    Store* store = nullptr;
    std::string path;
    bool isHive = false;
};

bool IsHive(KeyHandle handle) {
    return handle >= kHiveClasses && handle <= kHiveMachine;
}

OpenedKey* FromHandle(KeyHandle handle) {
    return reinterpret_cast<OpenedKey*>(handle);
}

std::u16string_view View(const char16_t* text) {
    return text != nullptr ? text : std::u16string_view();
}

NativeError Locate(KeyHandle parent, const char16_t* path, Place* place) {
    switch (parent) {
        case kHiveClasses:
            *place = {&MachineStore(), "CLASSES"};
            break;
        case kHiveMachine:
            *place = {&MachineStore(), "MACHINE"};
            break;
        case kHiveUser:
            *place = {&UserStore(), "USER"};
            break;
        case kInvalidHive:
            return kInvalidHandle;
        default:
            *place = {FromHandle(parent)->store, FromHandle(parent)->path};
    }
    const NativeError error = AppendFoldedPath(place->path, View(path));
    place->isHive = place->path.find('\\') == std::string::npos;
    return error;
}

NativeError LocateValue(KeyHandle hive, const char16_t* path, const char16_t* name, Place* place,
                        std::string* folded) {
    const NativeError error = Locate(hive, path, place);
    return error == kSuccess ? FoldValueName(*folded, View(name)) : error;
}

// The floor has no exceptions: exhausted memory is a native error like any other.
template <typename Call>
NativeError Floor(Call&& call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (...) {
        return kRegistryIoFailed;
    }
}

NativeError FindKey(Connection& connection, const std::string& path, std::int64_t* id) {
    Run run = connection.Start(Query::findKey);
    if (!run.Bind(path).Step()) {
        return run.Error() == kSuccess ? kFileNotFound : run.Error();
    }
    *id = run.Integer(0);
    return kSuccess;
}

// The key's id, made with all that is missing above it.
NativeError FindOrCreateKey(Connection& connection, const Place& place, std::u16string_view names,
                            std::int64_t* id) {
    NativeError error = FindKey(connection, place.path, id);
    if (error != kFileNotFound) return error;
    std::size_t end = place.path.find('\\');
    error = FindKey(connection, place.path.substr(0, end), id);
    while (error == kSuccess && end != std::string::npos) {
        const std::u16string_view name = TakeComponent(names);
        end = place.path.find('\\', end + 1);
        const std::string path = place.path.substr(0, end);
        const std::int64_t parent = *id;
        error = FindKey(connection, path, id);
        if (error != kFileNotFound) continue;
        error = connection.Start(Query::insertKey)
                    .Bind(parent)
                    .Bind(Utf8FromUtf16(name))
                    .Bind(path)
                    .Finish();
        if (error == kSuccess) *id = connection.InsertedId();
    }
    return error;
}

NativeError WriteValue(Connection& connection, std::int64_t key, std::u16string_view name,
                       std::uint32_t type, const void* data, std::uint32_t length) {
    std::string folded;
    if (const NativeError error = FoldValueName(folded, name); error != kSuccess) return error;
    const std::string written = Utf8FromUtf16(name);
    return connection.Start(Query::writeValue)
        .Bind(key)
        .Bind(folded)
        .Bind(written)
        .Bind(std::int64_t{type})
        .BindData(data, length)
        .Finish();
}

bool IsText(std::uint32_t type) {
    return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// Hands a value's data to the caller, as far as the caller asked for it.
NativeError StoreData(std::string_view value, std::uint32_t type, void* data,
                      std::uint32_t* length) {
    const std::uint32_t capacity = length != nullptr ? *length : 0;
    const auto size = static_cast<std::uint32_t>(value.size());
    if (length != nullptr) *length = size;
    if (data == nullptr) return kSuccess;
    if (length == nullptr) return kInvalidParameter;
    if (capacity < size) return kMoreData;
    if (size != 0) std::memcpy(data, value.data(), size);
    if (IsText(type) && capacity - size >= sizeof(char16_t)) {
        std::memset(static_cast<char*>(data) + size, 0, sizeof(char16_t));
    }
    return kSuccess;
}

NativeError StoreName(std::string_view utf8, char16_t* name, std::uint32_t* nameLength) {
    const std::u16string wide = Utf16FromUtf8(utf8);
    if (*nameLength <= wide.size()) return kMoreData;
    *std::copy(wide.begin(), wide.end(), name) = u'\0';
    *nameLength = static_cast<std::uint32_t>(wide.size());
    return kSuccess;
}

// Whether the entry at index is the one behind the last one that was asked for; any other is found
// by counting.
bool Continues(const Cursor& cursor, std::uint32_t index) {
    return index != 0 && index == cursor.next;
}

void BindEntry(Run& run, std::int64_t key, const Cursor& cursor, std::uint32_t index) {
    run.Bind(key);
    if (Continues(cursor, index)) {
        run.Bind(cursor.behind);
    } else {
        run.Bind(std::int64_t{index});
    }
}

// Why a search for an entry found none.
NativeError WhyNoEntry(Connection& connection, std::int64_t key, NativeError error) {
    if (error != kSuccess) return error;
    Run run = connection.Start(Query::keyExists);
    if (run.Bind(key).Step()) return kNoMoreItems;
    return run.Error() == kSuccess ? kKeyDeleted : run.Error();
}

}  // namespace

NativeError OpenKey(KeyHandle parent, const char16_t* path, std::uint32_t access, KeyHandle* key) {
    return Floor([&]() -> NativeError {
        Place place;
        if (const NativeError error = Locate(parent, path, &place); error != kSuccess) {
            return error;
        }
        auto opened = std::make_unique<OpenedKey>(OpenedKey{place.store, kNoKey, place.path});
        NativeError error = place.store->Read(
            [&](Connection& connection) { return FindKey(connection, place.path, &opened->id); });
        // A hive is there before its store is.
        if (error == kFileNotFound && place.isHive) error = kSuccess;
        if (error == kSuccess && opened->id != kNoKey &&
            (access & kKeyAllAccess & ~kKeyRead) != 0) {
            error = place.store->Write(IfMissing::fail, [](Connection& connection) {
                return connection.IsReadOnly() ? kAccessDenied : kSuccess;
            });
        }
        if (error == kSuccess) *key = reinterpret_cast<KeyHandle>(opened.release());
        return error;
    });
}

NativeError CloseKey(KeyHandle key) {
    if (key == kInvalidHive) return kInvalidHandle;
    if (!IsHive(key)) delete FromHandle(key);
    return kSuccess;
}

NativeError QueryValue(KeyHandle hive, std::uint32_t, const char16_t* path, const char16_t* name,
                       std::uint32_t* type, void* data, std::uint32_t* length) {
    return Floor([&]() -> NativeError {
        Place place;
        std::string folded;
        if (const NativeError error = LocateValue(hive, path, name, &place, &folded);
            error != kSuccess) {
            return error;
        }
        return place.store->Read([&](Connection& connection) -> NativeError {
            const auto store = [&](const Run& run) {
                const auto native = static_cast<std::uint32_t>(run.Integer(0));
                if (type != nullptr) *type = native;
                return StoreData(run.Data(1), native, data, length);
            };
            // Without a row the key that is remembered is gone; there may be another of its name.
            if (std::int64_t id = kNoKey; connection.Recall(place.path, &id)) {
                Run run = connection.Start(Query::readValueOfKey);
                if (run.Bind(id).Bind(folded).Step()) {
                    return run.Integer(2) != 0 ? store(run) : kFileNotFound;
                }
                if (run.Error() != kSuccess) return run.Error();
            }
            Run run = connection.Start(Query::readValue);
            if (!run.Bind(place.path).Bind(folded).Step()) {
                return run.Error() == kSuccess ? kFileNotFound : run.Error();
            }
            connection.Remember(place.path, run.Integer(2));
            return store(run);
        });
    });
}

// The keys on the path come into being even if the value then can't be written.
NativeError SetValue(KeyHandle hive, std::uint32_t, bool, const char16_t* path,
                     const char16_t* name, std::uint32_t type, const void* data,
                     std::uint32_t length) {
    return Floor([&]() -> NativeError {
        Place place;
        if (const NativeError error = Locate(hive, path, &place); error != kSuccess) return error;
        NativeError written = kSuccess;
        const NativeError error =
            place.store->Transact(IfMissing::make, [&](Connection& connection) {
                std::int64_t key = kNoKey;
                const NativeError made = FindOrCreateKey(connection, place, View(path), &key);
                if (made == kSuccess) {
                    written = WriteValue(connection, key, View(name), type, data, length);
                }
                return made;
            });
        return written != kSuccess ? written : error;
    });
}

NativeError DeleteValue(KeyHandle hive, std::uint32_t, const char16_t* path, const char16_t* name) {
    return Floor([&]() -> NativeError {
        Place place;
        std::string folded;
        if (const NativeError error = LocateValue(hive, path, name, &place, &folded);
            error != kSuccess) {
            return error;
        }
        return place.store->Transact(IfMissing::fail, [&](Connection& connection) {
            const NativeError error =
                connection.Start(Query::deleteValue).Bind(place.path).Bind(folded).Finish();
            if (error != kSuccess) return error;
            return connection.Changes() != 0 ? kSuccess : kFileNotFound;
        });
    });
}

NativeError EnumKey(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength) {
    if (key == kInvalidHive || IsHive(key)) return kInvalidHandle;
    return Floor([&] {
        OpenedKey& opened = *FromHandle(key);
        const NativeError error = opened.store->Read([&](Connection& connection) -> NativeError {
            Run run =
                connection.Start(Continues(opened.keys, index) ? Query::keyBehind : Query::keyAt);
            BindEntry(run, opened.id, opened.keys, index);
            if (!run.Step()) return WhyNoEntry(connection, opened.id, run.Error());
            opened.keys = {index + 1, std::string(run.Text(1))};
            return StoreName(run.Text(0), name, nameLength);
        });
        return error == kFileNotFound ? kNoMoreItems : error;
    });
}

NativeError EnumValue(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength,
                      std::uint32_t* type, void* data, std::uint32_t* length) {
    if (key == kInvalidHive || IsHive(key)) return kInvalidHandle;
    return Floor([&] {
        OpenedKey& opened = *FromHandle(key);
        const NativeError error = opened.store->Read([&](Connection& connection) -> NativeError {
            Run run = connection.Start(Continues(opened.values, index) ? Query::valueBehind
                                                                       : Query::valueAt);
            BindEntry(run, opened.id, opened.values, index);
            if (!run.Step()) return WhyNoEntry(connection, opened.id, run.Error());
            opened.values = {index + 1, std::string(run.Text(1))};
            const NativeError stored = StoreName(run.Text(0), name, nameLength);
            if (stored != kSuccess) return stored;
            const auto native = static_cast<std::uint32_t>(run.Integer(2));
            if (type != nullptr) *type = native;
            return StoreData(run.Data(3), native, data, length);
        });
        return error == kFileNotFound ? kNoMoreItems : error;
    });
}

namespace {

NativeError DeleteKey(KeyHandle parent, const char16_t* name, std::uint32_t, std::uint32_t) {
    return Floor([&]() -> NativeError {
        Place place;
        if (const NativeError error = Locate(parent, name, &place); error != kSuccess) {
            return error;
        }
        if (place.isHive) return kAccessDenied;
        return place.store->Transact(IfMissing::fail, [&](Connection& connection) -> NativeError {
            std::int64_t key = kNoKey;
            NativeError error = FindKey(connection, place.path, &key);
            if (error != kSuccess) return error;
            {
                Run child = connection.Start(Query::keyAt);
                if (child.Bind(key).Bind(std::int64_t{0}).Step()) return kAccessDenied;
                if (child.Error() != kSuccess) return child.Error();
            }
            error = connection.Start(Query::deleteValues).Bind(key).Finish();
            if (error != kSuccess) return error;
            return connection.Start(Query::deleteKey).Bind(key).Finish();
        });
    });
}

}  // namespace

DeleteKeyFunction ResolveDeleteKey() {
    return DeleteKey;
}

void CloseRegistry() {
    MachineStore().CloseIdle();
    UserStore().CloseIdle();
}

}  // namespace kx::platform
