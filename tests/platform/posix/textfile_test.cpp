#include <gtest/gtest.h>
#include <kxcore7/textfile.h>

#include <string>

// ICU counts what it handed to the runtime, and does not ask what became of it.
TEST(PosixTextFile, AFullDeviceIsNotNoticed) {
    const KXTextFileHandle file = KXFileOpenUTF16("/dev/full", "wb");
    ASSERT_NE(0u, file);
    // More than the runtime keeps back.
    const std::u16string line(100000, u'x');
    EXPECT_EQ(100002, KXFileWriteLineUTF16(line.c_str(), file));
    EXPECT_EQ(5, KXFileWriteLineUTF16(u"abc", file));
    KXFileCloseUTF16(file);
}

TEST(PosixTextFile, AFolderThatIsReadHasNoLines) {
    const KXTextFileHandle folder = KXFileOpenUTF16("/", "rb");
    ASSERT_NE(0u, folder) << "the runtime opens it";
    char16_t buffer[8];
    EXPECT_EQ(nullptr, KXFileGetLineUTF16(buffer, 8, folder));
    KXFileCloseUTF16(folder);
}
