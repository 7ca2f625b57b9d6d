#include <gtest/gtest.h>
#include <kxcore7/textfile.h>

#include "support/scratch_dir.h"

TEST(WindowsTextFile, AFolderDoesNotOpenForReading) {
    const kx::test::ScratchDir folder;
    EXPECT_EQ(0u, KXFileOpenUTF16(folder.Path().string().c_str(), "rb"));
}
