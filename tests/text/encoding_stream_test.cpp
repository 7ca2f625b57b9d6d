#include <gtest/gtest.h>
#include <kxcore7/encoding.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/encoded_texts.h"
#include "support/results.h"

using namespace kx::test;

namespace {

template <typename Text>
std::vector<Text> Split(const Text& text, std::size_t first, std::size_t second) {
    return {text.substr(0, first), text.substr(first, second - first), text.substr(second)};
}

template <typename Stream, typename In, typename Out>
void ExpectTheSameForEverySplit(const char16_t* encoding, const In& in, const Out& out) {
    for (std::size_t second = 0; second <= in.size(); ++second) {
        for (std::size_t first = 0; first <= second; ++first) {
            Stream stream(encoding);
            ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
            const auto all = ConvertAll(stream, Split(in, first, second));
            EXPECT_RESULT(KX_S_OK, all.result);
            EXPECT_EQ(out, all.text) << first << ' ' << second;
            EXPECT_EQ(in.size(), all.read);
        }
    }
}

template <typename Stream, typename In, typename Out>
void ExpectTheSameForEveryRoom(const char16_t* encoding, const In& in, const Out& out) {
    for (std::size_t room = 1; room <= out.size() + 1; ++room) {
        Stream stream(encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
        const auto all = ConvertAll(stream, {in}, room);
        EXPECT_RESULT(KX_S_OK, all.result);
        EXPECT_EQ(out, all.text) << room;
        EXPECT_EQ(in.size(), all.read);
    }
}

struct IllFormedText {
    const char16_t* encoding;
    std::string bytes;
    std::u16string wide;
};

const IllFormedText kIllFormedTexts[] = {
    {u"UTF-8", "a\xFFz", u"a\uFFFDz"},
    {u"UTF-8", "a\xC0\x80z", u"a\uFFFD\uFFFDz"},
    {u"UTF-8", "a\xED\xA0\x80z", u"a\uFFFD\uFFFD\uFFFDz"},
    {u"Shift_JIS", "a\x82\x20z", u"a\uFFFD z"},
    {u"EUC-JP", "a\xA4\x20z", u"a\uFFFD z"},
    {u"GB18030", "a\xFFz", u"a\uFFFDz"},
    {u"ISO-2022-JP", "a\x80z", u"a\uFFFDz"},
    {u"UTF-16", std::string("\xFF\xFE\x00\xDC\x7A\0", 6), u"\uFFFDz"},
};

// The first line of the probe's answer to a question about encodings.
std::string Probe(const std::string& question) {
    ChildProcess probe(KXTEST_PROBE, {"encoding " + question});
    const std::string answer = probe.ReadLine();
    EXPECT_EQ(0, probe.Wait());
    return answer;
}

}  // namespace

// --- Whole and in pieces -------------------------------------------------------------------------

TEST(EncodingStream, ToWideIsTheSameForEverySplitOfTheText) {
    for (const EncodedText& text : EncodedTexts()) {
        SCOPED_TRACE(text.bytes);
        ExpectTheSameForEverySplit<ToWideStream>(text.encoding, text.bytes, text.wide);
    }
}

TEST(EncodingStream, FromWideIsTheSameForEverySplitOfTheText) {
    for (const EncodedText& text : EncodedTexts()) {
        SCOPED_TRACE(text.bytes);
        ExpectTheSameForEverySplit<FromWideStream>(text.encoding, text.wide, text.bytes);
    }
}

TEST(EncodingStream, ToWideGoesOnBehindEveryFullTarget) {
    for (const EncodedText& text : EncodedTexts()) {
        SCOPED_TRACE(text.bytes);
        ExpectTheSameForEveryRoom<ToWideStream>(text.encoding, text.bytes, text.wide);
    }
}

TEST(EncodingStream, FromWideGoesOnBehindEveryFullTarget) {
    for (const EncodedText& text : EncodedTexts()) {
        SCOPED_TRACE(text.bytes);
        ExpectTheSameForEveryRoom<FromWideStream>(text.encoding, text.wide, text.bytes);
    }
}

TEST(EncodingStream, ATargetWithoutRoomIsFull) {
    ToWideStream toWide(u"UTF-8");
    EXPECT_RESULT(0x80004009, Convert(toWide, "a", 0).result);
    FromWideStream fromWide(u"UTF-8");
    EXPECT_RESULT(0x80004009, Convert(fromWide, u"a", 0).result);
    EXPECT_RESULT(KX_S_OK, Convert(fromWide, u"", 0).result) << "for nothing it is room enough";
}

TEST(EncodingStream, AFullTargetIsFilledAndTheRestComesFirst) {
    ToWideStream stream(u"UTF-8");
    const auto part = Convert(stream, "a\xF0\x9F\x98\x80z", 2);
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, part.result);
    EXPECT_EQ(u"a\xD83D", part.text);
    EXPECT_EQ(5u, part.read) << "the character was read as a whole";
    EXPECT_EQ(u"\xDE00z", Convert(stream, "z").text);
}

TEST(EncodingStream, ALeadByteAndATrailByteOfTwoCallsAreOneCharacter) {
    ToWideStream stream(u"Shift_JIS");
    EXPECT_EQ((Converted<char16_t>{KX_S_OK, u"", 1}), Convert(stream, "\x82"));
    EXPECT_EQ((Converted<char16_t>{KX_S_OK, u"\u3042", 1}), Convert(stream, "\xA0"));
}

TEST(EncodingStream, TheTwoSurrogatesOfTwoCallsAreOneCharacter) {
    FromWideStream stream(u"UTF-8");
    EXPECT_EQ((Converted<char>{KX_S_OK, "", 1}), Convert(stream, u"\xD83D"));
    EXPECT_EQ((Converted<char>{KX_S_OK, "\xF0\x9F\x98\x80", 1}), Convert(stream, u"\xDE00"));
}

TEST(EncodingStream, TheMarkTellsTheByteOrderAndIsNoText) {
    using namespace std::string_literals;
    ToWideStream big(u"UTF-16");
    EXPECT_EQ(u"a\u4E2D", ConvertAll(big, {"\xFE\xFF\0\x61\x4E\x2D"s}).text);
    ToWideStream little(u"UTF-16");
    EXPECT_EQ(u"a\u4E2D", ConvertAll(little, {"\xFF\xFE\x61\0\x2D\x4E"s}).text);
}

// --- The end of the text -------------------------------------------------------------------------

TEST(EncodingStream, OnlyTheFlushFindsACharacterThatIsCutOff) {
    for (const EncodedText& text : EncodedTexts()) {
        ToWideStream stream(text.encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
        const std::string lead =
            text.bytes.substr(0, 1) == "a" ? text.bytes.substr(1, 1) : text.bytes.substr(0, 3);
        EXPECT_RESULT(KX_S_OK, Convert(stream, lead).result);
        EXPECT_RESULT(0x8BB34101, Flush(stream).result) << text.bytes;
    }
}

TEST(EncodingStream, OnlyTheFlushFindsALeadSurrogateThatIsCutOff) {
    FromWideStream stream(u"UTF-8");
    ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
    EXPECT_EQ((Converted<char>{KX_S_OK, "a", 2}), Convert(stream, u"a\xD83D"));
    EXPECT_RESULT(KX_E_ENC_INVALID, Flush(stream).result);
}

TEST(EncodingStream, ACharacterThatIsCutOffIsSubstitutedUnlessToldOtherwise) {
    ToWideStream toWide(u"UTF-8");
    EXPECT_EQ(u"a", Convert(toWide, "a\xE4\xB8").text);
    EXPECT_EQ((Converted<char16_t>{KX_S_OK, u"\uFFFD", 0}), Flush(toWide));
    FromWideStream fromWide(u"UTF-8");
    EXPECT_EQ("a", Convert(fromWide, u"a\xD83D").text);
    EXPECT_EQ((Converted<char>{KX_S_OK, "\xEF\xBF\xBD", 0}), Flush(fromWide));
}

TEST(EncodingStream, FlushWritesTheLastShiftAndMayBeRepeatedForRoom) {
    FromWideStream stream(u"ISO-2022-JP");
    EXPECT_EQ("\x1B$B$\"", Convert(stream, u"\u3042").text);
    const auto first = Flush(stream, 2);
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, first.result);
    EXPECT_EQ("\x1B(", first.text);
    EXPECT_EQ((Converted<char>{KX_S_OK, "B", 0}), Flush(stream));
}

TEST(EncodingStream, AFlushedObjectBeginsAnew) {
    FromWideStream stream(u"UTF-16");
    const std::string once = ConvertAll(stream, {u"a"}).text;
    EXPECT_EQ(std::string("\xFF\xFE\x61\0", 4), once);
    EXPECT_EQ(once, ConvertAll(stream, {u"a"}).text) << "with a mark of its own";
}

// --- Text that can't be converted ----------------------------------------------------------------

TEST(EncodingStream, IllFormedTextIsSubstitutedWithoutBeingAsked) {
    for (const IllFormedText& text : kIllFormedTexts) {
        ToWideStream stream(text.encoding);
        auto all = ConvertAll(stream, {text.bytes});
        EXPECT_RESULT(KX_S_OK, all.result);
        // ICU has a substitute of its own for single bytes of some encodings.
        std::ranges::replace(all.text, u'\x1A', u'\uFFFD');
        EXPECT_EQ(text.wide, all.text) << text.bytes;
    }
}

TEST(EncodingStream, WideTextNeverGetsTheSubstituteThatWasAskedFor) {
    for (const IllFormedText& text : kIllFormedTexts) {
        ToWideStream stream(text.encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution('x'));
        const auto all = ConvertAll(stream, {text.bytes});
        EXPECT_RESULT(KX_S_OK, all.result);
        EXPECT_EQ(text.wide, all.text) << text.bytes;
    }
}

TEST(EncodingStream, StopModeEndsBehindTheOffendingBytes) {
    const struct {
        const char16_t* encoding;
        std::string bytes;
        std::size_t read;
    } texts[] = {
        {u"UTF-8", "ab\xFFz", 3},
        {u"UTF-8", "ab\xE4\xB8z", 4},
        {u"UTF-8", "ab\xC0\x80", 3},
        {u"UTF-8", "ab\xED\xA0\x80", 3},
        {u"UTF-8", "ab\xF4\x90\x80\x80", 3},
        {u"Shift_JIS", "ab\x82\x20z", 3},
        {u"EUC-JP", "ab\xA4\x20z", 3},
        {u"GB18030", "ab\xFFz", 3},
        {u"ISO-2022-JP", "ab\x80z", 3},
        {u"US-ASCII", "ab\x80z", 3},
    };
    for (const auto& text : texts) {
        ToWideStream stream(text.encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
        const auto part = Convert(stream, text.bytes);
        EXPECT_RESULT(KX_E_ENC_INVALID, part.result);
        EXPECT_EQ(u"ab", part.text);
        EXPECT_EQ(text.read, part.read) << text.bytes;
        const auto rest = Convert(stream, text.bytes.substr(0, 2));
        EXPECT_EQ((Converted<char16_t>{KX_S_OK, u"ab", 2}), rest)
            << "and what follows is converted";
    }
}

TEST(EncodingStream, StopModeEndsBehindTheOffendingUnits) {
    const struct {
        const char16_t* encoding;
        std::u16string wide;
        std::size_t read;
    } texts[] = {
        {u"UTF-8", u"ab\xDC00z", 3},          {u"UTF-8", u"ab\xD83Dz", 3},
        {u"UTF-16LE", u"ab\xDC00z", 3},       {u"ISO-8859-1", u"ab\u4E2Dz", 3},
        {u"ISO-8859-1", u"ab\U0001F600z", 4}, {u"Shift_JIS", u"ab\u00E9z", 3},
        {u"ISO-2022-JP", u"ab\u0E01z", 3},    {u"US-ASCII", u"ab\u00E9z", 3},
    };
    for (const auto& text : texts) {
        FromWideStream stream(text.encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
        const auto part = Convert(stream, text.wide);
        EXPECT_RESULT(KX_E_ENC_INVALID, part.result);
        EXPECT_EQ(text.read, part.read) << reinterpret_cast<const void*>(&text);
        EXPECT_TRUE(part.text.starts_with('a'));
    }
}

TEST(EncodingStream, TheSubstituteIsWrittenInTheEncoding) {
    const struct {
        const char16_t* encoding;
        int substitution;
        std::u16string wide;
        std::string bytes;
    } texts[] = {
        {u"ISO-8859-1", '?', u"a\u4E2Dz", "a?z"},
        {u"ISO-8859-1", 0xE9, u"a\U0001F600z", "a\xE9z"},
        {u"Shift_JIS", 0x3042, u"a\u00E9z", "a\x82\xA0z"},
        {u"ISO-2022-JP", 0x3042, u"a\u0E01z", "a\x1B$B$\"\x1B(Bz"},
        {u"UTF-8", 0, u"a\xDC00z", "a\xEF\xBF\xBDz"},
        {u"UTF-8", 1, u"a\xDC00z", "a\x01z"},
        {u"UTF-8", 0xFFFF, u"a\xDC00z", "a\xEF\xBF\xBFz"},
        {u"UTF-8", 0x10000, u"a\xDC00z", "a\xF0\x90\x80\x80z"},
        {u"UTF-8", 0x10FFFE, u"a\xDC00z", "a\xF4\x8F\xBF\xBEz"},
    };
    for (const auto& text : texts) {
        FromWideStream stream(text.encoding);
        ASSERT_RESULT(KX_S_OK, stream.SetSubstitution(text.substitution));
        const auto all = ConvertAll(stream, {text.wide});
        EXPECT_RESULT(KX_S_OK, all.result);
        EXPECT_EQ(text.bytes, all.text) << text.substitution;
    }
}

TEST(EncodingStream, TheLastCodePointOfAllIsNoSubstituteAndChangesNothing) {
    for (const int refused : {0x10FFFF, 0x110000, INT_MAX}) {
        FromWideStream substituting(u"US-ASCII");
        EXPECT_RESULT(KX_S_OK, substituting.SetSubstitution('!'));
        EXPECT_RESULT(0x8BB34101, substituting.SetSubstitution(refused));
        EXPECT_EQ("a!z", Convert(substituting, u"a\u00E9z").text);
        FromWideStream stopping(u"US-ASCII");
        EXPECT_RESULT(KX_S_OK, stopping.SetSubstitution(-1));
        EXPECT_RESULT(KX_E_ENC_INVALID, stopping.SetSubstitution(refused));
        EXPECT_RESULT(KX_E_ENC_INVALID, Convert(stopping, u"a\u00E9z").result);
        ToWideStream untouched(u"US-ASCII");
        EXPECT_RESULT(KX_E_ENC_INVALID, untouched.SetSubstitution(refused));
        EXPECT_EQ(u"a\uFFFDz", Convert(untouched, "a\xE9z").text);
    }
}

TEST(EncodingStream, EveryNegativeSubstituteIsStopMode) {
    for (const int negative : {-1, -2, INT_MIN}) {
        ToWideStream toWide(u"US-ASCII");
        EXPECT_RESULT(KX_S_OK, toWide.SetSubstitution(negative));
        EXPECT_RESULT(KX_E_ENC_INVALID, Convert(toWide, "\xE9").result);
        FromWideStream fromWide(u"US-ASCII");
        EXPECT_RESULT(KX_S_OK, fromWide.SetSubstitution(negative));
        EXPECT_RESULT(KX_E_ENC_INVALID, Convert(fromWide, u"\u00E9").result);
    }
}

TEST(EncodingStream, ASubstituteThatTheEncodingLacksIsRefused) {
    FromWideStream stream(u"US-ASCII");
    EXPECT_RESULT(KX_S_OK, stream.SetSubstitution('!'));
    for (const int lacking : {0, 0xE9, 0xFFFD, 0x1F600}) {
        EXPECT_RESULT(KX_E_ENC_INVALID, stream.SetSubstitution(lacking)) << lacking;
    }
    EXPECT_EQ("a!z", Convert(stream, u"a\u00E9z").text);
    FromWideStream unicode(u"UTF-8");
    EXPECT_RESULT(KX_E_ENC_INVALID, unicode.SetSubstitution(0xD800)) << "half a character";
}

TEST(EncodingStream, ASubstituteDoesNotEndStopMode) {
    FromWideStream stream(u"US-ASCII");
    EXPECT_RESULT(KX_S_OK, stream.SetSubstitution(-1));
    EXPECT_RESULT(KX_S_OK, stream.SetSubstitution('!'));
    EXPECT_RESULT(KX_E_ENC_INVALID, Convert(stream, u"\u00E9").result);
}

// --- Names ---------------------------------------------------------------------------------------

TEST(EncodingStream, ANameThatNobodyKnowsIsSilentlyLatin1) {
    std::string all;
    std::u16string wide;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        wide += static_cast<char16_t>(byte);
    }
    ::testing::internal::CaptureStdout();
    const std::u16string names[] = {u"no such encoding", u"\u0155\u0154\u0146-9",
                                    std::u16string(500, u'x')};
    for (const std::u16string& name : names) {
        ToWideStream toWide(name.c_str());
        EXPECT_EQ((Converted<char16_t>{KX_S_OK, wide, 256}), ConvertAll(toWide, {all}));
        FromWideStream fromWide(name.c_str());
        EXPECT_EQ((Converted<char>{KX_S_OK, all, 256}), ConvertAll(fromWide, {wide}));
    }
    std::fflush(stdout);
    EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
}

TEST(EncodingStream, OfANameTheLowBytesCount) {
    std::u16string name = u"UTF-8";
    for (char16_t& unit : name) unit = static_cast<char16_t>(unit | 0x4E00);
    ToWideStream stream(name.c_str());
    EXPECT_EQ(u"\u4E2D", Convert(stream, "\xE4\xB8\xAD").text);
}

TEST(EncodingStream, ANameEndsWhereItsLowByteIsZero) {
    ToWideStream stream(u"UTF-8\u0100x");
    EXPECT_EQ(u"\u4E2D", Convert(stream, "\xE4\xB8\xAD").text);
}

TEST(EncodingStream, TheSystemsOwnNamesOfCodePagesOpen) {
    ToWideStream windows(u"CP1252");
    EXPECT_EQ(u"\u20AC", Convert(windows, "\x80").text);
    for (const char16_t* const name : {u"CP932", u"SJIS"}) {
        ToWideStream japanese(name);
        EXPECT_EQ(u"\u3042", Convert(japanese, "\x82\xA0").text);
    }
}

TEST(EncodingStream, WithoutANameThereIsNoConverterUntilTheLayerIsInitialised) {
    EXPECT_EQ("0x8BB34103 0x8BB34103", Probe("before"));
}

TEST(EncodingStream, WithoutANameTheDefaultConverterServesOnceTheLayerIsInitialised) {
    EXPECT_EQ("0x00000000 1", Probe("after"));
}

TEST(EncodingStream, WhatWasOpenedBeforeStaysWithoutAConverter) {
    EXPECT_EQ("0x8BB34103 0x00000000", Probe("around"));
}

TEST(EncodingStream, InitialisationCountsTheConverters) {
    const std::string answer = Probe("count");
    EXPECT_GT(std::stoi(answer), 200);
    EXPECT_LT(std::stoi(answer), 65536);
    EXPECT_EQ(answer, Probe("count twice"));
}

TEST(EncodingStream, ClosingNothingDoesNothing) {
    KXEncToW_Close(0);
    KXEncFromW_Close(0);
}
