// Locales that are there on every machine that runs the tests, by what tests need of them.
#ifndef KXCORE7_TESTS_SUPPORT_LOCALES_H
#define KXCORE7_TESTS_SUPPORT_LOCALES_H

#include <gtest/gtest.h>

#include <clocale>
#include <span>
#include <string>

namespace kx::test {

// A byte is a character here. In the Western one 0xC4 and 0xE4 are the two cases of A with dots,
// 0xD7 is the sign of multiplication, and the decimal point is a comma. In the Turkish one 0xDE and
// 0xFE are the two cases of S with a cedilla; what I and i are to each other is the system's
// choice.
extern const char* const kWesternLocale;
extern const char* const kTurkishLocale;

// All that the tests may use, and "C".
extern const std::span<const char* const> kEveryLocale;

// A locale in which some characters take two bytes.
struct MultiByteLocale {
    const char* name;
    // One character, of two bytes and one unit. The byte 0xFF is none in this locale.
    const char* narrow;
    const char16_t* wide;
};

extern const MultiByteLocale kMultiByteLocale;

// Makes the tests' own locales known to the process, and to those that it starts from here on.
void ProvideLocales();

// The process's locale for the time of a scope.
class InLocale final {
  public:
    explicit InLocale(const char* name) : m_before(std::setlocale(LC_ALL, nullptr)) {
        ProvideLocales();
        EXPECT_NE(nullptr, std::setlocale(LC_ALL, name)) << name;
    }
    ~InLocale() { std::setlocale(LC_ALL, m_before.c_str()); }
    InLocale(const InLocale&) = delete;
    InLocale& operator=(const InLocale&) = delete;

  private:
    const std::string m_before;
};

}  // namespace kx::test

#endif
