// The engine behind KXGetOption, which knows short options as well.
#ifndef KXCORE7_SRC_CMDLINE_OPTION_H
#define KXCORE7_SRC_CMDLINE_OPTION_H

#include <kxcore7/option.h>

namespace kx::cmdline {

// Operands are moved behind the options.
inline constexpr unsigned kPermute = 1;
// An operand comes as an option of value 1 whose argument it is, and nothing is moved.
inline constexpr unsigned kInOrder = 2;
// One dash introduces a name, too.
inline constexpr unsigned kLongOnly = 4;

// What tells a missing argument from other errors, to a caller whose letters begin with ':'.
inline constexpr int kMissingArgument = ':';

// KXGetOption, with short options as getopt has them: a letter, behind it ':' for an argument or
// "::" for one that may be missing, "W;" for "-W name". In front of the letters '+' takes kPermute
// away,
// '-' adds kInOrder; ':' then, or alone, keeps errors from being printed. Null is no options at
// all.
int NextOption(int argc, char** argv, const char* letters, const KXOptionRecord* options,
               int* index, unsigned flags);

}  // namespace kx::cmdline

#endif
