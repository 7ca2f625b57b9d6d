// Keys of either store, and what they are over a store that does as it is told.
#include "registry/reg_key.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "frame/exception.h"
#include "support/ini_registry.h"
#include "support/scratch_registry.h"

using namespace kx::test;
using kx::core::CRegKey;
using kx::core::CRegKeyPtr;

namespace {

using Names = std::vector<std::u16string>;

template <typename Call>
KXResult CodeOf(Call call) {
    try {
        call();
    } catch (const EKXCoreException& exception) {
        return exception.result;
    }
    return KX_S_OK;
}

// What a store was asked for, and what it answers.
struct ScriptedStore {
    KXResult openKeys = KX_S_OK;
    KXResult openValues = KX_S_OK;
    KXResult end = KX_E_FAIL;
    KXResult get = KX_S_OK;
    KXResult set = KX_S_OK;
    std::deque<std::u16string> keys = {};
    std::deque<std::u16string> values = {};
    std::string data = {};
    std::vector<std::u16string> calls = {};

    void Note(const std::u16string& call, std::uint32_t number, const std::u16string& text) {
        calls.push_back(call + u' ' + static_cast<char16_t>(u'0' + number) + u' ' + text);
    }
};

class TestKey final : public CRegKey {
  public:
    TestKey(ScriptedStore& store, std::uint32_t root, const std::u16string& path)
        : CRegKey(root, path), m_store(store) {}

    const std::u16string& Path() const { return m_path; }
    std::uint32_t Root() const { return m_root; }

    KXResult OpenKeyEnum() override {
        m_store.Note(u"open keys", m_root, m_path);
        if (m_store.openKeys >= 0) m_keyEnum = 1;
        return m_store.openKeys;
    }
    KXResult EnumNextKey(char16_t* name, std::uint32_t* nameLength) override {
        return Next(m_store.keys, name, nameLength);
    }
    KXResult OpenValueEnum() override {
        m_store.Note(u"open values", m_root, m_path);
        if (m_store.openValues >= 0) m_valueEnum = 1;
        return m_store.openValues;
    }
    KXResult EnumNextValue(char16_t* name, std::uint32_t* nameLength) override {
        return Next(m_store.values, name, nameLength);
    }
    KXResult CloseEnum(KXRegistryEnumHandle) override { return KX_S_OK; }
    CRegKeyPtr CreateKey(std::uint32_t root, const std::u16string& path) override {
        return CRegKeyPtr(new TestKey(m_store, root, path));
    }
    KXResult GetValue(const std::u16string& valueName, std::uint32_t* valueType, void* data,
                      std::uint32_t* dataLength) override {
        m_store.Note(u"get " + valueName, *dataLength == 2048 ? 1 : 0, m_path);
        if (m_store.get < 0) return m_store.get;
        *valueType = KX_REG_BINARY;
        std::memcpy(data, m_store.data.data(), m_store.data.size());
        *dataLength = static_cast<std::uint32_t>(m_store.data.size());
        return m_store.get;
    }
    KXResult SetValue(std::uint32_t root, const std::u16string& path,
                      const std::u16string& valueName, std::uint32_t valueType, const void* data,
                      std::uint32_t dataLength) override {
        m_store.Note(u"set " + valueName, root, path);
        m_store.Note(u"type", valueType, u"");
        m_store.data.assign(static_cast<const char*>(data), dataLength);
        return m_store.set;
    }

  private:
    KXResult Next(std::deque<std::u16string>& names, char16_t* name, std::uint32_t* nameLength) {
        m_store.Note(u"next", *nameLength == 256 ? 1 : 0, u"");
        if (names.empty()) return m_store.end;
        const std::u16string next = names.front();
        names.pop_front();
        if (next.size() >= *nameLength) return KX_CO_E_INIT_CLASS_CACHE;
        *std::copy(next.begin(), next.end(), name) = 0;
        *nameLength = static_cast<std::uint32_t>(next.size());
        return KX_S_OK;
    }

    ScriptedStore& m_store;
};

kx::core::Ref<TestKey> KeyOf(ScriptedStore& store, std::uint32_t root, const std::u16string& path) {
    return kx::core::Ref<TestKey>(new TestKey(store, root, path));
}

std::u16string PathOf(const CRegKeyPtr& key) {
    return static_cast<TestKey*>(key.Get())->Path();
}

}  // namespace

// --- Any store -----------------------------------------------------------------------------------

TEST(RegKey, ChildrenOfARootHaveNoBackslashAhead) {
    ScriptedStore store{.keys = {u"a", u"b"}};
    const auto root = KeyOf(store, KX_HKEY_CONFIG, u"");
    const CRegKeyPtr child = root.Get()->NextKey();
    EXPECT_EQ(u"a", PathOf(child));
    EXPECT_EQ(KX_HKEY_CONFIG, static_cast<TestKey*>(child.Get())->Root());
    EXPECT_EQ(u"a\\b", PathOf(child.Get()->NextKey()));
}

TEST(RegKey, OpensAnEnumerationOnceAndLooksOneNameAhead) {
    ScriptedStore store{.keys = {u"a", u"b"}};
    const auto key = KeyOf(store, KX_HKEY_CONFIG, u"p");
    EXPECT_TRUE(key.Get()->HasNextKey());
    EXPECT_TRUE(key.Get()->HasNextKey());
    EXPECT_EQ((Names{u"open keys 1 p", u"next 1 "}), store.calls);
    EXPECT_EQ(u"p\\a", PathOf(key.Get()->NextKey()));
    EXPECT_EQ(u"p\\b", PathOf(key.Get()->NextKey())) << "without asking before";
    EXPECT_FALSE(key.Get()->HasNextKey());
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, CodeOf([&] { key.Get()->NextKey(); }));
}

TEST(RegKey, WalksValuesLikewise) {
    ScriptedStore store{.values = {u"a", u"", u"b"}};
    const auto key = KeyOf(store, KX_HKEY_USER, u"p");
    EXPECT_TRUE(key.Get()->HasNextValue());
    EXPECT_TRUE(key.Get()->HasNextValue());
    EXPECT_EQ((Names{u"open values 2 p", u"next 1 "}), store.calls);
    EXPECT_EQ(u"a", key.Get()->NextValue());
    EXPECT_EQ(u"", key.Get()->NextValue()) << "the unnamed value";
    EXPECT_EQ(u"b", key.Get()->NextValue());
    EXPECT_FALSE(key.Get()->HasNextValue());
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, CodeOf([&] { key.Get()->NextValue(); }));
}

TEST(RegKey, KeysThatCantBeOpenedThrowAndValuesAreNone) {
    ScriptedStore store{
        .openKeys = KX_E_ACCESSDENIED, .openValues = KX_E_ACCESSDENIED, .values = {u"a"}};
    const auto key = KeyOf(store, KX_HKEY_USER, u"p");
    EXPECT_RESULT(KX_E_ACCESSDENIED, CodeOf([&] { key.Get()->HasNextKey(); }));
    EXPECT_RESULT(KX_E_ACCESSDENIED, CodeOf([&] { key.Get()->NextKey(); }));
    EXPECT_FALSE(key.Get()->HasNextValue());
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, CodeOf([&] { key.Get()->NextValue(); }));
    EXPECT_EQ(1u, store.values.size()) << "nothing was fetched";
}

TEST(RegKey, AnyFailureOfAnEnumerationIsItsEnd) {
    for (const KXResult end : {KX_ERROR_HANDLE_EOF, KX_E_FAIL, KX_E_OUTOFMEMORY}) {
        ScriptedStore store{.end = end};
        const auto key = KeyOf(store, KX_HKEY_USER, u"p");
        EXPECT_FALSE(key.Get()->HasNextKey());
        EXPECT_FALSE(key.Get()->HasNextValue());
    }
}

TEST(RegKey, AChildWithoutANameIsPassedOverUnderARootOnly) {
    ScriptedStore store{.keys = {u"", u"", u"a", u"", u""}};
    const auto root = KeyOf(store, KX_HKEY_CONFIG, u"");
    EXPECT_EQ(u"a", PathOf(root.Get()->NextKey()));
    const auto key = KeyOf(store, KX_HKEY_CONFIG, u"p");
    EXPECT_EQ(u"p\\", PathOf(key.Get()->NextKey()));
    EXPECT_FALSE(root.Get()->HasNextKey());
}

TEST(RegKey, CopiesAValueToItsOwnPlaceThroughTheOther) {
    ScriptedStore from{.data = std::string("\0\1\2", 3)};
    ScriptedStore to;
    const auto source = KeyOf(from, KX_HKEY_USER, u"p\\q");
    const auto door = KeyOf(to, KX_HKEY_CLASSES, u"elsewhere");
    source.Get()->CopyValueTo(u"name", *door.Get());
    EXPECT_EQ((Names{u"get name 1 p\\q"}), from.calls);
    EXPECT_EQ((Names{u"set name 2 p\\q", u"type 3 "}), to.calls);
    EXPECT_EQ(from.data, to.data);
    to.set = KX_E_NOTIMPL;
    EXPECT_RESULT(KX_S_OK, CodeOf([&] { source.Get()->CopyValueTo(u"name", *door.Get()); }));
    EXPECT_EQ(4u, to.calls.size());
    from.get = KX_E_FAIL;
    source.Get()->CopyValueTo(u"name", *door.Get());
    EXPECT_EQ(4u, to.calls.size()) << "what can't be read is not written";
}

TEST(RegKey, OfAnyOtherKindIsNone) {
    for (const std::uint32_t kind : {2u, 0xFFFFFFFFu}) {
        EXPECT_RESULT(KX_CO_E_INIT_SHARED_ALLOCATOR,
                      CodeOf([&] { CRegKey::Create(KX_HKEY_USER, u"", kind); }));
    }
}

// --- Both stores ---------------------------------------------------------------------------------

namespace {

constexpr std::size_t kLongestName = 255;

// The same small tree in each of the stores.
class EitherRegKey : public ::testing::TestWithParam<std::uint32_t> {
  protected:
    ~EitherRegKey() override {
        // The removal of a key passes over names of this length below it.
        KXRegistryDeleteKey(KX_HKEY_USER, (u"KxKey\\" + Longest()).c_str());
        KXRegistryDeleteKey(KX_HKEY_USER, u"KxKey");
    }

    static std::u16string Longest() { return std::u16string(kLongestName, u'm'); }

    static CRegKeyPtr Key(const std::u16string& path) {
        return CRegKey::Create(KX_HKEY_USER, path, GetParam());
    }
    // Puts a value where the store has it.
    static void Put(const std::u16string& path, const std::u16string& name,
                    const std::u16string& text) {
        EXPECT_RESULT(KX_S_OK, Key(u"elsewhere")
                                   .Get()
                                   ->SetValue(KX_HKEY_USER, path, name, KX_REG_SZ, text.c_str(),
                                              BytesOf(text)));
    }
    static Names ValuesOf(const std::u16string& path) {
        Names names;
        const CRegKeyPtr key = Key(path);
        while (key.Get()->HasNextValue()) names.push_back(key.Get()->NextValue());
        return names;
    }
    // How many children there are, each of which has one value of the same name.
    static Names ValuesOfChildrenOf(const std::u16string& path) {
        Names names;
        const CRegKeyPtr key = Key(path);
        while (key.Get()->HasNextKey()) {
            const CRegKeyPtr child = key.Get()->NextKey();
            while (child.Get()->HasNextValue()) names.push_back(child.Get()->NextValue());
        }
        return names;
    }

  private:
    const IniRegistry m_ini;
};

}  // namespace

TEST_P(EitherRegKey, ReadsWhatWasWrittenThroughAnotherKey) {
    Put(u"KxKey\\a", u"Name", u"some text");
    char16_t text[32];
    std::uint32_t type = 99;
    std::uint32_t bytes = sizeof text;
    EXPECT_RESULT(KX_S_OK, Key(u"KxKey\\a").Get()->GetValue(u"NAME", &type, text, &bytes));
    EXPECT_EQ(KX_REG_SZ, type);
    EXPECT_EQ(20u, bytes);
    EXPECT_EQ(u"some text", std::u16string(text));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  Key(u"KxKey\\b").Get()->GetValue(u"Name", &type, text, &bytes));
}

TEST_P(EitherRegKey, WalksItsKeysAndValues) {
    Put(u"KxKey\\a\\b", u"inner", u"1");
    Put(u"KxKey\\a", u"second", u"1");
    Put(u"KxKey\\c", u"third", u"1");
    Put(u"KxKey", u"j", u"1");
    Put(u"KxKey", u"", u"1");
    EXPECT_EQ((Names{u"", u"j"}), ValuesOf(u"KxKey"));
    EXPECT_EQ((Names{u"second", u"third"}), ValuesOfChildrenOf(u"KxKey"));
    EXPECT_EQ((Names{u"inner"}), ValuesOfChildrenOf(u"KxKey\\a"));
    EXPECT_EQ((Names{}), ValuesOfChildrenOf(u"KxKey\\c"));
    EXPECT_EQ((Names{}), ValuesOf(u"KxKey\\missing"));
}

TEST_P(EitherRegKey, ItsNamesHaveUpTo255Units) {
    Put(u"KxKey\\" + Longest(), u"k", u"1");
    Put(u"KxKey", Longest(), u"1");
    EXPECT_EQ((Names{u"k"}), ValuesOfChildrenOf(u"KxKey"));
    EXPECT_EQ((Names{Longest()}), ValuesOf(u"KxKey"));
}

TEST_P(EitherRegKey, ALongerNameOfAValueEndsTheWalk) {
    Put(u"KxKey", u"a", u"1");
    Put(u"KxKey", Longest() + u'm', u"1");
    Put(u"KxKey", u"z", u"1");
    EXPECT_EQ((Names{u"a"}), ValuesOf(u"KxKey"));
    const CRegKeyPtr key = Key(u"KxKey");
    EXPECT_EQ(u"a", key.Get()->NextValue());
    EXPECT_FALSE(key.Get()->HasNextValue());
    EXPECT_EQ(u"z", key.Get()->NextValue()) << "the long name is used up";
}

INSTANTIATE_TEST_SUITE_P(Stores, EitherRegKey,
                         ::testing::Values(KX_REGISTRY_NATIVE, KX_REGISTRY_INI),
                         [](const auto& row) {
                             return row.param == KX_REGISTRY_INI ? "Ini" : "Native";
                         });

TEST(IniRegKey, ALongerNameOfAChildEndsTheWalk) {
    const IniRegistry ini;
    ini.Put("[KX_HKEY_CONFIG\\a]\n\n[KX_HKEY_CONFIG\\" + std::string(kLongestName + 1, 'm') +
            "]\n\n[KX_HKEY_CONFIG\\z]\n\n");
    const CRegKeyPtr key = CRegKey::Create(KX_HKEY_CONFIG, u"", KX_REGISTRY_INI);
    EXPECT_TRUE(key.Get()->HasNextKey());
    key.Get()->NextKey();
    EXPECT_FALSE(key.Get()->HasNextKey());
    EXPECT_TRUE(key.Get()->HasNextKey()) << "the long name is used up";
}

TEST(IniRegKey, OfABadRootThrowsForKeysAndHasNoValues) {
    const IniRegistry ini;
    const CRegKeyPtr key = CRegKey::Create(5, u"", KX_REGISTRY_INI);
    EXPECT_RESULT(KX_E_INVALIDARG, CodeOf([&] { key.Get()->HasNextKey(); }));
    EXPECT_FALSE(key.Get()->HasNextValue());
}

TEST(NativeRegKey, OfABadRootThrowsForKeysAndHasNoValues) {
    const CRegKeyPtr key = CRegKey::Create(5, u"", KX_REGISTRY_NATIVE);
    EXPECT_RESULT(KX_E_FAIL, CodeOf([&] { key.Get()->HasNextKey(); }));
    EXPECT_FALSE(key.Get()->HasNextValue());
}
