#include "cmdline/option.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/environment.h"

using namespace kx;

char* KXGetOptionArgument = nullptr;
int32_t KXGetOptionError = 1;
int32_t KXGetOptionIndex = 1;
int32_t KXGetOptionOption = KX_OPTION_ERROR;
int32_t KXGetOptionReset = 0;

const char* KXGetOptionMsgCharacterRequiresArgument = "Usage: option requires an argument -- %c";
const char* KXGetOptionMsgIllegal = "Usage: illegal option -- %c";
const char* KXGetOptionMsgInvalid = "Usage: invalid option -- %c";
const char* KXGetOptionMsgStringRequiresArgument = "Usage: option '%s%s' requires an argument";
const char* KXGetOptionMsgAmbiguous = "Usage: option '%s%.*s' is ambiguous";
const char* KXGetOptionMsgNoArgumentAllowed = "Usage: option '%s%.*s' doesn't allow an argument";
const char* KXGetOptionMsgUnrecognized = "Usage: unrecognized option '%s%s'";

namespace kx::cmdline {
namespace {

constexpr int kNone = -1;

char g_nothing[] = "";

// What is kept from one call to the next, beside what is exported.
struct Progress {
    // Inside a word; empty when the next word is to be taken.
    char* position = g_nothing;
    // Operands that are passed over and not yet moved, and what is behind them.
    int operands = kNone;
    int operandsEnd = kNone;
};
Progress g_progress;

// Exchanges two blocks that lie side by side; each keeps its order.
//
// Few words go one by one. Of many, the first block is mostly what has gathered so far, and the
// second a few: they step aside, and the first moves as a whole.
void Exchange(char** first, char** second, char** end) {
    constexpr std::ptrdiff_t kFew = 8;
    constexpr std::ptrdiff_t kShort = 16;
    if (end - first <= kFew) {
        for (; second != end; ++first, ++second) {
            for (char** word = second; word != first; --word) std::swap(word[0], word[-1]);
        }
    } else if (end - second <= kShort) {
        char* aside[kShort];
        char** const asideEnd = std::copy(second, end, aside);
        std::copy_backward(first, second, end);
        std::copy(aside, asideEnd, first);
    } else {
        std::rotate(first, second, end);
    }
}

// What a word has in front of its first "=".
std::string_view NameIn(const char* word) {
    std::size_t length = 0;
    while (word[length] != '\0' && word[length] != '=') ++length;
    return {word, length};
}

bool BeginsWith(const char* text, std::string_view start) {
    for (const char unit : start) {
        if (*text++ != unit) return false;
    }
    return true;
}

// One call of the engine.
class Call final {
  public:
    Call(int argc, char** argv, const char* letters, const KXOptionRecord* options, int* index,
         unsigned flags)
        : m_argc(argc),
          m_argv(argv),
          m_letters(letters + (*letters == '+' || *letters == '-')),
          m_options(options),
          m_index(index),
          m_permutes((flags & kPermute) != 0 && *letters != '+'),
          m_inOrder((flags & kInOrder) != 0 || *letters == '-'),
          m_longOnly((flags & kLongOnly) != 0) {}

    int Result() {
        Begin();
        while (KXGetOptionReset != 0 || *g_progress.position == '\0') {
            if (const std::optional<int> result = TakeWord()) return *result;
        }
        if (MayBeName()) {
            if (const std::optional<int> result = TakeName()) return *result;
        }
        return TakeLetter();
    }

  private:
    static void Begin() {
        if (KXGetOptionIndex == 0) KXGetOptionIndex = KXGetOptionReset = 1;
        KXGetOptionArgument = nullptr;
        if (KXGetOptionReset != 0) g_progress.operands = g_progress.operandsEnd = kNone;
    }

    // --- Words ----------------------------------------------------------------------------------

    // Looks at the word at the index. Without a result it was an operand, or the position is now in
    // an option.
    std::optional<int> TakeWord() {
        KXGetOptionReset = 0;
        g_progress.position = g_nothing;
        if (KXGetOptionIndex >= m_argc) return End();
        char* const word = m_argv[KXGetOptionIndex];
        if (word[0] != '-' || word[1] == '\0') return TakeOperand(word);
        if (g_progress.operands != kNone && g_progress.operandsEnd == kNone) {
            g_progress.operandsEnd = KXGetOptionIndex;
        }
        if (word[1] == '-' && word[2] == '\0') {
            ++KXGetOptionIndex;
            return End();
        }
        g_progress.position = word + 1;
        return {};
    }

    std::optional<int> TakeOperand(char* word) {
        if (m_inOrder) {
            KXGetOptionArgument = word;
            ++KXGetOptionIndex;
            return 1;
        }
        if (!m_permutes || IsPosixlyCorrect()) return KX_OPTION_END;
        if (g_progress.operands == kNone) {
            g_progress.operands = KXGetOptionIndex;
        } else if (g_progress.operandsEnd != kNone) {
            MoveOperands();
        }
        ++KXGetOptionIndex;
        return {};
    }

    // Moves the operands behind the options that follow them, up to the index. Programs may write
    // that, so it need not be where it was left.
    void MoveOperands() {
        const int start = g_progress.operands;
        const int end = g_progress.operandsEnd;
        const int options = std::min(KXGetOptionIndex, m_argc) - end;
        g_progress.operandsEnd = kNone;
        if (options <= 0) return;
        Exchange(m_argv + start, m_argv + end, m_argv + end + options);
        g_progress.operands = start + options;
    }

    // The index is left on the first operand.
    int End() {
        if (g_progress.operandsEnd != kNone) MoveOperands();
        if (g_progress.operands != kNone) KXGetOptionIndex = g_progress.operands;
        g_progress.operands = kNone;
        return KX_OPTION_END;
    }

    // --- Names ----------------------------------------------------------------------------------

    bool MayBeName() const {
        return m_options != nullptr && g_progress.position != m_argv[KXGetOptionIndex] &&
               (*g_progress.position == '-' || m_longOnly);
    }

    // No result: the word is to be taken for letters.
    std::optional<int> TakeName() {
        if (*g_progress.position == '-') {
            ++g_progress.position;
            return TakeName("--", false);
        }
        return TakeName("-", FindLetter(*g_progress.position) != nullptr);
    }

    std::optional<int> TakeName(const char* dashes, bool mayBeLetter) {
        char* const word = g_progress.position;
        const std::string_view name = NameIn(word);
        const Found found = Find(name, mayBeLetter);
        if (found.first == kNone && mayBeLetter) return {};
        ++KXGetOptionIndex;
        g_progress.position = g_nothing;

        const int length = static_cast<int>(name.size());
        if (found.isAmbiguous) {
            return Error(0, KXGetOptionMsgAmbiguous, dashes, length, word);
        }
        if (found.first == kNone) return Error(0, KXGetOptionMsgUnrecognized, dashes, word);
        const KXOptionRecord& record = m_options[found.first];
        char* const value = word[name.size()] == '=' ? word + name.size() + 1 : nullptr;
        if (record.argumentKind == KX_OPTION_NO_ARGUMENT && value != nullptr) {
            return Error(record.value, KXGetOptionMsgNoArgumentAllowed, dashes, length, word);
        }
        if (record.argumentKind == KX_OPTION_ARGUMENT && !TakeArgument(value)) {
            Error(record.value, KXGetOptionMsgStringRequiresArgument, dashes, word);
            return MissingArgument();
        }
        if (m_index != nullptr) *m_index = found.first;
        return record.value;
    }

    // Behind the last word there is a null; an argument may begin with a dash.
    bool TakeArgument(char* value) const {
        KXGetOptionArgument = value != nullptr ? value : m_argv[KXGetOptionIndex];
        if (KXGetOptionArgument == nullptr) return false;
        if (value == nullptr) ++KXGetOptionIndex;
        return true;
    }

    struct Found {
        int first = kNone;
        bool isAmbiguous = false;
    };

    // An exact match is the only one, whatever it is the beginning of.
    Found Find(std::string_view name, bool mayBeLetter) const {
        Found found;
        for (int i = 0; m_options[i].name != nullptr; ++i) {
            if (!BeginsWith(m_options[i].name, name)) continue;
            if (m_options[i].name[name.size()] == '\0') return {i, false};
            if (mayBeLetter && name.size() == 1) continue;
            if (found.first == kNone) {
                found.first = i;
            } else if (m_longOnly || !AreAlike(m_options[i], m_options[found.first])) {
                found.isAmbiguous = true;
            }
        }
        return found;
    }

    static bool AreAlike(const KXOptionRecord& one, const KXOptionRecord& other) {
        return one.argumentKind == other.argumentKind && one.value == other.value;
    }

    // --- Letters --------------------------------------------------------------------------------

    // What the letters have of a letter: itself, and behind it its kind; null if they lack it. For
    // callers from outside there are none, which is not worth a call.
    const char* FindLetter(char letter) const {
        const bool mayBe = letter != ':' && *m_letters != '\0';
        return mayBe ? std::strchr(m_letters, letter) : nullptr;
    }

    int TakeLetter() {
        const char letter = *g_progress.position++;
        const bool isLast = *g_progress.position == '\0';
        const char* const found = FindLetter(letter);
        if (found == nullptr || (letter == '-' && !isLast)) return TakeUnknown(letter, isLast);
        if (m_options != nullptr && letter == 'W' && found[1] == ';') return TakeNameBehindW();
        if (found[1] != ':') {
            if (isLast) ++KXGetOptionIndex;
            return letter;
        }
        const bool isRequired = found[2] != ':';
        if (!TakeRest(isRequired) && isRequired) return LacksArgument(letter);
        ++KXGetOptionIndex;
        return letter;
    }

    // A dash that ends a word of letters ends the options.
    int TakeUnknown(char letter, bool isLast) {
        if (letter == '-' && isLast) return KX_OPTION_END;
        if (isLast) ++KXGetOptionIndex;
        return Error(letter, IsPosixlyCorrect() ? KXGetOptionMsgIllegal : KXGetOptionMsgInvalid,
                     letter);
    }

    int TakeNameBehindW() {
        if (!TakeRest(true)) return LacksArgument('W');
        g_progress.position = std::exchange(KXGetOptionArgument, nullptr);
        return *TakeName("-W ", false);
    }

    // Makes the rest of the word the argument, or the next word if that may be. The index is left
    // on the word that it was taken from.
    bool TakeRest(bool orNextWord) const {
        char* const rest = std::exchange(g_progress.position, g_nothing);
        if (*rest != '\0') {
            KXGetOptionArgument = rest;
        } else if (orNextWord && ++KXGetOptionIndex < m_argc) {
            KXGetOptionArgument = m_argv[KXGetOptionIndex];
        }
        return KXGetOptionArgument != nullptr;
    }

    int LacksArgument(char letter) const {
        Error(letter, KXGetOptionMsgCharacterRequiresArgument, letter);
        return MissingArgument();
    }

    // --- Errors ---------------------------------------------------------------------------------

    template <typename... Arguments>
    int Error(int option, const char* message, Arguments... arguments) const {
        if (KXGetOptionError != 0 && *m_letters != ':') {
            std::fprintf(stderr, message != nullptr ? message : "", arguments...);
            std::fputc('\n', stderr);
            std::fflush(stderr);
        }
        KXGetOptionOption = option;
        return KX_OPTION_ERROR;
    }

    int MissingArgument() const { return *m_letters == ':' ? kMissingArgument : KX_OPTION_ERROR; }

    // Looked up at the first need, so that most calls don't search the environment.
    bool IsPosixlyCorrect() {
        if (!m_posixlyCorrect) m_posixlyCorrect = platform::HasVariable("POSIXLY_CORRECT");
        return *m_posixlyCorrect;
    }

    const int m_argc;
    char** const m_argv;
    const char* const m_letters;
    const KXOptionRecord* const m_options;
    int* const m_index;
    const bool m_permutes;
    const bool m_inOrder;
    const bool m_longOnly;
    std::optional<bool> m_posixlyCorrect;
};

}  // namespace

int NextOption(int argc, char** argv, const char* letters, const KXOptionRecord* options,
               int* index, unsigned flags) {
    if (letters == nullptr) return KX_OPTION_END;
    return Call(argc, argv, letters, options, index, flags).Result();
}

}  // namespace kx::cmdline

int KXGetOption(int argc, char** argv, const KXOptionRecord* options, int* index) {
    return cmdline::NextOption(argc, argv, "", options, index,
                               cmdline::kPermute | cmdline::kLongOnly);
}
