#include <kxcore7/registry.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "support/results.h"
#include "support/scratch_registry.h"
#include "support/wine.h"

using namespace kx::test;

namespace {

constexpr std::uint32_t kBadRoot = 5;
constexpr std::uint32_t kAllRoots[] = {KX_HKEY_CLASSES,    KX_HKEY_CONFIG,    KX_HKEY_USER,
                                       KX_HKEY_CLASSES_64, KX_HKEY_CONFIG_64, 0x80000000u,
                                       0x80000001u,        0x80000002u};

// Each test has a key of its own and removes it.
class Registry : public ::testing::Test {
  protected:
    void SetUp() override { KXRegistryDeleteKey(kRoot, kKey); }
    void TearDown() override { KXRegistryDeleteKey(kRoot, kKey); }

    static std::u16string Under(const std::u16string& name) { return kKey + (u"\\" + name); }

    static constexpr std::uint32_t kRoot = KX_HKEY_USER;
    static constexpr const char16_t* kKey = u"KxTest";
};

std::vector<std::u16string> KeyNames(std::uint32_t root, const std::u16string& key) {
    std::vector<std::u16string> names;
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(root, key.c_str(), &walk));
    char16_t name[256];
    for (std::uint32_t length = 256; KXRegistryEnumNextKey(walk, name, &length) == 0;
         length = 256) {
        EXPECT_EQ(u'\0', name[length]);
        names.emplace_back(name, length);
    }
    EXPECT_RESULT(KX_S_OK, KXRegistryCloseEnum(walk));
    return names;
}

struct Value {
    std::u16string name;
    std::uint32_t type;
    std::string data;
    bool operator==(const Value&) const = default;
};

std::vector<Value> Values(std::uint32_t root, const std::u16string& key) {
    std::vector<Value> values;
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistryOpenValueEnum(root, key.c_str(), &walk));
    for (;;) {
        char16_t name[256];
        char data[256];
        std::uint32_t nameLength = 256;
        std::uint32_t type = 99;
        std::uint32_t dataLength = sizeof data;
        const KXResult result =
            KXRegistryEnumNextValue(walk, name, &nameLength, &type, data, &dataLength);
        if (result != 0) {
            EXPECT_RESULT(KX_E_FAIL, result) << "the end of the walk";
            break;
        }
        values.push_back({{name, nameLength}, type, {data, dataLength}});
    }
    EXPECT_RESULT(KX_S_OK, KXRegistryCloseEnum(walk));
    return values;
}

std::string Bytes(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.c_str()), BytesOf(text)};
}

}  // namespace

TEST_F(Registry, EveryRootHoldsTextUnderANamedAndTheUnnamedValue) {
    for (const std::uint32_t root : kAllRoots) {
        EXPECT_RESULT(KX_S_OK, SetText(root, u"KxTest\\Sub", u"Name", u"text"));
        EXPECT_RESULT(KX_S_OK, SetText(root, u"KxTest\\Sub", u"", u"unnamed"));
        EXPECT_EQ(u"text", GetText(root, u"KxTest\\Sub", u"Name")) << root;
        EXPECT_EQ(u"unnamed", GetText(root, u"KxTest\\Sub", u"")) << root;
        EXPECT_RESULT(KX_S_OK, KXRegistryDeleteKey(root, u"KxTest"));
    }
}

TEST_F(Registry, HivesAreApartAndTheirHandlesAreTheSamePlaces) {
    SetText(KX_HKEY_CLASSES, kKey, u"v", u"classes");
    SetText(KX_HKEY_CONFIG, kKey, u"v", u"config");
    SetText(KX_HKEY_USER, kKey, u"v", u"user");
    EXPECT_EQ(u"classes", GetText(0x80000000u, kKey, u"v"));
    EXPECT_EQ(u"config", GetText(0x80000002u, kKey, u"v"));
    EXPECT_EQ(u"user", GetText(0x80000001u, kKey, u"v"));
    EXPECT_EQ(u"classes", GetText(KX_HKEY_CLASSES_64, kKey, u"v"));
    EXPECT_EQ(u"config", GetText(KX_HKEY_CONFIG_64, kKey, u"v"));
    for (const std::uint32_t root : {KX_HKEY_CLASSES, KX_HKEY_CONFIG}) {
        KXRegistryDeleteKey(root, kKey);
    }
}

TEST_F(Registry, UnknownRootGivesEachFunctionsOwnCode) {
    for (const std::uint32_t root : {kBadRoot, 0x7FFFFFFFu, 0x80000003u, 0xFFFFFFFFu}) {
        char16_t text[8];
        std::uint32_t type = 0;
        std::uint32_t bytes = sizeof text;
        KXRegistryEnumHandle walk = 0;
        EXPECT_RESULT(KX_E_HANDLE, KXRegistryGetValue(root, kKey, u"v", &type, text, &bytes));
        EXPECT_RESULT(KX_E_HANDLE, SetText(root, kKey, u"v", u"text"));
        EXPECT_RESULT(KX_E_HANDLE, KXRegistryDeleteValue(root, kKey, u"v"));
        EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(root, kKey));
        EXPECT_RESULT(KX_E_FAIL, KXRegistryOpenKeyEnum(root, kKey, &walk));
        EXPECT_EQ(KX_INVALID_HANDLE, walk);
        walk = 0;
        EXPECT_RESULT(KX_E_HANDLE, KXRegistryOpenValueEnum(root, kKey, &walk));
        EXPECT_EQ(KX_INVALID_HANDLE, walk);
    }
}

TEST_F(Registry, MissingKeyGivesEachFunctionsOwnCode) {
    char16_t text[8];
    std::uint32_t type = 0;
    std::uint32_t bytes = sizeof text;
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  KXRegistryGetValue(kRoot, kKey, u"v", &type, text, &bytes));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXRegistryDeleteValue(kRoot, kKey, u"v"));
    EXPECT_RESULT(KX_E_FAIL, KXRegistryDeleteKey(kRoot, kKey));
    EXPECT_RESULT(KX_E_FAIL, KXRegistryOpenKeyEnum(kRoot, kKey, &walk));
    EXPECT_EQ(KX_INVALID_HANDLE, walk);
    walk = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXRegistryOpenValueEnum(kRoot, kKey, &walk));
    EXPECT_EQ(KX_INVALID_HANDLE, walk);
}

TEST_F(Registry, MissingValueIsNotFound) {
    SetText(kRoot, kKey, u"other", u"text");
    std::uint32_t bytes = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  KXRegistryGetValue(kRoot, kKey, u"v", nullptr, nullptr, &bytes));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXRegistryDeleteValue(kRoot, kKey, u"v"));
    EXPECT_EQ(u"text", GetText(kRoot, kKey, u"other"));
}

TEST_F(Registry, EveryWritableTypeReadsBackAsItShould) {
    static constexpr struct {
        std::uint32_t written;
        std::uint32_t read;
    } kRows[] = {{KX_REG_SZ, KX_REG_SZ},
                 {KX_REG_DWORD, KX_REG_DWORD},
                 {KX_REG_BINARY, KX_REG_BINARY},
                 {KX_REG_EXPAND_SZ, KX_REG_SZ},
                 {KX_REG_MULTI_SZ, KX_REG_MULTI_SZ}};
    const char16_t data[] = u"ab";
    for (const auto& row : kRows) {
        EXPECT_RESULT(KX_S_OK,
                      KXRegistrySetValue(kRoot, kKey, u"v", row.written, data, sizeof data));
        char16_t read[8] = u"";
        std::uint32_t type = 99;
        std::uint32_t bytes = sizeof read;
        EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, read, &bytes));
        EXPECT_EQ(row.read, type) << row.written;
        EXPECT_EQ(sizeof data, bytes);
        EXPECT_EQ(0, std::memcmp(data, read, sizeof data));
    }
}

TEST_F(Registry, TypesThatCantBeWrittenAreRefusedBeforeAnythingIsDone) {
    const std::uint64_t number = 7;
    for (const std::uint32_t type : {KX_REG_QWORD, 6u, 7u, 11u, 0xFFFFFFFFu}) {
        EXPECT_RESULT(KX_E_INVALIDARG,
                      KXRegistrySetValue(kRoot, kKey, u"v", type, &number, sizeof number));
        EXPECT_RESULT(KX_E_INVALIDARG,
                      KXRegistrySetValue(kBadRoot, kKey, u"v", type, &number, sizeof number));
    }
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXRegistryOpenValueEnum(kRoot, kKey, &walk))
        << "no key was made";
}

TEST_F(Registry, WritingReplacesTypeAndData) {
    const std::uint32_t number = 0x01020304;
    SetText(kRoot, kKey, u"v", u"a rather long text that was there before");
    EXPECT_RESULT(KX_S_OK,
                  KXRegistrySetValue(kRoot, kKey, u"v", KX_REG_DWORD, &number, sizeof number));
    std::uint32_t type = 0;
    std::uint32_t read = 0;
    std::uint32_t bytes = sizeof read;
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, &read, &bytes));
    EXPECT_EQ(KX_REG_DWORD, type);
    EXPECT_EQ(number, read);
    EXPECT_EQ(4u, bytes);
}

TEST_F(Registry, EmptyAndLargeDataAreKept) {
    char byte = 'x';
    std::uint32_t type = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistrySetValue(kRoot, kKey, u"v", KX_REG_BINARY, nullptr, 0));
    std::uint32_t bytes = 1;
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, &byte, &bytes));
    EXPECT_EQ(0u, bytes);
    EXPECT_EQ('x', byte);
    std::string large(3'000'000, '\0');
    for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7);
    EXPECT_RESULT(KX_S_OK, KXRegistrySetValue(kRoot, kKey, u"v", KX_REG_BINARY, large.data(),
                                              static_cast<std::uint32_t>(large.size())));
    std::string read(large.size(), '#');
    bytes = static_cast<std::uint32_t>(read.size());
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, read.data(), &bytes));
    EXPECT_TRUE(large == read);
}

TEST_F(Registry, ABufferTooSmallIsToldTheSize) {
    SetText(kRoot, kKey, u"v", u"12345");
    for (const bool withType : {true, false}) {
        for (std::uint32_t capacity = 0; capacity < 12; ++capacity) {
            char16_t data[8] = u"#######";
            std::uint32_t type = 99;
            std::uint32_t bytes = capacity;
            EXPECT_RESULT(KX_E_FAIL, KXRegistryGetValue(kRoot, kKey, u"v",
                                                        withType ? &type : nullptr, data, &bytes));
            EXPECT_EQ(12u, bytes);
            EXPECT_EQ(std::u16string(u"#######"), data) << "nothing is written behind the capacity";
        }
    }
}

TEST_F(Registry, TextStoredWithoutATerminatorGetsOneWhereThereIsRoom) {
    // Windows takes a terminator along that stands behind the length.
    KXRegistrySetValue(kRoot, kKey, u"v", KX_REG_SZ, u"ab#", 4);
    for (std::uint32_t capacity = 4; capacity < 8; ++capacity) {
        char data[8];
        std::memset(data, '#', sizeof data);
        std::uint32_t bytes = capacity;
        EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", nullptr, data, &bytes));
        EXPECT_EQ(4u, bytes);
        const std::string behind = capacity < 6 ? "####" : std::string("\0\0##", 4);
        EXPECT_EQ(behind, std::string(data + 4, 4)) << capacity;
    }
}

TEST_F(Registry, OutputsThatAreNotWantedMayBeNull) {
    SetText(kRoot, kKey, u"v", u"12345");
    std::uint32_t type = 99;
    std::uint32_t bytes = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", nullptr, nullptr, nullptr));
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, nullptr, nullptr));
    EXPECT_EQ(KX_REG_SZ, type);
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", nullptr, nullptr, &bytes));
    EXPECT_EQ(12u, bytes);
    char16_t data[8];
    EXPECT_RESULT(KX_E_FAIL, KXRegistryGetValue(kRoot, kKey, u"v", &type, data, nullptr))
        << "data without a length";
}

TEST_F(Registry, NativeTypesMapDifferentlyInReadsAndWalks) {
    // A text with variables is the only one of them that can be written from here.
    SetText(kRoot, kKey, u"v", u"%KXTEST_A%", KX_REG_EXPAND_SZ);
    const ScopedEnvironment variable("KXTEST_A", "x");
    EXPECT_EQ(u"x", GetText(kRoot, kKey, u"v"));
    EXPECT_EQ((std::vector<Value>{{u"v", KX_REG_SZ, Bytes(u"%KXTEST_A%")}}), Values(kRoot, kKey))
        << "a walk expands nothing";
}

namespace {

class RegistryExpansion : public Registry {
  protected:
    // The read of a value that holds the raw text, into a buffer of so many units.
    struct Read {
        KXResult result;
        std::uint32_t type;
        std::u16string text;
        std::uint32_t bytes;
    };
    static Read ReadRaw(const std::u16string& raw, std::uint32_t units) {
        SetText(kRoot, kKey, u"v", raw, KX_REG_EXPAND_SZ);
        std::vector<char16_t> data(units + 1, u'\0');
        Read read{0, 99, u"", units * 2};
        read.result = KXRegistryGetValue(kRoot, kKey, u"v", &read.type, data.data(), &read.bytes);
        read.text = data.data();
        return read;
    }

    const ScopedEnvironment m_value{"KXTEST_VALUE", "0123456789"};
    const ScopedEnvironment m_none{"KXTEST_NONE", std::nullopt};
};

}  // namespace

TEST_F(RegistryExpansion, ReplacesVariablesAndKeepsTheRawLength) {
    const Read read = ReadRaw(u"a%KXTEST_VALUE%b", 64);
    EXPECT_RESULT(KX_S_OK, read.result);
    EXPECT_EQ(KX_REG_SZ, read.type);
    EXPECT_EQ(u"a0123456789b", read.text);
    EXPECT_EQ(BytesOf(u"a%KXTEST_VALUE%b"), read.bytes);
}

TEST_F(RegistryExpansion, WithoutATypeTheTextComesBackRaw) {
    SetText(kRoot, kKey, u"v", u"%KXTEST_VALUE%", KX_REG_EXPAND_SZ);
    char16_t data[64] = u"";
    std::uint32_t bytes = sizeof data;
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", nullptr, data, &bytes));
    EXPECT_EQ(std::u16string(u"%KXTEST_VALUE%"), data);
    EXPECT_EQ(BytesOf(u"%KXTEST_VALUE%"), bytes);
}

TEST_F(RegistryExpansion, ThatDoesNotFitFailsAndLeavesTheRawText) {
    const std::u16string raw = u"%KXTEST_VALUE%%KXTEST_VALUE%";
    const Read read = ReadRaw(u"%KXTEST_VALUE%%KXTEST_VALUE%", 29);
    EXPECT_RESULT(KX_S_OK, read.result);
    const std::u16string longer = u"%KXTEST_VALUE%" + std::u16string(20, u'x');
    const ScopedEnvironment variable("KXTEST_VALUE", std::string(60, 'y'));
    const Read cut = ReadRaw(longer, 40);
    EXPECT_RESULT(KX_E_FAIL, cut.result);
    EXPECT_EQ(KX_REG_SZ, cut.type);
    EXPECT_EQ(longer, cut.text);
}

TEST_F(RegistryExpansion, FitsExactlyOrNotAtAll) {
    const ScopedEnvironment variable("KXTEST_VALUE", std::string(20, 'y'));
    // 20 units and a terminator, from a raw text of 14 and one.
    EXPECT_RESULT(KX_E_FAIL, ReadRaw(u"%KXTEST_VALUE%", 20).result);
    EXPECT_RESULT(KX_S_OK, ReadRaw(u"%KXTEST_VALUE%", 21).result);
}

TEST_F(RegistryExpansion, OfATypeOnlyReadFailsForWantOfRoom) {
    SetText(kRoot, kKey, u"v", u"%KXTEST_VALUE%", KX_REG_EXPAND_SZ);
    std::uint32_t type = 99;
    EXPECT_RESULT(KX_E_FAIL, KXRegistryGetValue(kRoot, kKey, u"v", &type, nullptr, nullptr));
    EXPECT_EQ(KX_REG_SZ, type);
}

TEST_F(RegistryExpansion, OfALengthOnlyReadTellsTheLengthAllTheSame) {
    SetText(kRoot, kKey, u"v", u"%KXTEST_VALUE%", KX_REG_EXPAND_SZ);
    for (std::uint32_t bytes : {0u, 100u}) {
        std::uint32_t type = 99;
        EXPECT_RESULT(KX_E_FAIL, KXRegistryGetValue(kRoot, kKey, u"v", &type, nullptr, &bytes));
        EXPECT_EQ(BytesOf(u"%KXTEST_VALUE%"), bytes);
    }
}

TEST_F(RegistryExpansion, PassesOverWhatIsNoVariable) {
    EXPECT_EQ(u"50% of it", ReadRaw(u"50% of it", 64).text);
    EXPECT_EQ(u"%KXTEST_NONE%", ReadRaw(u"%KXTEST_NONE%", 64).text);
    EXPECT_EQ(u"%KXTEST_NONE%KXTEST_VALUE%", ReadRaw(u"%KXTEST_NONE%KXTEST_VALUE%", 64).text)
        << "the second sign begins nothing";
    EXPECT_EQ(u"%KXTEST_NONE%0123456789", ReadRaw(u"%KXTEST_NONE%%KXTEST_VALUE%", 64).text);
    EXPECT_EQ(u"%%", ReadRaw(u"%%", 64).text);
    EXPECT_EQ(u"%", ReadRaw(u"%", 64).text);
    EXPECT_EQ(u"", ReadRaw(u"", 64).text);
}

TEST_F(RegistryExpansion, OfTextWithoutATerminatorReadsNothingBehindIt) {
    const char16_t raw[] = {u'a', u'b'};
    KXRegistrySetValue(kRoot, kKey, u"v", KX_REG_EXPAND_SZ, raw, sizeof raw);
    std::vector<char16_t> data(2);
    std::uint32_t type = 0;
    std::uint32_t bytes = 4;
    EXPECT_RESULT(KX_E_FAIL, KXRegistryGetValue(kRoot, kKey, u"v", &type, data.data(), &bytes));
    data.resize(3);
    bytes = 6;
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"v", &type, data.data(), &bytes));
    EXPECT_EQ(std::u16string(u"ab"), data.data());
}

TEST_F(Registry, NamesKeepTheirCaseAndCompareWithoutIt) {
    SetText(kRoot, Under(u"SubKey"), u"NaMe", u"first");
    SetText(kRoot, Under(u"SUBKEY"), u"name", u"second");
    EXPECT_EQ(u"second", GetText(kRoot, Under(u"subkey"), u"NAME"));
    EXPECT_EQ(std::vector<std::u16string>{u"SubKey"}, KeyNames(kRoot, kKey));
    const std::vector<Value> values = Values(kRoot, Under(u"subkey"));
    ASSERT_EQ(1u, values.size());
    EXPECT_EQ(u"NaMe", values[0].name);
}

TEST_F(Registry, NamesBeyondAsciiCompareWithoutCaseToo) {
    SetText(kRoot, Under(u"\u00C4pfel\u0416"), u"\u03A9", u"text");
    EXPECT_EQ(u"text", GetText(kRoot, Under(u"\u00E4PFEL\u0436"), u"\u03C9"));
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"apfel\u0436"), u"\u03C9"));
    SetText(kRoot, Under(u"file"), u"", u"ascii");
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"f\u0131le"), u""))
        << "an ASCII name has ASCII spellings only";
}

TEST_F(Registry, NamesMayHoldAnyUnit) {
    const std::u16string lone = {u'x', char16_t(0xD800), u'y'};
    const std::u16string other = {u'x', char16_t(0xD801), u'y'};
    const std::u16string pair = u"x\U0001F600y";
    SetText(kRoot, Under(lone), lone, u"lone");
    SetText(kRoot, Under(other), other, u"other");
    SetText(kRoot, Under(pair), pair, u"pair");
    EXPECT_EQ(u"lone", GetText(kRoot, Under(lone), lone));
    EXPECT_EQ(u"other", GetText(kRoot, Under(other), other));
    EXPECT_EQ(u"pair", GetText(kRoot, Under(pair), pair));
    const std::vector<std::u16string> names = KeyNames(kRoot, kKey);
    EXPECT_EQ(std::set<std::u16string>({lone, other, pair}),
              std::set<std::u16string>(names.begin(), names.end()));
}

TEST_F(Registry, BackslashesSeparateComponents) {
    SetText(kRoot, Under(u"a\\b"), u"v", u"text");
    EXPECT_EQ(u"text", GetText(kRoot, Under(u"a\\\\b\\"), u"v"));
    char16_t data[8];
    std::uint32_t bytes = sizeof data;
    EXPECT_RESULT(KX_E_FAIL,
                  KXRegistryGetValue(kRoot, u"\\KxTest\\a\\b", u"v", nullptr, data, &bytes))
        << "a path does not begin with one";
    EXPECT_RESULT(KX_E_FAIL, SetText(kRoot, u"\\KxTest", u"v", u"text"));
}

TEST_F(Registry, NamesAreKeptUpToTheirLimits) {
    const std::u16string component(255, u'k');
    const std::u16string value(16383, u'v');
    std::u16string deep = kKey;
    for (int level = 1; level < 512; ++level) deep += u"\\d";
    EXPECT_RESULT(KX_S_OK, SetText(kRoot, Under(component), value, u"text"));
    EXPECT_EQ(u"text", GetText(kRoot, Under(component), value));
    EXPECT_RESULT(KX_S_OK, SetText(kRoot, deep, u"v", u"text"));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, Under(u"d").c_str()));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, Under(component).c_str()));
}

TEST_F(Registry, ValueNamesPastTheirLimitAreRefused) {
    EXPECT_RESULT(KX_E_FAIL, SetText(kRoot, kKey, std::u16string(16384, u'v'), u"text"));
}

TEST_F(Registry, KeyNamesPastTheirLimitAreRefused) {
    SKIP_UNDER_WINE("a component may have 256 units and more");
    EXPECT_RESULT(KX_E_FAIL, SetText(kRoot, Under(std::u16string(256, u'k')), u"v", u"text"));
}

TEST_F(Registry, KeysDeeperThan512LevelsAreRefused) {
    SKIP_UNDER_WINE("there is no limit to the levels");
    std::u16string deep = kKey;
    for (int level = 1; level < 513; ++level) deep += u"\\d";
    EXPECT_RESULT(KX_E_FAIL, SetText(kRoot, deep, u"v", u"text"));
}

TEST_F(Registry, DeletedValueIsGoneAndItsKeyStays) {
    SetText(kRoot, kKey, u"v", u"text");
    SetText(kRoot, kKey, u"w", u"other");
    EXPECT_RESULT(KX_S_OK, KXRegistryDeleteValue(kRoot, kKey, u"V"));
    EXPECT_EQ(u"<failed>", GetText(kRoot, kKey, u"v"));
    EXPECT_EQ(u"other", GetText(kRoot, kKey, u"w"));
    EXPECT_RESULT(KX_S_OK, KXRegistryDeleteValue(kRoot, kKey, u"w"));
    EXPECT_TRUE(Values(kRoot, kKey).empty());
}

TEST_F(Registry, DeletedKeyTakesWhatIsUnderItAlong) {
    SetText(kRoot, Under(u"a\\b\\c"), u"v", u"text");
    SetText(kRoot, Under(u"a\\b2"), u"v", u"text");
    SetText(kRoot, Under(u"ab"), u"v", u"a neighbour");
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, Under(u"A").c_str()));
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"a\\b\\c"), u"v"));
    EXPECT_EQ(std::vector<std::u16string>{u"ab"}, KeyNames(kRoot, kKey));
    SetText(kRoot, Under(u"a\\b\\c"), u"w", u"anew");
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"a\\b\\c"), u"v")) << "nothing comes back";
}

// The walk of a removal asks for names in 255 units with the terminator, and ends at a longer one.
TEST_F(Registry, AKeyMadeAnewHasItsNewValuesOnly) {
    SetText(kRoot, Under(u"Sub"), u"first", u"old");
    SetText(kRoot, Under(u"Sub"), u"second", u"old");
    EXPECT_EQ(u"old", GetText(kRoot, Under(u"Sub"), u"first"));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, kKey));
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"Sub"), u"first"));
    SetText(kRoot, Under(u"Sub"), u"second", u"new");
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"Sub"), u"first"));
    EXPECT_EQ(u"new", GetText(kRoot, Under(u"Sub"), u"second"));
    EXPECT_EQ(u"<failed>", GetText(kRoot, Under(u"Sub"), u"first"));
}

TEST_F(Registry, DeletionStopsAtANameOf255UnitsAndTellsThatTheKeyIsNotEmpty) {
    const std::u16string longest(254, u'k');
    SetText(kRoot, Under(longest), u"v", u"text");
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, kKey));
    SetText(kRoot, Under(longest + u"k"), u"v", u"text");
    EXPECT_EQ(5, KXRegistryDeleteKey(kRoot, kKey));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, Under(longest + u"k").c_str()));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, kKey));
}

TEST_F(Registry, WalkGivesEveryKeyOnceInTheOrderOfNamesAndEnds) {
    for (const char16_t* name : {u"delta", u"Alpha", u"charlie", u"BRAVO"}) {
        SetText(kRoot, Under(name), u"v", u"text");
    }
    EXPECT_EQ((std::vector<std::u16string>{u"Alpha", u"BRAVO", u"charlie", u"delta"}),
              KeyNames(kRoot, kKey));
    KXRegistryEnumHandle walk = 0;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(kRoot, Under(u"Alpha").c_str(), &walk));
    char16_t name[16];
    for (int again = 0; again < 3; ++again) {
        std::uint32_t length = 16;
        EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextKey(walk, name, &length));
    }
    KXRegistryCloseEnum(walk);
}

TEST_F(Registry, WalkGivesValuesWithTypesAndData) {
    const std::uint32_t number = 0x01020304;
    SetText(kRoot, kKey, u"", u"unnamed");
    KXRegistrySetValue(kRoot, kKey, u"Number", KX_REG_DWORD, &number, sizeof number);
    KXRegistrySetValue(kRoot, kKey, u"bytes", KX_REG_BINARY, "xyz", 3);
    KXRegistrySetValue(kRoot, kKey, u"many", KX_REG_MULTI_SZ, u"a\0b\0", 10);
    const std::string four(reinterpret_cast<const char*>(&number), sizeof number);
    EXPECT_EQ((std::vector<Value>{{u"", KX_REG_SZ, Bytes(u"unnamed")},
                                  {u"bytes", KX_REG_BINARY, "xyz"},
                                  {u"many", KX_REG_MULTI_SZ, Bytes({u"a\0b\0", 4})},
                                  {u"Number", KX_REG_DWORD, four}}),
              Values(kRoot, kKey));
}

TEST_F(Registry, WalkWithANameBufferTooSmallLosesTheEntry) {
    for (const char16_t* name : {u"aa", u"long-name", u"zz"}) {
        SetText(kRoot, Under(name), name, u"text");
        SetText(kRoot, kKey, name, u"text");
    }
    KXRegistryEnumHandle keys = 0;
    KXRegistryEnumHandle values = 0;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(kRoot, kKey, &keys));
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenValueEnum(kRoot, kKey, &values));
    static constexpr struct {
        KXResult result;
        const char16_t* name;
    } kSteps[] = {{KX_S_OK, u"aa"}, {KX_E_FAIL, nullptr}, {KX_S_OK, u"zz"}, {KX_E_FAIL, nullptr}};
    for (const auto& step : kSteps) {
        char16_t name[3] = u"##";
        std::uint32_t length = 3;
        EXPECT_RESULT(step.result, KXRegistryEnumNextKey(keys, name, &length));
        EXPECT_EQ(std::u16string(step.name != nullptr ? step.name : u"##"), name);
        std::uint32_t type = 0;
        std::uint32_t bytes = 0;
        length = 3;
        EXPECT_RESULT(step.result,
                      KXRegistryEnumNextValue(values, name, &length, &type, nullptr, &bytes));
    }
    KXRegistryCloseEnum(keys);
    KXRegistryCloseEnum(values);
}

TEST_F(Registry, WalkWithADataBufferTooSmallLosesTheEntryAndTellsTheSize) {
    SetText(kRoot, kKey, u"a", u"12345");
    SetText(kRoot, kKey, u"b", u"1");
    KXRegistryEnumHandle walk = 0;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenValueEnum(kRoot, kKey, &walk));
    char16_t name[8];
    char16_t data[2] = {};
    std::uint32_t length = 8;
    std::uint32_t type = 99;
    std::uint32_t bytes = sizeof data;
    EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextValue(walk, name, &length, &type, data, &bytes));
    EXPECT_EQ(12u, bytes);
    length = 8;
    bytes = sizeof data;
    EXPECT_RESULT(KX_S_OK, KXRegistryEnumNextValue(walk, name, &length, &type, data, &bytes));
    EXPECT_EQ(std::u16string(u"b"), name);
    KXRegistryCloseEnum(walk);
}

TEST_F(Registry, WalkOverNamesAloneNeedsNeitherTypeNorLength) {
    SetText(kRoot, kKey, u"a", u"12345");
    KXRegistryEnumHandle walk = 0;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenValueEnum(kRoot, kKey, &walk));
    char16_t name[8];
    std::uint32_t length = 8;
    EXPECT_RESULT(KX_S_OK, KXRegistryEnumNextValue(walk, name, &length, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::u16string(u"a"), name);
    KXRegistryCloseEnum(walk);
}

TEST_F(Registry, WalkOverARemovedKeyEnds) {
    SetText(kRoot, Under(u"a"), u"v", u"text");
    KXRegistryEnumHandle walk = 0;
    ASSERT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(kRoot, kKey, &walk));
    EXPECT_EQ(0, KXRegistryDeleteKey(kRoot, kKey));
    SetText(kRoot, Under(u"b"), u"v", u"the same name, but another key");
    char16_t name[8];
    std::uint32_t length = 8;
    EXPECT_RESULT(KX_E_FAIL, KXRegistryEnumNextKey(walk, name, &length));
    KXRegistryCloseEnum(walk);
}

TEST_F(Registry, LongWalkStaysQuick) {
    constexpr int kEntries = 3'000;
    for (int i = 0; i < kEntries; ++i) {
        const std::string digits = std::to_string(i);
        const std::u16string name(digits.begin(), digits.end());
        ASSERT_RESULT(KX_S_OK, SetText(kRoot, kKey, name, u"text"));
    }
    EXPECT_EQ(static_cast<std::size_t>(kEntries), Values(kRoot, kKey).size());
}

TEST_F(Registry, CloseOfNoWalkIsAccepted) {
    EXPECT_RESULT(KX_S_OK, KXRegistryCloseEnum(0));
}

TEST_F(Registry, NullPathsAndNamesAreEmptyOnes) {
    std::uint32_t number = 7;
    EXPECT_RESULT(KX_S_OK, KXRegistrySetValue(kRoot, kKey, nullptr, KX_REG_DWORD, &number, 4));
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, u"", nullptr, nullptr, nullptr));
    EXPECT_RESULT(KX_S_OK, KXRegistryGetValue(kRoot, kKey, nullptr, nullptr, nullptr, nullptr));
    EXPECT_RESULT(KX_S_OK, KXRegistryDeleteValue(kRoot, kKey, nullptr));
    KXRegistryEnumHandle walk = 0;
    EXPECT_RESULT(KX_S_OK, KXRegistryOpenKeyEnum(kRoot, nullptr, &walk));
    KXRegistryCloseEnum(walk);
}

TEST_F(Registry, AValueThatCantBeWrittenStillMakesTheKeysOnItsPath) {
    EXPECT_RESULT(KX_E_FAIL, KXRegistrySetValue(kRoot, Under(u"a\\b").c_str(), u"v", KX_REG_BINARY,
                                                nullptr, 4))
        << "data that is missing";
    EXPECT_RESULT(KX_E_FAIL, SetText(kRoot, Under(u"c"), std::u16string(16384, u'n'), u"text"));
    EXPECT_EQ((std::vector<std::u16string>{u"a", u"c"}), KeyNames(kRoot, kKey));
    EXPECT_EQ((std::vector<std::u16string>{u"b"}), KeyNames(kRoot, Under(u"a")));
    EXPECT_TRUE(Values(kRoot, Under(u"a\\b")).empty());
}

TEST_F(Registry, RootItselfHoldsValuesToo) {
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_CONFIG, u"", u"KxTestValue", u"text"));
    EXPECT_EQ(u"text", GetText(KX_HKEY_CONFIG, u"", u"KxTestValue"));
    EXPECT_RESULT(KX_S_OK, KXRegistryDeleteValue(KX_HKEY_CONFIG, u"", u"KxTestValue"));
}
