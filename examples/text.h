// Wide text, as the library has it, and text in the process's locale, as people see it.
#ifndef EXAMPLES_TEXT_H
#define EXAMPLES_TEXT_H

#include <optional>
#include <string>

// Nothing for text that the locale can't express, which includes a terminator within it.
std::optional<std::u16string> Widened(const std::string& text);
std::optional<std::string> Narrowed(const std::u16string& text);

// Throws std::runtime_error where there is nothing.
std::u16string Widen(const std::string& text);

// For the eye: a question mark stands for each character that the locale can't express.
std::string Shown(const std::u16string& text);

// As names compare: without case.
std::u16string Folded(std::u16string text);

#endif
