// The options of a command line beside the C library's getopt_long_only: what both have is the
// same.
#include <getopt.h>
#include <kxcore7/option.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/environment.h"
#include "support/options.h"

using kx::test::AllTold;
using kx::test::CommandLine;
using kx::test::FreshParser;
using kx::test::ScopedEnvironment;

namespace {

using Words = std::vector<std::string>;
using Pointers = std::vector<char*>;

// What a parser made of a command line. Words are told by their addresses, which both are given.
struct Outcome {
    struct Step {
        int result;
        int index;
        int option;
        const char* argument;
        bool operator==(const Step&) const = default;
    };
    // Without an error the option is that of an earlier one.
    void Add(int result, int index, int option, const char* argument) {
        steps.push_back({result, index, result == KX_OPTION_ERROR ? option : 0, argument});
    }
    std::vector<Step> steps;
    int firstOperand;
    Pointers order;
    bool operator==(const Outcome&) const = default;
};

// For what is printed where two are not the same.
std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    for (const auto& [result, index, option, argument] : outcome.steps) {
        out << '(' << result << ", record " << index << ", error of " << option << ", argument "
            << (argument != nullptr ? argument : "none") << ") ";
    }
    out << "first operand " << outcome.firstOperand << ", order";
    for (const char* const word : outcome.order)
        out << " '" << (word != nullptr ? word : "") << '\'';
    return out;
}

constexpr int kNoIndex = -7;

// A table for both. Without records it stands for none.
class BothTables final {
  public:
    explicit BothTables(const std::vector<KXOptionRecord>& records) : m_own(records) {
        for (const auto& record : records) {
            m_other.push_back({record.name, record.argumentKind, nullptr, record.value});
        }
        m_own.push_back({nullptr, 0, 0});
        m_other.push_back({nullptr, 0, nullptr, 0});
    }
    const KXOptionRecord* Own() const { return m_own.size() > 1 ? m_own.data() : nullptr; }
    const option* Other() const { return m_other.size() > 1 ? m_other.data() : nullptr; }

  private:
    std::vector<KXOptionRecord> m_own;
    std::vector<option> m_other;
};

Outcome OwnOutcome(const CommandLine& line, const BothTables& tables) {
    Outcome outcome{
        .steps = {}, .firstOperand = 0, .order = {line.Words(), line.Words() + line.Count() + 1}};
    KXGetOptionError = 0;
    KXGetOptionIndex = 0;
    for (int result = 0; result != KX_OPTION_END;) {
        int index = kNoIndex;
        result = KXGetOption(line.Count(), outcome.order.data(), tables.Own(), &index);
        outcome.Add(result, index, KXGetOptionOption, KXGetOptionArgument);
    }
    outcome.firstOperand = KXGetOptionIndex;
    return outcome;
}

Outcome OtherOutcome(const CommandLine& line, const BothTables& tables) {
    Outcome outcome{
        .steps = {}, .firstOperand = 0, .order = {line.Words(), line.Words() + line.Count() + 1}};
    opterr = 0;
    optind = 0;
    for (int result = 0; result != -1;) {
        int index = kNoIndex;
        result = getopt_long_only(line.Count(), outcome.order.data(), "", tables.Other(), &index);
        outcome.Add(result, index, optopt, optarg);
    }
    outcome.firstOperand = optind;
    return outcome;
}

// --- Chance --------------------------------------------------------------------------------------

// Names of few letters, so that they are the beginnings of one another, and words made of them.
class Chance final {
  public:
    explicit Chance(unsigned seed) : m_random(seed) {}

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    std::string Name() { return Text("abc", 5) + (Below(8) == 0 ? Text("-:=W;+", 2) : ""); }

    std::vector<KXOptionRecord> Records(const Words& names) {
        std::vector<KXOptionRecord> records;
        for (const std::string& name : names) {
            // Values are alike at times.
            records.push_back({name.c_str(), static_cast<std::int32_t>(Below(2)),
                               static_cast<std::int32_t>(100 + Below(4))});
        }
        return records;
    }

    Words Line(const Words& names) {
        Words words(Below(Below(6) == 0 ? 70 : 10));
        for (std::string& word : words) word = Word(names);
        return words;
    }

  private:
    std::string Text(const char* letters, std::size_t most) {
        std::string text(Below(most + 1), '\0');
        for (char& letter : text) letter = letters[Below(std::string(letters).size())];
        return text;
    }

    std::string Word(const Words& names) {
        switch (Below(12)) {
            case 0:
            case 1:
            case 2:
            case 3:
                return Text("abx", 3);
            case 4:
                return Below(3) == 0 ? "--" : "-";
            case 5:
                return Text("-=ab", 6);
            case 6:
                return Dashes() + Name() + Value();
            default:
                break;
        }
        if (names.empty()) return Dashes() + Name() + Value();
        const std::string& name = names[Below(names.size())];
        return Dashes() + name.substr(0, Below(3) == 0 ? Below(name.size() + 1) : name.size()) +
               Value();
    }

    std::string Dashes() { return Below(2) == 0 ? "-" : "--"; }
    std::string Value() { return Below(3) == 0 ? "=" + Text("x=-", 2) : ""; }

    std::mt19937 m_random;
};

std::string Shown(const Words& words) {
    std::string text;
    for (const std::string& word : words) text += " '" + word + '\'';
    return text;
}

// Without a table, a dash that ends a word is something else to each.
bool IsToldAlike(const Words& words) {
    return std::ranges::none_of(words, [](const std::string& word) {
        return word.size() > 2 && word.front() == '-' && word.back() == '-';
    });
}

void CompareAtRandom(unsigned seed, int cases) {
    const FreshParser parser;
    Chance chance(seed);
    int found = 0;
    int failed = 0;
    for (int i = 0; i < cases; ++i) {
        Words names(chance.Below(7));
        for (std::string& name : names) name = chance.Name();
        const BothTables tables(chance.Records(names));
        const Words words = chance.Line(names);
        if (names.empty() && !IsToldAlike(words)) continue;
        const CommandLine line(words);
        const Outcome own = OwnOutcome(line, tables);
        ASSERT_EQ(OtherOutcome(line, tables), own)
            << "case " << i << ", names" << Shown(names) << ", words" << Shown(words);
        for (const auto& step : own.steps) {
            if (step.result != KX_OPTION_END) ++(step.result == KX_OPTION_ERROR ? failed : found);
        }
    }
    EXPECT_GT(found, cases / 3) << "the words are too seldom options";
    EXPECT_GT(failed, cases / 3);
}

// What the C library tells of words, as text.
std::string OtherTold(const Words& words, const std::vector<KXOptionRecord>& records) {
    const BothTables tables(records);
    const CommandLine line(words);
    const Outcome outcome = OtherOutcome(line, tables);
    std::string text;
    for (const auto& [result, index, option, argument] : outcome.steps) {
        if (result == -1) break;
        text += static_cast<char>(result);
        if (argument != nullptr) text += std::string("=") + argument;
        text += ' ';
    }
    text += '|';
    for (int i = outcome.firstOperand; i < line.Count(); ++i) {
        text += ' ' + std::string(outcome.order[static_cast<std::size_t>(i)]);
    }
    return text;
}

std::string OwnTold(const Words& words, const std::vector<KXOptionRecord>& records) {
    const FreshParser parser;
    const BothTables tables(records);
    KXGetOptionError = 0;
    const CommandLine line(words);
    return AllTold(line, [&] {
        const int result = KXGetOption(line.Count(), line.Words(), tables.Own(), nullptr);
        KXGetOptionOption = 0;
        return result;
    });
}

}  // namespace

TEST(OptionBesideGetopt, ResultsArgumentsAndOrderAreTheSame) {
    const ScopedEnvironment none("POSIXLY_CORRECT", std::nullopt);
    CompareAtRandom(20'231, 150'000);
}

TEST(OptionBesideGetopt, ResultsAndArgumentsAreTheSameWherePosixlyCorrectExists) {
    const ScopedEnvironment set("POSIXLY_CORRECT", "");
    CompareAtRandom(20'232, 50'000);
}

// --- What is told otherwise here -----------------------------------------------------------------

TEST(OptionBesideGetopt, OptionalArgumentIsAcceptedAndDropped) {
    const std::vector<KXOptionRecord> records = {{"color", optional_argument, 'c'}};
    EXPECT_EQ("c=red |", OtherTold({"--color=red"}, records));
    EXPECT_EQ("c |", OwnTold({"--color=red"}, records));
}

TEST(OptionBesideGetopt, DashThatEndsAWordOfLettersEndsTheOptions) {
    EXPECT_EQ("? ? ? |", OtherTold({"-a-", "-b"}, {}));
    EXPECT_EQ("? | -a- -b", OwnTold({"-a-", "-b"}, {}));
}

TEST(OptionBesideGetopt, PosixlyCorrectIsLookedUpAtEveryCall) {
    const FreshParser parser;
    const ScopedEnvironment none("POSIXLY_CORRECT", std::nullopt);
    const BothTables tables({{"verbose", KX_OPTION_NO_ARGUMENT, 'v'}});
    const CommandLine own({"--verbose", "a", "--verbose"});
    const CommandLine other({"--verbose", "a", "--verbose"});
    optind = 0;
    EXPECT_EQ('v', KXGetOption(own.Count(), own.Words(), tables.Own(), nullptr));
    EXPECT_EQ('v', getopt_long_only(other.Count(), other.Words(), "", tables.Other(), nullptr));
    const ScopedEnvironment set("POSIXLY_CORRECT", "");
    EXPECT_EQ(KX_OPTION_END, KXGetOption(own.Count(), own.Words(), tables.Own(), nullptr));
    EXPECT_EQ('v', getopt_long_only(other.Count(), other.Words(), "", tables.Other(), nullptr));
}

TEST(OptionBesideGetopt, OperandsWaitForTheNextOperandToBeMoved) {
    const FreshParser parser;
    const ScopedEnvironment none("POSIXLY_CORRECT", std::nullopt);
    const BothTables tables({{"v", KX_OPTION_NO_ARGUMENT, 'v'}, {"w", KX_OPTION_NO_ARGUMENT, 'w'}});
    const CommandLine own({"a", "-v", "-w"});
    const CommandLine other({"a", "-v", "-w"});
    optind = 0;
    for (int i = 0; i < 2; ++i) {
        KXGetOption(own.Count(), own.Words(), tables.Own(), nullptr);
        getopt_long_only(other.Count(), other.Words(), "", tables.Other(), nullptr);
    }
    EXPECT_EQ((Words{"a", "-v", "-w"}), own.From(1));
    EXPECT_EQ((Words{"-v", "a", "-w"}), other.From(1));
}

TEST(OptionBesideGetopt, MessagesNameNoProgram) {
    const FreshParser parser;
    const BothTables tables({{"verbose", KX_OPTION_NO_ARGUMENT, 'v'}});
    const CommandLine line({"--none"});
    const auto printed = [](auto parse) {
        ::testing::internal::CaptureStderr();
        parse();
        return ::testing::internal::GetCapturedStderr();
    };
    opterr = 1;
    optind = 0;
    EXPECT_EQ("program: unrecognized option '--none'\n", printed([&] {
                  getopt_long_only(line.Count(), line.Words(), "", tables.Other(), nullptr);
              }));
    EXPECT_EQ("Usage: unrecognized option '--none'\n",
              printed([&] { KXGetOption(line.Count(), line.Words(), tables.Own(), nullptr); }));
}
