#include <kxcore7/registry.h>
#include <kxcore7/result.h>
#include <kxcore7/str.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "platform/environment.h"
#include "platform/registry.h"

using namespace kx;
using core::g_data;
using platform::KeyHandle;
using platform::NativeError;

namespace {

struct ResolvedRoot {
    KeyHandle hive;
    uint32_t view;
};

// Never fails: an unknown root gives an invalid hive, and the native call that follows fails.
ResolvedRoot ResolveRoot(uint32_t root) {
    const bool wow64 = g_data.isWow64 != 0;
    const uint32_t view32 = wow64 ? platform::kView32 : 0;
    const uint32_t view64 = wow64 ? platform::kView64 : 0;
    switch (root) {
        case KX_HKEY_CLASSES:
            return {platform::kHiveClasses, view32};
        case KX_HKEY_CONFIG:
            return {platform::kHiveMachine, view32};
        case KX_HKEY_USER:
            return {platform::kHiveUser, 0};
        case KX_HKEY_CLASSES_64:
            return {platform::kHiveClasses, view64};
        case KX_HKEY_CONFIG_64:
            return {platform::kHiveMachine, view64};
        case platform::kHiveClasses:
        case platform::kHiveUser:
        case platform::kHiveMachine:
            return {root, 0};
        default:
            return {platform::kInvalidHive, 0};
    }
}

// A key that is closed at the end of its scope.
class ScopedKey final {
  public:
    ScopedKey() = default;
    ~ScopedKey() {
        if (m_open) platform::CloseKey(m_key);
    }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;

    NativeError Open(KeyHandle parent, const char16_t* path, uint32_t access) {
        const NativeError error = platform::OpenKey(parent, path, access, &m_key);
        m_open = error == platform::kSuccess;
        return error;
    }
    KeyHandle Get() const { return m_key; }

  private:
    KeyHandle m_key = platform::kInvalidHive;
    bool m_open = false;
};

// The type that a read reports; other native numbers stay as they are.
uint32_t TypeOfRead(uint32_t native) {
    switch (native) {
        case platform::kRegNone:
        case platform::kRegBinary:
            return KX_REG_BINARY;
        case platform::kRegSz:
        case platform::kRegExpandSz:
            return KX_REG_SZ;
        case platform::kRegDword:
            return KX_REG_DWORD;
        case platform::kRegMultiSz:
            return KX_REG_MULTI_SZ;
        case platform::kRegQword:
            return KX_REG_QWORD;
        default:
            return native;
    }
}

// The type that an enumeration reports; for other native numbers it reports none.
std::optional<uint32_t> TypeOfEnumeration(uint32_t native) {
    switch (native) {
        case platform::kRegSz:
        case platform::kRegExpandSz:
        case platform::kRegBinary:
        case platform::kRegDword:
        case platform::kRegMultiSz:
            return TypeOfRead(native);
        default:
            return std::nullopt;
    }
}

// The native type that a write stores. A 64-bit number can be read but not written.
std::optional<uint32_t> NativeTypeOfWrite(uint32_t type) {
    switch (type) {
        case KX_REG_SZ:
            return platform::kRegSz;
        case KX_REG_DWORD:
            return platform::kRegDword;
        case KX_REG_BINARY:
            return platform::kRegBinary;
        case KX_REG_EXPAND_SZ:
            return platform::kRegExpandSz;
        case KX_REG_MULTI_SZ:
            return platform::kRegMultiSz;
        default:
            return std::nullopt;
    }
}

// Replaces the raw text of length bytes in data by its expansion, where capacity bytes hold that.
KXResult ExpandInPlace(void* data, uint32_t length, uint32_t capacity) {
    auto* const text = static_cast<char16_t*>(data);
    const size_t size = text != nullptr ? capacity / sizeof(char16_t) : 0;
    // A read that succeeded has stored no more than there was room for.
    const std::u16string raw =
        text != nullptr ? std::u16string(text, length / sizeof(char16_t)) : std::u16string();
    std::vector<char16_t> expanded(size);
    if (platform::ExpandEnvironment(raw.c_str(), expanded.data(), size) > size) return KX_E_FAIL;
    KXStrNCpyW(text, expanded.data(), size);
    return KX_S_OK;
}

// Removes the subkeys of a key with all that is under them, in two passes, since a removal would
// shift what the indexes of a walk mean. The native errors of the removals, or-ed together.
NativeError DeleteSubKeys(KeyHandle key, uint32_t view) {
    constexpr uint32_t kNameSize = 255;
    std::vector<std::u16string> names;
    for (uint32_t index = 0;; ++index) {
        char16_t name[kNameSize];
        uint32_t length = kNameSize;
        if (platform::EnumKey(key, index, name, &length) != platform::kSuccess) break;
        ScopedKey subkey;
        subkey.Open(key, name, view | platform::kKeyAllAccess);
        DeleteSubKeys(subkey.Get(), view);
        names.emplace_back(name, length);
    }
    NativeError errors = platform::kSuccess;
    for (const std::u16string& name : names) errors |= g_data.deleteKey(key, name.c_str(), view, 0);
    return errors;
}

// What a handle of an enumeration points to.
struct KXRegistryEnum {
    ScopedKey key;
    uint32_t next = 0;
};

KXRegistryEnum* FromHandle(KXRegistryEnumHandle handle) {
    return reinterpret_cast<KXRegistryEnum*>(handle);
}

// Opens the key and makes the record; *error tells the native failure, if that is the reason.
KXResult OpenEnum(uint32_t root, const char16_t* subkey, KXRegistryEnumHandle* handle,
                  NativeError* error) {
    *handle = KX_INVALID_HANDLE;
    return core::Guarded([&] {
        const auto [hive, view] = ResolveRoot(root);
        auto record = std::make_unique<KXRegistryEnum>();
        *error = record->key.Open(hive, subkey, view | platform::kKeyRead);
        core::ThrowIfNativeError(*error);
        *handle = reinterpret_cast<KXRegistryEnumHandle>(record.release());
        return KX_S_OK;
    });
}

}  // namespace

KXResult KXRegistryGetValue(uint32_t root, const char16_t* subkey, const char16_t* valueName,
                            uint32_t* valueType, void* data, uint32_t* dataLength) {
    return core::Guarded([&]() -> KXResult {
        const auto [hive, view] = ResolveRoot(root);
        const uint32_t capacity = dataLength != nullptr ? *dataLength : 0;
        const NativeError error =
            platform::QueryValue(hive, view, subkey, valueName, valueType, data, dataLength);
        if (error != platform::kSuccess) return KXResultFromNative(error);
        if (valueType == nullptr) return KX_S_OK;
        const bool expand = *valueType == platform::kRegExpandSz;
        *valueType = TypeOfRead(*valueType);
        if (!expand) return KX_S_OK;
        return ExpandInPlace(data, dataLength != nullptr ? *dataLength : 0, capacity);
    });
}

KXResult KXRegistrySetValue(uint32_t root, const char16_t* subkey, const char16_t* valueName,
                            uint32_t valueType, const void* data, uint32_t dataLength) {
    return core::Guarded([&]() -> KXResult {
        const auto [hive, view] = ResolveRoot(root);
        const std::optional<uint32_t> type = NativeTypeOfWrite(valueType);
        if (!type) return KX_E_INVALIDARG;
        return KXResultFromNative(platform::SetValue(hive, view, g_data.isNt != 0, subkey,
                                                     valueName, *type, data, dataLength));
    });
}

KXResult KXRegistryDeleteValue(uint32_t root, const char16_t* subkey, const char16_t* valueName) {
    return core::Guarded([&] {
        const auto [hive, view] = ResolveRoot(root);
        return KXResultFromNative(platform::DeleteValue(hive, view, subkey, valueName));
    });
}

KXResult KXRegistryDeleteKey(uint32_t root, const char16_t* subkey) {
    return core::Guarded([&]() -> KXResult {
        const auto [hive, view] = ResolveRoot(root);
        // A family whose own removal takes the subkeys along.
        if (g_data.isNt == 0) {
            return g_data.deleteKey(hive, subkey, view, 0) == platform::kSuccess ? KX_S_OK
                                                                                 : KX_E_FAIL;
        }
        NativeError errors = platform::kSuccess;
        {
            ScopedKey key;
            if (key.Open(hive, subkey, view | platform::kKeyAllAccess) != platform::kSuccess) {
                return KX_E_FAIL;
            }
            errors = DeleteSubKeys(key.Get(), view);
        }
        return static_cast<KXResult>(errors | g_data.deleteKey(hive, subkey, view, 0));
    });
}

KXResult KXRegistryOpenKeyEnum(uint32_t root, const char16_t* subkey,
                               KXRegistryEnumHandle* handle) {
    NativeError error = platform::kSuccess;
    const KXResult result = OpenEnum(root, subkey, handle, &error);
    return error != platform::kSuccess ? KX_E_FAIL : result;
}

KXResult KXRegistryOpenValueEnum(uint32_t root, const char16_t* subkey,
                                 KXRegistryEnumHandle* handle) {
    NativeError error = platform::kSuccess;
    return OpenEnum(root, subkey, handle, &error);
}

KXResult KXRegistryEnumNextKey(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength) {
    return core::Guarded([&] {
        KXRegistryEnum* const record = FromHandle(handle);
        return KXResultFromNative(
            platform::EnumKey(record->key.Get(), record->next++, name, nameLength));
    });
}

// A walk over names alone passes neither valueType nor dataLength.
KXResult KXRegistryEnumNextValue(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength,
                                 uint32_t* valueType, void* data, uint32_t* dataLength) {
    return core::Guarded([&]() -> KXResult {
        KXRegistryEnum* const record = FromHandle(handle);
        uint32_t native = 0;
        const NativeError error = platform::EnumValue(record->key.Get(), record->next++, name,
                                                      nameLength, &native, data, dataLength);
        if (error != platform::kSuccess) return KXResultFromNative(error);
        const std::optional<uint32_t> type = TypeOfEnumeration(native);
        if (valueType != nullptr && type) *valueType = *type;
        return KX_S_OK;
    });
}

KXResult KXRegistryCloseEnum(KXRegistryEnumHandle handle) {
    delete FromHandle(handle);
    return KX_S_OK;
}
