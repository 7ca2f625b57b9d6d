// A command line as a vector of arguments.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_COMMAND_LINE_H
#define KXCORE7_SRC_PLATFORM_POSIX_COMMAND_LINE_H

#include <string>
#include <string_view>
#include <vector>

namespace kx::platform {

// Takes a command line apart as programs on Windows do for themselves, by the rules that Microsoft
// publishes for its C runtime ("Parsing C command-line arguments"): blanks and tabs part arguments;
// quotes keep them together and are dropped; a quote behind an odd number of backslashes stands for
// itself, and before any quote two backslashes are one; two quotes within quotes are one. In the
// first argument, the program, backslashes mean nothing.
std::vector<std::u16string> SplitCommandLine(std::u16string_view line);

}  // namespace kx::platform

#endif
