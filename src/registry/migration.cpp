#include <kxcore7/registry.h>
#include <kxcore7/result.h>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "registry/ini_registry.h"
#include "registry/reg_key.h"

using namespace kx;
using core::CRegKey;
using core::CRegKeyPtr;

namespace {

// Subkeys first, depth first. How deep that is, is bounded: by the levels that the native store
// has, and by the line of 510 bytes that a section's name is read from.
void CopyTree(CRegKey& source, CRegKey& destination) {
    while (source.HasNextKey()) CopyTree(*source.NextKey().Get(), destination);
    while (source.HasNextValue()) source.CopyValueTo(source.NextValue(), destination);
}

void CopyRoot(std::uint32_t root, std::uint32_t source, std::uint32_t destination) {
    const CRegKeyPtr from = CRegKey::Create(root, u"", source);
    const CRegKeyPtr to = CRegKey::Create(root, u"", destination);
    CopyTree(*from.Get(), *to.Get());
}

void CopyRoots(std::uint32_t source, std::uint32_t destination) {
    const bool hasTwoViews = core::g_data.isWow64 != 0;
    if (hasTwoViews) CopyRoot(KX_HKEY_CLASSES_64, source, destination);
    CopyRoot(KX_HKEY_CLASSES, source, destination);
    if (hasTwoViews) CopyRoot(KX_HKEY_CONFIG_64, source, destination);
    CopyRoot(KX_HKEY_CONFIG, source, destination);
    CopyRoot(KX_HKEY_USER, source, destination);
}

}  // namespace

KXResult KXRegistryMigrate(uint32_t source, uint32_t /*sourceArgument*/, uint32_t destination,
                           uint32_t /*destinationArgument*/) {
    registry::Initialize();
    const KXResult result = core::Guarded([&] {
        CopyRoots(source, destination);
        if (source == KX_REGISTRY_INI) registry::DeleteIniFile();
        return KX_S_OK;
    });
    registry::Terminate();
    return result;
}
