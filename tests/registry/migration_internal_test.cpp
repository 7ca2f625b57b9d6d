// The way from one store to the other.
#include <kxcore7/registry.h>

#include <string>

#include "frame/global_data.h"
#include "platform/registry.h"
#include "registry/ini_registry.h"
#include "support/failing_new.h"
#include "support/ini_lock.h"
#include "support/ini_registry.h"
#include "support/scratch_registry.h"
#include "support/text_mode.h"

using namespace kx::test;
using kx::core::g_data;

namespace {

constexpr std::uint32_t kNative = KX_REGISTRY_NATIVE;
constexpr std::uint32_t kIni = KX_REGISTRY_INI;
constexpr std::uint32_t kRoots[] = {KX_HKEY_CLASSES, KX_HKEY_CONFIG, KX_HKEY_USER};

// A native registry and a directory for the file, both empty.
class Migration : public ::testing::Test {
  protected:
    Migration() { kx::platform::CloseRegistry(); }
    ~Migration() override {
        EXPECT_EQ(nullptr, registry::s_pIniFile) << "nothing outlives the call";
        kx::platform::CloseRegistry();
    }

    const IniDirectory& Ini() const { return m_ini; }

    static KXResult Migrate(std::uint32_t source, std::uint32_t destination) {
        return KXRegistryMigrate(source, 0xDEAD, destination, 0xBEEF);
    }

  private:
    const ScratchRegistry m_registry;
    const IniDirectory m_ini;
};

KXResult SetBytes(const std::u16string& key, const std::u16string& name, std::uint32_t type,
                  const std::string& bytes) {
    return KXRegistrySetValue(KX_HKEY_CONFIG, key.c_str(), name.c_str(), type, bytes.data(),
                              static_cast<std::uint32_t>(bytes.size()));
}

std::string BytesOfUnits(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

// A value with its type and all its bytes as they are in the native registry.
struct NativeValue {
    KXResult result;
    std::uint32_t type = 99;
    std::string bytes;
    bool operator==(const NativeValue&) const = default;
};

NativeValue Native(std::uint32_t root, const std::u16string& key, const std::u16string& name) {
    NativeValue value;
    value.bytes.resize(8192);
    auto length = static_cast<std::uint32_t>(value.bytes.size());
    value.result = KXRegistryGetValue(root, key.c_str(), name.c_str(), &value.type,
                                      value.bytes.data(), &length);
    value.bytes.resize(length);
    return value;
}

NativeValue Text(const std::u16string& text) {
    return {KX_S_OK, KX_REG_SZ, BytesOfUnits(text + u'\0')};
}

}  // namespace

// --- From the file -------------------------------------------------------------------------------

TEST_F(Migration, CarriesAllTextOfTheFileOverAndDeletesIt) {
    Ini().Put(
        "[KX_HKEY_CLASSES\\Kx]\n=default\n\n"
        "[KX_HKEY_CONFIG\\Kx\\Engine]\nCacheSize=128\nHome=C:\\data\\engine\nempty=\n\n"
        "[KX_HKEY_CONFIG\\Kx]\nabove=1\n\n"
        "[" +
        UserSection() + "\\Kx]\nTheme=dark=blue\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_EQ(Text(u"default"), Native(KX_HKEY_CLASSES, u"Kx", u""));
    EXPECT_EQ(Text(u"128"), Native(KX_HKEY_CONFIG, u"Kx\\Engine", u"CacheSize"));
    EXPECT_EQ(Text(u"C:\\data\\engine"), Native(KX_HKEY_CONFIG, u"Kx\\Engine", u"Home"));
    EXPECT_EQ(Text(u""), Native(KX_HKEY_CONFIG, u"Kx\\Engine", u"empty"));
    EXPECT_EQ(Text(u"1"), Native(KX_HKEY_CONFIG, u"Kx", u"above"));
    EXPECT_EQ(Text(u"dark=blue"), Native(KX_HKEY_USER, u"Kx", u"Theme"));
    EXPECT_FALSE(Ini().HasFile());
}

TEST_F(Migration, WithoutAFileDoesNothing) {
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_FALSE(Ini().HasFile());
    for (const std::uint32_t root : kRoots) {
        char16_t name[256];
        std::uint32_t length = 256;
        KXRegistryEnumHandle walk = 0;
        EXPECT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(root, u"", &walk));
        EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextKey(walk, name, &length));
        EXPECT_RESULT(KX_S_OK, KXRegistryCloseEnum(walk));
    }
}

TEST_F(Migration, ReplacesValuesOfTheSameNameAndLeavesTheOthers) {
    const std::uint32_t number = 7;
    KXRegistrySetValue(KX_HKEY_CONFIG, u"Kx", u"Same", KX_REG_DWORD, &number, sizeof number);
    SetText(KX_HKEY_CONFIG, u"Kx", u"other", u"stays");
    Ini().Put("[KX_HKEY_CONFIG\\Kx]\nsame=7\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_EQ(Text(u"7"), Native(KX_HKEY_CONFIG, u"Kx", u"same")) << "a number arrives as text";
    EXPECT_EQ(Text(u"stays"), Native(KX_HKEY_CONFIG, u"Kx", u"other"));
}

TEST_F(Migration, SectionsUnderNoRootGoWithTheFile) {
    Ini().Put(
        "[kx_hkey_config\\Ky]\na=1\n\n[Elsewhere\\Kx]\nb=1\n\n[KX_HKEY_CONFIGURE\\Kx]\nc=1\n\n"
        "[KX_HKEY_USER\\nobody else\\Kx]\nd=1\n\n[KX_HKEY_CLASSES_64\\Kx]\ne=1\n\n"
        "[KX_HKEY_CONFIG_64\\Kx]\nf=1\n\n[KX_HKEY_CONFIG\\Kx]\ng=1\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_FALSE(Ini().HasFile());
    for (const std::uint32_t root : kRoots) {
        for (const char16_t* const name : {u"a", u"b", u"c", u"d", u"e", u"f"}) {
            EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Native(root, u"Kx", name).result);
            EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Native(root, u"Ky", name).result);
        }
    }
    EXPECT_EQ(Text(u"1"), Native(KX_HKEY_CONFIG, u"Kx", u"g"));
}

TEST_F(Migration, InA32BitProcessThe64BitRootsComeFirst) {
    Ini().Put(
        "[KX_HKEY_CONFIG_64\\Kx]\na=64\nb=64\n\n[KX_HKEY_CONFIG\\Kx]\na=32\n\n"
        "[KX_HKEY_CLASSES_64\\Kx]\nc=64\n\n");
    const auto isWow64 = g_data.isWow64;
    g_data.isWow64 = 1;
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_EQ(Text(u"64"), Native(KX_HKEY_CLASSES_64, u"Kx", u"c"));
    EXPECT_EQ(Text(u"64"), Native(KX_HKEY_CONFIG_64, u"Kx", u"b"));
    EXPECT_EQ(Text(u"32"), Native(KX_HKEY_CONFIG, u"Kx", u"a"));
    g_data.isWow64 = isWow64;
}

TEST_F(Migration, EndsOverNamesThatAreEmpty) {
    Ini().Put(
        "[KX_HKEY_CONFIG\\\\x]\na=1\n\n[KX_HKEY_CONFIG\\]\nb=1\n\n"
        "[KX_HKEY_CONFIG\\Kx\\]\nc=1\n\n[KX_HKEY_CONFIG\\Kx\\\\\\y]\nd=1\n\n"
        "[KX_HKEY_CONFIG\\\\\\\\z]\ne=1\n\n[KX_HKEY_CONFIG\\Kx]\nf=1\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_EQ(Text(u"1"), Native(KX_HKEY_CONFIG, u"Kx", u"f"));
    EXPECT_FALSE(Ini().HasFile());
}

TEST_F(Migration, GoesAsDeepAsALineOfTheFileIsLong) {
    std::string section = "KX_HKEY_CONFIG\\Kx";
    std::u16string key = u"Kx";
    while (section.size() < 500) {
        section += "\\a";
        key += u"\\a";
    }
    Ini().Put("[" + section + "]\nk=deep\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
    EXPECT_EQ(u"deep", GetText(KX_HKEY_CONFIG, key, u"k"));
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[" + section + "]\nk=deep\n\n"), Ini().Bytes());
}

TEST_F(Migration, ToTheFileItselfLosesIt) {
    Ini().Put("[KX_HKEY_CONFIG\\Kx]\na=1\n\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kIni, kIni));
    EXPECT_FALSE(Ini().HasFile());
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Native(KX_HKEY_CONFIG, u"Kx", u"a").result);
}

// --- From the native registry --------------------------------------------------------------------

TEST_F(Migration, CarriesTextToTheFileAndLeavesTheSource) {
    SetText(KX_HKEY_CONFIG, u"Kx\\Engine", u"CacheSize", u"128");
    SetText(KX_HKEY_CONFIG, u"Kx\\empty\\key", u"gone", u"");
    KXRegistryDeleteValue(KX_HKEY_CONFIG, u"Kx\\empty\\key", u"gone");
    SetText(KX_HKEY_CLASSES, u"Kx", u"", u"default");
    SetText(KX_HKEY_USER, u"Kx", u"Theme", u"dark=blue");
    Ini().Put("# remark\n[KX_HKEY_CONFIG\\kx\\engine]\ncachesize=1\nhome=/\n\n[other]\nx=1\n");
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[KX_HKEY_CLASSES\\Kx]\n=default\n\n"
                     "[KX_HKEY_CONFIG\\kx\\engine]\ncachesize=128\nhome=/\n\n"
                     "[" +
                     UserSection() + "\\Kx]\nTheme=dark=blue\n\n[other]\nx=1\n\n"),
              Ini().Bytes());
    EXPECT_EQ(u"128", GetText(KX_HKEY_CONFIG, u"Kx\\Engine", u"CacheSize"));
}

TEST_F(Migration, PassesOverWhatIsNoText) {
    SetBytes(u"Kx", u"binary", KX_REG_BINARY, "bytes");
    SetBytes(u"Kx", u"number", KX_REG_DWORD, std::string("\1\0\0\0", 4));
    SetBytes(u"Kx", u"list", KX_REG_MULTI_SZ, BytesOfUnits(std::u16string(u"a\0b\0\0", 5)));
    SetText(KX_HKEY_CONFIG, u"Kx", u"text", u"1");
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\Kx]\ntext=1\n\n"), Ini().Bytes());
    EXPECT_EQ((NativeValue{KX_S_OK, KX_REG_BINARY, "bytes"}),
              Native(KX_HKEY_CONFIG, u"Kx", u"binary"));
    EXPECT_EQ(KX_REG_DWORD, Native(KX_HKEY_CONFIG, u"Kx", u"number").type);
}

TEST_F(Migration, PassesOverTextOfMoreThan2048Bytes) {
    const std::u16string text(1023, u'x');
    SetText(KX_HKEY_CONFIG, u"Kx", u"fits", text);
    SetText(KX_HKEY_CONFIG, u"Kx", u"long", text + u'x');
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\Kx]\nfits=" + std::string(1023, 'x') + "\n\n"),
              Ini().Bytes());
    EXPECT_EQ(Text(text + u'x'), Native(KX_HKEY_CONFIG, u"Kx", u"long"));
}

TEST_F(Migration, ExpandsVariables) {
    const ScopedEnvironment variable("KXTEST_WORD", "expanded");
    SetText(KX_HKEY_CONFIG, u"Kx", u"k", u"%KXTEST_WORD% text", KX_REG_EXPAND_SZ);
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\Kx]\nk=expanded text\n\n"), Ini().Bytes());
}

TEST_F(Migration, OntoItselfLeavesTextAsItIs) {
    SetText(KX_HKEY_CONFIG, u"Kx\\a", u"Name", u"some text");
    SetBytes(u"Kx", u"binary", KX_REG_BINARY, "bytes");
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kNative));
    EXPECT_EQ(Text(u"some text"), Native(KX_HKEY_CONFIG, u"Kx\\a", u"name"));
    EXPECT_EQ((NativeValue{KX_S_OK, KX_REG_BINARY, "bytes"}),
              Native(KX_HKEY_CONFIG, u"Kx", u"binary"));
    EXPECT_FALSE(Ini().HasFile());
}

// --- There and back ------------------------------------------------------------------------------

TEST_F(Migration, BringsEverythingBackAndChangesNothingTheSecondTime) {
    const std::string longest(255, 'n');
    const std::string image = OnDisk(
        "[KX_HKEY_CLASSES\\Kx]\n=default\n\n"
        "[KX_HKEY_CONFIG\\Kx\\" +
        longest + "]\nk=v\n\n[KX_HKEY_CONFIG\\Kx\\Engine]\n_=1\nB=[x]\nc=  \n" +
        "d=a;b # c\ne=%PATH%\n" + longest + "=" + std::string(200, 'v') + "\n\n" +
        "[KX_HKEY_CONFIG\\Ky]\nk=1\n\n[" + UserSection() + "\\Kx\\a\\b\\c]\nt=dark=blue\n\n");
    Ini().Put(image);
    std::string sorted;
    for (int round = 0; round < 2; ++round) {
        EXPECT_RESULT(KX_S_OK, Migrate(kIni, kNative));
        EXPECT_FALSE(Ini().HasFile());
        EXPECT_EQ(Text(u"dark=blue"), Native(KX_HKEY_USER, u"Kx\\a\\b\\c", u"t"));
        EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
        if (round == 0) sorted = Ini().Bytes();
        EXPECT_EQ(sorted, Ini().Bytes());
    }
    EXPECT_EQ(image.size(), sorted.size());
    for (const char* const line :
         {"[KX_HKEY_CONFIG\\Kx\\Engine]\n_=1\nB=[x]\nc=  \nd=a;b # c\ne=%PATH%\nnn",
          "[KX_HKEY_CLASSES\\Kx]\n=default\n\n", "\\Kx\\a\\b\\c]\nt=dark=blue\n\n"}) {
        EXPECT_NE(std::string::npos, sorted.find(OnDisk(line))) << line;
    }
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(sorted, Ini().Bytes()) << "onto what is there already";
}

// --- Failures ------------------------------------------------------------------------------------

TEST_F(Migration, OfAnotherKindIsRefusedBeforeAnythingIsRead) {
    const std::string bytes = "[KX_HKEY_CONFIG\\Kx]\na=1\n\n# left as it is";
    Ini().Put(bytes);
    SetText(KX_HKEY_CONFIG, u"Ky", u"b", u"1");
    // What reads waits for the lock.
    const HeldIniLock lock;
    static constexpr struct {
        std::uint32_t source;
        std::uint32_t destination;
    } kRows[] = {{2, kNative}, {2, kIni}, {kNative, 2}, {kIni, 2}, {2, 2}, {0xFFFFFFFFu, kIni}};
    for (const auto& row : kRows) {
        EXPECT_RESULT(KX_CO_E_INIT_SHARED_ALLOCATOR, Migrate(row.source, row.destination));
        EXPECT_EQ(bytes, Ini().Bytes());
        EXPECT_EQ(0u, registry::s_pInitLock);
    }
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Native(KX_HKEY_CONFIG, u"Kx", u"a").result);
}

TEST_F(Migration, ThatRunsOutOfMemoryEndsWithNothingHeld) {
    constexpr int kAllocations = 60;
    for (int allowed = 0; allowed < kAllocations; ++allowed) {
        Ini().Put("[KX_HKEY_CONFIG\\Kx\\a key of some length]\na name of some length=text\n\n");
        KXResult result = KX_S_OK;
        {
            const FailingNew failing(allowed, 1);
            result = Migrate(kIni, kNative);
        }
        if (result != KX_S_OK && result != KX_E_FAIL) {  // that for want of the first lock
            EXPECT_RESULT(KX_E_OUTOFMEMORY, result);
        }
        EXPECT_EQ(result != KX_S_OK, Ini().HasFile()) << "the file goes when all was walked";
        EXPECT_EQ(nullptr, registry::s_pIniFile);
        EXPECT_EQ(0u, registry::s_pInitLock);
        // Would wait for ever.
        const HeldIniLock lock;
    }
}

// The buffer that data go through has room for no terminator behind the longest of them.
TEST_F(Migration, TextThatWasStoredWithoutItsTerminatorEndsWhereItsBytesDo) {
    // What stands behind is no terminator: Windows would take that along.
    const std::u16string longer(1025, u'x');
    EXPECT_RESULT(KX_S_OK,
                  KXRegistrySetValue(KX_HKEY_CONFIG, u"Kx", u"a", KX_REG_SZ, longer.c_str(), 2048));
    SetBytes(u"Kx", u"b", KX_REG_SZ, BytesOfUnits(u"some text").substr(0, 8));
    SetBytes(u"Kx", u"c", KX_REG_SZ, "");
    EXPECT_RESULT(KX_S_OK, Migrate(kNative, kIni));
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\Kx]\na=" + std::string(1024, 'x') + "\nb=some\nc=\n\n"),
              Ini().Bytes());
}
