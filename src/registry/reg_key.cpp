#include "registry/reg_key.h"

#include <kxcore7/result.h>

#include <initializer_list>

#include "frame/exception.h"
#include "registry/ini_registry.h"

namespace kx::core {
namespace {

constexpr std::uint32_t kNameSize = 256;

// The functions of a store.
struct NativeStore {
    static constexpr auto OpenKeyEnum = KXRegistryOpenKeyEnum;
    static constexpr auto EnumNextKey = KXRegistryEnumNextKey;
    static constexpr auto OpenValueEnum = KXRegistryOpenValueEnum;
    static constexpr auto EnumNextValue = KXRegistryEnumNextValue;
    static constexpr auto CloseEnum = KXRegistryCloseEnum;
    static constexpr auto GetValue = KXRegistryGetValue;
    static constexpr auto SetValue = KXRegistrySetValue;
};

struct IniStore {
    static constexpr auto OpenKeyEnum = registry::OpenKeyEnum;
    static constexpr auto EnumNextKey = registry::EnumNextKey;
    static constexpr auto OpenValueEnum = registry::OpenValueEnum;
    static constexpr auto EnumNextValue = registry::EnumNextValue;
    static constexpr auto CloseEnum = registry::CloseEnum;
    static constexpr auto GetValue = registry::GetValue;
    static constexpr auto SetValue = registry::SetValue;
};

template <typename Store>
class StoredRegKey final : public CRegKey {
  public:
    StoredRegKey(std::uint32_t root, const std::u16string& path) : CRegKey(root, path) {}
    ~StoredRegKey() override {
        for (const KXRegistryEnumHandle handle : {m_keyEnum, m_valueEnum}) {
            if (handle != KX_INVALID_HANDLE) Store::CloseEnum(handle);
        }
    }

    KXResult OpenKeyEnum() override {
        return Store::OpenKeyEnum(m_root, m_path.c_str(), &m_keyEnum);
    }
    KXResult EnumNextKey(char16_t* name, std::uint32_t* nameLength) override {
        return Store::EnumNextKey(m_keyEnum, name, nameLength);
    }
    KXResult OpenValueEnum() override {
        return Store::OpenValueEnum(m_root, m_path.c_str(), &m_valueEnum);
    }
    KXResult EnumNextValue(char16_t* name, std::uint32_t* nameLength) override {
        return Store::EnumNextValue(m_valueEnum, name, nameLength, nullptr, nullptr, nullptr);
    }
    KXResult CloseEnum(KXRegistryEnumHandle handle) override { return Store::CloseEnum(handle); }
    CRegKeyPtr CreateKey(std::uint32_t root, const std::u16string& path) override {
        return CRegKeyPtr(new StoredRegKey(root, path));
    }
    KXResult GetValue(const std::u16string& valueName, std::uint32_t* valueType, void* data,
                      std::uint32_t* dataLength) override {
        return Store::GetValue(m_root, m_path.c_str(), valueName.c_str(), valueType, data,
                               dataLength);
    }
    KXResult SetValue(std::uint32_t root, const std::u16string& path,
                      const std::u16string& valueName, std::uint32_t valueType, const void* data,
                      std::uint32_t dataLength) override {
        return Store::SetValue(root, path.c_str(), valueName.c_str(), valueType, data, dataLength);
    }
};

using CNativeRegKey = StoredRegKey<NativeStore>;
using CIniRegKey = StoredRegKey<IniStore>;

[[noreturn]] void ThrowEnd() {
    throw EKXCoreException{KX_ERROR_HANDLE_EOF};
}

}  // namespace

CRegKeyPtr CRegKey::Create(std::uint32_t root, const std::u16string& path, std::uint32_t kind) {
    switch (kind) {
        case KX_REGISTRY_NATIVE:
            return CRegKeyPtr(new CNativeRegKey(root, path));
        case KX_REGISTRY_INI:
            return CRegKeyPtr(new CIniRegKey(root, path));
        default:
            throw EKXCoreException{KX_CO_E_INIT_SHARED_ALLOCATOR};
    }
}

// Under a root a child without a name would be the root again, and the walk would never end: it is
// passed over. (A section "KX_HKEY_CONFIG\\x" has one.)
bool CRegKey::HasNextKey() {
    if (m_keyEnum == KX_INVALID_HANDLE) ThrowIfFailed(OpenKeyEnum());
    while (!m_hasNextKey) {
        char16_t name[kNameSize];
        std::uint32_t length = kNameSize;
        if (EnumNextKey(name, &length) < 0) return false;
        m_nextKey.assign(name, length);
        m_hasNextKey = !(m_nextKey.empty() && m_path.empty());
    }
    return true;
}

CRegKeyPtr CRegKey::NextKey() {
    if (!m_hasNextKey && !HasNextKey()) ThrowEnd();
    m_hasNextKey = false;
    if (!m_path.empty()) m_nextKey = m_path + u'\\' + m_nextKey;
    return CreateKey(m_root, m_nextKey);
}

bool CRegKey::HasNextValue() {
    if (m_valueEnum == KX_INVALID_HANDLE && OpenValueEnum() < 0) return false;
    if (m_hasNextValue) return true;
    char16_t name[kNameSize];
    std::uint32_t length = kNameSize;
    if (EnumNextValue(name, &length) < 0) return false;
    m_nextValue.assign(name, length);
    m_hasNextValue = true;
    return true;
}

std::u16string CRegKey::NextValue() {
    if (!m_hasNextValue && !HasNextValue()) ThrowEnd();
    m_hasNextValue = false;
    return m_nextValue;
}

void CRegKey::CopyValueTo(const std::u16string& valueName, CRegKey& destination) {
    constexpr std::uint32_t kMost = 2048;
    // Text that was stored without its terminator finds one here, also the longest.
    alignas(std::uint64_t) unsigned char data[kMost + sizeof(char16_t)] = {};
    std::uint32_t length = kMost;
    std::uint32_t type = 0;
    if (GetValue(valueName, &type, data, &length) < 0) return;
    destination.SetValue(m_root, m_path, valueName, type, data, length);
}

}  // namespace kx::core
