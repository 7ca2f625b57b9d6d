// What the runtime's text mode makes of line ends.
#ifndef KXCORE7_TESTS_SUPPORT_TEXT_MODE_H
#define KXCORE7_TESTS_SUPPORT_TEXT_MODE_H

#include <string>

namespace kx::test {

// Whether a line ends with a carriage return and a newline on the disk. Where it does, reading
// takes the carriage return away; elsewhere it is a character like any other.
extern const bool kTextModeHasCarriageReturns;

// The bytes of a text that was written in text mode.
inline std::string OnDisk(const std::string& text) {
    if (!kTextModeHasCarriageReturns) return text;
    std::string bytes;
    for (const char unit : text) {
        if (unit == '\n') bytes += '\r';
        bytes += unit;
    }
    return bytes;
}

// Takes text mode from the standard streams of this program.
void LeaveBytesAlone();

}  // namespace kx::test

#endif
