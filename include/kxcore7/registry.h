/*
 * The configuration registry: typed values under keys, shared by all processes and kept across
 * restarts. A key is named afresh in each call, by a root and a path under it whose components a
 * backslash separates; the empty path is the root itself. The empty value name is a key's default
 * value. Null stands for the empty text in both. Names keep their case and compare without it.
 *
 * Any thread of any process may call these at once. An enumeration handle belongs to one thread at
 * a time. Lengths of data are in bytes; text is stored with its terminator if the caller counts it.
 * (Windows takes one along that stands behind the counted text.)
 */
#ifndef KXCORE7_REGISTRY_H
#define KXCORE7_REGISTRY_H

#include "export.h"
#include "types.h"

/*
 * Roots. A 32-bit process on a 64-bit Windows sees two views, the plain roots being the 32-bit one;
 * everywhere else the _64 roots are the plain ones.
 */
#define KX_HKEY_CLASSES 0u
#define KX_HKEY_CONFIG 1u
#define KX_HKEY_USER 2u
#define KX_HKEY_CLASSES_64 3u
#define KX_HKEY_CONFIG_64 4u

/* Value types. */
#define KX_REG_SZ 0u        /* text */
#define KX_REG_DWORD 1u     /* 32-bit number */
#define KX_REG_QWORD 2u     /* 64-bit number; can be read, but not written */
#define KX_REG_BINARY 3u    /* bytes */
#define KX_REG_EXPAND_SZ 4u /* text with %NAME% variables; can be written, reads as KX_REG_SZ */
#define KX_REG_MULTI_SZ                                                      \
    5u /* texts one behind the other, each with its terminator, and one more \
        */

/* Stores. All functions but the last always use the native one. */
#define KX_REGISTRY_NATIVE 0u
#define KX_REGISTRY_INI 1u

/* An open enumeration; KX_INVALID_HANDLE is none. */
typedef uintptr_t KXRegistryEnumHandle;

KX_EXTERN_C_BEGIN

/*
 * Reads a value: its type, its data, and in *dataLength the bytes of the data. On entry *dataLength
 * is the capacity of data. Each output may be null (data needs dataLength); with null data the
 * length alone is told.
 * With valueType given, a text with variables comes back expanded, while *dataLength keeps the
 * length of the raw text; with null valueType it comes back raw.
 * KX_ERROR_FILE_NOT_FOUND: no such key or value. KX_E_FAIL: data is too small, *dataLength says
 * what it takes; or the expanded text did not fit, and data holds the raw one. KX_E_HANDLE: no such
 * root. KX_E_ACCESSDENIED, KX_E_OUTOFMEMORY.
 */
KX_API KXResult KXRegistryGetValue(uint32_t root, const char16_t* subkey, const char16_t* valueName,
                                   uint32_t* valueType, void* data, uint32_t* dataLength);

/*
 * Writes a value, replacing one of that name, and makes every missing key on the path.
 * KX_E_INVALIDARG: a type that can't be written (KX_REG_QWORD, unknown), and nothing was done.
 * KX_E_HANDLE: no such root. KX_E_ACCESSDENIED, KX_E_OUTOFMEMORY, KX_E_FAIL.
 */
KX_API KXResult KXRegistrySetValue(uint32_t root, const char16_t* subkey, const char16_t* valueName,
                                   uint32_t valueType, const void* data, uint32_t dataLength);

/* Removes a value. KX_ERROR_FILE_NOT_FOUND: no such key or value; otherwise as KXRegistrySetValue.
 */
KX_API KXResult KXRegistryDeleteValue(uint32_t root, const char16_t* subkey,
                                      const char16_t* valueName);

/*
 * Removes a key with all that is under it, as far as names have fewer than 255 units. Compare the
 * result with 0, do not test its sign: it is 0, KX_E_FAIL where the key can't be opened, or else
 * native error codes or-ed together, which are positive.
 */
KX_API KXResult KXRegistryDeleteKey(uint32_t root, const char16_t* subkey);

/*
 * Opens a walk over the subkeys of a key, to be ended by KXRegistryCloseEnum.
 * Any failure is KX_E_FAIL (KX_E_OUTOFMEMORY when memory is exhausted), and *handle is
 * KX_INVALID_HANDLE.
 */
KX_API KXResult KXRegistryOpenKeyEnum(uint32_t root, const char16_t* subkey,
                                      KXRegistryEnumHandle* handle);

/*
 * The next subkey's name. On entry *nameLength is the capacity of name in units with terminator, on
 * success the units of the name without it.
 * KX_E_FAIL at the end, and for a buffer too small; that entry is then lost, the walk has moved on.
 */
KX_API KXResult KXRegistryEnumNextKey(KXRegistryEnumHandle handle, char16_t* name,
                                      uint32_t* nameLength);

/*
 * Opens a walk over the values of a key, to be ended by KXRegistryCloseEnum.
 * KX_ERROR_FILE_NOT_FOUND: no such key. KX_E_HANDLE: no such root. KX_E_ACCESSDENIED,
 * KX_E_OUTOFMEMORY, KX_E_FAIL. *handle is KX_INVALID_HANDLE on failure.
 */
KX_API KXResult KXRegistryOpenValueEnum(uint32_t root, const char16_t* subkey,
                                        KXRegistryEnumHandle* handle);

/*
 * The next value: name and *nameLength as in KXRegistryEnumNextKey, type, data and *dataLength as
 * in KXRegistryGetValue, but nothing is expanded. data, and valueType and dataLength for a walk
 * over names alone, may be null. *valueType is not written for a KX_REG_QWORD.
 * KX_E_FAIL at the end, and for a name or data buffer too small; that entry is then lost.
 */
KX_API KXResult KXRegistryEnumNextValue(KXRegistryEnumHandle handle, char16_t* name,
                                        uint32_t* nameLength, uint32_t* valueType, void* data,
                                        uint32_t* dataLength);

/* Ends a walk. 0 stands for none and is accepted; KX_INVALID_HANDLE is not. Always 0. */
KX_API KXResult KXRegistryCloseEnum(KXRegistryEnumHandle handle);

/*
 * Copies the whole configuration from one store to another, KX_REGISTRY_NATIVE or KX_REGISTRY_INI;
 * the INI store is the file "kxregistry.ini" in the current directory. Values of the same name are
 * replaced there, others stay. What the destination can't hold is passed over: any type but text on
 * the way to the INI store, and data above 2048 bytes on the way from the native one. Keys without
 * values are not carried over. Of KX_HKEY_USER it is the part of the current user. The arguments
 * are ignored.
 *
 * An INI file that was the source is deleted when all of it was walked, with whatever was not
 * copied: values of other users, sections under no root. It is deleted also if it was the
 * destination at the same time.
 *
 * Result: 0, also if values were passed over. KX_CO_E_INIT_SHARED_ALLOCATOR: no such store.
 * Otherwise what stopped the walk; then the source is as it was, and a second call begins anew.
 *
 * One call at a time in a process.
 */
KX_API KXResult KXRegistryMigrate(uint32_t source, uint32_t sourceArgument, uint32_t destination,
                                  uint32_t destinationArgument);

KX_EXTERN_C_END

#endif
