#include "registry.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "text.h"
#include "usage_error.h"

namespace {

constexpr char16_t kSeparator = u'\\';
constexpr std::u16string_view kRootPrefix = u"KX_HKEY_";

const char* WordsFor(KXResult result) {
    switch (result) {
        case KX_ERROR_FILE_NOT_FOUND:
            return "no such key or value";
        case KX_E_ACCESSDENIED:
            return "access denied";
        case KX_E_HANDLE:
            return "no such root";
        case KX_E_INVALIDARG:
            return "not to be written";
        case KX_E_OUTOFMEMORY:
            return "no memory";
        case KX_CO_E_INIT_SHARED_ALLOCATOR:
            return "no such store";
        default:
            return result > 0 ? "not all of it could be done" : "the registry refuses";
    }
}

std::string Explained(const std::string& what, KXResult result) {
    char code[16];
    std::snprintf(code, sizeof code, " (0x%08X)", static_cast<unsigned>(result));
    return what + ": " + WordsFor(result) + code;
}

std::string NameOf(const Key& key, const std::u16string& value) {
    const std::u16string name = value.empty() ? u"(default)" : value;
    return Shown(TextOf(key)) + ", " + Shown(name);
}

void Require(KXResult result, const std::string& what) {
    if (result != 0) throw RegistryError(what, result);
}

class Walk final {
  public:
    using Open = KXResult (*)(std::uint32_t, const char16_t*, KXRegistryEnumHandle*);

    Walk(Open open, const Key& key) {
        Require(open(key.root, key.path.c_str(), &m_handle), Shown(TextOf(key)));
    }
    ~Walk() { KXRegistryCloseEnum(m_handle); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    KXRegistryEnumHandle Get() const { return m_handle; }

  private:
    KXRegistryEnumHandle m_handle = KX_INVALID_HANDLE;
};

// What next(handle, buffer, length) gives until it fails, which it does at the end.
template <typename Next>
std::vector<std::u16string> NamesOf(Walk::Open open, const Key& key, std::uint32_t size,
                                    Next next) {
    const Walk walk(open, key);
    std::vector<std::u16string> names;
    std::vector<char16_t> name(size);
    for (std::uint32_t length = size; next(walk.Get(), name.data(), &length) == 0; length = size) {
        names.emplace_back(name.data(), length);
    }
    return names;
}

}  // namespace

RegistryError::RegistryError(const std::string& what, KXResult result)
    : std::runtime_error(Explained(what, result)), m_result(result) {}

Key Key::Child(const std::u16string& name) const {
    return {root, path.empty() ? name : path + kSeparator + name};
}

std::u16string Key::Name() const {
    const std::u16string text = TextOf(*this);
    return text.substr(text.rfind(kSeparator) + 1);
}

// --- Names ---------------------------------------------------------------------------------------

const std::vector<Root>& AllRoots() {
    static const std::vector<Root> roots = {
        {KX_HKEY_CLASSES, u"KX_HKEY_CLASSES"},     {KX_HKEY_CONFIG, u"KX_HKEY_CONFIG"},
        {KX_HKEY_USER, u"KX_HKEY_USER"},           {KX_HKEY_CLASSES_64, u"KX_HKEY_CLASSES_64"},
        {KX_HKEY_CONFIG_64, u"KX_HKEY_CONFIG_64"},
    };
    return roots;
}

Key KeyFromText(const std::string& text) {
    const std::u16string wide = Widen(text);
    const size_t end = std::min(wide.find(kSeparator), wide.size());
    const std::u16string root = Folded(wide.substr(0, end));
    for (const auto& [number, name] : AllRoots()) {
        const std::u16string whole = Folded(name);
        if (root != whole && root != whole.substr(kRootPrefix.size())) continue;
        std::u16string path = wide.substr(std::min(end + 1, wide.size()));
        while (!path.empty() && path.back() == kSeparator) path.pop_back();
        return {number, path};
    }
    throw UsageError("no such root: " + text);
}

std::u16string TextOf(const Key& key) {
    const std::u16string root = AllRoots().at(key.root).name;
    return key.path.empty() ? root : root + kSeparator + key.path;
}

// --- Values --------------------------------------------------------------------------------------

// The length that is told is that of a text whose variables are not expanded; expanded, it can take
// more. What lies behind the data are zeros, so that a text without a terminator gets one.
Value ReadValue(const Key& key, const std::u16string& name) {
    constexpr std::uint32_t kMost = 64u << 20;
    std::uint32_t length = 0;
    Require(KXRegistryGetValue(key.root, key.path.c_str(), name.c_str(), nullptr, nullptr, &length),
            NameOf(key, name));
    for (std::uint32_t room = length + 512;; room *= 4) {
        Value value;
        value.data.resize(room + sizeof(char16_t));
        length = room;
        const KXResult result = KXRegistryGetValue(key.root, key.path.c_str(), name.c_str(),
                                                   &value.type, value.data.data(), &length);
        if (result == KX_E_FAIL && room < kMost) continue;
        Require(result, NameOf(key, name));
        if (value.type != KX_REG_SZ) value.data.resize(length);
        return value;
    }
}

void WriteValue(const Key& key, const std::u16string& name, const Value& value) {
    Require(KXRegistrySetValue(key.root, key.path.c_str(), name.c_str(), value.type,
                               value.data.data(), static_cast<std::uint32_t>(value.data.size())),
            NameOf(key, name));
}

void DeleteValue(const Key& key, const std::u16string& name) {
    Require(KXRegistryDeleteValue(key.root, key.path.c_str(), name.c_str()), NameOf(key, name));
}

// The removal would not tell a missing key from one that can't be removed; a walk does.
void DeleteKey(const Key& key) {
    if (key.path.empty()) throw UsageError("a root stays");
    { const Walk exists(KXRegistryOpenValueEnum, key); }
    Require(KXRegistryDeleteKey(key.root, key.path.c_str()), Shown(TextOf(key)));
}

// --- Walks ---------------------------------------------------------------------------------------

std::vector<std::u16string> SubkeyNames(const Key& key) {
    constexpr std::uint32_t kNameSize = 256;
    return NamesOf(KXRegistryOpenKeyEnum, key, kNameSize, KXRegistryEnumNextKey);
}

std::vector<std::u16string> ValueNames(const Key& key) {
    constexpr std::uint32_t kNameSize = 16384;
    return NamesOf(KXRegistryOpenValueEnum, key, kNameSize,
                   [](KXRegistryEnumHandle handle, char16_t* name, std::uint32_t* length) {
                       return KXRegistryEnumNextValue(handle, name, length, nullptr, nullptr,
                                                      nullptr);
                   });
}

void Migrate(std::uint32_t source, std::uint32_t destination) {
    Require(KXRegistryMigrate(source, 0, destination, 0), "migrate");
}
