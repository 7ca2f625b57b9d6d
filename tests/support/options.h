// Command lines that tests parse.
#ifndef KXCORE7_TESTS_SUPPORT_OPTIONS_H
#define KXCORE7_TESTS_SUPPORT_OPTIONS_H

#include <kxcore7/option.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kx::test {

// The words of a program's command line, and a null; behind that there is nothing. Every word, too,
// is a block of its own.
class CommandLine final {
  public:
    explicit CommandLine(const std::vector<std::string>& words)
        : m_count(static_cast<int>(words.size()) + 1), m_words(new char* [words.size() + 2] {}) {
        m_words[0] = Made("program");
        for (std::size_t i = 0; i < words.size(); ++i) m_words[i + 1] = Made(words[i]);
    }

    int Count() const { return m_count; }
    char** Words() const { return m_words.get(); }

    // The words from an index on, as they lie now.
    std::vector<std::string> From(int index) const {
        return {m_words.get() + index, m_words.get() + m_count};
    }

  private:
    char* Made(const std::string& word) {
        m_blocks.emplace_back(new char[word.size() + 1]);
        word.copy(m_blocks.back().get(), word.size());
        m_blocks.back()[word.size()] = '\0';
        return m_blocks.back().get();
    }

    const int m_count;
    const std::unique_ptr<char*[]> m_words;
    std::vector<std::unique_ptr<char[]>> m_blocks;
};

// The parser begins anew, and is at the end of the scope as it was when the program started.
class FreshParser final {
  public:
    FreshParser() { KXGetOptionReset = 1; }
    ~FreshParser() {
        Forget();
        KXGetOptionArgument = nullptr;
        KXGetOptionError = 1;
        KXGetOptionIndex = 1;
        KXGetOptionOption = KX_OPTION_ERROR;
        for (const auto& [message, text] : m_messages) *message = text;
    }
    FreshParser(const FreshParser&) = delete;
    FreshParser& operator=(const FreshParser&) = delete;

  private:
    // What the parser keeps to itself of the words that it was given last.
    static void Forget() {
        char* none[] = {nullptr};
        KXGetOptionReset = 1;
        KXGetOption(0, none, nullptr, nullptr);
    }

    const std::vector<std::pair<const char**, const char*>> m_messages = {
        {&KXGetOptionMsgCharacterRequiresArgument, KXGetOptionMsgCharacterRequiresArgument},
        {&KXGetOptionMsgIllegal, KXGetOptionMsgIllegal},
        {&KXGetOptionMsgInvalid, KXGetOptionMsgInvalid},
        {&KXGetOptionMsgStringRequiresArgument, KXGetOptionMsgStringRequiresArgument},
        {&KXGetOptionMsgAmbiguous, KXGetOptionMsgAmbiguous},
        {&KXGetOptionMsgNoArgumentAllowed, KXGetOptionMsgNoArgumentAllowed},
        {&KXGetOptionMsgUnrecognized, KXGetOptionMsgUnrecognized},
    };
};

// A result as text: "o" for an option whose value is that letter, "o=x" with its argument, "?o" for
// an error with an option's value, "?" for one without.
inline std::string Told(int result) {
    if (result == KX_OPTION_END) return "end";
    std::string text(1, static_cast<char>(result));
    if (result == KX_OPTION_ERROR && KXGetOptionOption != 0) {
        text += static_cast<char>(KXGetOptionOption);
    }
    if (KXGetOptionArgument != nullptr) text += std::string("=") + KXGetOptionArgument;
    return text;
}

// All results of a command line with blanks between, then a bar, then what is left as operands.
template <typename Next>
std::string AllTold(const CommandLine& line, Next next) {
    std::string text;
    for (int result; (result = next()) != KX_OPTION_END;) text += Told(result) + ' ';
    text += '|';
    for (const std::string& operand : line.From(KXGetOptionIndex)) text += ' ' + operand;
    return text;
}

}  // namespace kx::test

#endif
