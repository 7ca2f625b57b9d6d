// The registry functions over the INI file.
#include "registry/ini_registry.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "frame/exception.h"
#include "registry/ini_file.h"
#include "support/failing_new.h"
#include "support/ini_registry.h"
#include "support/text_mode.h"

using namespace kx::test;
namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kBadRoots[] = {5, 0x80000000u, 0x80000001u, 0x80000002u, 0xFFFFFFFFu};

class IniRegistryTest : public ::testing::Test {
  protected:
    const IniRegistry& Ini() const { return m_ini; }

  private:
    const IniRegistry m_ini;
};

// A walk, closed at the end of a scope.
class Walk final {
  public:
    using Open = KXResult (*)(std::uint32_t, const char16_t*, KXRegistryEnumHandle*);

    Walk(Open open, std::uint32_t root, const char16_t* path) {
        EXPECT_RESULT(KX_S_OK, open(root, path, &m_handle));
    }
    ~Walk() { EXPECT_RESULT(KX_S_OK, registry::CloseEnum(m_handle)); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    operator KXRegistryEnumHandle() const { return m_handle; }

  private:
    KXRegistryEnumHandle m_handle = 0;
};

}  // namespace

using IniSectionName = IniRegistryTest;
using IniWalk = IniRegistryTest;
using IniValue = IniRegistryTest;
using IniSingleton = IniRegistryTest;

// --- Names of sections ---------------------------------------------------------------------------

TEST_F(IniSectionName, IsTheRootsNameAndThePathAsItStands) {
    const std::string user = UserSection();
    const std::u16string wideUser(user.begin(), user.end());
    const struct {
        std::uint32_t root;
        const char16_t* path;
        std::u16string section;
    } rows[] = {
        {KX_HKEY_CLASSES, u"", u"KX_HKEY_CLASSES"},
        {KX_HKEY_CONFIG, u"Software\\Sample\\Engine", u"KX_HKEY_CONFIG\\Software\\Sample\\Engine"},
        {KX_HKEY_USER, u"", wideUser},
        {KX_HKEY_USER, u"a", wideUser + u"\\a"},
        {KX_HKEY_CLASSES_64, u"a", u"KX_HKEY_CLASSES_64\\a"},
        {KX_HKEY_CONFIG_64, u"a", u"KX_HKEY_CONFIG_64\\a"},
        {KX_HKEY_CONFIG, u"\\a", u"KX_HKEY_CONFIG\\\\a"},
        {KX_HKEY_CONFIG, u"a\\\\b\\", u"KX_HKEY_CONFIG\\a\\\\b\\"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.section, registry::SectionName(row.root, row.path));
}

TEST_F(IniSectionName, IsNoneForOtherRoots) {
    for (const std::uint32_t root : kBadRoots) {
        try {
            registry::SectionName(root, u"a");
            ADD_FAILURE() << root;
        } catch (const EKXCoreException& exception) {
            EXPECT_RESULT(KX_E_INVALIDARG, exception.result);
        }
        KXRegistryEnumHandle walk = 0;
        EXPECT_RESULT(KX_E_INVALIDARG, registry::OpenKeyEnum(root, u"a", &walk));
        EXPECT_EQ(KX_INVALID_HANDLE, walk);
        walk = 0;
        EXPECT_RESULT(KX_E_INVALIDARG, registry::OpenValueEnum(root, u"a", &walk));
        EXPECT_EQ(KX_INVALID_HANDLE, walk);
        EXPECT_RESULT(KX_E_INVALIDARG, registry::SetValue(root, u"a", u"k", KX_REG_SZ, u"v", 4));
        std::uint32_t type = 0;
        std::uint32_t bytes = 0;
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                      registry::GetValue(root, u"a", u"k", &type, nullptr, &bytes));
    }
}

// --- Walks ---------------------------------------------------------------------------------------

TEST_F(IniWalk, OpensOverAKeyThatIsThereByItsChildrenAlone) {
    Ini().Put("[KX_HKEY_CONFIG\\a\\b]\nk=1\n\n");
    char16_t name[8];
    std::uint32_t length = 8;
    const Walk values(registry::OpenValueEnum, KX_HKEY_CONFIG, u"a");
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF,
                  registry::EnumNextValue(values, name, &length, nullptr, nullptr, nullptr));
    const Walk keys(registry::OpenKeyEnum, KX_HKEY_CONFIG, u"a");
    EXPECT_RESULT(KX_S_OK, registry::EnumNextKey(keys, name, &length));
    EXPECT_EQ(u"b", std::u16string(name));
    EXPECT_EQ(1u, length);
    length = 8;
    for (int i = 0; i < 2; ++i) {
        EXPECT_RESULT(KX_ERROR_HANDLE_EOF, registry::EnumNextKey(keys, name, &length));
    }
    EXPECT_EQ(8u, length);
}

TEST_F(IniWalk, OverAMissingKeyFindsNoKeysAndIsRefusedForValues) {
    Ini().Put("[KX_HKEY_CONFIG\\a\\b]\nk=1\n\n");
    for (const char16_t* const missing : {u"c", u"a\\c", u"A", u"a\\b\\c"}) {
        KXRegistryEnumHandle handle = 0;
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                      registry::OpenValueEnum(KX_HKEY_CONFIG, missing, &handle));
        EXPECT_EQ(KX_INVALID_HANDLE, handle);
        const Walk keys(registry::OpenKeyEnum, KX_HKEY_CONFIG, missing);
        char16_t name[8];
        std::uint32_t length = 8;
        EXPECT_RESULT(KX_ERROR_HANDLE_EOF, registry::EnumNextKey(keys, name, &length));
    }
}

TEST_F(IniWalk, CutsANameThatDoesNotFitAndMovesOn) {
    Ini().Put("[KX_HKEY_CONFIG\\abc]\nkey=1\n\n[KX_HKEY_CONFIG\\abd]\n\n[KX_HKEY_CONFIG\\]\n\n");
    const Walk keys(registry::OpenKeyEnum, KX_HKEY_CONFIG, u"");
    char16_t name[] = u"########";
    std::uint32_t length = 0;
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, registry::EnumNextKey(keys, name, &length))
        << "even the empty one takes its terminator";
    EXPECT_EQ(u"########", std::u16string(name));
    length = 3;
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, registry::EnumNextKey(keys, name, &length));
    EXPECT_EQ(3u, length);
    EXPECT_EQ(u"abc#####", std::u16string(name)) << "no terminator";
    length = 4;
    EXPECT_RESULT(KX_S_OK, registry::EnumNextKey(keys, name, &length));
    EXPECT_EQ(3u, length);
    EXPECT_EQ(std::u16string(u"abd\0####", 8), std::u16string(name, 8));
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, registry::EnumNextKey(keys, name, &length));
}

TEST_F(IniWalk, GivesValuesWithTheirText) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\n=default\nname=some text\nnone=\n\n");
    const Walk values(registry::OpenValueEnum, KX_HKEY_CONFIG, u"a");
    const struct {
        std::u16string name;
        std::u16string text;
    } rows[] = {{u"", u"default"}, {u"name", u"some text"}, {u"none", u""}};
    for (const auto& row : rows) {
        char16_t name[16];
        char16_t text[16];
        std::uint32_t length = 16;
        std::uint32_t type = 99;
        std::uint32_t bytes = 0;
        EXPECT_RESULT(KX_S_OK, registry::EnumNextValue(values, name, &length, &type, text, &bytes));
        EXPECT_EQ(row.name, std::u16string(name, length));
        EXPECT_EQ(KX_REG_SZ, type);
        EXPECT_EQ(row.text, std::u16string(text));
        EXPECT_EQ((row.text.size() + 1) * 2, bytes);
    }
}

TEST_F(IniWalk, OverNamesAloneTouchesNothingElse) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\nj=1\nk=1\n\n");
    const Walk values(registry::OpenValueEnum, KX_HKEY_CONFIG, u"a");
    char16_t name[16];
    std::uint32_t length = 16;
    EXPECT_RESULT(KX_S_OK,
                  registry::EnumNextValue(values, name, &length, nullptr, nullptr, nullptr));
    EXPECT_EQ(u"j", std::u16string(name));
    std::uint32_t type = 99;
    std::uint32_t bytes = 77;
    length = 1;
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE,
                  registry::EnumNextValue(values, name, &length, &type, nullptr, &bytes));
    EXPECT_EQ(KX_REG_SZ, type);
    EXPECT_EQ(77u, bytes);
}

TEST_F(IniWalk, WithTheTextANameThatIsCutDoesNotCount) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\nname=text\n\n");
    const Walk values(registry::OpenValueEnum, KX_HKEY_CONFIG, u"a");
    char16_t name[] = u"####";
    char16_t text[16];
    std::uint32_t length = 2;
    std::uint32_t bytes = 0;
    EXPECT_RESULT(KX_S_OK, registry::EnumNextValue(values, name, &length, nullptr, text, &bytes));
    EXPECT_EQ(u"na##", std::u16string(name));
    EXPECT_EQ(2u, length);
    EXPECT_EQ(10u, bytes);
    EXPECT_EQ(u"text", std::u16string(text));
}

TEST_F(IniWalk, AValueThatIsGoneByThenIsAFailure) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\nj=1\nk=1\n\n");
    const Walk values(registry::OpenValueEnum, KX_HKEY_CONFIG, u"a");
    Ini().Put("[KX_HKEY_CONFIG\\a]\nk=2\n\n");
    EXPECT_EQ(0, registry::s_pIniFile->Load());
    char16_t name[16];
    char16_t text[16] = u"#";
    std::uint32_t length = 16;
    std::uint32_t bytes = 77;
    EXPECT_RESULT(KX_E_FAIL, registry::EnumNextValue(values, name, &length, nullptr, text, &bytes));
    EXPECT_EQ(77u, bytes);
    length = 16;
    EXPECT_RESULT(KX_S_OK, registry::EnumNextValue(values, name, &length, nullptr, text, &bytes));
    EXPECT_EQ(u"2", std::u16string(text));
}

TEST_F(IniWalk, NoneMayBeClosed) {
    EXPECT_RESULT(KX_S_OK, registry::CloseEnum(0));
}

// --- Values --------------------------------------------------------------------------------------

TEST_F(IniValue, IsCopiedWholeWhateverRoomIsNamed) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\nk=some text\n\n");
    for (std::uint32_t bytes : {0u, 3u, 1000u}) {
        char16_t text[] = u"############";
        std::uint32_t type = 99;
        EXPECT_RESULT(KX_S_OK, registry::GetValue(KX_HKEY_CONFIG, u"A", u"K", &type, text, &bytes));
        EXPECT_EQ(KX_REG_SZ, type);
        EXPECT_EQ(20u, bytes);
        EXPECT_EQ(std::u16string(u"some text\0##", 12), std::u16string(text, 12));
    }
}

TEST_F(IniValue, ThatIsMissingLeavesAllAsItWas) {
    Ini().Put("[KX_HKEY_CONFIG\\a]\nk=1\n\n");
    for (const char16_t* const key : {u"a", u"b"}) {
        char16_t text[] = u"#";
        std::uint32_t type = 99;
        std::uint32_t bytes = 77;
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                      registry::GetValue(KX_HKEY_CONFIG, key, u"j", &type, text, &bytes));
        EXPECT_EQ(99u, type);
        EXPECT_EQ(77u, bytes);
        EXPECT_EQ(u'#', text[0]);
    }
}

TEST_F(IniValue, IsWrittenUpToItsTerminatorOverAnyOther) {
    for (const char16_t* const text : {u"one", u"two"}) {
        EXPECT_RESULT(KX_S_OK,
                      registry::SetValue(KX_HKEY_CONFIG, u"a\\b", u"k", KX_REG_SZ, text, 2));
    }
    EXPECT_RESULT(KX_S_OK, registry::SetValue(KX_HKEY_USER, u"", u"", KX_REG_SZ, u"default", 0));
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\a\\b]\nk=two\n\n[" + UserSection() + "]\n=default\n\n"),
              Ini().Bytes());
}

TEST_F(IniValue, OfAnyTypeButTextIsRefused) {
    for (const std::uint32_t type : {KX_REG_DWORD, KX_REG_QWORD, KX_REG_BINARY, KX_REG_EXPAND_SZ,
                                     KX_REG_MULTI_SZ, 6u, 0xFFFFFFFFu}) {
        EXPECT_RESULT(KX_E_NOTIMPL, registry::SetValue(KX_HKEY_CONFIG, u"a", u"k", type, u"v", 4));
        EXPECT_RESULT(KX_E_NOTIMPL, registry::SetValue(kBadRoots[0], u"a", u"k", type, u"v", 4));
    }
    EXPECT_FALSE(Ini().HasFile());
    EXPECT_NE(nullptr, registry::s_pIniFile) << "the file was opened before";
}

// --- The file of the process ---------------------------------------------------------------------

TEST_F(IniSingleton, IsOpenedByTheFirstUse) {
    EXPECT_EQ(nullptr, registry::s_pIniFile);
    EXPECT_RESULT(KX_S_OK, registry::CloseEnum(0));
    const IniFile* const file = registry::s_pIniFile;
    ASSERT_NE(nullptr, file);
    registry::EnsureIniFile();
    EXPECT_EQ(file, registry::s_pIniFile);
    EXPECT_EQ(u"kxregistry.ini", registry::s_iniPath);
    EXPECT_FALSE(Ini().HasFile());
}

TEST_F(IniSingleton, EndsWithItsLockAndLeavesThePath) {
    registry::EnsureIniFile();
    EXPECT_NE(0u, registry::s_pInitLock);
    EXPECT_RESULT(KX_S_OK, registry::Terminate());
    EXPECT_EQ(nullptr, registry::s_pIniFile);
    EXPECT_EQ(0u, registry::s_pInitLock);
    EXPECT_EQ(u"kxregistry.ini", registry::s_iniPath);
    // Without the lock nothing works.
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_E_FAIL, registry::OpenKeyEnum(KX_HKEY_CONFIG, u"", &walk));
    EXPECT_EQ(KX_INVALID_HANDLE, walk);
    EXPECT_RESULT(KX_S_OK, registry::DeleteIniFile());
    EXPECT_RESULT(KX_S_OK, registry::Initialize());
    EXPECT_RESULT(KX_S_OK, registry::OpenKeyEnum(KX_HKEY_CONFIG, u"", &walk));
    EXPECT_RESULT(KX_S_OK, registry::CloseEnum(walk));
}

TEST_F(IniSingleton, ItsFileIsDeletedOnlyIfItWasOpened) {
    Ini().Put("[s]\n");
    EXPECT_RESULT(KX_S_OK, registry::DeleteIniFile());
    EXPECT_TRUE(Ini().HasFile());
    registry::EnsureIniFile();
    EXPECT_RESULT(KX_S_OK, registry::DeleteIniFile());
    EXPECT_FALSE(Ini().HasFile());
    EXPECT_RESULT(KX_S_OK, registry::DeleteIniFile()) << "it is gone already";
    fs::create_directory(Ini().Path());
    EXPECT_GT(0, registry::DeleteIniFile());
}

TEST_F(IniSingleton, ExhaustedMemoryIsAResultAndNothingIsLost) {
    Ini().Put("[KX_HKEY_CONFIG\\a key of some length]\na name of some length=text\n\n");
    KXRegistryEnumHandle walk = 0;
    std::uint32_t length = 0;
    const std::function<KXResult()> calls[] = {
        [] { return registry::CloseEnum(0); },
        [&] { return registry::OpenKeyEnum(KX_HKEY_CONFIG, u"", &walk); },
        [&] {
            char16_t name[256];
            length = 256;
            return registry::EnumNextKey(walk, name, &length);
        },
        [&] { return registry::CloseEnum(walk); },
        [&] { return registry::OpenValueEnum(KX_HKEY_CONFIG, u"a key of some length", &walk); },
        [&] { return registry::CloseEnum(walk); },
        [] {
            return registry::SetValue(KX_HKEY_CONFIG, u"another key like it", u"k", KX_REG_SZ, u"v",
                                      4);
        },
    };
    for (const auto& call : calls) {
        KXResult result = KX_E_OUTOFMEMORY;
        for (int allowed = 0; result != KX_S_OK; ++allowed) {
            {
                const FailingNew failing(allowed);
                result = call();
            }
            if (result != KX_S_OK) {
                ASSERT_RESULT(KX_E_OUTOFMEMORY, result);
            }
        }
    }
    EXPECT_EQ(OnDisk("[KX_HKEY_CONFIG\\a key of some length]\na name of some length=text\n\n"
                     "[KX_HKEY_CONFIG\\another key like it]\nk=v\n\n"),
              Ini().Bytes());
}
