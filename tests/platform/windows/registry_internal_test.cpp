#include "platform/registry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "platform/system.h"
#include "support/scratch_registry.h"
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

TEST(FloorRegistry, EveryCallClosesWhatItOpened) {
    // The system gives out the handle again that was closed last.
    const auto nextHandle = [] {
        KeyHandle key = 0;
        EXPECT_EQ(kSuccess, OpenKey(kHiveUser, u"Handles", kKeyRead, &key));
        EXPECT_EQ(kSuccess, CloseKey(key));
        return key;
    };
    const auto useEachCall = [] {
        KeyHandle key = 0;
        EXPECT_EQ(kSuccess, SetValue(kHiveUser, 0, true, u"Handles", u"v", kRegSz, u"", 2));
        EXPECT_EQ(kSuccess, QueryValue(kHiveUser, 0, u"Handles", u"v", nullptr, nullptr, nullptr));
        EXPECT_EQ(kSuccess, OpenKey(kHiveUser, u"Handles", kKeyRead, &key));
        EXPECT_EQ(kSuccess, CloseKey(key));
        EXPECT_EQ(kSuccess, DeleteValue(kHiveUser, 0, u"Handles", u"v"));
    };
    useEachCall();  // what the system keeps for itself from the first time on
    const KeyHandle before = nextHandle();
    for (int round = 0; round < 20; ++round) useEachCall();
    EXPECT_EQ(before, nextHandle());
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveUser, u"Handles", 0, 0));
}

namespace {

// The machine's real hive, which alone has two views, in place of the test's own.
class RealMachine : public ::testing::Test {
  protected:
    RealMachine() { RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }
    ~RealMachine() override {
        for (const std::uint32_t view : {kView32, kView64}) {
            ResolveDeleteKey()(kHiveMachine, kPath, view, 0);
        }
        kx::test::JoinScratchRegistry();
    }

    static NativeError Set(std::uint32_t view, std::uint32_t number) {
        return SetValue(kHiveMachine, view, true, kPath, u"v", kRegDword, &number, sizeof number);
    }
    static std::uint32_t Get(std::uint32_t view) {
        std::uint32_t number = 0;
        std::uint32_t length = sizeof number;
        QueryValue(kHiveMachine, view, kPath, u"v", nullptr, &number, &length);
        return number;
    }

    static constexpr const char16_t* kPath = u"Software\\kxcore7-tests";
};

}  // namespace

TEST_F(RealMachine, HasAViewForEachWidthOfThe64BitSystem) {
    const bool twoViews = sizeof(void*) == 8 || IsWow64Process() != 0;
    const NativeError error = Set(kView32, 32);
    if (error == kAccessDenied) GTEST_SKIP() << "the user may not write to the machine's hive";
    ASSERT_EQ(kSuccess, error);
    ASSERT_EQ(kSuccess, Set(kView64, 64));
    EXPECT_EQ(twoViews ? 32u : 64u, Get(kView32));
    EXPECT_EQ(64u, Get(kView64));
    EXPECT_EQ(kSuccess, DeleteValue(kHiveMachine, kView32, kPath, u"v"));
    EXPECT_EQ(0u, Get(kView32));
    EXPECT_EQ(twoViews ? 64u : 0u, Get(kView64));
    EXPECT_EQ(kSuccess, ResolveDeleteKey()(kHiveMachine, kPath, kView64, 0));
    EXPECT_EQ(twoViews ? kSuccess : kFileNotFound,
              ResolveDeleteKey()(kHiveMachine, kPath, kView32, 0));
}
