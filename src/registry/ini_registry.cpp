#include "registry/ini_registry.h"

#include <kxcore7/file.h>
#include <kxcore7/result.h>
#include <kxcore7/str.h>
#include <kxcore7/systeminfo.h>

#include <iterator>
#include <memory>
#include <utility>

#include "frame/exception.h"
#include "locks/scoped_lock.h"
#include "registry/ini_file.h"

using namespace kx;

namespace registry {

IniFile* s_pIniFile = nullptr;
KXMutexHandle s_pInitLock = 0;
std::u16string s_iniPath;

namespace {

// Without a directory: the file is looked for where the process is.
constexpr const char16_t* s_iniName = u"kxregistry.ini";

constexpr const char16_t* kRootNames[] = {u"KX_HKEY_CLASSES", u"KX_HKEY_CONFIG", u"KX_HKEY_USER",
                                          u"KX_HKEY_CLASSES_64", u"KX_HKEY_CONFIG_64"};
static_assert(std::size(kRootNames) == KX_HKEY_CONFIG_64 + 1);

// Not before Initialize and after Terminate, nor where the lock could not be made.
bool HasLock() {
    return s_pInitLock != 0 && s_pInitLock != KX_INVALID_HANDLE;
}

// What every function of the family is made of.
template <typename Call>
KXResult WithIniFile(Call&& call) {
    return core::Guarded([&]() -> KXResult {
        EnsureIniFile();
        return std::forward<Call>(call)();
    });
}

IniFileIteratorBase* FromHandle(KXRegistryEnumHandle handle) {
    return reinterpret_cast<IniFileIteratorBase*>(handle);
}

template <typename Iterator>
KXResult OpenEnum(uint32_t root, const char16_t* path, KXRegistryEnumHandle* handle) {
    *handle = KX_INVALID_HANDLE;
    return WithIniFile([&] {
        const std::u16string section = SectionName(root, path);
        IniFileIteratorBase* const iterator = new Iterator(*s_pIniFile, section.c_str());
        *handle = reinterpret_cast<KXRegistryEnumHandle>(iterator);
        return KX_S_OK;
    });
}

KXResult CopyName(const std::u16string& from, char16_t* name, uint32_t* nameLength) {
    if (*nameLength <= from.size()) {
        KXStrNCpyW(name, from.c_str(), *nameLength);
        return KX_CO_E_INIT_CLASS_CACHE;
    }
    *nameLength = static_cast<uint32_t>(from.size());
    KXStrNCpyW(name, from.c_str(), from.size() + 1);
    return KX_S_OK;
}

uint32_t BytesOf(const void* text) {
    const std::size_t length = KXStrLenW(static_cast<const char16_t*>(text));
    return static_cast<uint32_t>((length + 1) * sizeof(char16_t));
}

}  // namespace

std::u16string SectionName(uint32_t root, const char16_t* path) {
    if (root >= std::size(kRootNames)) throw EKXCoreException{KX_E_INVALIDARG};
    std::u16string name = kRootNames[root];
    if (root == KX_HKEY_USER) {
        constexpr uint32_t kMost = 127;
        char16_t user[kMost + 1] = {};
        core::ThrowIfFailed(KXGetUserName(user, kMost));
        name.append(u"\\").append(user);
    }
    if (KXStrLenW(path) != 0) name.append(u"\\").append(path);
    return name;
}

KXResult Initialize() {
    KXMutexCreate("registry::s_pInitLock", 0, &s_pInitLock);
    return KX_S_OK;
}

KXResult Terminate() {
    delete std::exchange(s_pIniFile, nullptr);
    if (HasLock()) KXMutexDestroy(s_pInitLock);
    s_pInitLock = 0;
    return KX_S_OK;
}

// The lock may not have been made: that shows here for the first time.
void EnsureIniFile() {
    if (s_pIniFile != nullptr) return;
    if (!HasLock()) throw EKXCoreException{KX_E_FAIL};
    const core::ScopedLock lock(s_pInitLock);
    if (s_pIniFile != nullptr) return;
    s_iniPath = s_iniName;
    s_pIniFile = new IniFile(s_iniPath.c_str());
}

KXResult DeleteIniFile() {
    if (s_pIniFile == nullptr) return KX_S_OK;
    const KXResult result = KXFileDelete(s_iniPath.c_str());
    return result == KX_ERROR_FILE_NOT_FOUND ? KX_S_OK : result;
}

KXResult OpenKeyEnum(uint32_t root, const char16_t* path, KXRegistryEnumHandle* handle) {
    return OpenEnum<IniFileSetIterator>(root, path, handle);
}

KXResult OpenValueEnum(uint32_t root, const char16_t* path, KXRegistryEnumHandle* handle) {
    return OpenEnum<IniFileKeyIterator>(root, path, handle);
}

KXResult EnumNextKey(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength) {
    return WithIniFile([&] {
        IniFileIteratorBase* const iterator = FromHandle(handle);
        if (!iterator->HasNext()) return KX_ERROR_HANDLE_EOF;
        return CopyName(iterator->Next(), name, nameLength);
    });
}

KXResult EnumNextValue(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength,
                       uint32_t* valueType, void* data, uint32_t* dataLength) {
    return WithIniFile([&] {
        IniFileIteratorBase* const iterator = FromHandle(handle);
        if (!iterator->HasNext()) return KX_ERROR_HANDLE_EOF;
        const std::u16string next = iterator->Next();
        const KXResult fits = CopyName(next, name, nameLength);
        if (valueType != nullptr) *valueType = KX_REG_SZ;
        if (data == nullptr) return fits;
        const KXResult found = s_pIniFile->GetValue(iterator->GetPath().c_str(), next.c_str(),
                                                    static_cast<char16_t*>(data));
        if (found != KX_S_OK) return KX_E_FAIL;
        *dataLength = BytesOf(data);
        return KX_S_OK;
    });
}

KXResult CloseEnum(KXRegistryEnumHandle handle) {
    return WithIniFile([&] {
        delete FromHandle(handle);
        return KX_S_OK;
    });
}

KXResult GetValue(uint32_t root, const char16_t* path, const char16_t* valueName,
                  uint32_t* valueType, void* data, uint32_t* dataLength) {
    const KXResult result = WithIniFile([&] {
        return s_pIniFile->GetValue(SectionName(root, path).c_str(), valueName,
                                    static_cast<char16_t*>(data));
    });
    if (result != KX_S_OK) return KX_ERROR_FILE_NOT_FOUND;
    *valueType = KX_REG_SZ;
    *dataLength = BytesOf(data);
    return KX_S_OK;
}

KXResult SetValue(uint32_t root, const char16_t* path, const char16_t* valueName,
                  uint32_t valueType, const void* data, uint32_t /*dataLength*/) {
    return WithIniFile([&] {
        if (valueType != KX_REG_SZ) return KX_E_NOTIMPL;
        const int outcome = s_pIniFile->SetValue(SectionName(root, path).c_str(), valueName,
                                                 static_cast<const char16_t*>(data), true);
        return outcome == 0 ? KX_S_OK : KX_E_FAIL;
    });
}

}  // namespace registry
