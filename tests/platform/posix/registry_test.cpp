// What a registry in files promises beyond the common contract.
#include <kxcore7/registry.h>

#include <algorithm>
#include <string>

#include "support/child_process.h"
#include "support/results.h"
#include "support/scratch_registry.h"

using namespace kx::test;

TEST(RegistryNames, CompareNamesAlikeInEveryLocale) {
    const ScratchRegistry registry;
    for (const char* const name : {"C", "C.UTF-8"}) {
        const ScopedEnvironment locale("LC_ALL", name);
        ChildProcess child(KXTEST_PROBE, {"fold"});
        EXPECT_EQ("0x00000000", child.ReadLine()) << name;
    }
}

TEST(RegistryNames, OfVariablesCarryBytesThatAreNoUtf8) {
    const ScopedEnvironment variable("KXTEST_\xFF", "v\xFE");
    const std::u16string raw = u"%KXTEST_" + std::u16string(1, char16_t(0xDCFF)) + u"%";
    SetText(KX_HKEY_USER, u"KxBytes", u"v", raw, KX_REG_EXPAND_SZ);
    EXPECT_EQ((std::u16string{u'v', char16_t(0xDCFE)}), GetText(KX_HKEY_USER, u"KxBytes", u"v"));
    KXRegistryDeleteKey(KX_HKEY_USER, u"KxBytes");
}

// A hive can't go. (On Windows this would empty a real one, or take the scratch registry away.)
TEST(RegistryRemoval, OfARootEmptiesItAndIsRefusedWithAPositiveNumber) {
    SetText(KX_HKEY_CLASSES, u"KxTestOne\\sub", u"v", u"text");
    EXPECT_EQ(5, KXRegistryDeleteKey(KX_HKEY_CLASSES, u""));
    KXRegistryEnumHandle walk = 0;
    char16_t name[16];
    std::uint32_t length = 16;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(KX_HKEY_CLASSES, u"", &walk));
    EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextKey(walk, name, &length)) << "nothing is left";
    KXRegistryCloseEnum(walk);
}

namespace {

// A walk here goes by names; Windows counts positions, which shift.
class RegistryWalk : public ::testing::Test {
  protected:
    void TearDown() override {
        KXRegistryCloseEnum(m_walk);
        KXRegistryDeleteKey(KX_HKEY_USER, u"KxWalk");
    }
    static std::u16string Under(const std::u16string& name) { return u"KxWalk\\" + name; }
    static void Make(const std::u16string& name) {
        SetText(KX_HKEY_USER, Under(name), u"v", u"text");
    }
    static void Remove(const std::u16string& name) {
        EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_USER, Under(name).c_str()));
    }
    void Start() {
        ASSERT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(KX_HKEY_USER, u"KxWalk", &m_walk));
    }
    KXResult Next() {
        std::uint32_t length = kNameSize;
        return KXRegistryEnumNextKey(m_walk, m_name, &length);
    }

    KXRegistryEnumHandle m_walk = 0;
    static constexpr std::uint32_t kNameSize = 3;
    char16_t m_name[kNameSize] = u"";
};

}  // namespace

TEST_F(RegistryWalk, GoesOnBehindALostEntryWhateverIsRemovedMeanwhile) {
    for (const char16_t* const name : {u"a", u"long-name", u"m", u"z"}) Make(name);
    Start();
    EXPECT_RESULT(KX_S_OK, Next());
    EXPECT_RESULT(KX_E_FAIL, Next());
    Remove(u"a");
    EXPECT_RESULT(KX_S_OK, Next());
    EXPECT_EQ(std::u16string(u"m"), m_name);
}

TEST_F(RegistryWalk, SeesWhatStandsThroughoutExactlyOnce) {
    for (char16_t letter = u'a'; letter <= u'j'; ++letter) Make({letter});
    Start();
    std::u16string seen;
    while (Next() == 0) {
        seen += m_name;
        // What has been seen goes, what lies behind comes.
        Remove(m_name);
        Make(u"aa");
    }
    seen.erase(std::remove(seen.begin() + 1, seen.end(), u'a'), seen.end());
    EXPECT_EQ(u"abcdefghij", seen);
}
