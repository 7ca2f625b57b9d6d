// The way from one store to the other, as its users go it.
#include <kxcore7/registry.h>

#include <string>

#include "support/current_dir.h"
#include "support/files.h"
#include "support/results.h"
#include "support/scratch_registry.h"
#include "support/text_mode.h"

using namespace kx::test;

TEST(RegistryMigrate, BringsTheFileOfTheCurrentDirectoryIntoTheRegistry) {
    const InScratchDirectory directory;
    Store(directory / "kxregistry.ini", "[KX_HKEY_CONFIG\\KxMigrate\\a]\nName = some text\n\n");
    EXPECT_RESULT(KX_S_OK, KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0));
    EXPECT_EQ(u"some text", GetText(KX_HKEY_CONFIG, u"KxMigrate\\a", u"Name"));
    EXPECT_FALSE(std::filesystem::exists(directory / "kxregistry.ini"));
    EXPECT_RESULT(KX_S_OK, KXRegistryMigrate(KX_REGISTRY_NATIVE, 0, KX_REGISTRY_INI, 0));
    const std::string bytes = Stored(directory / "kxregistry.ini");
    EXPECT_NE(std::string::npos,
              bytes.find(OnDisk("[KX_HKEY_CONFIG\\KxMigrate\\a]\nName=some text\n\n")))
        << bytes;
    EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_CONFIG, u"KxMigrate"));
}

TEST(RegistryMigrate, RefusesStoresThatAreNone) {
    EXPECT_RESULT(KX_CO_E_INIT_SHARED_ALLOCATOR, KXRegistryMigrate(2, 0, KX_REGISTRY_NATIVE, 0));
    EXPECT_RESULT(KX_CO_E_INIT_SHARED_ALLOCATOR, KXRegistryMigrate(KX_REGISTRY_INI, 0, 2, 0));
}
