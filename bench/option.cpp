#include <benchmark/benchmark.h>
#include <getopt.h>
#include <glib.h>
#include <kxcore7/option.h>

#include <algorithm>
#include <boost/program_options.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "comparison.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

namespace po = boost::program_options;

constexpr double kAsGlibc = 1.0;

// What all parsers know. Every second one takes an argument.
struct Known {
    const char* name;
    bool takesArgument;
    int value;
};
constexpr Known kKnown[] = {
    {"output", true, 'o'}, {"verbose", false, 'v'},   {"include", true, 'i'},
    {"quiet", false, 'q'}, {"level", true, 'l'},      {"force", false, 'f'},
    {"name", true, 'n'},   {"recursive", false, 'r'}, {"exclude", true, 'x'},
    {"help", false, 'h'},
};

// --- What is parsed ------------------------------------------------------------------------------

enum class Order { kMixed, kOptionsFirst, kOperandsFirst };

// What is to be found in the words.
struct Findings {
    std::size_t options = 0;
    std::size_t arguments = 0;
    std::size_t operands = 0;
    bool operator==(const Findings&) const = default;
};

using Items = std::vector<std::vector<std::string>>;

// Six options and their arguments among ten words.
Items MadeItems(std::size_t words) {
    const Items pattern = {{"--verbose"}, {"a.txt"},     {"--output", "x"}, {"--quiet"}, {"b.txt"},
                           {"c.txt"},     {"--level=3"}, {"--force"},       {"d.txt"}};
    Items items;
    for (std::size_t made = 0; made < words;) {
        items.push_back(pattern[items.size() % pattern.size()]);
        made += items.back().size();
    }
    return items;
}

bool IsOption(const std::vector<std::string>& item) {
    return item[0][0] == '-';
}

// A command line, and a second one for parsers that change theirs.
class Line final {
  public:
    Line(Order order, std::size_t words) {
        Items items = MadeItems(words);
        if (order != Order::kMixed) {
            std::ranges::stable_partition(items, [order](const auto& item) {
                return IsOption(item) == (order == Order::kOptionsFirst);
            });
        }
        m_words.push_back("program");
        for (const auto& item : items) {
            m_findings.options += IsOption(item);
            m_findings.operands += !IsOption(item);
            m_findings.arguments += item.size() == 2 || item[0].find('=') != item[0].npos;
            m_words.insert(m_words.end(), item.begin(), item.end());
        }
        for (std::string& word : m_words) m_given.push_back(word.data());
        m_given.push_back(nullptr);
        m_used = m_given;
    }

    int Count() const { return static_cast<int>(m_words.size()); }
    // As it was given.
    char** Fresh() {
        std::ranges::copy(m_given, m_used.begin());
        return m_used.data();
    }
    const Findings& Expected() const { return m_findings; }

  private:
    std::vector<std::string> m_words;
    std::vector<char*> m_given;
    std::vector<char*> m_used;
    Findings m_findings;
};

// --- The parsers ---------------------------------------------------------------------------------

class Parsers final {
  public:
    Parsers() {
        for (const auto& [name, takesArgument, value] : kKnown) {
            m_own.push_back({name, takesArgument, value});
            m_glibc.push_back({name, takesArgument, nullptr, value});
            m_glib.push_back({.long_name = name,
                              .short_name = 0,
                              .flags = takesArgument ? 0 : G_OPTION_FLAG_NO_ARG,
                              .arg = G_OPTION_ARG_CALLBACK,
                              .arg_data = reinterpret_cast<void*>(TakeGlib),
                              .description = nullptr,
                              .arg_description = nullptr});
            if (takesArgument) {
                m_boost.add_options()(name, po::value<std::string>());
            } else {
                m_boost.add_options()(name, "");
            }
        }
        m_own.push_back({});
        m_glibc.push_back({});
        m_glib.push_back({});
        m_context.reset(g_option_context_new(nullptr));
        GOptionGroup* const group = g_option_group_new("", "", "", &m_found, nullptr);
        g_option_group_add_entries(group, m_glib.data());
        g_option_context_set_main_group(m_context.get(), group);
        g_option_context_set_help_enabled(m_context.get(), FALSE);
        m_operands.add("operand", -1);
        m_boost.add_options()("operand", po::value<std::vector<std::string>>());
    }

    Findings Own(Line& line) const {
        Findings found;
        char** const words = line.Fresh();
        KXGetOptionIndex = 0;
        for (int result;
             (result = KXGetOption(line.Count(), words, m_own.data(), nullptr)) != KX_OPTION_END;) {
            found.options += result != KX_OPTION_ERROR;
            found.arguments += KXGetOptionArgument != nullptr;
        }
        found.operands = static_cast<std::size_t>(line.Count() - KXGetOptionIndex);
        return found;
    }

    Findings Glibc(Line& line) const {
        Findings found;
        char** const words = line.Fresh();
        optind = 0;
        for (int result;
             (result = getopt_long_only(line.Count(), words, "", m_glibc.data(), nullptr)) != -1;) {
            found.options += result != '?';
            found.arguments += optarg != nullptr;
        }
        found.operands = static_cast<std::size_t>(line.Count() - optind);
        return found;
    }

    Findings Glib(Line& line) {
        int count = line.Count();
        char** words = line.Fresh();
        m_found = {};
        if (g_option_context_parse(m_context.get(), &count, &words, nullptr)) {
            m_found.operands = static_cast<std::size_t>(count) - 1;
        }
        return m_found;
    }

    Findings Boost(Line& line) const {
        Findings found;
        const auto parsed = po::command_line_parser(line.Count(), line.Fresh())
                                .options(m_boost)
                                .positional(m_operands)
                                .run();
        for (const auto& option : parsed.options) {
            const bool isOperand = option.position_key != -1;
            found.options += !isOperand;
            found.operands += isOperand;
            found.arguments += !isOperand && !option.value.empty();
        }
        return found;
    }

  private:
    static gboolean TakeGlib(const char*, const char* argument, void* data, GError**) {
        Findings& found = *static_cast<Findings*>(data);
        ++found.options;
        found.arguments += argument != nullptr;
        return TRUE;
    }
    struct FreeContext {
        void operator()(GOptionContext* context) const { g_option_context_free(context); }
    };

    std::vector<KXOptionRecord> m_own;
    std::vector<option> m_glibc;
    std::vector<GOptionEntry> m_glib;
    std::unique_ptr<GOptionContext, FreeContext> m_context;
    Findings m_found;
    po::options_description m_boost;
    po::positional_options_description m_operands;
};

// --- Rows ----------------------------------------------------------------------------------------

struct Sample {
    Sample(Order order, std::size_t words) : line(order, words) {}
    Line line;
    Parsers parsers;
};

void Compare(Report& report, const char* what, Order order, std::size_t words) {
    const auto sample = std::make_shared<Sample>(order, words);
    Line& line = sample->line;
    Parsers& parsers = sample->parsers;
    const auto isRight = Is(line.Expected());
    Comparison row("KXGetOption, " + std::to_string(words) + " words, " + what, sample);
    row.Own([&] { return parsers.Own(line); }, isRight);
    row.Peer(
        "getopt_long_only", [&] { return parsers.Glibc(line); }, isRight);
    row.Peer(
        "GOption", [&] { return parsers.Glib(line); }, isRight);
    row.Peer(
        "Boost program options", [&] { return parsers.Boost(line); }, isRight);
    row.AddTo(report, kAsGlibc);
}

}  // namespace

void RegisterOptions(Report& report) {
    for (const std::size_t words : {10, 100, 1000, 10000}) {
        Compare(report, "options among operands", Order::kMixed, words);
    }
    for (const std::size_t words : {10, 10000}) {
        Compare(report, "options first", Order::kOptionsFirst, words);
        Compare(report, "operands first", Order::kOperandsFirst, words);
    }
}

}  // namespace bench
