// A command line for the registry: reads, writes and removes values, shows keys, and carries text
// values from one store to another.
#include <kxcore7/option.h>

#include <chrono>
#include <clocale>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ini_text.h"
#include "registry.h"
#include "status_line.h"
#include "terminal.h"
#include "text.h"
#include "usage_error.h"
#include "value_text.h"

namespace {

constexpr const char* kUsage =
    "usage: kxreg get KEY NAME             the value of that name, and nothing else\n"
    "       kxreg set KEY NAME DATA...     writes it, as a text or as --type says\n"
    "       kxreg delete KEY NAME          removes it\n"
    "       kxreg delete KEY --all         removes the key with all that is under it\n"
    "       kxreg list KEY                 its subkeys and values\n"
    "       kxreg tree KEY                 all keys under it; with --values their values, too\n"
    "       kxreg export KEY FILE          writes all texts under it into an INI file\n"
    "       kxreg import FILE              writes an INI file's texts into the registry\n"
    "       kxreg migrate native ini       carries everything into ./kxregistry.ini\n"
    "       kxreg migrate ini native       carries it back, and deletes the file\n"
    "\n"
    "A KEY is a root and a path behind it: 'KX_HKEY_USER\\Software\\Sample', or in short\n"
    "'USER\\Software\\Sample'. The other roots are KX_HKEY_CLASSES, KX_HKEY_CONFIG and these with\n"
    "_64 behind. The empty NAME is the key's default value.\n"
    "\n"
    "Options stand anywhere, and may be cut short:\n"
    "  --type TYPE  what set writes: sz (text), expand (text with %VARIABLES%), dword (number of\n"
    "               32 bits), binary (hexadecimal digits), multi (texts, a word each)\n"
    "  --values     tree shows values\n"
    "  --all        delete takes the key\n"
    "  --quiet      no counts, and nothing that moves while work goes on\n"
    "  --help       this text\n"
    "  --           what follows is no option, though it begins with a dash\n"
    "\n"
    "An export passes over values that are no text, and those that would not come back as they\n"
    "are, such as a text of two lines. It has variables expanded, and no keys without values. It\n"
    "is in the encoding of the locale. An import passes over sections of other users. A migration\n"
    "is the library's own: what it can't carry it loses, and tells nothing.\n"
    "\n"
    "Exit status: 0 done; 1 failed, or not all could be read; 2 this text was not followed;\n"
    "3 no such key or value.\n";

enum ExitCode { kDone = 0, kFailed = 1, kMisused = 2, kMissing = 3 };

struct Options {
    std::string type = "sz";
    bool values = false;
    bool all = false;
    bool quiet = false;
    bool help = false;
    std::vector<std::string> words;  // which are no options
};

// Throws UsageError; the parser has told what is wrong by then.
Options OptionsOf(int argc, char** argv) {
    static constexpr KXOptionRecord kOptions[] = {
        {"type", KX_OPTION_ARGUMENT, 't'},    {"values", KX_OPTION_NO_ARGUMENT, 'v'},
        {"all", KX_OPTION_NO_ARGUMENT, 'a'},  {"quiet", KX_OPTION_NO_ARGUMENT, 'q'},
        {"help", KX_OPTION_NO_ARGUMENT, 'h'}, {nullptr, 0, 0},
    };
    KXGetOptionMsgUnrecognized = "kxreg: no such option: %s%s";
    KXGetOptionMsgAmbiguous = "kxreg: cut too short: %s%.*s";
    KXGetOptionMsgNoArgumentAllowed = "kxreg: nothing belongs behind %s%.*s";
    KXGetOptionMsgStringRequiresArgument = "kxreg: something is missing behind %s%s";
    Options options;
    for (int option; (option = KXGetOption(argc, argv, kOptions, nullptr)) != KX_OPTION_END;) {
        switch (option) {
            case 't':
                options.type = KXGetOptionArgument;
                break;
            case 'v':
                options.values = true;
                break;
            case 'a':
                options.all = true;
                break;
            case 'q':
                options.quiet = true;
                break;
            case 'h':
                options.help = true;
                break;
            default:
                throw UsageError("");
        }
    }
    options.words.assign(argv + KXGetOptionIndex, argv + argc);
    return options;
}

// What a command is given.
class Call final {
  public:
    explicit Call(const Options& options) : m_options(options) {}

    // The words behind the command's name; -1 of them is any number. Throws UsageError.
    void Expect(int least, int most) const {
        const int count = static_cast<int>(m_options.words.size()) - 1;
        if (count < least || (most >= 0 && count > most)) {
            throw UsageError("too many words or too few for " + m_options.words[0]);
        }
    }
    const std::string& Word(size_t index) const { return m_options.words.at(index + 1); }
    Key TheKey() const { return KeyFromText(Word(0)); }
    std::u16string Name() const { return Widen(Word(1)); }
    std::vector<std::string> WordsFrom(size_t index) const {
        const auto& words = m_options.words;
        return {words.begin() + static_cast<std::ptrdiff_t>(index) + 1, words.end()};
    }
    const std::string& Type() const { return m_options.type; }
    bool WithValues() const { return m_options.values; }
    bool WithAll() const { return m_options.all; }
    bool IsQuiet() const { return m_options.quiet; }

  private:
    const Options& m_options;
};

// --- One key, one value --------------------------------------------------------------------------

ExitCode Get(const Call& call) {
    call.Expect(2, 2);
    for (const std::string& line : LinesOf(ReadValue(call.TheKey(), call.Name()))) {
        std::printf("%s\n", line.c_str());
    }
    return kDone;
}

ExitCode Set(const Call& call) {
    call.Expect(2, -1);
    WriteValue(call.TheKey(), call.Name(), ValueFromWords(call.Type(), call.WordsFrom(2)));
    return kDone;
}

ExitCode Delete(const Call& call) {
    const bool all = call.WithAll();
    call.Expect(all ? 1 : 2, all ? 1 : 2);
    if (all) {
        DeleteKey(call.TheKey());
    } else {
        DeleteValue(call.TheKey(), call.Name());
    }
    return kDone;
}

// Between a read of the names and one of the values a value may have gone.
void PrintValue(const std::string& indent, const Key& key, const std::u16string& name) {
    const Value value = ReadValue(key, name);
    std::string shown;
    for (const std::string& line : LinesOf(value)) shown += (shown.empty() ? "" : " | ") + line;
    const std::string label = name.empty() ? "(default)" : Shown(name);
    std::printf("%s%-24s %-7s %s\n", indent.c_str(), label.c_str(), TypeNameOf(value),
                shown.c_str());
}

ExitCode List(const Call& call) {
    call.Expect(1, 1);
    const Key key = call.TheKey();
    const auto values = ValueNames(key);
    for (const auto& name : SubkeyNames(key)) std::printf("%s\\\n", Shown(name).c_str());
    for (const auto& name : values) PrintValue("", key, name);
    return kDone;
}

// --- All under a key -----------------------------------------------------------------------------

struct Counts {
    size_t keys = 0;
    size_t values = 0;
    size_t noTexts = 0;
    size_t noLines = 0;
    size_t longLines = 0;
    size_t unread = 0;
};

std::string InWords(size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count != 1 ? "s" : "");
}

void Note(size_t count, const char* what, const char* fate) {
    if (count != 0) std::fprintf(stderr, "kxreg: %s %s\n", InWords(count, what).c_str(), fate);
}

// Visits a key and all under it. What can't be read there, or goes meanwhile, is counted.
class TreeWalk {
  public:
    explicit TreeWalk(bool watched) : m_line(watched) {}
    virtual ~TreeWalk() = default;
    TreeWalk(const TreeWalk&) = delete;
    TreeWalk& operator=(const TreeWalk&) = delete;

    // Throws if the key itself can't be read.
    void Go(const Key& key, int depth = 0) {
        const auto values = ValueNames(key);
        const auto subkeys = SubkeyNames(key);
        Visit(key, values, depth);
        ++m_counts.keys;
        m_line.Show([this](double) {
            return InWords(m_counts.keys, "key") + ", " + InWords(m_counts.values, "value");
        });
        for (const auto& name : subkeys) {
            const Key child = key.Child(name);
            Try([&] { Go(child, depth + 1); });
        }
    }
    const Counts& Result() const { return m_counts; }

  protected:
    virtual void Visit(const Key& key, const std::vector<std::u16string>& values, int depth) = 0;

    template <typename Part>
    void Try(Part part) {
        try {
            part();
        } catch (const RegistryError&) {
            ++m_counts.unread;
        }
    }
    Counts m_counts;

  private:
    StatusLine m_line;
};

class TreePrinter final : public TreeWalk {
  public:
    TreePrinter(bool watched, bool withValues) : TreeWalk(watched), m_withValues(withValues) {}

  private:
    void Visit(const Key& key, const std::vector<std::u16string>& values, int depth) override {
        const std::string indent(2 * static_cast<size_t>(depth), ' ');
        const std::u16string name = depth == 0 ? TextOf(key) : key.Name();
        std::printf("%s%s\\\n", indent.c_str(), Shown(name).c_str());
        m_counts.values += values.size();
        if (!m_withValues) return;
        for (const auto& value : values) Try([&] { PrintValue(indent + "  ", key, value); });
    }

    const bool m_withValues;
};

ExitCode Summarised(const Counts& counts) {
    Note(counts.unread, "item", "could not be read");
    return counts.unread != 0 ? kFailed : kDone;
}

// On one terminal the tree itself shows how far the work is.
ExitCode Tree(const Call& call) {
    call.Expect(1, 1);
    const bool watched = !call.IsQuiet() && IsTerminal(stdout) == 0;
    TreePrinter printer(watched, call.WithValues());
    printer.Go(call.TheKey());
    return Summarised(printer.Result());
}

// --- INI files -----------------------------------------------------------------------------------

class Exporter final : public TreeWalk {
  public:
    Exporter(bool watched, std::ostream& file) : TreeWalk(watched), m_file(file) {}

  private:
    void Visit(const Key& key, const std::vector<std::u16string>& values, int) override {
        std::string lines;
        size_t count = 0;
        const auto header = HeaderLine(SectionOf(key));
        for (const auto& name : values) {
            Try([&] {
                const auto text = TextOf(ReadValue(key, name));
                if (!text) return void(++m_counts.noTexts);
                const auto line = header ? ValueLine(name, *text) : std::nullopt;
                if (!line) return void(++m_counts.noLines);
                if (line->size() > kLongestLine) ++m_counts.longLines;
                lines += *line;
                ++count;
            });
        }
        if (count == 0) return;
        m_file << *header << lines << '\n';
        m_counts.values += count;
        if (header->size() > kLongestLine) ++m_counts.longLines;
    }

    std::ostream& m_file;
};

Counts WriteIni(const Key& key, const std::string& path, bool watched) {
    std::ofstream file(path);
    Exporter exporter(watched, file);
    exporter.Go(key);
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path);
    return exporter.Result();
}

// The new file takes its place when it is whole.
Counts ReplaceIni(const Key& key, const std::string& path, bool watched) {
    const std::string part = path + ".part";
    try {
        const Counts counts = WriteIni(key, part, watched);
        std::filesystem::rename(part, path);
        return counts;
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(part, ignored);
        throw;
    }
}

ExitCode Export(const Call& call) {
    call.Expect(2, 2);
    const Counts counts = ReplaceIni(call.TheKey(), call.Word(1), !call.IsQuiet());
    Note(counts.noTexts, "value", "passed over: no text");
    Note(counts.noLines, "value", "passed over: an INI file has no form for it");
    Note(counts.longLines, "line", "longer than the library reads from a file of its own");
    if (!call.IsQuiet()) {
        std::printf("%s exported\n", InWords(counts.values, "value").c_str());
    }
    return Summarised(counts);
}

struct Imported {
    size_t values = 0;
    size_t foreign = 0;  // sections
};

Imported WriteSections(const std::map<std::u16string, IniSection>& sections, bool watched) {
    Imported done;
    size_t total = 0;
    for (const auto& [folded, section] : sections) total += section.values.size();
    StatusLine line(watched);
    for (const auto& [folded, section] : sections) {
        const auto key = KeyOfSection(section.name);
        if (!key) {
            ++done.foreign;
            total -= section.values.size();
            continue;
        }
        for (const auto& [name, text] : section.values) {
            WriteValue(*key, name, TextValue(text));
            ++done.values;
            line.Show([&](double) {
                return std::to_string(done.values) + " of " + InWords(total, "value");
            });
        }
    }
    return done;
}

// All of the file is read before anything is written.
ExitCode Import(const Call& call) {
    call.Expect(1, 1);
    std::ifstream file(call.Word(0));
    if (!file) throw std::runtime_error("cannot read " + call.Word(0));
    const auto sections = ReadIni(file, call.Word(0));
    // A directory opens as well, and shows by this only that it is none.
    if (file.bad()) throw std::runtime_error("cannot read " + call.Word(0));
    const Imported done = WriteSections(sections, !call.IsQuiet());
    Note(done.foreign, "section", "passed over: of another user, or under no root");
    if (!call.IsQuiet()) std::printf("%s imported\n", InWords(done.values, "value").c_str());
    return kDone;
}

// --- Migration -----------------------------------------------------------------------------------

// Counts the seconds for who watches, while one call of the library takes them.
class Ticker final {
  public:
    explicit Ticker(bool watched) : m_thread([this, watched] { Tick(watched); }) {}
    ~Ticker() {
        {
            const std::lock_guard guard(m_lock);
            m_done = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

  private:
    void Tick(bool watched) {
        StatusLine line(watched);
        std::unique_lock guard(m_lock);
        while (!m_changed.wait_for(guard, std::chrono::milliseconds(100), [&] { return m_done; })) {
            line.Show([](double seconds) {
                char text[40];
                std::snprintf(text, sizeof text, "migrating for %.1f s", seconds);
                return std::string(text);
            });
        }
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_done = false;
    std::thread m_thread;  // the last: it uses the others
};

std::uint32_t StoreOf(const std::string& word) {
    if (word == "native") return KX_REGISTRY_NATIVE;
    if (word == "ini") return KX_REGISTRY_INI;
    throw UsageError("no such store: " + word);
}

// The library would read a file, write it and delete it.
ExitCode MigrateStores(const Call& call) {
    call.Expect(2, 2);
    const std::uint32_t source = StoreOf(call.Word(0));
    const std::uint32_t destination = StoreOf(call.Word(1));
    if (source == destination) throw UsageError("nothing to carry from a store to itself");
    const Ticker ticker(!call.IsQuiet());
    Migrate(source, destination);
    return kDone;
}

// --- Commands ------------------------------------------------------------------------------------

struct Command {
    const char* name;
    ExitCode (*run)(const Call&);
};
constexpr Command kCommands[] = {
    {"get", Get},   {"set", Set},       {"delete", Delete}, {"list", List},
    {"tree", Tree}, {"export", Export}, {"import", Import}, {"migrate", MigrateStores},
};

ExitCode Run(const Options& options) {
    if (options.help) {
        std::fputs(kUsage, stdout);
        return kDone;
    }
    if (options.words.empty()) throw UsageError("no command");
    for (const auto& [name, run] : kCommands) {
        if (options.words[0] == name) return run(Call(options));
    }
    throw UsageError("no such command: " + options.words[0]);
}

ExitCode Tell(const std::exception& error, ExitCode code) {
    std::fflush(stdout);
    if (*error.what() != '\0') std::fprintf(stderr, "kxreg: %s\n", error.what());
    if (code == kMisused) std::fputs("kxreg --help tells how it is used\n", stderr);
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    // Names and texts are in the person's locale; numbers stay in the plain one.
    std::setlocale(LC_CTYPE, "");
    try {
        return Run(OptionsOf(argc, argv));
    } catch (const UsageError& error) {
        return Tell(error, kMisused);
    } catch (const RegistryError& error) {
        return Tell(error, error.Result() == KX_ERROR_FILE_NOT_FOUND ? kMissing : kFailed);
    } catch (const std::exception& error) {
        return Tell(error, kFailed);
    }
}
