// The bounds of a registry that is a store in files.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <string>

using namespace kx::platform;

TEST(FloorRegistry, HivesAreNotWalkedAndABadOneIsNotClosed) {
    EXPECT_EQ(kInvalidHandle, CloseKey(kInvalidHive));
    char16_t name[8];
    std::uint32_t length = 8;
    for (const KeyHandle hive : {kHiveClasses, kHiveUser, kHiveMachine}) {
        EXPECT_EQ(kInvalidHandle, EnumKey(hive, 0, name, &length));
        EXPECT_EQ(kInvalidHandle, EnumValue(hive, 0, name, &length, nullptr, nullptr, nullptr));
    }
}

TEST(FloorRegistry, DepthCountsFromTheHive) {
    std::u16string deep = u"Deep";
    for (int level = 1; level < 500; ++level) deep += u"\\d";
    EXPECT_EQ(kSuccess, SetValue(kHiveUser, 0, true, deep.c_str(), u"v", kRegSz, u"", 2));
    KeyHandle key = 0;
    ASSERT_EQ(kSuccess, OpenKey(kHiveUser, deep.c_str(), kKeyRead, &key));
    std::u16string more = u"m";
    for (int level = 1; level < 13; ++level) more += u"\\m";
    KeyHandle other = 0;
    EXPECT_EQ(kInvalidParameter, OpenKey(key, more.c_str(), kKeyRead, &other)) << "513 levels";
    EXPECT_EQ(kFileNotFound, OpenKey(key, more.substr(2).c_str(), kKeyRead, &other));
    CloseKey(key);
}
