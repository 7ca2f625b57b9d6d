// A locale of this system in which some characters take two bytes.
#ifndef KXCORE7_TESTS_SUPPORT_LOCALES_H
#define KXCORE7_TESTS_SUPPORT_LOCALES_H

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace kx::test {

struct MultiByteLocale {
    const char* name;
    // One character, of two bytes and one unit. The byte 0xFF is none in this locale.
    const char* narrow;
    const char16_t* wide;
};

extern const MultiByteLocale kMultiByteLocale;

// The process's locale for the time of a scope.
class InLocale final {
  public:
    explicit InLocale(const char* name) : m_before(std::setlocale(LC_ALL, nullptr)) {
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
