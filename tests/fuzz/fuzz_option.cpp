// Whatever words and letters there are, the parser ends, no word is lost, and operands keep their
// order. The words are blocks of their own, so that no unit outside of them is read unseen.
#include <algorithm>
#include <string>
#include <vector>

#include "cmdline/option.h"
#include "fuzz/fuzz.h"
#include "support/options.h"

using namespace kx::test;
using kx::cmdline::kInOrder;
using kx::cmdline::kLongOnly;
using kx::cmdline::kPermute;

namespace {

constexpr int kManyRecords = 6;

// The text up to the next zero, taken from the front.
std::string Taken(std::string& bytes) {
    const std::size_t end = bytes.find('\0');
    const std::string text = bytes.substr(0, end);
    bytes.erase(0, end == bytes.npos ? end : end + 1);
    return text;
}

class Table final {
  public:
    // So many names are taken, each behind a byte for what is not its name.
    Table(int count, std::string& bytes) {
        for (int i = 0; i < count; ++i) m_names.push_back(Taken(bytes));
        for (const std::string& name : m_names) {
            const int kind = name.empty() ? 0 : name[0] & 3;
            m_records.push_back({name.c_str() + !name.empty(), kind, 1000 + (kind & 1)});
        }
        m_records.push_back({nullptr, 0, 0});
    }
    const KXOptionRecord* Records() const { return m_records.data(); }
    int Count() const { return static_cast<int>(m_names.size()); }

  private:
    std::vector<std::string> m_names;
    std::vector<KXOptionRecord> m_records;
};

// Where each word stood at first.
class Places final {
  public:
    explicit Places(const CommandLine& line) : m_words(line.Words(), line.Words() + line.Count()) {}

    std::vector<std::ptrdiff_t> Of(const CommandLine& line, int from, int to) const {
        std::vector<std::ptrdiff_t> places;
        for (int i = from; i < to; ++i) {
            places.push_back(std::find(m_words.begin(), m_words.end(), line.Words()[i]) -
                             m_words.begin());
        }
        return places;
    }
    void RequireAll(const CommandLine& line) const {
        std::vector<std::ptrdiff_t> places = Of(line, 0, line.Count());
        std::sort(places.begin(), places.end());
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            Require(places[i] == static_cast<std::ptrdiff_t>(i));
        }
        Require(line.Words()[line.Count()] == nullptr);
    }
    void RequireInOrder(const CommandLine& line, int from, int to) const {
        const auto places = Of(line, from, to);
        Require(std::is_sorted(places.begin(), places.end()));
    }

  private:
    std::vector<char*> m_words;
};

// An argument is a word, or the rest of one.
void RequireInside(const CommandLine& line, const char* argument) {
    const auto has = [argument](const char* word) {
        return argument >= word && argument <= word + std::strlen(word);
    };
    Require(argument == nullptr || std::any_of(line.Words(), line.Words() + line.Count(), has));
}

// Gives the results, and whether it came to an end by then.
void RequireParsed(const CommandLine& line, const char* letters, const Table* table,
                   unsigned flags) {
    const FreshParser parser;
    KXGetOptionError = 0;
    const Places places(line);
    std::size_t most = 2;
    for (int i = 0; i < line.Count(); ++i) most += std::strlen(line.Words()[i]) + 1;
    for (;; --most) {
        Require(most != 0);
        int index = -1;
        const int result =
            kx::cmdline::NextOption(line.Count(), line.Words(), letters,
                                    table != nullptr ? table->Records() : nullptr, &index, flags);
        places.RequireAll(line);
        RequireInside(line, KXGetOptionArgument);
        Require(KXGetOptionIndex >= 1 && KXGetOptionIndex <= line.Count());
        Require(index >= -1 && (table == nullptr ? index == -1 : index < table->Count()));
        if (result == KX_OPTION_END) break;
    }
    places.RequireInOrder(line, KXGetOptionIndex, line.Count());
    // With letters, one that is -1 or a dash behind them ends a line before its words were moved.
    if (*letters == '\0' && table != nullptr) {
        places.RequireInOrder(line, 0, KXGetOptionIndex);
    }
}

}  // namespace

// A byte for the table and the flags, the letters, the table's names, the words.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::string bytes(data + 1, data + size);
    const unsigned how = data[0];
    const std::string letters = Taken(bytes);
    const int records = static_cast<int>(how >> 3) % (kManyRecords + 2) - 1;
    const Table table(std::max(records, 0), bytes);
    std::vector<std::string> words;
    while (!bytes.empty()) words.push_back(Taken(bytes));

    const CommandLine line(words);
    RequireParsed(line, letters.c_str(), records >= 0 ? &table : nullptr,
                  how & (kPermute | kInOrder | kLongOnly));
    // Once more, as from outside.
    const CommandLine same(words);
    RequireParsed(same, "", records >= 0 ? &table : nullptr, kPermute | kLongOnly);
    return 0;
}
