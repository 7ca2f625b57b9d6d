#include "ini_text.h"

#include <kxcore7/systeminfo.h>

#include <cctype>
#include <stdexcept>

#include "text.h"

namespace {

std::u16string UserName() {
    constexpr std::uint32_t kSize = 127;
    char16_t user[kSize];
    const KXResult result = KXGetUserName(user, kSize);
    if (result != 0) throw RegistryError("the user's name", result);
    return user;
}

// How the sections of a root begin: with the user's name as well where each user has their own.
const std::u16string& PrefixOf(std::uint32_t root) {
    static const std::map<std::uint32_t, std::u16string> prefixes = [] {
        std::map<std::uint32_t, std::u16string> made;
        for (const auto& [number, name] : AllRoots()) made[number] = name;
        made[KX_HKEY_USER] += u'\\' + UserName();
        return made;
    }();
    return prefixes.at(root);
}

bool EndsSection(const std::string& line) {
    if (line.empty() || line[0] == '\0') return true;
    const auto first = static_cast<signed char>(line[0]);
    return first > 0 && std::isspace(first) != 0;
}

std::optional<std::u16string> SectionIn(const std::string& line) {
    const std::u16string wide = Widened(line).value_or(u"");
    const size_t end = wide.rfind(u']');
    if (end == std::u16string::npos) return {};
    return wide.substr(1, end - 1);
}

// Blanks at both ends go, unless there is nothing else.
std::u16string Trimmed(const std::u16string& text) {
    const size_t first = text.find_first_not_of(u' ');
    if (first == std::u16string::npos) return text;
    return text.substr(first, text.find_last_not_of(u' ') + 1 - first);
}

std::optional<IniValue> ValueIn(const std::string& line) {
    const std::u16string wide = Widened(line).value_or(u"");
    const size_t divider = wide.find(u'=');
    if (divider == std::u16string::npos) return {};
    return IniValue(Trimmed(wide.substr(0, divider)), Trimmed(wide.substr(divider + 1)));
}

// Some of these end a line or a file on one system only.
bool HasEnd(const std::string& line) {
    return line.find_first_of("\n\r\x1A") != std::string::npos;
}

// Lines, counted. A file may come from a system that ends its lines in two characters.
class Lines final {
  public:
    Lines(std::istream& file, const std::string& name) : m_file(file), m_name(name) {}

    bool Next() {
        if (!std::getline(m_file, m_line)) return false;
        ++m_number;
        if (!m_line.empty() && m_line.back() == '\r') m_line.pop_back();
        return true;
    }
    const std::string& Get() const { return m_line; }
    [[noreturn]] void Refuse(const char* why) const {
        throw std::runtime_error(m_name + ", line " + std::to_string(m_number) + ": " + why);
    }

  private:
    std::istream& m_file;
    const std::string m_name;
    std::string m_line;
    size_t m_number = 0;
};

std::vector<IniValue> ReadValues(Lines& lines) {
    std::vector<IniValue> values;
    while (lines.Next() && !EndsSection(lines.Get())) {
        auto value = ValueIn(lines.Get());
        if (!value) lines.Refuse("no \"=\", or not in the locale's encoding");
        values.push_back(std::move(*value));
    }
    return values;
}

}  // namespace

// --- Sections and keys ---------------------------------------------------------------------------

std::u16string SectionOf(const Key& key) {
    const std::u16string& prefix = PrefixOf(key.root);
    return key.path.empty() ? prefix : prefix + u'\\' + key.path;
}

std::optional<Key> KeyOfSection(const std::u16string& section) {
    for (const Root& root : AllRoots()) {
        const std::u16string& prefix = PrefixOf(root.number);
        if (section == prefix) return Key{root.number, u""};
        if (section.compare(0, prefix.size() + 1, prefix + u'\\') != 0) continue;
        return Key{root.number, section.substr(prefix.size() + 1)};
    }
    return {};
}

// --- Writing -------------------------------------------------------------------------------------

std::optional<std::string> HeaderLine(const std::u16string& section) {
    const auto name = Narrowed(section);
    if (!name || HasEnd(*name)) return {};
    const std::string line = '[' + *name + ']';
    return SectionIn(line) == section ? std::optional(line + '\n') : std::nullopt;
}

std::optional<std::string> ValueLine(const std::u16string& name, const std::u16string& text) {
    const auto narrowName = Narrowed(name);
    const auto narrowText = Narrowed(text);
    if (!narrowName || !narrowText) return {};
    const std::string line = *narrowName + '=' + *narrowText;
    if (HasEnd(line) || EndsSection(line)) return {};
    return ValueIn(line) == IniValue(name, text) ? std::optional(line + '\n') : std::nullopt;
}

// --- Reading -------------------------------------------------------------------------------------

std::map<std::u16string, IniSection> ReadIni(std::istream& file, const std::string& name) {
    std::map<std::u16string, IniSection> sections;
    Lines lines(file, name);
    while (lines.Next()) {
        if (lines.Get().empty() || lines.Get()[0] != '[') continue;
        const auto title = SectionIn(lines.Get());
        if (!title) lines.Refuse("no \"]\", or not in the locale's encoding");
        IniSection& section = sections[Folded(*title)];
        if (section.name.empty()) section.name = *title;
        section.values = ReadValues(lines);
    }
    return sections;
}
