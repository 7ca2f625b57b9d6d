#include "platform/textfiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/failing_new.h"
#include "support/scratch_dir.h"

using kx::platform::PutLine;
using kx::test::FailingNew;

// A line is written with its CR at once, or not at all.
TEST(TextFileMemory, WithoutAnyALongLineIsNotWrittenAndAShortOneIs) {
    const kx::test::ScratchDir folder;
    const std::string path = (folder / "text").string();
    UFILE* const file = u_fopen(path.c_str(), "wb", nullptr, "UTF-16");
    ASSERT_NE(nullptr, file);
    const std::u16string longest(510, u'x');
    const std::u16string tooLong(511, u'x');
    {
        const FailingNew failing;
        EXPECT_EQ(0, PutLine(tooLong.c_str(), file));
    }
    {
        const FailingNew failing;
        EXPECT_EQ(512, PutLine(longest.c_str(), file));
    }
    EXPECT_EQ(513, PutLine(tooLong.c_str(), file));
    u_fclose(file);
    EXPECT_EQ(2 + 2 * (512 + 513), static_cast<int>(std::filesystem::file_size(path)));
}
