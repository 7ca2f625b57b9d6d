// Result codes in hexadecimal when a test fails.
#ifndef KXCORE7_TESTS_SUPPORT_RESULTS_H
#define KXCORE7_TESTS_SUPPORT_RESULTS_H

#include <gtest/gtest.h>
#include <kxcore7/result.h>

#include <cstdio>
#include <string>

namespace kx::test {

inline std::string Hex(KXResult result) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
    return text;
}

}  // namespace kx::test

#define EXPECT_RESULT(expected, expression) \
    EXPECT_EQ(::kx::test::Hex(KX_RESULT(expected)), ::kx::test::Hex(expression))
#define ASSERT_RESULT(expected, expression) \
    ASSERT_EQ(::kx::test::Hex(KX_RESULT(expected)), ::kx::test::Hex(expression))

#endif
