#include "platform/registry.h"

#include <new>
#include <vector>

#include "platform/locale.h"
#include "platform/system.h"
#include "platform/windows/late_bound.h"

namespace kx::platform {
namespace {

// A key handle has 32 significant bits; those of the hives are extended by their sign.
HKEY KeyOf(KeyHandle handle) {
    const auto value = static_cast<std::int32_t>(static_cast<std::uint32_t>(handle));
    return reinterpret_cast<HKEY>(static_cast<std::intptr_t>(value));
}

NativeError Error(LSTATUS status) {
    return static_cast<NativeError>(status);
}

BYTE* Bytes(void* data) {
    return static_cast<BYTE*>(data);
}

// A key that is closed at the end of its scope.
class Key final {
  public:
    Key() = default;
    ~Key() {
        if (m_key != nullptr) RegCloseKey(m_key);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    HKEY* Out() { return &m_key; }
    HKEY Get() const { return m_key; }

  private:
    HKEY m_key = nullptr;
};

// Security attributes with no access list at all, inherited by children: open to everyone.
class OpenToEveryone final {
  public:
    OpenToEveryone() {
        InitializeSecurityDescriptor(&m_descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&m_descriptor, FALSE, nullptr, FALSE);
    }
    SECURITY_ATTRIBUTES* Attributes() { return &m_attributes; }

  private:
    SECURITY_DESCRIPTOR m_descriptor{};
    SECURITY_ATTRIBUTES m_attributes{sizeof(SECURITY_ATTRIBUTES), &m_descriptor, TRUE};
};

using DeleteKeyEx = LSTATUS(WINAPI*)(HKEY, const wchar_t*, REGSAM, DWORD);
DeleteKeyEx g_deleteKeyEx = nullptr;

NativeError DeleteWithView(KeyHandle parent, const char16_t* name, std::uint32_t view,
                           std::uint32_t reserved) {
    return Error(g_deleteKeyEx(KeyOf(parent), Native(name), view, reserved));
}

// For a system that knows no views.
NativeError DeleteWithoutView(KeyHandle parent, const char16_t* name, std::uint32_t,
                              std::uint32_t) {
    return Error(RegDeleteKeyW(KeyOf(parent), Native(name)));
}

// For a system that is not of the NT family: its wide calls do nothing.
NativeError DeleteNarrow(KeyHandle parent, const char16_t* name, std::uint32_t, std::uint32_t) {
    try {
        const std::size_t length = WideToNarrow(nullptr, name, 0);
        std::vector<char> narrow(length != kConversionFailed ? length + 1 : 1);
        if (length != kConversionFailed) WideToNarrow(narrow.data(), name, narrow.size());
        return Error(RegDeleteKeyA(KeyOf(parent), narrow.data()));
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
}

}  // namespace

NativeError OpenKey(KeyHandle parent, const char16_t* path, std::uint32_t access, KeyHandle* key) {
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(KeyOf(parent), Native(path), 0, access, &opened);
    if (status == ERROR_SUCCESS) *key = reinterpret_cast<KeyHandle>(opened);
    return Error(status);
}

NativeError CloseKey(KeyHandle key) {
    return Error(RegCloseKey(KeyOf(key)));
}

NativeError QueryValue(KeyHandle hive, std::uint32_t view, const char16_t* path,
                       const char16_t* name, std::uint32_t* type, void* data,
                       std::uint32_t* length) {
    Key key;
    const LSTATUS status = RegOpenKeyExW(KeyOf(hive), Native(path), 0, view | kKeyRead, key.Out());
    if (status != ERROR_SUCCESS) return Error(status);
    return Error(RegQueryValueExW(key.Get(), Native(name), nullptr, Native(type), Bytes(data),
                                  Native(length)));
}

NativeError SetValue(KeyHandle hive, std::uint32_t view, bool openToEveryone, const char16_t* path,
                     const char16_t* name, std::uint32_t type, const void* data,
                     std::uint32_t length) {
    OpenToEveryone security;
    Key key;
    const LSTATUS status = RegCreateKeyExW(
        KeyOf(hive), Native(path), 0, nullptr, REG_OPTION_NON_VOLATILE, view | kKeyAllAccess,
        openToEveryone ? security.Attributes() : nullptr, key.Out(), nullptr);
    if (status != ERROR_SUCCESS) return Error(status);
    return Error(
        RegSetValueExW(key.Get(), Native(name), 0, type, static_cast<const BYTE*>(data), length));
}

NativeError DeleteValue(KeyHandle hive, std::uint32_t view, const char16_t* path,
                        const char16_t* name) {
    Key key;
    const LSTATUS status =
        RegOpenKeyExW(KeyOf(hive), Native(path), 0, view | kKeySetValue, key.Out());
    if (status != ERROR_SUCCESS) return Error(status);
    return Error(RegDeleteValueW(key.Get(), Native(name)));
}

NativeError EnumKey(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength) {
    return Error(RegEnumKeyExW(KeyOf(key), index, Native(name), Native(nameLength), nullptr,
                               nullptr, nullptr, nullptr));
}

NativeError EnumValue(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength,
                      std::uint32_t* type, void* data, std::uint32_t* length) {
    return Error(RegEnumValueW(KeyOf(key), index, Native(name), Native(nameLength), nullptr,
                               Native(type), Bytes(data), Native(length)));
}

DeleteKeyFunction ResolveDeleteKey() {
    if (!IsNtFamily()) return DeleteNarrow;
    g_deleteKeyEx = LateBound<DeleteKeyEx>("advapi32.dll", "RegDeleteKeyExW");
    return g_deleteKeyEx != nullptr ? DeleteWithView : DeleteWithoutView;
}

// The system keeps the hives open for everybody.
void CloseRegistry() {}

}  // namespace kx::platform
