// The native registry: hives of keys with typed values, shared by all processes.
//
// A hive or an open key is a KeyHandle. Paths are components with backslashes between them; the
// empty path, or a null one, is the key itself; a null name is the empty one; a leading backslash
// is kBadPathName, and repeated or trailing ones count as one or none. Key and value names keep
// their case and compare without it; a component has at most 255 units, a value name 16383. Subkeys
// and values are enumerated in the order of their names without case. Types are native numbers
// (kReg*).
//
// Any number of threads and processes may call at once; a KeyHandle that OpenKey made belongs to
// one thread at a time. Each call is one step for everybody else, and a call that has returned
// success is kept even if the process is killed at the next instruction.
//
// Errors beside the ones told: kAccessDenied, kOutOfMemory, kInvalidHandle for what is no hive or
// open key, kKeyDeleted, kBadDatabase for a store that is damaged or none at all (it is left as it
// is), kBusy, kDiskFull, kRegistryIoFailed.
#ifndef KXCORE7_SRC_PLATFORM_REGISTRY_H
#define KXCORE7_SRC_PLATFORM_REGISTRY_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

using KeyHandle = std::uintptr_t;

inline constexpr KeyHandle kHiveClasses = 0x80000000u;
inline constexpr KeyHandle kHiveUser = 0x80000001u;
inline constexpr KeyHandle kHiveMachine = 0x80000002u;
inline constexpr KeyHandle kInvalidHive = 0xFFFFFFFFu;

inline constexpr std::uint32_t kRegNone = 0;
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;
inline constexpr std::uint32_t kRegMultiSz = 7;
inline constexpr std::uint32_t kRegQword = 11;

// Access masks. A view flag, which only a 64-bit Windows heeds, may be added to each.
inline constexpr std::uint32_t kKeyRead = 0x20019;
inline constexpr std::uint32_t kKeySetValue = 0x2;
inline constexpr std::uint32_t kKeyAllAccess = 0xF003F;
inline constexpr std::uint32_t kView64 = 0x100;
inline constexpr std::uint32_t kView32 = 0x200;

// Opens the key at path under parent. kFileNotFound: no such key.
NativeError OpenKey(KeyHandle parent, const char16_t* path, std::uint32_t access, KeyHandle* key);

// Closes what OpenKey made. A hive is accepted and ignored.
NativeError CloseKey(KeyHandle key);

// Opens the key at path under hive for reading, with the view flag, reads one value and closes the
// key. type, data and length may be null; data needs length. On entry *length is the capacity of
// data in bytes; afterwards it is the length of the value, also with kMoreData, when data is too
// small, and with null data. *type is stored in these cases, too. Text without a terminator gets
// one behind it where data has room. kFileNotFound: no such key or value.
NativeError QueryValue(KeyHandle hive, std::uint32_t view, const char16_t* path,
                       const char16_t* name, std::uint32_t* type, void* data,
                       std::uint32_t* length);

// Opens the key at path under hive for all access, with the view flag, making it and those above it
// if missing, also where the value then can not be written; writes one value, replacing one of that
// name; and closes the key. With openToEveryone a key made here has no access list, where the
// system knows such. A text whose length leaves its terminator out may be stored with one if that
// stands behind it.
NativeError SetValue(KeyHandle hive, std::uint32_t view, bool openToEveryone, const char16_t* path,
                     const char16_t* name, std::uint32_t type, const void* data,
                     std::uint32_t length);

// Opens the key at path under hive for setting values, with the view flag, removes one value and
// closes the key. kFileNotFound: no such key or value.
NativeError DeleteValue(KeyHandle hive, std::uint32_t view, const char16_t* path,
                        const char16_t* name);

// The name of the subkey at index of a key that OpenKey made. On entry *nameLength is the capacity
// in units with terminator, on success the units of the name without it; a smaller capacity is
// kMoreData, *nameLength as it was. kNoMoreItems: past the end. A walk by rising index over n
// entries costs O(n log n) at most. Where the system counts by position, what comes and goes in
// between shifts the index; otherwise a walk sees every entry that stands throughout exactly once.
NativeError EnumKey(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength);

// The value at index of such a key; name as in EnumKey. type, data and length as in QueryValue.
NativeError EnumValue(KeyHandle key, std::uint32_t index, char16_t* name, std::uint32_t* nameLength,
                      std::uint32_t* type, void* data, std::uint32_t* length);

// Removes the key name under parent, which must have no subkeys: otherwise kAccessDenied, as for a
// hive itself. Its values go with it. kFileNotFound: no such key.
using DeleteKeyFunction = NativeError (*)(KeyHandle parent, const char16_t* name,
                                          std::uint32_t view, std::uint32_t reserved);

// The removal that this system has: one that heeds the view where there is one. Never null.
DeleteKeyFunction ResolveDeleteKey();

// Lets go of whatever the calls above keep open between them. The next call opens it again, by the
// environment of that moment.
void CloseRegistry();

}  // namespace kx::platform

#endif
