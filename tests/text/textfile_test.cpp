#include <gtest/gtest.h>
#include <kxcore7/textfile.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/scratch_dir.h"

namespace {

using Lines = std::vector<std::u16string>;

// The bytes of wide text with a mark in front, in either order.
std::string LittleEndian(const std::u16string& text) {
    std::string bytes;
    for (const char16_t unit : u"\uFEFF" + text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

std::string BigEndian(const std::u16string& text) {
    std::string bytes = LittleEndian(text);
    for (std::size_t i = 0; i < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

class TextFile : public ::testing::Test {
  protected:
    ~TextFile() override { Close(); }

    bool Open(const char* mode) {
        Close();
        m_file = KXFileOpenUTF16(m_path.c_str(), mode);
        return m_file != 0;
    }
    void Close() { KXFileCloseUTF16(std::exchange(m_file, 0)); }

    void Store(const std::string& bytes) {
        std::ofstream(m_path, std::ios::binary) << bytes;
        ASSERT_TRUE(Open("rb"));
    }
    std::string Stored() {
        Close();
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // Nothing where nothing is left.
    std::optional<std::u16string> Read(int count = 100) {
        std::u16string buffer(static_cast<std::size_t>(count) + 1, u'#');
        const char16_t* const line = KXFileGetLineUTF16(buffer.data(), count, m_file);
        EXPECT_EQ(u'#', buffer.back());
        if (line == nullptr) return std::nullopt;
        EXPECT_EQ(buffer.data(), line);
        return line;
    }
    Lines ReadAll(int count = 100) {
        Lines lines;
        while (const auto line = Read(count)) lines.push_back(*line);
        return lines;
    }
    int Write(const std::u16string& line) { return KXFileWriteLineUTF16(line.c_str(), m_file); }

    const kx::test::ScratchDir m_dir;
    const std::string m_path = (m_dir / "text").string();
    KXTextFileHandle m_file = 0;
};

}  // namespace

// --- Reading -------------------------------------------------------------------------------------

TEST_F(TextFile, ALineComesWithoutItsCrAndLf) {
    Store(LittleEndian(u"abc\r\n"));
    EXPECT_EQ(Lines({u"abc"}), ReadAll());
}

TEST_F(TextFile, EveryLineEndEndsALineAndOnlyCrAndLfAreTakenAway) {
    const struct {
        const char16_t* end;
        const char16_t* first;
    } ends[] = {
        {u"\n", u"abc"},           {u"\r", u"abc"},           {u"\r\n", u"abc"},
        {u"\v", u"abc\v"},         {u"\f", u"abc\f"},         {u"\x85", u"abc\x85"},
        {u"\u2028", u"abc\u2028"}, {u"\u2029", u"abc\u2029"},
    };
    for (const auto& [end, first] : ends) {
        for (const auto encode : {LittleEndian, BigEndian}) {
            Store(encode(u"abc" + std::u16string(end) + u"de"));
            EXPECT_EQ(Lines({first, u"de"}), ReadAll());
            Store(encode(end));
            EXPECT_EQ(Lines({first + 3}), ReadAll()) << "an empty line is a line";
            Store(encode(std::u16string(end) + end + u"x"));
            EXPECT_EQ(Lines({first + 3, first + 3, u"x"}), ReadAll());
        }
    }
}

TEST_F(TextFile, LfBeforeCrAreTwoEnds) {
    Store(LittleEndian(u"a\n\rb"));
    EXPECT_EQ(Lines({u"a", u"", u"b"}), ReadAll());
}

TEST_F(TextFile, ATabAndAZeroWidthSpaceEndNothing) {
    Store(LittleEndian(u"a\tb\u200Bc\u001Ed\n"));
    EXPECT_EQ(Lines({u"a\tb\u200Bc\u001Ed"}), ReadAll());
}

TEST_F(TextFile, AnEmptyLineIsAnEmptyString) {
    Store(LittleEndian(u"\r\n\r\nx\r\n"));
    EXPECT_EQ(u"", Read());
    EXPECT_EQ(u"", Read());
    EXPECT_EQ(u"x", Read());
    EXPECT_EQ(std::nullopt, Read());
}

TEST_F(TextFile, TheLastLineNeedsNoEnd) {
    Store(LittleEndian(u"abc\r\nlast"));
    EXPECT_EQ(u"abc", Read());
    EXPECT_EQ(u"last", Read());
    EXPECT_EQ(std::nullopt, Read());
    EXPECT_EQ(std::nullopt, Read()) << "and the end stays";
}

TEST_F(TextFile, OfAnEmptyFileIsNothing) {
    Store("");
    EXPECT_EQ(std::nullopt, Read());
    Store(LittleEndian(u""));
    EXPECT_EQ(std::nullopt, Read()) << "a mark is no text";
}

TEST_F(TextFile, TheMarkTellsTheByteOrder) {
    const std::u16string text = u"a\u4E2D\U0001F600\u00E9\r\nb";
    Store(LittleEndian(text));
    EXPECT_EQ(Lines({u"a\u4E2D\U0001F600\u00E9", u"b"}), ReadAll());
    Store(BigEndian(text));
    EXPECT_EQ(Lines({u"a\u4E2D\U0001F600\u00E9", u"b"}), ReadAll());
}

TEST_F(TextFile, ALongLineComesInPiecesOfTheCount) {
    Store(LittleEndian(u"abcdef\r\nz"));
    EXPECT_EQ(u"abc", Read(4));
    EXPECT_EQ(u"def", Read(4));
    EXPECT_EQ(u"", Read(4)) << "the rest of the line's end";
    EXPECT_EQ(u"z", Read(4));
    EXPECT_EQ(std::nullopt, Read(4));
}

TEST_F(TextFile, CrLfMayBeSplitOverTwoReads) {
    Store(LittleEndian(u"abc\r\nz"));
    EXPECT_EQ(u"abc", Read(5)) << "with the CR";
    EXPECT_EQ(u"", Read(5)) << "the LF that was left";
    EXPECT_EQ(u"z", Read(5));
    EXPECT_EQ(std::nullopt, Read(5));
}

TEST_F(TextFile, ALineThatJustFitsLeavesNothingOfItsEnd) {
    Store(LittleEndian(u"abc\r\nz"));
    EXPECT_EQ(Lines({u"abc", u"z"}), ReadAll(6));
}

TEST_F(TextFile, WithoutRoomForAnythingNothingIsRead) {
    Store(LittleEndian(u"abc\r\n"));
    std::u16string buffer(4, u'#');
    for (const int count : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(nullptr, KXFileGetLineUTF16(buffer.data(), count, m_file));
        EXPECT_EQ(u"####", buffer) << count;
    }
    EXPECT_EQ(u"abc", Read()) << "nothing was lost";
}

TEST_F(TextFile, WithRoomForATerminatorAloneNothingIsLost) {
    Store(LittleEndian(u"abc\r\n"));
    EXPECT_EQ(u"", Read(1));
    EXPECT_EQ(u"", Read(1));
    EXPECT_EQ(u"abc", Read());
}

TEST_F(TextFile, AZeroInTheTextEndsTheStringAndNotTheLine) {
    Store(LittleEndian(std::u16string(u"ab\0cd\r\nz", 8)));
    EXPECT_EQ(Lines({u"ab", u"z"}), ReadAll());
}

TEST_F(TextFile, LongLinesAreReadWhole) {
    for (const std::size_t length : {510, 511, 512, 513, 1023, 1024, 1025, 2048, 100000}) {
        const std::u16string first(length, u'x');
        Store(LittleEndian(first + u"\r\n" + first + u"\U0001F600\n"));
        EXPECT_EQ(Lines({first, first + u"\U0001F600"}), ReadAll(200000)) << length;
    }
}

// --- Writing -------------------------------------------------------------------------------------

TEST_F(TextFile, AMarkComesFirstAndEveryLineEndsInCrLf) {
    ASSERT_TRUE(Open("wb"));
    EXPECT_EQ(5, Write(u"abc"));
    EXPECT_EQ(2, Write(u""));
    EXPECT_EQ(5, Write(u"\u4E2D\U0001F600"));
    EXPECT_EQ(LittleEndian(u"abc\r\n\r\n\u4E2D\U0001F600\r\n"), Stored());
}

TEST_F(TextFile, LinesThatWereWrittenAreReadBack) {
    const Lines lines = {u"abc", u"", u"\u4E2D\U0001F600", u"last"};
    ASSERT_TRUE(Open("wb"));
    for (const auto& line : lines) EXPECT_EQ(static_cast<int>(line.size()) + 2, Write(line));
    ASSERT_TRUE(Open("rb"));
    EXPECT_EQ(lines, ReadAll());
}

TEST_F(TextFile, LinesOfEveryLengthAreWrittenWhole) {
    for (const std::size_t length : {1, 509, 510, 511, 512, 513, 1022, 1023, 1024, 1025, 100000}) {
        const std::u16string line(length, u'x');
        ASSERT_TRUE(Open("wb"));
        EXPECT_EQ(static_cast<int>(length) + 2, Write(line));
        EXPECT_EQ(7, Write(u"after"));
        EXPECT_TRUE(LittleEndian(line + u"\r\nafter\r\n") == Stored()) << length;
    }
}

TEST_F(TextFile, ALineMayHoldLineEnds) {
    ASSERT_TRUE(Open("wb"));
    EXPECT_EQ(7, Write(u"a\nb\rc"));
    EXPECT_EQ(LittleEndian(u"a\nb\rc\r\n"), Stored());
}

TEST_F(TextFile, AFileWithoutALineIsEmpty) {
    ASSERT_TRUE(Open("wb"));
    EXPECT_EQ("", Stored());
}

TEST_F(TextFile, WritingReplacesWhatWasThere) {
    Store(LittleEndian(u"a long line that was there\r\n"));
    ASSERT_TRUE(Open("wb"));
    Write(u"x");
    EXPECT_EQ(LittleEndian(u"x\r\n"), Stored());
}

TEST_F(TextFile, AppendingAddsAMarkOfItsOwn) {
    Store(LittleEndian(u"a\r\n"));
    ASSERT_TRUE(Open("ab"));
    EXPECT_EQ(3, Write(u"b"));
    EXPECT_EQ(LittleEndian(u"a\r\n") + LittleEndian(u"b\r\n"), Stored());
}

TEST_F(TextFile, ClosingWritesWhatIsLeft) {
    ASSERT_TRUE(Open("wb"));
    Write(u"abc");
    Close();
    EXPECT_EQ(12u, std::filesystem::file_size(m_path));
}

// --- Failing -------------------------------------------------------------------------------------

TEST_F(TextFile, ThatIsNotThereDoesNotOpen) {
    EXPECT_FALSE(Open("rb"));
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(TextFile, InAFolderThatIsNotThereDoesNotOpen) {
    EXPECT_EQ(0u, KXFileOpenUTF16((m_path + "/none/text").c_str(), "wb"));
    EXPECT_EQ(0u, KXFileOpenUTF16("", "rb"));
}

TEST_F(TextFile, AFolderIsNoTextFile) {
    EXPECT_EQ(0u, KXFileOpenUTF16(m_dir.Path().string().c_str(), "wb"));
}

TEST_F(TextFile, OpenForReadingIsNotWrittenTo) {
    Store(LittleEndian(u"abc\r\n"));
    Write(u"x");
    EXPECT_EQ(LittleEndian(u"abc\r\n"), Stored());
}

TEST_F(TextFile, OpenForWritingGivesNoLines) {
    ASSERT_TRUE(Open("wb"));
    EXPECT_EQ(std::nullopt, Read());
}

TEST_F(TextFile, NoneIsClosedWithoutHarm) {
    KXFileCloseUTF16(0);
}
