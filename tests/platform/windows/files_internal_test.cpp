#include "platform/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/environment.h"

using namespace kx::platform;

// Or a file would be opened that had its path left over there.
TEST(FloorFiles, WhereNoTemporaryFileCanBeMadeThereIsNoPathToIt) {
    for (const std::string& nowhere : {std::string("C:\\missing\\folder"), std::string(300, 'x')}) {
        const kx::test::ScopedEnvironment folder("TMP", nowhere);
        char16_t path[kTemporaryPathSize];
        std::fill(std::begin(path), std::end(path), u'?');
        MakeTemporaryFile(path);
        EXPECT_EQ(0, path[0]) << nowhere;
    }
}
