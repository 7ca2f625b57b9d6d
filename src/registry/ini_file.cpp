#include "registry/ini_file.h"

#include <kxcore7/character.h>
#include <kxcore7/conversion.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "frame/exception.h"
#include "platform/streams.h"
#include "text/conversion.h"

using namespace kx;
using core::NarrowFromWide;
using core::ThrowIfFailed;

namespace {

constexpr const char* kLockName = "KXCore_IniFileLock";
constexpr char16_t kSeparator = u'\\';

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

// --- Reading -------------------------------------------------------------------------------------

// A line at a time, or a piece of one that is too long.
class Lines final {
  public:
    explicit Lines(std::FILE* file) : m_file(file) {}

    bool Next() { return std::fgets(m_line, kMost, m_file) != nullptr; }

    bool IsHeader() const { return m_line[0] == '['; }
    bool EndsSection() const {
        const auto first = static_cast<signed char>(m_line[0]);
        return first == 0 || (first > 0 && std::isspace(first) != 0);
    }
    // Empty if it does not convert. Good until the next one is read, or asked for.
    std::u16string_view Wide() { return {m_wide, KXAnsiToWstring(m_wide, m_line, kMost)}; }

  private:
    // What one read asks for: a byte less of the line, and the terminator. No character has more
    // units than bytes.
    static constexpr int kMost = 511;

    std::FILE* const m_file;
    char m_line[kMost + 1];
    char16_t m_wide[kMost + 1];
};

// Between the bracket that begins the line and the last one that ends a name.
std::optional<std::u16string> SectionNameIn(std::u16string_view line) {
    const std::size_t end = line.rfind(u']');
    if (end == std::u16string_view::npos) return std::nullopt;
    return std::u16string(line.substr(1, end - 1));
}

// Blanks at both ends go, unless there is nothing else.
std::u16string_view TrimSpaces(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == std::u16string_view::npos) return text;
    return text.substr(first, text.find_last_not_of(u' ') + 1 - first);
}

// What the image was made of before, piece by piece: most of a file that is read again is as it
// was, and needs no memory but that.
class Spare final {
  public:
    explicit Spare(IniFile::Sections&& sections) : m_sections(std::move(sections)) {}

    // A value, or nothing if there is none left.
    IniFile::Values::node_type Take() {
        for (; !m_sections.empty(); m_sections.erase(m_sections.begin())) {
            IniFile::Values& values = m_sections.begin()->second;
            if (!values.empty()) return values.extract(values.begin());
        }
        return {};
    }

  private:
    IniFile::Sections m_sections;
};

// Where the value of a name is, which has this text from now on.
IniFile::Values::iterator Assign(IniFile::Values& values, IniFile::Values::iterator place,
                                 std::u16string_view name, std::u16string_view text, Spare& spare) {
    auto node = spare.Take();
    if (node.empty()) {
        IniFile::Values made;
        made.emplace(name, text);
        node = made.extract(made.begin());
    } else {
        node.key() = name;
        node.mapped() = text;
    }
    const std::size_t before = values.size();
    const auto value = values.insert(place, std::move(node));
    if (values.size() == before) value->second = text;
    return value;
}

// Of a name that comes twice the first spelling and the last text stay. The last character is taken
// for the end of the line, also where it is none: such a line is the file's last or a piece of one.
// What comes next in a file most often belongs behind what came last.
bool ReadValues(Lines& lines, Spare& spare, IniFile::Values* values) {
    auto place = values->end();
    while (lines.Next() && !lines.EndsSection()) {
        std::u16string_view line = lines.Wide();
        if (!line.empty()) line.remove_suffix(1);
        const std::size_t divider = line.find(u'=');
        if (divider == std::u16string_view::npos) return false;
        place = std::next(Assign(*values, place, TrimSpaces(line.substr(0, divider)),
                                 TrimSpaces(line.substr(divider + 1)), spare));
    }
    return true;
}

// --- Writing -------------------------------------------------------------------------------------

// What the locale can't express is written as nothing.
std::string Narrow(const std::u16string& text) {
    return NarrowFromWide(text.c_str());
}

void AppendSection(const std::u16string& name, const IniFile::Values& values, std::string& out) {
    out += '[';
    out += Narrow(name);
    out += "]\n";
    for (const auto& [valueName, text] : values) {
        out += Narrow(valueName);
        out += '=';
        out += Narrow(text);
        out += '\n';
    }
    out += '\n';
}

// --- Names ---------------------------------------------------------------------------------------

char16_t Folded(char16_t unit) {
    return static_cast<char16_t>(KXToLowerW(unit));
}

// Where two names part, case aside. What begins alike is spelled alike, for the most part, and goes
// by in steps of several units.
std::size_t CommonLength(std::u16string_view left, std::u16string_view right) {
    constexpr std::size_t kStep = 4;
    const std::size_t most = std::min(left.size(), right.size());
    std::size_t at = 0;
    while (most - at >= kStep &&
           std::memcmp(&left[at], &right[at], kStep * sizeof(char16_t)) == 0) {
        at += kStep;
    }
    while (at != most && (left[at] == right[at] || Folded(left[at]) == Folded(right[at]))) ++at;
    return at;
}

// --- Paths ---------------------------------------------------------------------------------------

std::u16string WithSeparator(std::u16string_view path) {
    std::u16string out;
    out.reserve(path.size() + 1);
    return out.append(path).append(1, kSeparator);
}

// Calls visit(name) for all sections whose name begins with a prefix, case included. They lie
// together, and behind whatever they begin with: folding keeps lengths and beginnings.
template <typename Visit>
void VisitSections(const IniFile::Sections& sections, const std::u16string& prefix, Visit visit) {
    for (auto at = sections.lower_bound(prefix); at != sections.end(); ++at) {
        if (CommonLength(at->first, prefix) != prefix.size()) return;
        if (at->first.starts_with(prefix)) visit(at->first);
    }
}

}  // namespace

bool NoCaseLess::operator()(std::u16string_view left, std::u16string_view right) const {
    const std::size_t common = CommonLength(left, right);
    if (common == left.size() || common == right.size()) return left.size() < right.size();
    return Folded(left[common]) < Folded(right[common]);
}

// --- IniFile -------------------------------------------------------------------------------------

IniFile::IniFile(const char16_t* path) : m_path(path != nullptr ? path : u"") {
    ThrowIfFailed(KXNamedSemOpen(kLockName, 1, m_fileLock.Out()));
    Lock lock(m_fileLock.Get());
    Load();
    lock.Release();
}

IniFile::Lock::Lock(KXSemaphoreHandle lock) : m_lock(lock) {
    ThrowIfFailed(KXSemaphoreWait(m_lock));
}

IniFile::Lock::~Lock() {
    if (m_lock != KX_INVALID_HANDLE) KXSemaphorePost(m_lock);
}

void IniFile::Lock::Release() {
    ThrowIfFailed(KXSemaphorePost(std::exchange(m_lock, KX_INVALID_HANDLE)));
}

int IniFile::Load() {
    Spare spare(std::exchange(m_sections, {}));
    const Stream file(platform::OpenTextToRead(Narrow(m_path).c_str()));
    if (file == nullptr) return 0;
    Lines lines(file.get());
    auto place = m_sections.end();
    while (lines.Next()) {
        if (!lines.IsHeader()) continue;
        std::optional<std::u16string> name = SectionNameIn(lines.Wide());
        Values values;
        if (!name || !ReadValues(lines, spare, &values)) break;
        const auto section = m_sections.emplace_hint(place, std::move(*name), Values());
        section->second = std::move(values);
        place = std::next(section);
    }
    return 0;
}

// The time is taken while the end of the file may not have been written: it can be a second short,
// and then the next look reads the file back.
int IniFile::Save(const char16_t* path) {
    const std::string narrow = NarrowFromWide(path != nullptr ? path : m_path.c_str());
    // Whole before the file is cut: when memory is exhausted, that stays as it was.
    std::string out;
    for (const auto& [name, values] : m_sections) AppendSection(name, values, out);
    const Stream file(platform::OpenTextToWrite(narrow.c_str()));
    if (file == nullptr) return 1;
    std::fwrite(out.data(), 1, out.size(), file.get());
    platform::QueryWriteTime(file.get(), &m_lastModified);
    return 0;
}

void IniFile::Refresh() {
    std::int64_t modified = 0;
    if (!platform::QueryWriteTime(Narrow(m_path).c_str(), &modified)) return;
    if (modified > m_lastModified) Load();
    m_lastModified = modified;
}

int IniFile::SetValue(const char16_t* section, const char16_t* name, const char16_t* text,
                      bool overwrite) {
    Turn turn(*this);
    int result = -1;
    if (overwrite || !HasValue(section, name)) {
        m_sections[section].insert_or_assign(name, text);
        Save(nullptr);
        result = 0;
    }
    turn.End();
    return result;
}

KXResult IniFile::GetValue(const char16_t* section, const char16_t* name, char16_t* out) {
    Turn turn(*this);
    const std::u16string* const text = Find(section, name);
    if (text != nullptr) KXStrNCpyW(out, text->c_str(), text->size() + 1);
    const KXResult result = text != nullptr ? KX_S_OK : KX_ERROR_FILE_NOT_FOUND;
    turn.End();
    return result;
}

const std::u16string* IniFile::Find(const char16_t* section, const char16_t* name) const {
    const auto found = m_sections.find(std::u16string_view(section));
    if (found == m_sections.end()) return nullptr;
    const auto value = found->second.find(std::u16string_view(name));
    return value != found->second.end() ? &value->second : nullptr;
}

bool IniFile::HasValue(const char16_t* section, const char16_t* name) const {
    return Find(section, name) != nullptr;
}

std::vector<std::u16string> IniFile::GetSections() const {
    std::vector<std::u16string> names;
    for (const auto& [name, values] : m_sections) names.push_back(name);
    return names;
}

// A section is below a path if it is so with a separator behind each.
std::vector<std::u16string> IniFile::GetSectionsUnder(const char16_t* path) const {
    std::vector<std::u16string> names;
    if (const auto self = m_sections.find(std::u16string_view(path));
        self != m_sections.end() && self->first == path) {
        names.emplace_back(path);
    }
    VisitSections(m_sections, WithSeparator(path),
                  [&](const std::u16string& name) { names.push_back(name); });
    return names;
}

bool IniFile::HasSection(const char16_t* path) const {
    return m_sections.contains(std::u16string_view(path)) || !GetSectionsUnder(path).empty();
}

// --- Iterators -----------------------------------------------------------------------------------

std::u16string IniFileNameIterator::Next() {
    if (!HasNext()) throw EKXCoreException{KX_ERROR_HANDLE_EOF};
    std::u16string name = m_names[m_current];
    ++m_current;
    return name;
}

IniFileSetIterator::IniFileSetIterator(IniFile& file, const char16_t* path)
    : IniFileNameIterator(path) {
    IniFile::Turn turn(file);
    const std::u16string prefix = WithSeparator(path);
    std::set<std::u16string> children;
    VisitSections(file.Image(), prefix, [&](const std::u16string& name) {
        children.insert(
            name.substr(prefix.size(), name.find(kSeparator, prefix.size()) - prefix.size()));
    });
    m_names.assign(children.begin(), children.end());
    turn.End();
}

IniFileKeyIterator::IniFileKeyIterator(IniFile& file, const char16_t* section)
    : IniFileNameIterator(section) {
    IniFile::Turn turn(file);
    const auto found = file.Image().find(std::u16string_view(section));
    if (found != file.Image().end()) {
        for (const auto& [name, text] : found->second) m_names.push_back(name);
    } else if (!file.HasSection(section)) {
        throw EKXCoreException{KX_ERROR_FILE_NOT_FOUND};
    }
    turn.End();
}
