// The registry functions over the INI file: the same shape as the exports over the native store.
//
// The file is open for the time of a migration only: Initialize makes the lock under which the
// first use opens it, Terminate ends both. Neither is guarded against a second caller.
#ifndef KXCORE7_SRC_REGISTRY_INI_REGISTRY_H
#define KXCORE7_SRC_REGISTRY_INI_REGISTRY_H

#include <kxcore7/mutex.h>
#include <kxcore7/registry.h>

#include <string>

class IniFile;

namespace registry {

extern IniFile* s_pIniFile;
extern KXMutexHandle s_pInitLock;
extern std::u16string s_iniPath;

// --- Each opens the file if need be, and keeps exceptions inside ---------------------------------

// KX_ERROR_FILE_NOT_FOUND for values of a key that does not exist; its keys are none. A handle is
// KX_INVALID_HANDLE on failure. KX_E_INVALIDARG: no such root.
KXResult OpenKeyEnum(uint32_t root, const char16_t* path, KXRegistryEnumHandle* handle);
KXResult OpenValueEnum(uint32_t root, const char16_t* path, KXRegistryEnumHandle* handle);

// KX_ERROR_HANDLE_EOF at the end. A name that does not fit is cut, without a terminator,
// KX_CO_E_INIT_CLASS_CACHE, and used up.
KXResult EnumNextKey(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength);
// With data the text comes along, however long, and then a name that was cut does not count;
// KX_E_FAIL if it is gone.
KXResult EnumNextValue(KXRegistryEnumHandle handle, char16_t* name, uint32_t* nameLength,
                       uint32_t* valueType, void* data, uint32_t* dataLength);
KXResult CloseEnum(KXRegistryEnumHandle handle);

// The text is copied whole, whatever *dataLength says before; afterwards it is the bytes with the
// terminator. Any failure is KX_ERROR_FILE_NOT_FOUND.
KXResult GetValue(uint32_t root, const char16_t* path, const char16_t* valueName,
                  uint32_t* valueType, void* data, uint32_t* dataLength);
// Text up to its terminator; KX_E_NOTIMPL for any other type.
KXResult SetValue(uint32_t root, const char16_t* path, const char16_t* valueName,
                  uint32_t valueType, const void* data, uint32_t dataLength);

// --- Inside --------------------------------------------------------------------------------------

// The section of a key. Throws KX_E_INVALIDARG for an unknown root, and what KXGetUserName says.
std::u16string SectionName(uint32_t root, const char16_t* path);

// Always 0.
KXResult Initialize();
KXResult Terminate();

void EnsureIniFile();

// Deletes the file that was opened; 0 if it is gone already.
KXResult DeleteIniFile();

}  // namespace registry

#endif
