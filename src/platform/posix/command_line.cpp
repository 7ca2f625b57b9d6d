#include "platform/posix/command_line.h"

namespace kx::platform {
namespace {

constexpr bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t';
}

// Reads a line from its beginning to its end.
class Splitter final {
  public:
    explicit Splitter(std::u16string_view line) : m_rest(line) {}

    std::u16string TakeProgram() {
        std::u16string program;
        bool quoted = false;
        for (; !m_rest.empty() && (quoted || !IsBlank(m_rest[0])); m_rest.remove_prefix(1)) {
            if (m_rest[0] == u'"')
                quoted = !quoted;
            else
                program += m_rest[0];
        }
        return program;
    }

    // Whether there is another argument.
    bool SkipBlanks() {
        while (!m_rest.empty() && IsBlank(m_rest[0])) m_rest.remove_prefix(1);
        return !m_rest.empty();
    }

    std::u16string TakeArgument() {
        std::u16string argument;
        bool quoted = false;
        for (;;) {
            const std::size_t backslashes = TakeBackslashes();
            const bool beforeQuote = m_rest.starts_with(u'"');
            argument.append(beforeQuote ? backslashes / 2 : backslashes, u'\\');
            if (m_rest.empty() || (!quoted && IsBlank(m_rest[0]))) return argument;
            const bool quotes = beforeQuote && backslashes % 2 == 0;
            const bool doubled = quotes && quoted && m_rest.starts_with(u"\"\"");
            if (doubled) m_rest.remove_prefix(1);
            if (quotes && !doubled)
                quoted = !quoted;
            else
                argument += m_rest[0];
            m_rest.remove_prefix(1);
        }
    }

  private:
    std::size_t TakeBackslashes() {
        std::size_t count = m_rest.find_first_not_of(u'\\');
        if (count == std::u16string_view::npos) count = m_rest.size();
        m_rest.remove_prefix(count);
        return count;
    }

    std::u16string_view m_rest;
};

}  // namespace

std::vector<std::u16string> SplitCommandLine(std::u16string_view line) {
    Splitter splitter(line);
    std::vector<std::u16string> arguments{splitter.TakeProgram()};
    while (splitter.SkipBlanks()) arguments.push_back(splitter.TakeArgument());
    return arguments;
}

}  // namespace kx::platform
