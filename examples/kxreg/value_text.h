// Values as people write and read them.
#ifndef KXREG_VALUE_TEXT_H
#define KXREG_VALUE_TEXT_H

#include <optional>
#include <string>
#include <vector>

#include "registry.h"

Value TextValue(const std::u16string& text);
// Nothing for a value of another type.
std::optional<std::u16string> TextOf(const Value& value);

// The value of a type by name, from its words. Throws UsageError.
Value ValueFromWords(const std::string& type, const std::vector<std::string>& words);

const char* TypeNameOf(const Value& value);
// A line for each text of a list, otherwise one.
std::vector<std::string> LinesOf(const Value& value);

#endif
