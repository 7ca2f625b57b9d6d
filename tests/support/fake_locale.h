// A floor whose locale a test sets: a byte is a character up to U+00FF, in each direction, and a
// record is kept of who asks. Linked in place of the system's locale.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_LOCALE_H
#define KXCORE7_TESTS_SUPPORT_FAKE_LOCALE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/locale.h"

namespace kx::test {

struct ConversionCall {
    const void* dst;
    const void* src;
    std::size_t count;
};

struct FakeLocale {
    std::vector<ConversionCall> widened;  // calls of NarrowToWide
    std::uint32_t userLocale = platform::kNoLocale;
    std::uint32_t codePage = 819;
};

extern FakeLocale g_locale;

}  // namespace kx::test

#endif
