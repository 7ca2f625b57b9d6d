#include <gtest/gtest.h>
#include <kxcore7/alert.h>

#include "support/faults.h"

TEST(AlertDeathTest, AssertWithoutAMethodBreaks) {
    EXPECT_EXIT(KXAssert("level < 9", "tank.cpp", 12), kx::test::EndedByBreakpoint, "");
}

TEST(Alert, WithoutAMethodDoesNothing) {
    KXErrorAlert(0, u"title", u"nothing happens");
}
