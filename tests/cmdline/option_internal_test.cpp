// The engine's short options, which no caller from outside has.
#include "cmdline/option.h"

#include <string>
#include <vector>

#include "support/environment.h"
#include "support/options.h"

using kx::cmdline::kInOrder;
using kx::cmdline::kLongOnly;
using kx::cmdline::kPermute;
using kx::cmdline::NextOption;
using kx::test::AllTold;
using kx::test::CommandLine;
using kx::test::FreshParser;
using kx::test::ScopedEnvironment;

namespace {

using Table = std::vector<KXOptionRecord>;
using Words = std::vector<std::string>;

constexpr KXOptionRecord kEnd = {nullptr, 0, 0};
const Table kOptions = {{"output", KX_OPTION_ARGUMENT, 'o'},
                        {"verbose", KX_OPTION_NO_ARGUMENT, 'v'},
                        {"version", KX_OPTION_NO_ARGUMENT, 'V'},
                        kEnd};

// How a command line is parsed.
struct How {
    const char* letters;
    const Table* options = nullptr;
    unsigned flags = kPermute;
};

class ShortOption : public ::testing::Test {
  protected:
    static std::string Rest(const CommandLine& line, const How& how) {
        return AllTold(line, [&] {
            return NextOption(line.Count(), line.Words(), how.letters,
                              how.options != nullptr ? how.options->data() : nullptr, nullptr,
                              how.flags);
        });
    }
    // All of a new command line, silently.
    static std::string Parsed(const Words& words, const How& how) {
        KXGetOptionIndex = 0;
        KXGetOptionError = 0;
        return Rest(CommandLine(words), how);
    }
    // The same, and what it prints.
    static std::string Printed(const Words& words, const How& how) {
        KXGetOptionIndex = 0;
        KXGetOptionError = 1;
        ::testing::internal::CaptureStderr();
        Rest(CommandLine(words), how);
        return ::testing::internal::GetCapturedStderr();
    }

    const ScopedEnvironment posixlyCorrect{"POSIXLY_CORRECT", std::nullopt};
    const FreshParser parser;
};

}  // namespace

// --- Letters -------------------------------------------------------------------------------------

TEST_F(ShortOption, LettersStandAloneOrTogether) {
    EXPECT_EQ("a b c |", Parsed({"-a", "-bc"}, {"abc"}));
    EXPECT_EQ("c b a b | x y", Parsed({"x", "-cba", "y", "-b"}, {"abc"}));
}

TEST_F(ShortOption, ArgumentIsTheRestOfTheWordOrTheNext) {
    EXPECT_EQ("o=x |", Parsed({"-ox"}, {"o:"}));
    EXPECT_EQ("o=x |", Parsed({"-o", "x"}, {"o:"}));
    EXPECT_EQ("o=-o | y", Parsed({"-o", "-o", "y"}, {"o:"}));
    EXPECT_EQ("o=-- | y", Parsed({"-o", "--", "y"}, {"o:"}));
    EXPECT_EQ("o= |", Parsed({"-o", ""}, {"o:"}));
    EXPECT_EQ("a o=bc a |", Parsed({"-aobc", "-a"}, {"abo:"}));
    EXPECT_EQ("o==x |", Parsed({"-o=x"}, {"o:"}));
}

TEST_F(ShortOption, OptionalArgumentIsTheRestOfTheWordOnly) {
    EXPECT_EQ("o=x | y", Parsed({"-ox", "y"}, {"o::"}));
    EXPECT_EQ("o | y", Parsed({"-o", "y"}, {"o::"}));
    EXPECT_EQ("a o a |", Parsed({"-ao", "-a"}, {"ao::"}));
    EXPECT_EQ("o |", Parsed({"-o"}, {"o::"}));
}

TEST_F(ShortOption, MissingArgumentIsAnError) {
    EXPECT_EQ("?o |", Parsed({"-o"}, {"o:"}));
    EXPECT_EQ("a ?o | x", Parsed({"x", "-ao"}, {"ao:"}));
    EXPECT_EQ("Usage: option requires an argument -- o\n", Printed({"-o"}, {"o:"}));
    EXPECT_EQ(2, KXGetOptionIndex);
    KXGetOptionMsgCharacterRequiresArgument = "no argument for %c";
    EXPECT_EQ("no argument for o\n", Printed({"-o"}, {"o:"}));
    KXGetOptionMsgCharacterRequiresArgument = nullptr;
    EXPECT_EQ("\n", Printed({"-o"}, {"o:"}));
}

TEST_F(ShortOption, UnknownLetterIsAnErrorAndTheNextIsTaken) {
    EXPECT_EQ("?x a ?y b | z", Parsed({"-xay", "z", "-b"}, {"ab"}));
    EXPECT_EQ("Usage: invalid option -- x\n", Printed({"-xa"}, {"a"}));
    const ScopedEnvironment set("POSIXLY_CORRECT", "1");
    EXPECT_EQ("Usage: illegal option -- x\n", Printed({"-xa"}, {"a"}));
}

TEST_F(ShortOption, ColonIsNoLetter) {
    EXPECT_EQ("?: b |", Parsed({"-:b"}, {"a:b"}));
    EXPECT_EQ("?: |", Parsed({"-:"}, {":a"}));
    EXPECT_EQ("?: ?: |", Parsed({"-::"}, {"a:"}));
}

TEST_F(ShortOption, DashIsALetterAtTheEndOfAWordOnly) {
    EXPECT_EQ("a - b |", Parsed({"-a-", "-b"}, {"ab-"}));
    EXPECT_EQ("a ?- b |", Parsed({"-a-b"}, {"ab-"}));
    EXPECT_EQ("a | -a- -b", Parsed({"-a-", "-b"}, {"ab"})) << "unknown, it ends the options";
    EXPECT_EQ("a ?- b |", Parsed({"-a-b"}, {"ab"}));
    EXPECT_EQ("| -a", Parsed({"--", "-a"}, {"a-"}));
}

TEST_F(ShortOption, NullForLettersIsNoOptionsAtAll) {
    const CommandLine line({"--verbose"});
    char argument[] = "as it was";
    KXGetOptionArgument = argument;
    KXGetOptionIndex = 0;
    EXPECT_EQ(KX_OPTION_END, NextOption(line.Count(), line.Words(), nullptr, kOptions.data(),
                                        nullptr, kPermute | kLongOnly));
    EXPECT_EQ(argument, KXGetOptionArgument);
    EXPECT_EQ(0, KXGetOptionIndex);
}

// --- What stands in front of the letters ---------------------------------------------------------

TEST_F(ShortOption, ColonInFrontSilencesErrors) {
    const Words words = {"-x", "--none", "--ver", "--verbose=1", "--output"};
    EXPECT_EQ("", Printed(words, {":ab", &kOptions}));
    EXPECT_EQ("", Printed({"-o"}, {":o:"}));
    EXPECT_EQ("", Printed({"-W"}, {":W;", &kOptions}));
    EXPECT_EQ("", Printed({"-x", "-o"}, {"+:o:"}));
    EXPECT_EQ("?x ? ? ?v : |", Parsed(words, {":ab", &kOptions}));
}

TEST_F(ShortOption, ColonInFrontTellsAMissingArgumentFromOtherErrors) {
    EXPECT_EQ(": |", Parsed({"-o"}, {":o:"}));
    EXPECT_EQ('o', KXGetOptionOption);
    EXPECT_EQ(": |", Parsed({"-o"}, {"-:o:"}));
    EXPECT_EQ(": |", Parsed({"--output"}, {":", &kOptions}));
    EXPECT_EQ('o', KXGetOptionOption);
    EXPECT_EQ(": |", Parsed({"-W"}, {":W;", &kOptions}));
    EXPECT_EQ('W', KXGetOptionOption);
    EXPECT_EQ("?x |", Parsed({"-x"}, {":o:"}));
}

TEST_F(ShortOption, PlusInFrontEndsAtTheFirstOperand) {
    EXPECT_EQ("a | x -a", Parsed({"-a", "x", "-a"}, {"+a"}));
    EXPECT_EQ("?+ |", Parsed({"-+"}, {"+a"}));
    EXPECT_EQ("+ |", Parsed({"-+"}, {"++"}));
}

TEST_F(ShortOption, WithoutPermutingItEndsAtTheFirstOperand) {
    EXPECT_EQ("a | x -a", Parsed({"-a", "x", "-a"}, {"a", nullptr, 0}));
}

TEST_F(ShortOption, DashInFrontGivesOperandsInTheirOrder) {
    const Words words = {"x", "-a", "-", "-b", "", "--", "-a"};
    const std::string expected = "\x01=x a \x01=- b \x01= | -a";
    EXPECT_EQ(expected, Parsed(words, {"-ab"}));
    EXPECT_EQ(expected, Parsed(words, {"ab", nullptr, kInOrder}));
    EXPECT_EQ(expected, Parsed(words, {"+ab", nullptr, kInOrder | kPermute}));
    const ScopedEnvironment set("POSIXLY_CORRECT", "1");
    EXPECT_EQ(expected, Parsed(words, {"-ab"}));
    EXPECT_EQ(expected, Parsed(words, {"ab", nullptr, kInOrder | kPermute}));
}

TEST_F(ShortOption, OperandsInTheirOrderAreNotMoved) {
    KXGetOptionIndex = 0;
    const CommandLine line({"x", "-a", "y", "--"});
    Rest(line, {"-a"});
    EXPECT_EQ((Words{"x", "-a", "y", "--"}), line.From(1));
    EXPECT_EQ(5, KXGetOptionIndex);
}

// --- Names ---------------------------------------------------------------------------------------

TEST_F(ShortOption, NamesNeedTwoDashes) {
    EXPECT_EQ("v o=x a |", Parsed({"--verbose", "--output=x", "-a"}, {"a", &kOptions}));
    EXPECT_EQ("?v ?e ?r |", Parsed({"-ver"}, {"a", &kOptions}));
}

TEST_F(ShortOption, DashesAmongLettersBeginAName) {
    EXPECT_EQ("a v b |", Parsed({"-a-verbose", "-b"}, {"ab", &kOptions}));
    EXPECT_EQ("a ? b |", Parsed({"-a-", "-b"}, {"ab", &kOptions})) << "an empty name";
    EXPECT_EQ("Usage: option '--' is ambiguous\n", Printed({"-a-", "-b"}, {"ab", &kOptions}));
}

TEST_F(ShortOption, RecordsAlikeAreNotAmbiguousBehindTwoDashes) {
    const Table alike = {{"verbose", 0, 'v'}, {"verbatim", 0, 'v'}, kEnd};
    const Table otherValue = {{"verbose", 0, 'v'}, {"verbatim", 0, 'V'}, kEnd};
    const Table otherKind = {{"verbose", 0, 'v'}, {"verbatim", 2, 'v'}, kEnd};
    EXPECT_EQ("v |", Parsed({"--verb"}, {"", &alike}));
    EXPECT_EQ("? |", Parsed({"--verb"}, {"", &alike, kPermute | kLongOnly}));
    EXPECT_EQ("? |", Parsed({"--verb"}, {"", &otherValue}));
    EXPECT_EQ("? |", Parsed({"--verb"}, {"", &otherKind}));
    const Table third = {{"verbose", 0, 'v'}, {"verbatim", 0, 'v'}, {"verb2", 0, '2'}, kEnd};
    EXPECT_EQ("? |", Parsed({"--verb"}, {"", &third}));
}

TEST_F(ShortOption, OneDashMayBeginANameOrLetters) {
    const How how = {"avo:", &kOptions, kPermute | kLongOnly};
    EXPECT_EQ("v |", Parsed({"-verbose"}, how));
    EXPECT_EQ("v |", Parsed({"-verb"}, how));
    EXPECT_EQ("v a |", Parsed({"-va"}, how)) << "no name begins so";
    EXPECT_EQ("o=utx |", Parsed({"-outx"}, how));
    EXPECT_EQ("o=x |", Parsed({"-out=x"}, how)) << "a name first";
    EXPECT_EQ("? a |", Parsed({"-xa", "-a"}, how)) << "neither: an unknown name";
    EXPECT_EQ("? |", Parsed({"-ver"}, how));
    EXPECT_EQ("Usage: unrecognized option '-xa'\n", Printed({"-xa"}, how));
}

TEST_F(ShortOption, OneCharacterIsALetterUnlessItIsAWholeName) {
    EXPECT_EQ("v |", Parsed({"-v"}, {"v", &kOptions, kPermute | kLongOnly}))
        << "of two names that begin so";
    EXPECT_EQ("o |", Parsed({"-o"}, {"o", &kOptions, kPermute | kLongOnly}))
        << "the name would need an argument";
    const Table whole = {{"output", KX_OPTION_ARGUMENT, 'o'}, {"o", 0, '0'}, kEnd};
    EXPECT_EQ("0 |", Parsed({"-o"}, {"o:", &whole, kPermute | kLongOnly}));
    EXPECT_EQ("o=x |", Parsed({"--o", "x"}, {"o", &kOptions, kPermute | kLongOnly}))
        << "two dashes begin no letters";
}

TEST_F(ShortOption, WordTakenForLettersIsDoneWithOnce) {
    KXGetOptionIndex = 0;
    const CommandLine line({"x", "-va", "y"});
    EXPECT_EQ("v a | x y", Rest(line, {"av", &kOptions, kPermute | kLongOnly}));
    EXPECT_EQ((Words{"-va", "x", "y"}), line.From(1));
}

TEST_F(ShortOption, RestOfLettersMayBeAName) {
    EXPECT_EQ("a v b |", Parsed({"-averbose", "-b"}, {"ab", &kOptions, kPermute | kLongOnly}));
}

TEST_F(ShortOption, ColonMayBeginANameButNoLetters) {
    const Table options = {{":x", 0, 'x'}, kEnd};
    EXPECT_EQ("x |", Parsed({"-:"}, {"a:", &options, kPermute | kLongOnly}));
    EXPECT_EQ("? |", Parsed({"-:y"}, {"a:", &options, kPermute | kLongOnly}));
}

// --- W -------------------------------------------------------------------------------------------

TEST_F(ShortOption, WBeginsAName) {
    const How how = {"aW;", &kOptions};
    EXPECT_EQ("v a |", Parsed({"-W", "verbose", "-a"}, how));
    EXPECT_EQ("v a |", Parsed({"-Wverbose", "-a"}, how));
    EXPECT_EQ("o=x a |", Parsed({"-W", "output=x", "-a"}, how));
    EXPECT_EQ("o=x a |", Parsed({"-Woutput", "x", "-a"}, how));
    EXPECT_EQ("a v | x", Parsed({"x", "-aWverb"}, how));
    EXPECT_EQ("?o |", Parsed({"-W", "output"}, how));
    EXPECT_EQ("? |", Parsed({"-W", ""}, how));
}

TEST_F(ShortOption, WIsPartOfWhatIsPrinted) {
    const How how = {"W;", &kOptions};
    EXPECT_EQ("Usage: unrecognized option '-W none=1'\n", Printed({"-Wnone=1"}, how));
    EXPECT_EQ("Usage: option '-W ver' is ambiguous\n", Printed({"-W", "ver"}, how));
    EXPECT_EQ("Usage: option '-W verbo' doesn't allow an argument\n",
              Printed({"-W", "verbo=1"}, how));
    EXPECT_EQ("Usage: option '-W out' requires an argument\n", Printed({"-Wout"}, how));
}

TEST_F(ShortOption, WWithoutANameIsAnError) {
    EXPECT_EQ("?W | x", Parsed({"x", "-W"}, {"W;", &kOptions}));
    EXPECT_EQ(2, KXGetOptionIndex);
    EXPECT_EQ("Usage: option requires an argument -- W\n", Printed({"-W"}, {"W;", &kOptions}));
}

TEST_F(ShortOption, WIsALetterWithoutATableOrASemicolon) {
    EXPECT_EQ("W | x", Parsed({"-W", "x"}, {"W;"}));
    EXPECT_EQ("W a |", Parsed({"-Wa"}, {"aW", &kOptions}));
    EXPECT_EQ("W=a |", Parsed({"-Wa"}, {"aW:", &kOptions}));
}

TEST_F(ShortOption, NameBehindWLeavesNoArgument) {
    KXGetOptionIndex = 0;
    const CommandLine line({"-Wverbose"});
    EXPECT_EQ('v', NextOption(line.Count(), line.Words(), "W;", kOptions.data(), nullptr, 0));
    EXPECT_EQ(nullptr, KXGetOptionArgument);
}
