// Wine in the place of Windows: what it does otherwise can't judge the library.
#ifndef KXCORE7_TESTS_SUPPORT_WINE_H
#define KXCORE7_TESTS_SUPPORT_WINE_H

#include <gtest/gtest.h>

namespace kx::test {

bool IsWine();

}  // namespace kx::test

// Each such test stands in docs/windows.md.
#define SKIP_UNDER_WINE(reason) \
    if (::kx::test::IsWine()) GTEST_SKIP() << "Wine: " << reason

#endif
