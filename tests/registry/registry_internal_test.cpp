// Removal of keys on the family of systems whose own call takes the subkeys along.
#include <kxcore7/registry.h>

#include <string>

#include "frame/global_data.h"
#include "platform/registry.h"
#include "support/results.h"

using kx::core::g_data;

namespace {

std::u16string g_removed;

kx::platform::NativeError RemoveAll(kx::platform::KeyHandle, const char16_t* name, std::uint32_t,
                                    std::uint32_t) {
    g_removed = name;
    return g_removed == u"missing" ? 2 : 0;
}

}  // namespace

namespace {

int g_removals;

kx::platform::NativeError NumberedError(kx::platform::KeyHandle, const char16_t*, std::uint32_t,
                                        std::uint32_t) {
    return 1u << g_removals++;
}

}  // namespace

TEST(RegistryRemoval, CombinesTheErrorsOfTheDirectChildrenAndItsOwn) {
    for (const char16_t* const key : {u"KxNumbers\\a\\deeper", u"KxNumbers\\b"}) {
        KXRegistrySetValue(KX_HKEY_USER, key, u"", KX_REG_SZ, u"", 2);
    }
    const auto before = g_data.deleteKey;
    g_removals = 0;
    g_data.deleteKey = NumberedError;
    // 1 is that of "deeper", which only shows in what becomes of "a".
    EXPECT_EQ(2 | 4 | 8, KXRegistryDeleteKey(KX_HKEY_USER, u"KxNumbers"));
    g_data.deleteKey = before;
    EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_USER, u"KxNumbers"));
}

TEST(RegistryWithoutNt, LeavesTheRemovalOfAKeyToOneCall) {
    const auto before = g_data.deleteKey;
    g_data.isNt = 0;
    g_data.deleteKey = RemoveAll;
    EXPECT_RESULT(KX_S_OK, KXRegistryDeleteKey(KX_HKEY_USER, u"key"));
    EXPECT_EQ(u"key", g_removed);
    EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(KX_HKEY_USER, u"missing"))
        << "whatever the native error is";
    g_data.deleteKey = before;
    g_data.isNt = 1;
}
