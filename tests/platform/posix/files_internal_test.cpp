#include <gtest/gtest.h>
#include <kxcore7/file.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "support/failing_new.h"
#include "support/files.h"
#include "support/posix/descriptors.h"

using kx::test::OpenDescriptors;
using kx::test::Store;

namespace {

std::vector<int> OpenedSince(const std::set<int>& before) {
    const std::set<int> now = OpenDescriptors();
    std::vector<int> opened;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::back_inserter(opened));
    return opened;
}

}  // namespace

// Of all ends of a copy this alone leaves the files open: callers have come to rely on it.
TEST(FileCopyOutOfMemory, BothFilesStayOpenWhereTheBufferIsMissingAndNoneOtherwise) {
    const kx::test::ScratchDir directory;
    Store(directory / "from", "text");
    const std::u16string from = (directory / "from").u16string();
    const std::u16string to = (directory / "to").u16string();
    const auto before = OpenDescriptors();
    std::size_t left = 0;
    KXResult result = KX_E_OUTOFMEMORY;
    for (int allowed = 0; allowed < 16 && result < 0; ++allowed) {
        KXFileHandle out = 0;
        {
            const kx::test::FailingNew failing(allowed, 1);
            result = KXFileCopy(from.c_str(), to.c_str(), KX_FILE_CREATE, 0644, &out);
        }
        const std::vector<int> opened = OpenedSince(before);
        if (result < 0) {
            EXPECT_RESULT(KX_E_OUTOFMEMORY, result);
            EXPECT_EQ(KX_INVALID_HANDLE, out);
            left = opened.size();
            EXPECT_TRUE(left == 0 || left == 2) << left;
        }
        for (const int descriptor : opened) close(descriptor);
    }
    // The buffer is what a copy asks for last.
    EXPECT_EQ(2u, left);
    EXPECT_RESULT(KX_S_OK, result);
}
