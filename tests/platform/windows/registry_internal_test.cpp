#include "platform/registry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "support/wine.h"

using namespace kx::platform;

namespace {

// Whether the key under the user's hive has an access list.
bool HasAccessList(const wchar_t* path) {
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, READ_CONTROL, &key));
    DWORD size = 0;
    RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, nullptr, &size);
    std::vector<BYTE> descriptor(size);
    EXPECT_EQ(ERROR_SUCCESS,
              RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data(), &size));
    RegCloseKey(key);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    EXPECT_NE(0, GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &defaulted));
    return present != FALSE && list != nullptr;
}

}  // namespace

TEST(FloorRegistry, AKeyMadeOpenToEveryoneHasNoAccessList) {
    SKIP_UNDER_WINE("every new key has the same access list");
    ASSERT_EQ(kSuccess, SetValue(kHiveUser, 0, true, u"Open", u"v", kRegSz, u"", 2));
    EXPECT_FALSE(HasAccessList(L"Open"));
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Open", 0, 0));
}

TEST(FloorRegistry, AKeyMadeOtherwiseHasTheListOfItsParent) {
    ASSERT_EQ(kSuccess, SetValue(kHiveUser, 0, false, u"Closed", u"v", kRegSz, u"", 2));
    EXPECT_TRUE(HasAccessList(L"Closed"));
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Closed", 0, 0));
}
