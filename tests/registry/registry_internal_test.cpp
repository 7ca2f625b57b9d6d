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

namespace {

std::uint32_t g_view;

kx::platform::NativeError KeepTheView(kx::platform::KeyHandle, const char16_t*, std::uint32_t view,
                                      std::uint32_t) {
    g_view = view;
    return 0;
}

}  // namespace

// A 32-bit process on a 64-bit system says of most roots which of the two views it means.
TEST(RegistryViews, AreAskedForOnlyInA32BitProcessOnA64BitSystem) {
    static constexpr struct {
        std::uint32_t root;
        std::uint32_t view;
    } kRows[] = {{KX_HKEY_CLASSES, 0x200},   {KX_HKEY_CONFIG, 0x200},
                 {KX_HKEY_USER, 0},          {KX_HKEY_CLASSES_64, 0x100},
                 {KX_HKEY_CONFIG_64, 0x100}, {0x80000000u, 0},
                 {0x80000001u, 0},           {0x80000002u, 0}};
    const auto deleteKey = g_data.deleteKey;
    const auto isWow64 = g_data.isWow64;
    for (const auto& row : kRows) {
        for (const std::int16_t wow64 : {std::int16_t{0}, std::int16_t{1}}) {
            g_data.isWow64 = wow64;
            KXRegistrySetValue(row.root, u"KxViews", u"", KX_REG_SZ, u"", 2);
            g_view = 99;
            g_data.deleteKey = KeepTheView;
            EXPECT_EQ(0, KXRegistryDeleteKey(row.root, u"KxViews")) << row.root;
            EXPECT_EQ(wow64 != 0 ? row.view : 0, g_view) << row.root;
            g_data.deleteKey = deleteKey;
            EXPECT_EQ(0, KXRegistryDeleteKey(row.root, u"KxViews")) << row.root;
        }
    }
    g_data.isWow64 = isWow64;
}
