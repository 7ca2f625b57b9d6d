// A key of either store behind one interface, so that a tree can be walked and copied without
// knowing which store it is in.
#ifndef KXCORE7_SRC_REGISTRY_REG_KEY_H
#define KXCORE7_SRC_REGISTRY_REG_KEY_H

#include <kxcore7/registry.h>

#include <cstdint>
#include <string>

#include "frame/ref_counted.h"

namespace kx::core {

class CRegKey;
using CRegKeyPtr = Ref<CRegKey>;

// A root and a path under it, and a walk over subkeys and one over values, each of which goes one
// way only and looks one name ahead:
//
//   state                  handle               m_hasNext...
//   not opened             KX_INVALID_HANDLE    false
//   open                   open                 false
//   a name is held         open                 true
//
// It belongs to one thread at a time.
class CRegKey : public CKXCoreRefCounted {
  public:
    // A key of a store, KX_REGISTRY_NATIVE or KX_REGISTRY_INI; throws KX_CO_E_INIT_SHARED_ALLOCATOR
    // for any other.
    static CRegKeyPtr Create(std::uint32_t root, const std::u16string& path, std::uint32_t kind);

    // Whether there is one more. Keys that can't be enumerated throw, values that can't are none;
    // an enumeration that fails on the way is at its end.
    bool HasNextKey();
    bool HasNextValue();
    // The next one; throws KX_ERROR_HANDLE_EOF at the end.
    CRegKeyPtr NextKey();
    std::u16string NextValue();

    // Copies a value to the same place of the destination's store; one that can't be read or
    // written is passed over.
    void CopyValueTo(const std::u16string& valueName, CRegKey& destination);

    // --- The store ---------------------------------------------------------------------------

    virtual KXResult OpenKeyEnum() = 0;
    virtual KXResult EnumNextKey(char16_t* name, std::uint32_t* nameLength) = 0;
    virtual KXResult OpenValueEnum() = 0;
    virtual KXResult EnumNextValue(char16_t* name, std::uint32_t* nameLength) = 0;
    virtual KXResult CloseEnum(KXRegistryEnumHandle handle) = 0;
    virtual CRegKeyPtr CreateKey(std::uint32_t root, const std::u16string& path) = 0;
    virtual KXResult GetValue(const std::u16string& valueName, std::uint32_t* valueType, void* data,
                              std::uint32_t* dataLength) = 0;
    // Anywhere in the store: a key serves as the door to all of it.
    virtual KXResult SetValue(std::uint32_t root, const std::u16string& path,
                              const std::u16string& valueName, std::uint32_t valueType,
                              const void* data, std::uint32_t dataLength) = 0;

  protected:
    CRegKey(std::uint32_t root, const std::u16string& path) : m_root(root), m_path(path) {}

    const std::uint32_t m_root;
    const std::u16string m_path;
    KXRegistryEnumHandle m_keyEnum = KX_INVALID_HANDLE;
    KXRegistryEnumHandle m_valueEnum = KX_INVALID_HANDLE;

  private:
    bool m_hasNextKey = false;
    std::u16string m_nextKey;
    bool m_hasNextValue = false;
    std::u16string m_nextValue;
};

}  // namespace kx::core

#endif
