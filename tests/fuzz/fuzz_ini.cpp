// Any bytes as an INI file: they are read as the rules say, which are told here a second time from
// a list of lines, and what is written afterwards is the image in their order.
#include <algorithm>
#include <cctype>
#include <clocale>
#include <optional>
#include <utility>
#include <vector>

#include "fuzz/fuzz.h"
#include "platform/entry.h"
#include "registry/ini_file.h"
#include "support/files.h"
#include "support/scratch_dir.h"

using namespace kx::test;

namespace {

struct Started {
    Started() {
        kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
        std::setlocale(LC_ALL, "C");
    }
    const ScratchDir directory;
    const std::filesystem::path path = directory / "file.ini";
};

// The locale is "C" here, in which a byte above 0x7F is no text.
std::optional<std::string> Text(const std::string& line) {
    const std::string text = line.c_str();
    for (const char byte : text) {
        if (static_cast<unsigned char>(byte) > 0x7F) return std::nullopt;
    }
    return text;
}

std::string Lower(std::string text) {
    for (char& unit : text) unit = static_cast<char>(std::tolower(unit));
    return text;
}

std::string Trimmed(const std::string& text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && text[begin] == ' ') ++begin;
    if (begin == end) return text;
    while (text[end - 1] == ' ') --end;
    return text.substr(begin, end - begin);
}

// Pairs in the order in which they came first.
template <typename Value>
class List {
  public:
    void Set(const std::string& name, Value value) {
        for (auto& [key, old] : m_pairs) {
            if (Lower(key) != Lower(name)) continue;
            old = std::move(value);
            return;
        }
        m_pairs.emplace_back(name, std::move(value));
    }
    std::vector<std::pair<std::string, Value>> Sorted() const {
        auto sorted = m_pairs;
        std::sort(sorted.begin(), sorted.end(), [](const auto& left, const auto& right) {
            return Lower(left.first) < Lower(right.first);
        });
        return sorted;
    }

  private:
    std::vector<std::pair<std::string, Value>> m_pairs;
};

std::vector<std::string> LinesOf(const std::string& bytes) {
    constexpr std::size_t kMost = 510;
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < bytes.size(); at += lines.back().size()) {
        const std::size_t end = bytes.find('\n', at);
        lines.push_back(
            bytes.substr(at, std::min(kMost, end == std::string::npos ? end : end + 1 - at)));
    }
    return lines;
}

bool IsBlank(const std::string& line) {
    return line[0] == 0 || std::strchr(" \t\n\v\f\r", line[0]) != nullptr;
}

// What is written after these bytes were read.
std::string Expected(const std::string& bytes) {
    List<List<std::string>> sections;
    const auto lines = LinesOf(bytes);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i][0] != '[') continue;
        const auto header = Text(lines[i]);
        const std::size_t close = header ? header->rfind(']') : std::string::npos;
        if (close == std::string::npos) break;
        List<std::string> values;
        bool whole = true;
        for (++i; whole && i < lines.size() && !IsBlank(lines[i]); ++i) {
            std::string line = Text(lines[i]).value_or("");
            if (!line.empty()) line.pop_back();
            const std::size_t divider = line.find('=');
            whole = divider != std::string::npos;
            if (whole)
                values.Set(Trimmed(line.substr(0, divider)), Trimmed(line.substr(divider + 1)));
        }
        if (!whole) break;
        sections.Set(header->substr(1, close - 1), values);
    }
    std::string out;
    for (const auto& [name, values] : sections.Sorted()) {
        out += '[' + name + "]\n";
        for (const auto& [key, text] : values.Sorted()) out += key + '=' + text + '\n';
        out += '\n';
    }
    return out;
}

std::string Rewritten(const std::filesystem::path& path, const std::string& bytes) {
    Store(path, bytes);
    IniFile file(path.u16string().c_str());
    Require(file.Save(nullptr) == 0);
    return Stored(path);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Started started;
    const std::string bytes(data, data + size);
    const std::string first = Rewritten(started.path, bytes);
    Require(first == Expected(bytes));
    const std::string second = Rewritten(started.path, first);
    Require(second == Expected(first));
    // By then whatever a reader takes for something else is gone.
    Require(Rewritten(started.path, second) == second);
    return 0;
}
