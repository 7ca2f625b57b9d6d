// The options of a command line.
#include <kxcore7/option.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/environment.h"
#include "support/guarded_memory.h"
#include "support/options.h"

using kx::test::AllTold;
using kx::test::CommandLine;
using kx::test::FreshParser;
using kx::test::GuardedMemory;
using kx::test::ScopedEnvironment;
using kx::test::Told;

namespace {

using Table = std::vector<KXOptionRecord>;
using Words = std::vector<std::string>;

constexpr KXOptionRecord kEnd = {nullptr, 0, 0};
constexpr KXOptionRecord kOutput = {"output", KX_OPTION_ARGUMENT, 'o'};
constexpr KXOptionRecord kVerbose = {"verbose", KX_OPTION_NO_ARGUMENT, 'v'};
constexpr KXOptionRecord kVersion = {"version", KX_OPTION_NO_ARGUMENT, 'V'};
const Table kOptions = {kOutput, kVerbose, kEnd};

class Option : public ::testing::Test {
  protected:
    static int Next(const CommandLine& line, const Table& options = kOptions,
                    int* index = nullptr) {
        return KXGetOption(line.Count(), line.Words(), options.data(), index);
    }
    static std::string Rest(const CommandLine& line, const Table& options = kOptions) {
        return AllTold(line, [&] { return Next(line, options); });
    }
    // All of a new command line.
    static std::string Parsed(const Words& words, const Table& options = kOptions) {
        KXGetOptionIndex = 0;
        return Rest(CommandLine(words), options);
    }
    // What the results of a new command line print.
    static std::string Printed(const Words& words, const Table& options = kOptions) {
        ::testing::internal::CaptureStderr();
        Parsed(words, options);
        return ::testing::internal::GetCapturedStderr();
    }

    const ScopedEnvironment posixlyCorrect{"POSIXLY_CORRECT", std::nullopt};
    const FreshParser parser;
};

using OptionDeathTest = Option;

// Errors that nobody is told of.
class QuietOption : public Option {
  protected:
    QuietOption() { KXGetOptionError = 0; }
};

}  // namespace

TEST_F(Option, StateIsKnownAtFirst) {
    KXGetOptionReset = 0;
    EXPECT_EQ(nullptr, KXGetOptionArgument);
    EXPECT_EQ(1, KXGetOptionError);
    EXPECT_EQ(1, KXGetOptionIndex);
    EXPECT_EQ(63, KXGetOptionOption);
    EXPECT_STREQ("Usage: option requires an argument -- %c",
                 KXGetOptionMsgCharacterRequiresArgument);
    EXPECT_STREQ("Usage: illegal option -- %c", KXGetOptionMsgIllegal);
    EXPECT_STREQ("Usage: invalid option -- %c", KXGetOptionMsgInvalid);
    EXPECT_STREQ("Usage: option '%s%s' requires an argument", KXGetOptionMsgStringRequiresArgument);
    EXPECT_STREQ("Usage: option '%s%.*s' is ambiguous", KXGetOptionMsgAmbiguous);
    EXPECT_STREQ("Usage: option '%s%.*s' doesn't allow an argument",
                 KXGetOptionMsgNoArgumentAllowed);
    EXPECT_STREQ("Usage: unrecognized option '%s%s'", KXGetOptionMsgUnrecognized);
}

TEST_F(Option, FirstCommandLineNeedsNoReset) {
    KXGetOptionReset = 0;
    EXPECT_EQ("v | a.txt", Rest(CommandLine({"a.txt", "--verbose"})));
}

// --- Names and arguments -------------------------------------------------------------------------

TEST_F(Option, IsWrittenInFiveWays) {
    const std::vector<Words> ways = {
        {"-output=x"}, {"--output=x"}, {"-o=x"}, {"--output", "x"}, {"-output", "x"}};
    for (const Words& words : ways) EXPECT_EQ("o=x |", Parsed(words)) << words[0];
}

TEST_F(Option, IsFoundByWhatNoOtherBeginsWith) {
    const Table options = {kVerbose, kVersion, kEnd};
    EXPECT_EQ("v |", Parsed({"--verb"}, options));
    EXPECT_EQ("V |", Parsed({"-vers"}, options));
    EXPECT_EQ("v |", Parsed({"--verbose"}, options));
}

TEST_F(QuietOption, OfTwoThatBeginAlikeIsAmbiguous) {
    EXPECT_EQ("? |", Parsed({"--ver"}, {kVerbose, kVersion, kEnd}));
    EXPECT_EQ("? |", Parsed({"-v"}, {kVersion, kVerbose, kEnd}));
}

TEST_F(Option, ThatIsNamedInFullIsNeverAmbiguous) {
    const KXOptionRecord ver = {"ver", KX_OPTION_NO_ARGUMENT, '0'};
    EXPECT_EQ("0 |", Parsed({"--ver"}, {ver, kVerbose, kVersion, kEnd}));
    EXPECT_EQ("0 |", Parsed({"--ver"}, {kVerbose, kVersion, ver, kEnd}));
    EXPECT_EQ("v |", Parsed({"--verb"}, {ver, kVerbose, kEnd}));
}

TEST_F(Option, ThatIsNamedTwiceIsTheFirst) {
    EXPECT_EQ("1 |", Parsed({"--same"}, {{"same", 0, '1'}, {"same", 0, '2'}, kEnd}));
}

TEST_F(QuietOption, RecordsAlikeAreAmbiguousAllTheSame) {
    EXPECT_EQ("? |", Parsed({"--verb"}, {kVerbose, {"verbatim", 0, 'v'}, kEnd}));
}

TEST_F(QuietOption, CaseCounts) {
    EXPECT_EQ("? ? v |", Parsed({"--Verbose", "--verbosE", "--verbose"}));
}

TEST_F(QuietOption, NameIsNoMoreThanItsBeginning) {
    EXPECT_EQ("? ? |", Parsed({"--verboses", "--xverbose"}));
}

TEST_F(Option, ArgumentMayBeEmpty) {
    EXPECT_EQ("o= |", Parsed({"--output="}));
    EXPECT_EQ("o= |", Parsed({"--output", ""}));
}

TEST_F(Option, ArgumentMayBeginWithDashes) {
    EXPECT_EQ("o=--verbose |", Parsed({"--output", "--verbose"}));
    EXPECT_EQ("o=-- | x", Parsed({"--output", "--", "x"}));
    EXPECT_EQ("o=- |", Parsed({"--output", "-"}));
}

TEST_F(Option, ArgumentBeginsBehindTheFirstEqualsSign) {
    EXPECT_EQ("o=a=b=c |", Parsed({"--output=a=b=c"}));
    EXPECT_EQ("o== |", Parsed({"-o=="}));
}

TEST_F(Option, ArgumentIsTheWordItself) {
    const CommandLine line({"--output", "x", "--output=y"});
    Next(line);
    EXPECT_EQ(line.Words()[2], KXGetOptionArgument);
    Next(line);
    EXPECT_EQ(line.Words()[3] + std::strlen("--output="), KXGetOptionArgument);
}

TEST_F(Option, OfAnotherKindTakesNoWordAndDropsAnArgument) {
    for (const std::int32_t kind : {2, 3, -1, INT32_MAX, INT32_MIN}) {
        const Table options = {{"x", kind, 'x'}, kEnd};
        EXPECT_EQ("x | y", Parsed({"--x=1", "y"}, options)) << kind;
        EXPECT_EQ("x | y", Parsed({"--x", "y"}, options)) << kind;
    }
}

TEST_F(Option, ArgumentIsGoneAtTheNextCall) {
    const CommandLine line({"--output=x", "--verbose", "--output=x"});
    Next(line);
    EXPECT_STREQ("x", KXGetOptionArgument);
    EXPECT_EQ('v', Next(line));
    EXPECT_EQ(nullptr, KXGetOptionArgument);
    Next(line);
    EXPECT_EQ(KX_OPTION_END, Next(line));
    EXPECT_EQ(nullptr, KXGetOptionArgument);
}

TEST_F(QuietOption, EmptyNameIsTheBeginningOfEvery) {
    EXPECT_EQ("o=x |", Parsed({"--=x"}, {kOutput, kEnd}));
    EXPECT_EQ("o=x |", Parsed({"-=x"}, {kOutput, kEnd}));
    EXPECT_EQ("? |", Parsed({"--=x"}, {kOutput, kVerbose, kEnd}));
    EXPECT_EQ("? |", Parsed({"--=x"}, {kEnd}));
    EXPECT_EQ("0=x |", Parsed({"--=x"}, {kOutput, kVerbose, {"", KX_OPTION_ARGUMENT, '0'}, kEnd}));
}

TEST_F(Option, NamesHaveAnyBytes) {
    const Table options = {{"gr\xC3\xB6\xC3\x9F"
                            "e",
                            KX_OPTION_ARGUMENT, 'g'},
                           {"\xFF", KX_OPTION_NO_ARGUMENT, 'f'},
                           kEnd};
    EXPECT_EQ("g=\xC3\xA4 f |", Parsed({"--gr\xC3=\xC3\xA4", "-\xFF"}, options));
}

TEST_F(Option, WordsHaveAnyLength) {
    const std::string name(70'000, 'n');
    const std::string argument(300'000, 'a');
    const Table options = {{name.c_str(), KX_OPTION_ARGUMENT, 'n'}, kEnd};
    EXPECT_EQ("n=" + argument + " |", Parsed({"--" + name + '=' + argument}, options));
    KXGetOptionError = 0;
    EXPECT_EQ("? |", Parsed({"--" + name + "n=" + argument}, options));
}

TEST_F(Option, PositionOfItsRecordIsTold) {
    const Table options = {kOutput, kVersion, kVerbose, kEnd};
    const CommandLine line({"--verbose", "--output=x", "--vers"});
    int index = -7;
    Next(line, options, &index);
    EXPECT_EQ(2, index);
    Next(line, options, &index);
    EXPECT_EQ(0, index);
    Next(line, options, &index);
    EXPECT_EQ(1, index);
    index = -7;
    Next(line, options, &index);
    EXPECT_EQ(-7, index) << "at the end";
}

TEST_F(QuietOption, ErrorsTellNoPosition) {
    const Table options = {kOutput, kVersion, kVerbose, kEnd};
    const CommandLine line({"--none", "--ver", "--version=1", "--output"});
    int index = -7;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(KX_OPTION_ERROR, Next(line, options, &index)) << i;
    EXPECT_EQ(-7, index);
}

// --- Operands ------------------------------------------------------------------------------------

TEST_F(Option, OperandsAreMovedBehindOptions) {
    const CommandLine line({"a.txt", "--verbose", "b.txt"});
    EXPECT_EQ("v | a.txt b.txt", Rest(line));
    EXPECT_EQ(2, KXGetOptionIndex);
    EXPECT_EQ((Words{"program", "--verbose", "a.txt", "b.txt"}), line.From(0));
}

TEST_F(Option, ArgumentsMoveWithTheirOptions) {
    const CommandLine line({"a", "--output", "x", "b", "-v", "-o=y", "c", "--output", "z"});
    EXPECT_EQ("o=x v o=y o=z | a b c", Rest(line));
    EXPECT_EQ((Words{"--output", "x", "-v", "-o=y", "--output", "z", "a", "b", "c"}), line.From(1));
}

TEST_F(Option, ErrorsMoveLikeOptions) {
    KXGetOptionError = 0;
    const CommandLine line({"a", "--none", "b", "--verbose=1"});
    EXPECT_EQ("? ?v | a b", Rest(line));
    EXPECT_EQ((Words{"--none", "--verbose=1", "a", "b"}), line.From(1));
}

TEST_F(Option, OperandsAloneStay) {
    const CommandLine line({"a", "", "b"});
    EXPECT_EQ("| a  b", Rest(line));
    EXPECT_EQ(1, KXGetOptionIndex);
}

TEST_F(Option, OperandsBehindOptionsStay) {
    const CommandLine line({"--verbose", "a", "b"});
    EXPECT_EQ("v | a b", Rest(line));
    EXPECT_EQ((Words{"--verbose", "a", "b"}), line.From(1));
}

TEST_F(Option, TwoDashesEndTheOptions) {
    EXPECT_EQ("| --verbose", Parsed({"--", "--verbose"}));
    EXPECT_EQ("v | -- a", Parsed({"-v", "--", "--", "a"}));
    EXPECT_EQ("|", Parsed({"--"}));
}

TEST_F(Option, TwoDashesAreMovedBeforeTheOperands) {
    const CommandLine line({"a", "--verbose", "b", "--", "--output", "c"});
    EXPECT_EQ("v | a b --output c", Rest(line));
    EXPECT_EQ((Words{"--verbose", "--", "a", "b", "--output", "c"}), line.From(1));
}

TEST_F(Option, OneDashIsAnOperand) {
    const CommandLine line({"-", "--verbose", "a", "-", "-v"});
    EXPECT_EQ("v v | - a -", Rest(line));
    EXPECT_EQ((Words{"--verbose", "-v", "-", "a", "-"}), line.From(1));
}

TEST_F(QuietOption, ThreeDashesBeginNoName) {
    EXPECT_EQ("? |", Parsed({"---verbose"}));
    EXPECT_EQ("? |", Parsed({"---"}));
}

TEST_F(Option, NothingIsParsedWithoutWords) {
    EXPECT_EQ("|", Parsed({}));
    EXPECT_EQ(1, KXGetOptionIndex);
    char* none[] = {nullptr};
    EXPECT_EQ(KX_OPTION_END, KXGetOption(0, none, kOptions.data(), nullptr));
    EXPECT_EQ(1, KXGetOptionIndex);
}

TEST_F(Option, EndIsToldAgain) {
    const CommandLine line({"a", "--verbose", "b"});
    Rest(line);
    const Words order = line.From(0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(KX_OPTION_END, Next(line));
        EXPECT_EQ(2, KXGetOptionIndex);
        EXPECT_EQ(order, line.From(0));
    }
}

TEST_F(Option, WordsMoveWhenAnOperandComesAfterThem) {
    const CommandLine line({"a", "--verbose", "-v", "b", "-v"});
    Next(line);
    Next(line);
    EXPECT_EQ((Words{"a", "--verbose", "-v", "b", "-v"}), line.From(1));
    EXPECT_EQ(4, KXGetOptionIndex);
    Next(line);
    EXPECT_EQ((Words{"--verbose", "-v", "a", "b", "-v"}), line.From(1));
    EXPECT_EQ(6, KXGetOptionIndex);
    EXPECT_EQ(KX_OPTION_END, Next(line));
    EXPECT_EQ((Words{"--verbose", "-v", "-v", "a", "b"}), line.From(1));
}

// Every length of the two blocks that change places, below and above what is moved at once.
TEST_F(Option, OrderWithinOptionsAndOperandsStays) {
    for (std::size_t operands = 0; operands <= 40; ++operands) {
        for (std::size_t options = 0; options <= 40; ++options) {
            Words words;
            for (std::size_t i = 0; i < operands; ++i) words.push_back(std::to_string(i));
            Words expected;
            for (std::size_t i = 0; i < options; ++i) {
                expected.push_back("-o=" + std::to_string(i));
            }
            words.insert(words.end(), expected.begin(), expected.end());
            expected.insert(expected.end(), words.begin(),
                            words.begin() + static_cast<std::ptrdiff_t>(operands));
            KXGetOptionIndex = 0;
            const CommandLine line(words);
            Rest(line);
            ASSERT_EQ(expected, line.From(1)) << operands << " and " << options;
            ASSERT_EQ(static_cast<int>(options) + 1, KXGetOptionIndex);
        }
    }
}

TEST_F(Option, NothingIsReadBehindTheNull) {
    const GuardedMemory memory;
    CommandLine line({"a", "--verbose", "--output", "x", "b", "--output"});
    KXGetOptionError = 0;
    char** const words = memory.Place(line.Words(), static_cast<std::size_t>(line.Count()) + 1);
    std::vector<int> results;
    for (int i = 0; i < 5; ++i) {
        results.push_back(KXGetOption(line.Count(), words, kOptions.data(), nullptr));
    }
    EXPECT_EQ((std::vector<int>{'v', 'o', KX_OPTION_ERROR, KX_OPTION_END, KX_OPTION_END}), results);
    EXPECT_EQ(nullptr, words[line.Count()]);
}

// --- POSIXLY_CORRECT -----------------------------------------------------------------------------

TEST_F(Option, PosixlyCorrectEndsAtTheFirstOperand) {
    const ScopedEnvironment set("POSIXLY_CORRECT", "1");
    const CommandLine line({"a.txt", "--verbose", "b.txt"});
    EXPECT_EQ(KX_OPTION_END, Next(line));
    EXPECT_EQ(1, KXGetOptionIndex);
    EXPECT_EQ((Words{"a.txt", "--verbose", "b.txt"}), line.From(1));
    EXPECT_EQ("v | - -v", Parsed({"--verbose", "-", "-v"}));
    EXPECT_EQ("v | -v", Parsed({"--verbose", "--", "-v"}));
}

TEST_F(Option, PosixlyCorrectIsLookedUpAtEveryCall) {
    const CommandLine line({"a", "--verbose", "b", "--verbose"});
    EXPECT_EQ('v', Next(line));
    {
        const ScopedEnvironment set("POSIXLY_CORRECT", "1");
        EXPECT_EQ(KX_OPTION_END, Next(line));
        EXPECT_EQ(3, KXGetOptionIndex);
        EXPECT_EQ((Words{"a", "--verbose", "b", "--verbose"}), line.From(1));
    }
    EXPECT_EQ("v | a b", Rest(line));
    EXPECT_EQ((Words{"--verbose", "--verbose", "a", "b"}), line.From(1));
}

// --- Errors --------------------------------------------------------------------------------------

TEST_F(Option, UnknownNameIsToldWithAllOfTheWord) {
    EXPECT_EQ("Usage: unrecognized option '--none'\n", Printed({"--none"}));
    EXPECT_EQ("Usage: unrecognized option '-none=x'\n", Printed({"-none=x"}));
    EXPECT_EQ("Usage: unrecognized option '---verbose'\n", Printed({"---verbose"}));
    EXPECT_EQ("Usage: unrecognized option '-x'\n", Printed({"-x"}, {kEnd}));
    EXPECT_EQ(0, KXGetOptionOption);
}

TEST_F(Option, AmbiguousNameIsToldWithoutItsArgument) {
    const Table options = {kVerbose, kVersion, kEnd};
    EXPECT_EQ("Usage: option '--ver' is ambiguous\n", Printed({"--ver=x"}, options));
    EXPECT_EQ("Usage: option '-v' is ambiguous\n", Printed({"-v"}, options));
    EXPECT_EQ("Usage: option '--' is ambiguous\n", Printed({"--=x"}, options));
    EXPECT_EQ(0, KXGetOptionOption);
}

TEST_F(Option, ArgumentTooManyIsTold) {
    EXPECT_EQ("Usage: option '--verbose' doesn't allow an argument\n", Printed({"--verbose=x"}));
    EXPECT_EQ("Usage: option '-v' doesn't allow an argument\n", Printed({"-v="}));
    EXPECT_EQ('v', KXGetOptionOption);
}

TEST_F(Option, MissingArgumentIsTold) {
    EXPECT_EQ("Usage: option '--output' requires an argument\n", Printed({"a", "--output"}));
    EXPECT_EQ("Usage: option '-o' requires an argument\n", Printed({"-o"}));
    EXPECT_EQ('o', KXGetOptionOption);
    EXPECT_EQ(nullptr, KXGetOptionArgument);
}

TEST_F(Option, MissingArgumentLeavesTheIndexBehindTheWords) {
    KXGetOptionError = 0;
    const CommandLine line({"a", "--output"});
    EXPECT_EQ(KX_OPTION_ERROR, Next(line));
    EXPECT_EQ(line.Count(), KXGetOptionIndex);
    EXPECT_EQ("| a", Rest(line));
}

TEST_F(Option, EveryLetterIsAnErrorWithoutATable) {
    const CommandLine line({"a", "-xy", "b", "-z"});
    const auto next = [&] { return KXGetOption(line.Count(), line.Words(), nullptr, nullptr); };
    ::testing::internal::CaptureStderr();
    EXPECT_EQ("?x ?y ?z | a b", AllTold(line, next));
    EXPECT_EQ(
        "Usage: invalid option -- x\nUsage: invalid option -- y\nUsage: invalid option -- z\n",
        ::testing::internal::GetCapturedStderr());
    EXPECT_EQ((Words{"-xy", "-z", "a", "b"}), line.From(1));
}

TEST_F(Option, LettersAreIllegalWherePosixlyCorrectExists) {
    const ScopedEnvironment set("POSIXLY_CORRECT", "1");
    const CommandLine line({"-x:"});
    const auto next = [&] { return KXGetOption(line.Count(), line.Words(), nullptr, nullptr); };
    ::testing::internal::CaptureStderr();
    EXPECT_EQ("?x ?: |", AllTold(line, next));
    EXPECT_EQ("Usage: illegal option -- x\nUsage: illegal option -- :\n",
              ::testing::internal::GetCapturedStderr());
}

TEST_F(QuietOption, DashesAmongLettersAreLettersUpToTheLast) {
    const CommandLine line({"--x-y-", "-z"});
    const auto next = [&] { return KXGetOption(line.Count(), line.Words(), nullptr, nullptr); };
    EXPECT_EQ("?- ?x ?- ?y | --x-y- -z", AllTold(line, next));
    EXPECT_EQ(1, KXGetOptionIndex) << "the word is not done with";
}

TEST_F(QuietOption, LetterIsTheCharThatItIs) {
    const CommandLine line({"-\xE9"});
    EXPECT_EQ(KX_OPTION_ERROR, KXGetOption(line.Count(), line.Words(), nullptr, nullptr));
    EXPECT_EQ('\xE9', KXGetOptionOption);
}

TEST_F(Option, ErrorsAreNotToldWhenNobodyWantsThem) {
    const Words words = {"--none", "a", "--ver", "-o=x", "--verbose=1", "--output"};
    const Table options = {kOutput, kVerbose, kVersion, kEnd};
    ::testing::internal::CaptureStderr();
    const std::string told = Parsed(words, options);
    EXPECT_EQ(4, std::ranges::count(::testing::internal::GetCapturedStderr(), '\n'));
    EXPECT_EQ("? ? o=x ?v ?o | a", told);
    KXGetOptionError = 0;
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(told, Parsed(words, options));
    EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
    KXGetOptionError = -5;
    EXPECT_EQ("Usage: unrecognized option '--none'\n", Printed({"--none"}));
}

TEST_F(Option, OptionOfTheLastErrorStays) {
    KXGetOptionError = 0;
    const CommandLine line({"--verbose=1", "--output=x", "--none"});
    Next(line);
    EXPECT_EQ('v', KXGetOptionOption);
    Next(line);
    EXPECT_EQ('v', KXGetOptionOption);
    Next(line);
    EXPECT_EQ(0, KXGetOptionOption);
}

// --- Messages ------------------------------------------------------------------------------------

TEST_F(Option, MessageIsReadWhenItIsUsed) {
    const CommandLine line({"--one", "--two", "--three=3"});
    ::testing::internal::CaptureStderr();
    Next(line);
    KXGetOptionMsgUnrecognized = "what is %s%s?";
    Next(line);
    KXGetOptionMsgUnrecognized = nullptr;
    Next(line);
    EXPECT_EQ("Usage: unrecognized option '--one'\nwhat is --two?\n\n",
              ::testing::internal::GetCapturedStderr());
}

TEST_F(Option, EveryMessageCanBeReplaced) {
    KXGetOptionMsgUnrecognized = "unknown [%s][%s]";
    KXGetOptionMsgAmbiguous = "many [%s][%.*s]";
    KXGetOptionMsgNoArgumentAllowed = "surplus [%s][%.*s]";
    KXGetOptionMsgStringRequiresArgument = "missing [%s][%s]";
    EXPECT_EQ(
        "unknown [--][none=x]\nmany [-][ver]\nsurplus [--][verb]\nmissing [--][out]\n",
        Printed({"--none=x", "-ver=1", "--verb=2", "--out"}, {kVerbose, kVersion, kOutput, kEnd}));
}

TEST_F(Option, MessagesOfLettersCanBeReplaced) {
    const CommandLine line({"-xy"});
    KXGetOptionMsgInvalid = "no %c";
    KXGetOptionMsgIllegal = "never %c";
    ::testing::internal::CaptureStderr();
    KXGetOption(line.Count(), line.Words(), nullptr, nullptr);
    const ScopedEnvironment set("POSIXLY_CORRECT", "1");
    KXGetOption(line.Count(), line.Words(), nullptr, nullptr);
    EXPECT_EQ("no x\nnever y\n", ::testing::internal::GetCapturedStderr());
}

TEST_F(Option, EveryMessageCanBeAnEmptyLine) {
    KXGetOptionMsgUnrecognized = KXGetOptionMsgAmbiguous = KXGetOptionMsgNoArgumentAllowed =
        KXGetOptionMsgStringRequiresArgument = nullptr;
    EXPECT_EQ("\n\n\n\n", Printed({"--none=x", "-ver=1", "--verb=2", "--out"},
                                  {kVerbose, kVersion, kOutput, kEnd}));
}

// The end that a process makes by _Exit writes nothing that the stream still has.
TEST_F(OptionDeathTest, MessageIsWrittenWhenTheCallReturns) {
    static char buffer[BUFSIZ];
    EXPECT_EXIT(
        {
            std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
            Parsed({"--none"});
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "Usage: unrecognized option '--none'");
}

// --- State ---------------------------------------------------------------------------------------

TEST_F(Option, ResetBeginsAtTheIndex) {
    const CommandLine line({"--verbose", "a", "--output=x", "b"});
    Next(line);
    KXGetOptionIndex = 3;
    KXGetOptionReset = 1;
    EXPECT_EQ('o', Next(line));
    EXPECT_EQ(0, KXGetOptionReset);
    EXPECT_EQ("| b", Rest(line));
}

TEST_F(Option, IndexOfZeroBeginsWithTheFirstWord) {
    const CommandLine line({"--verbose", "a"});
    Rest(line);
    KXGetOptionIndex = 0;
    EXPECT_EQ('v', Next(line));
    EXPECT_EQ(2, KXGetOptionIndex);
    EXPECT_EQ(0, KXGetOptionReset);
}

TEST_F(Option, ResetIsClearedWhereThereAreNoWords) {
    KXGetOptionReset = 5;
    Parsed({});
    EXPECT_EQ(0, KXGetOptionReset);
    EXPECT_EQ(1, KXGetOptionIndex);
}

TEST_F(Option, ResetLeavesOperandsWhereTheyLie) {
    for (const bool byIndex : {false, true}) {
        KXGetOptionIndex = 0;
        const CommandLine line({"a", "b", "--verbose", "c"});
        Next(line);
        EXPECT_EQ((Words{"a", "b", "--verbose", "c"}), line.From(1));
        KXGetOptionIndex = byIndex ? 0 : 1;
        KXGetOptionReset = byIndex ? 0 : 1;
        EXPECT_EQ("v | x", Rest(CommandLine({"--verbose", "x"})));
        EXPECT_EQ((Words{"a", "b", "--verbose", "c"}), line.From(1));
    }
}

TEST_F(QuietOption, ResetLeavesTheWordThatWasBegun) {
    for (const bool byIndex : {false, true}) {
        const CommandLine letters({"-xy"});
        KXGetOptionIndex = 0;
        KXGetOption(letters.Count(), letters.Words(), nullptr, nullptr);
        KXGetOptionIndex = byIndex ? 0 : 1;
        KXGetOptionReset = byIndex ? 0 : 1;
        EXPECT_EQ("v |", Rest(CommandLine({"--verbose"})));
    }
}

TEST_F(Option, WithoutResetTheOldScanGoesOn) {
    KXGetOptionError = 0;
    const CommandLine letters({"-verbose"});
    EXPECT_EQ(KX_OPTION_ERROR, KXGetOption(letters.Count(), letters.Words(), nullptr, nullptr));
    EXPECT_EQ('v', KXGetOptionOption);
    // What is left of the word is a name now.
    EXPECT_EQ("e |", Rest(letters, {{"erbose", KX_OPTION_NO_ARGUMENT, 'e'}, kEnd}));
}

TEST_F(Option, RestOfAWordThatIsTheNextWordIsLetters) {
    KXGetOptionError = 0;
    char word[] = "-verbose";
    char program[] = "program";
    char* words[] = {program, word, word + 2, nullptr};
    EXPECT_EQ(KX_OPTION_ERROR, KXGetOption(3, words, nullptr, nullptr));
    KXGetOptionIndex = 2;
    const Table options = {{"erbose", KX_OPTION_NO_ARGUMENT, 'e'}, kEnd};
    EXPECT_EQ(KX_OPTION_ERROR, KXGetOption(3, words, options.data(), nullptr));
    EXPECT_EQ('e', KXGetOptionOption);
}

TEST_F(Option, NothingIsKeptOfOperandsBehindTheEnd) {
    const CommandLine line({"a", "b", "--verbose"});
    Rest(line);
    EXPECT_EQ(2, KXGetOptionIndex);
    KXGetOptionIndex = 3;
    EXPECT_EQ("| b", Rest(line)) << "from where the program put the index";
}

// A program may take words on its own.
TEST_F(Option, WordsThatTheProgramTakesMoveWithTheOption) {
    const CommandLine line({"a", "--verbose", "taken", "b"});
    EXPECT_EQ('v', Next(line));
    ++KXGetOptionIndex;
    EXPECT_EQ("| a b", Rest(line));
    EXPECT_EQ((Words{"--verbose", "taken", "a", "b"}), line.From(1));
}

TEST_F(Option, NothingIsMovedWhenTheIndexIsPutBack) {
    const CommandLine line({"a", "b", "--verbose", "c"});
    EXPECT_EQ('v', Next(line));
    for (const int index : {3, 2, 1}) {
        KXGetOptionIndex = index;
        Next(line);
        Words words = line.From(1);
        EXPECT_EQ("c", words.back());
        std::ranges::sort(words);
        EXPECT_EQ((Words{"--verbose", "a", "b", "c"}), words);
    }
}

TEST_F(Option, IndexPutBehindTheWordsMovesNoMoreThanThem) {
    const CommandLine line({"a", "--verbose"});
    EXPECT_EQ('v', Next(line));
    KXGetOptionIndex = line.Count() + 1;
    EXPECT_EQ("| a", Rest(line));
    EXPECT_EQ(nullptr, line.Words()[line.Count()]);
}
