// Sections of values in a text file, as the library's own INI file has them: a line that begins
// with white space ends a section, there are no comments inside, and nothing is escaped.
#ifndef KXREG_INI_TEXT_H
#define KXREG_INI_TEXT_H

#include <cstddef>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "registry.h"

// The longest line that the library reads in one piece, in bytes with its end.
constexpr size_t kLongestLine = 510;

// --- Sections and keys ---------------------------------------------------------------------------

std::u16string SectionOf(const Key& key);
// Nothing for a section that belongs to no root, or to another user.
std::optional<Key> KeyOfSection(const std::u16string& section);

// --- Writing -------------------------------------------------------------------------------------

// A line with its end; nothing where it would not be read again as it is: an end of line or a
// character that the locale lacks, a "=" in a name, blanks at the ends, ...
std::optional<std::string> HeaderLine(const std::u16string& section);
std::optional<std::string> ValueLine(const std::u16string& name, const std::u16string& text);

// --- Reading -------------------------------------------------------------------------------------

using IniValue = std::pair<std::u16string, std::u16string>;

struct IniSection {
    std::u16string name;
    std::vector<IniValue> values;
};

// By their names without case. Of sections that come twice the last one counts. Throws
// std::runtime_error with the file's name and the number of a line that can't be read; the library
// would pass over all that is behind it.
std::map<std::u16string, IniSection> ReadIni(std::istream& file, const std::string& name);

#endif
