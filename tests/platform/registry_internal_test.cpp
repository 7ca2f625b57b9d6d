// The floor's registry where the exports can't reach.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <string>

using namespace kx::platform;

namespace {

KeyHandle Make(const std::u16string& path) {
    EXPECT_EQ(kSuccess, SetValue(kHiveUser, 0, true, path.c_str(), u"v", kRegSz, u"", 2));
    KeyHandle key = 0;
    EXPECT_EQ(kSuccess, OpenKey(kHiveUser, path.c_str(), kKeyRead, &key));
    return key;
}

}  // namespace

TEST(FloorRegistry, HivesNeedNoClosing) {
    for (const KeyHandle hive : {kHiveClasses, kHiveUser, kHiveMachine}) {
        EXPECT_EQ(kSuccess, CloseKey(hive));
    }
}

TEST(FloorRegistry, AnyIndexIsFoundInAnyOrder) {
    for (const char16_t* const path : {u"Order\\a", u"Order\\b", u"Order\\c"}) CloseKey(Make(path));
    const KeyHandle key = Make(u"Order");
    for (const std::uint32_t index : {2u, 0u, 1u, 2u, 1u, 0u}) {
        char16_t name[8];
        std::uint32_t length = 8;
        EXPECT_EQ(kSuccess, EnumKey(key, index, name, &length));
        EXPECT_EQ(std::u16string(1, static_cast<char16_t>(u'a' + index)), name);
    }
    char16_t name[8];
    std::uint32_t length = 8;
    EXPECT_EQ(kNoMoreItems, EnumKey(key, 3, name, &length));
    CloseKey(key);
}

TEST(FloorRegistry, AWalkOverARemovedKeyIsToldSo) {
    const KeyHandle key = Make(u"Removed");
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Removed", 0, 0));
    char16_t name[8];
    std::uint32_t length = 8;
    EXPECT_EQ(kKeyDeleted, EnumKey(key, 0, name, &length));
    EXPECT_EQ(kKeyDeleted, EnumValue(key, 0, name, &length, nullptr, nullptr, nullptr));
    CloseKey(key);
}

TEST(FloorRegistry, OnlyAnEmptyKeyIsRemoved) {
    CloseKey(Make(u"Full\\Sub"));
    EXPECT_EQ(kAccessDenied, ResolveDeleteKey()(kHiveUser, u"Full", 0, 0));
    EXPECT_EQ(kAccessDenied, ResolveDeleteKey()(kHiveUser, u"", 0, 0));
    EXPECT_EQ(kFileNotFound, ResolveDeleteKey()(kHiveUser, u"Full\\None", 0, 0));
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Full\\Sub", 0, 0));
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Full", 0, 0));
}
