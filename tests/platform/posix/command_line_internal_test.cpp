#include "platform/posix/command_line.h"

#include <gtest/gtest.h>

using kx::platform::SplitCommandLine;

namespace {

using Words = std::vector<std::u16string>;

// What follows the program.
Words Arguments(const std::u16string& text) {
    Words words = SplitCommandLine(u"program " + text);
    EXPECT_EQ(u"program", words.front());
    words.erase(words.begin());
    return words;
}

}  // namespace

TEST(CommandLine, IsPartedByBlanksAndTabs) {
    EXPECT_EQ(Words({u"a", u"b", u"c"}), Arguments(u"a b\tc"));
    EXPECT_EQ(Words({u"a", u"b"}), Arguments(u"  a \t b\t "));
    EXPECT_EQ(Words({u"a\nb"}), Arguments(u"a\nb"));
    EXPECT_EQ(Words(), Arguments(u""));
    EXPECT_EQ(Words(), Arguments(u" \t "));
}

TEST(CommandLine, KeepsTogetherWhatIsQuoted) {
    EXPECT_EQ(Words({u"a b", u"c"}), Arguments(u"\"a b\" c"));
    EXPECT_EQ(Words({u"ab cd"}), Arguments(u"a\"b c\"d"));
    EXPECT_EQ(Words({u"", u""}), Arguments(u"\"\" \"\""));
    EXPECT_EQ(Words({u"a b"}), Arguments(u"\"a b")) << "to the end, where the quote is not closed";
}

// The examples that are published with the rules.
TEST(CommandLine, FollowsThePublishedExamples) {
    EXPECT_EQ(Words({u"abc", u"d", u"e"}), Arguments(u"\"abc\" d e"));
    EXPECT_EQ(Words({u"a\\\\b", u"de fg", u"h"}), Arguments(u"a\\\\b d\"e f\"g h"));
    EXPECT_EQ(Words({u"a\\\"b", u"c", u"d"}), Arguments(u"a\\\\\\\"b c d"));
    EXPECT_EQ(Words({u"a\\\\b c", u"d", u"e"}), Arguments(u"a\\\\\\\\\"b c\" d e"));
    EXPECT_EQ(Words({u"ab\" c d"}), Arguments(u"a\"b\"\" c d"));
}

TEST(CommandLine, CountsBackslashesBeforeQuotes) {
    EXPECT_EQ(Words({u"\"", u"x"}), Arguments(u"\\\" x"));
    EXPECT_EQ(Words({u"\\ x"}), Arguments(u"\\\\\" x"));
    EXPECT_EQ(Words({u"\\\"", u"x"}), Arguments(u"\\\\\\\" x"));
    EXPECT_EQ(Words({u"\\\\ x"}), Arguments(u"\\\\\\\\\" x"));
    EXPECT_EQ(Words({u"a b\\"}), Arguments(u"\"a b\\\\\""));
    EXPECT_EQ(Words({u"\\\\server\\share\\"}), Arguments(u"\\\\server\\share\\"));
    EXPECT_EQ(Words({u"end\\"}), Arguments(u"end\\"));
}

TEST(CommandLine, TakesTwoQuotesWithinQuotesForOne) {
    EXPECT_EQ(Words({u"a\"b c"}), Arguments(u"\"a\"\"b c\""));
    EXPECT_EQ(Words({u"\""}), Arguments(u"\"\"\"\""));
    EXPECT_EQ(Words({u"\" x\""}), Arguments(u"\"\"\" x\"\"\""));
}

TEST(CommandLine, ReadsTheProgramWithoutBackslashRules) {
    EXPECT_EQ(Words({u"c:\\a b\\", u"x"}), SplitCommandLine(u"\"c:\\a b\\\" x"));
    EXPECT_EQ(Words({u"/with", u"blank", u"x"}), SplitCommandLine(u"/with blank x"));
    EXPECT_EQ(Words({u"ab c"}), SplitCommandLine(u"a\"b c\""));
    EXPECT_EQ(Words({u"", u"x"}), SplitCommandLine(u" x"));
    EXPECT_EQ(Words({u""}), SplitCommandLine(u""));
}
