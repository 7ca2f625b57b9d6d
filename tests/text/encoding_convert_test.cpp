#include <gtest/gtest.h>
#include <kxcore7/encoding.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/encoded_texts.h"
#include "support/results.h"

using namespace kx::test;

namespace {

// --- What ICU makes of a text by itself ----------------------------------------------------------

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

KXResult ResultOf(UErrorCode status) {
    if (status == U_INVALID_CHAR_FOUND || status == U_TRUNCATED_CHAR_FOUND ||
        status == U_ILLEGAL_CHAR_FOUND) {
        return KX_E_ENC_INVALID;
    }
    if (status == U_BUFFER_OVERFLOW_ERROR) return KX_CO_E_INIT_CLASS_CACHE;
    return U_SUCCESS(status) ? KX_S_OK : KX_E_FAIL;
}

// A converter by ICU's name, set up for a substitute or for stop mode.
Converter Open(const char* name, int substitution, UErrorCode& status) {
    Converter converter(ucnv_open(name, &status));
    if (substitution < 0) {
        ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
        ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &status);
        return converter;
    }
    const auto point = static_cast<char32_t>(substitution != 0 ? substitution : 0xFFFD);
    std::u16string text(1, static_cast<char16_t>(point));
    if (point >= 0x10000) {
        text = {static_cast<char16_t>(0xD7C0 + (point >> 10)),
                static_cast<char16_t>(0xDC00 + (point & 0x3FF))};
    }
    ucnv_setSubstString(converter.get(), text.data(), static_cast<int>(text.size()), &status);
    return converter;
}

// The whole text in one call each way, into more room than it can need.
struct OracleAnswer {
    KXResult result = KX_S_OK;
    std::string text;
    std::size_t read = 0;
    bool settingsRefused = false;
    bool targetFailed = false;
};

OracleAnswer Oracle(const std::string& source, const char* sourceEncoding,
                    const char* targetEncoding, int substitution) {
    OracleAnswer answer;
    UErrorCode status = U_ZERO_ERROR;
    const Converter from = Open(sourceEncoding, substitution, status);
    const Converter to =
        U_SUCCESS(status) ? Open(targetEncoding, substitution, status) : Converter();
    if (U_FAILURE(status)) {
        answer.result = ResultOf(status);
        answer.settingsRefused = true;
        return answer;
    }
    std::u16string wide(source.size() * 8 + 256, u'\0');
    char16_t* wideEnd = wide.data();
    const char* read = source.data();
    UErrorCode readStatus = U_ZERO_ERROR;
    ucnv_toUnicode(from.get(), &wideEnd, wide.data() + wide.size(), &read,
                   source.data() + source.size(), nullptr, true, &readStatus);
    answer.read = static_cast<std::size_t>(read - source.data());
    answer.text.resize(wide.size() * 16);
    char* end = answer.text.data();
    const char16_t* begin = wide.data();
    UErrorCode writeStatus = U_ZERO_ERROR;
    ucnv_fromUnicode(to.get(), &end, answer.text.data() + answer.text.size(), &begin, wideEnd,
                     nullptr, U_SUCCESS(readStatus), &writeStatus);
    answer.text.resize(static_cast<std::size_t>(end - answer.text.data()));
    answer.targetFailed = U_FAILURE(writeStatus);
    answer.result = ResultOf(U_FAILURE(readStatus) ? readStatus : writeStatus);
    return answer;
}

// --- Random texts --------------------------------------------------------------------------------

// The generator is the same everywhere; the library's distributions are not.
class Random final {
  public:
    std::uint32_t Below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(m_next()) % bound;
    }

  private:
    std::mt19937 m_next{20011};
};

std::u16string RandomWide(Random& random, std::size_t length) {
    std::u16string text;
    while (text.size() < length) {
        switch (random.Below(6)) {
            case 0:
                text += static_cast<char16_t>(0x4E00 + random.Below(0x5000));
                break;
            case 1:
                text += static_cast<char16_t>(0xA0 + random.Below(0x500));
                break;
            case 2:
                text += static_cast<char16_t>(0xD83C + random.Below(2));
                text += static_cast<char16_t>(0xDC00 + random.Below(0x400));
                break;
            default:
                text += static_cast<char16_t>(0x20 + random.Below(0x5F));
        }
    }
    return text;
}

std::string RandomBytes(Random& random, std::size_t length) {
    std::string bytes;
    while (bytes.size() < length) {
        const bool ascii = random.Below(3) != 0;
        bytes += static_cast<char>(ascii ? 0x20 + random.Below(0x5F) : random.Below(0x100));
    }
    return bytes;
}

// What the encoding can say of a text, in its bytes.
std::string Encode(const char* encoding, const std::u16string& text) {
    UErrorCode status = U_ZERO_ERROR;
    const Converter converter(ucnv_open(encoding, &status));
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_SKIP, nullptr, nullptr, nullptr,
                          &status);
    std::string bytes(text.size() * 16 + 64, '\0');
    bytes.resize(static_cast<std::size_t>(
        ucnv_fromUChars(converter.get(), bytes.data(), static_cast<int>(bytes.size()), text.data(),
                        static_cast<int>(text.size()), &status)));
    EXPECT_TRUE(U_SUCCESS(status)) << encoding;
    return bytes;
}

std::u16string Decode(const char* encoding, const std::string& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    const Converter converter(ucnv_open(encoding, &status));
    std::u16string text(bytes.size() * 8 + 64, u'\0');
    text.resize(static_cast<std::size_t>(ucnv_toUChars(converter.get(), text.data(),
                                                       static_cast<int>(text.size()), bytes.data(),
                                                       static_cast<int>(bytes.size()), &status)));
    EXPECT_TRUE(U_SUCCESS(status)) << encoding;
    return text;
}

// These have several ways to write a text, and choose by what else is at hand: where a pivot ends
// shows in the bytes, though not in the text.
bool LooksAhead(const std::string& encoding) {
    return encoding == "SCSU" || encoding.starts_with("LMBCS");
}

bool SaysTheSame(const char* encoding, const std::string& expected, const std::string& actual) {
    if (expected == actual) return true;
    return LooksAhead(encoding) && Decode(encoding, expected) == Decode(encoding, actual);
}

std::u16string Widened(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

void ExpectAsTheOracle(const std::string& source, const char* sourceEncoding,
                       const char* targetEncoding, int substitution) {
    const OracleAnswer expected = Oracle(source, sourceEncoding, targetEncoding, substitution);
    const std::size_t room = source.size() * 16 + 4096;
    const ConvertedAtOnce all = ConvertAtOnce(source, Widened(sourceEncoding).c_str(),
                                              Widened(targetEncoding).c_str(), substitution, room);
    SCOPED_TRACE(std::string(sourceEncoding) + " to " + targetEncoding + ", " +
                 std::to_string(substitution));
    EXPECT_RESULT(expected.result, all.result);
    if (expected.settingsRefused) {
        EXPECT_EQ(source.size(), all.read) << "the lengths stay as they were";
        EXPECT_EQ(room, all.written);
        return;
    }
    EXPECT_TRUE(SaysTheSame(targetEncoding, expected.text, all.text))
        << all.written << " bytes in the place of " << expected.text.size();
    // A target that fails does so up to a whole pivot behind what was read.
    if (!expected.targetFailed) {
        EXPECT_EQ(expected.read, all.read);
    }
}

// All but one, whose converter is broken in ICU itself: setting its substitute frees what it needs.
std::vector<std::string> AllEncodings() {
    std::vector<std::string> names;
    for (int i = 0; i < ucnv_countAvailable(); ++i) names.push_back(ucnv_getAvailableName(i));
    std::erase(names, "x11-compound-text");
    return names;
}

// Characters of every length in front of, on and behind the seam between two pivots.
std::string TextWithAt(std::size_t offset, const std::string& character) {
    return std::string(offset, 'x') + character + character + "yz";
}

}  // namespace

// --- Every encoding ------------------------------------------------------------------------------

TEST(EncodingConvert, IsWhatIcuMakesOfAWholeTextInEveryEncoding) {
    Random random;
    const std::vector<std::string> names = AllEncodings();
    EXPECT_GT(names.size(), 200u);
    for (const std::string& name : names) {
        for (const std::size_t length : {40, 1100, 3000}) {
            const std::string valid = Encode(name.c_str(), RandomWide(random, length));
            const std::string invalid = RandomBytes(random, length);
            const std::string utf8 = Encode("UTF-8", RandomWide(random, length));
            for (const int substitution : {-1, int{'?'}, 0}) {
                ExpectAsTheOracle(valid, name.c_str(), "UTF-8", substitution);
                ExpectAsTheOracle(invalid, name.c_str(), "UTF-8", substitution);
                ExpectAsTheOracle(utf8, "UTF-8", name.c_str(), substitution);
            }
            ExpectAsTheOracle(invalid, "UTF-8", name.c_str(), '?');
            ExpectAsTheOracle(valid, name.c_str(), name.c_str(), -1);
        }
    }
}

// --- Whole texts ---------------------------------------------------------------------------------

TEST(EncodingConvert, GoesBetweenAllEncodingsThatHaveTheText) {
    for (const EncodedText& text : EncodedTexts()) {
        const ConvertedAtOnce wide = ConvertAtOnce(text.bytes, text.encoding, u"UTF-16LE", -1, 99);
        EXPECT_RESULT(KX_S_OK, wide.result);
        const std::string expected(reinterpret_cast<const char*>(text.wide.data()),
                                   text.wide.size() * sizeof(char16_t));
        EXPECT_EQ(expected, wide.text);
        EXPECT_EQ(text.bytes.size(), wide.read);
        const ConvertedAtOnce back = ConvertAtOnce(expected, u"UTF-16LE", text.encoding, -1, 99);
        EXPECT_RESULT(KX_S_OK, back.result);
        EXPECT_EQ(text.bytes, back.text);
        EXPECT_EQ(expected.size(), back.read);
    }
}

TEST(EncodingConvert, OfNothingIsNothing) {
    const ConvertedAtOnce all = ConvertAtOnce("", u"UTF-8", u"UTF-8", -1, 0);
    EXPECT_RESULT(KX_S_OK, all.result);
    EXPECT_EQ(0u, all.read);
    EXPECT_EQ(0u, all.written);
}

TEST(EncodingConvert, NeitherStopsAtAZeroNorWritesOne) {
    const std::string text("a\0b", 3);
    const ConvertedAtOnce all = ConvertAtOnce(text, u"UTF-8", u"UTF-8", -1, 9);
    EXPECT_RESULT(KX_S_OK, all.result);
    EXPECT_EQ(text, all.text);
}

TEST(EncodingConvert, TakesATextLongerThanThePivotWhole) {
    for (const std::size_t length : {1023, 1024, 1025, 2047, 2048, 2049, 100000}) {
        const std::string text(length, 'x');
        const ConvertedAtOnce all = ConvertAtOnce(text, u"UTF-8", u"ISO-8859-1", -1, length);
        EXPECT_RESULT(KX_S_OK, all.result);
        EXPECT_EQ(text, all.text);
        EXPECT_EQ(length, all.read);
    }
}

TEST(EncodingConvert, ACharacterAcrossThePivotsEndIsWhole) {
    for (std::size_t offset = 1014; offset < 1030; ++offset) {
        for (const EncodedText& text : EncodedTexts()) {
            if (text.encoding == std::u16string(u"UTF-16")) continue;
            const std::string source = TextWithAt(offset, text.bytes);
            const ConvertedAtOnce wide =
                ConvertAtOnce(source, text.encoding, u"UTF-16LE", -1, kAmpleRoom);
            ASSERT_RESULT(KX_S_OK, wide.result);
            std::u16string expected = std::u16string(offset, u'x') + text.wide + text.wide + u"yz";
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(expected.data()),
                                  expected.size() * sizeof(char16_t)),
                      wide.text)
                << offset;
            const ConvertedAtOnce back =
                ConvertAtOnce(wide.text, u"UTF-16LE", text.encoding, -1, kAmpleRoom);
            ASSERT_RESULT(KX_S_OK, back.result);
            EXPECT_EQ(source, back.text) << offset;
        }
    }
}

// --- Too little room -----------------------------------------------------------------------------

TEST(EncodingConvert, AFullTargetHoldsTheBeginningAndBothLengthsTellHowFarItCame) {
    for (const EncodedText& text : EncodedTexts()) {
        for (const EncodedText& other : EncodedTexts()) {
            const ConvertedAtOnce whole =
                ConvertAtOnce(text.bytes, text.encoding, other.encoding, 'x', kAmpleRoom);
            ASSERT_RESULT(KX_S_OK, whole.result);
            for (std::size_t room = 0; room <= whole.written; ++room) {
                const ConvertedAtOnce all =
                    ConvertAtOnce(text.bytes, text.encoding, other.encoding, 'x', room);
                EXPECT_RESULT(room < whole.written ? KX_CO_E_INIT_CLASS_CACHE : KX_S_OK,
                              all.result);
                EXPECT_EQ(whole.text.substr(0, room), all.text) << text.bytes << ' ' << room;
                EXPECT_EQ(text.bytes.size(), all.read) << "read into the pivot is read";
            }
        }
    }
}

TEST(EncodingConvert, AFullTargetLeavesAtMostAPivotReadAndNotWritten) {
    const std::string text(3000, 'x');
    const struct {
        std::size_t room;
        std::size_t read;
    } rooms[] = {{0, 1024},    {1, 1024},    {1023, 1024}, {1024, 2048},
                 {1025, 2048}, {2047, 2048}, {2048, 3000}, {2999, 3000}};
    for (const auto& [room, read] : rooms) {
        const ConvertedAtOnce all = ConvertAtOnce(text, u"US-ASCII", u"UTF-8", -1, room);
        EXPECT_RESULT(0x80004009, all.result);
        EXPECT_EQ(read, all.read) << room;
        EXPECT_EQ(room, all.written);
        EXPECT_EQ(text.substr(0, room), all.text);
    }
    EXPECT_RESULT(KX_S_OK, ConvertAtOnce(text, u"US-ASCII", u"UTF-8", -1, 3000).result);
}

TEST(EncodingConvert, TheLastShiftNeedsRoomToo) {
    const std::string text = "\xE3\x81\x82";
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE,
                  ConvertAtOnce(text, u"UTF-8", u"ISO-2022-JP", -1, 7).result);
    const ConvertedAtOnce all = ConvertAtOnce(text, u"UTF-8", u"ISO-2022-JP", -1, 8);
    EXPECT_RESULT(KX_S_OK, all.result);
    EXPECT_EQ("\x1B$B$\"\x1B(B", all.text);
}

// --- Text that can't be converted ----------------------------------------------------------------

TEST(EncodingConvert, StopModeEndsAtIllFormedTextWithWhatStandsInFrontOfItWritten) {
    for (const std::size_t length : {0, 2, 1023, 1024, 1025, 3000}) {
        const std::string before(length, 'x');
        const ConvertedAtOnce all =
            ConvertAtOnce(before + "\xFF\xE4\xB8\xAD", u"UTF-8", u"GB18030", -1, kAmpleRoom);
        EXPECT_RESULT(KX_E_ENC_INVALID, all.result);
        EXPECT_EQ(before, all.text);
        EXPECT_EQ(length + 1, all.read) << "behind what was wrong";
    }
}

TEST(EncodingConvert, StopModeEndsAtACharacterThatTheTargetLacks) {
    for (const std::size_t length : {0, 2, 1023, 1024, 3000}) {
        const std::string before(length, 'x');
        const ConvertedAtOnce all =
            ConvertAtOnce(before + "\xE4\xB8\xADz", u"UTF-8", u"ISO-8859-1", -1, kAmpleRoom);
        EXPECT_RESULT(KX_E_ENC_INVALID, all.result);
        EXPECT_EQ(before, all.text);
        EXPECT_EQ(length == 1023 ? length + 3 : length + 4, all.read) << "up to the pivot's end";
    }
}

TEST(EncodingConvert, IllFormedTextCountsBeforeAFullTarget) {
    const ConvertedAtOnce all = ConvertAtOnce("abc\xFFz", u"UTF-8", u"UTF-8", -1, 2);
    EXPECT_RESULT(KX_E_ENC_INVALID, all.result);
    EXPECT_EQ(4u, all.read);
    EXPECT_EQ("ab", all.text) << "and what there is room for is written";
}

TEST(EncodingConvert, ACharacterThatTheEndCutsOffIsAnErrorOfTheSource) {
    const ConvertedAtOnce stopped = ConvertAtOnce("ab\xE4\xB8", u"UTF-8", u"UTF-8", -1, 9);
    EXPECT_RESULT(KX_E_ENC_INVALID, stopped.result);
    EXPECT_EQ(4u, stopped.read);
    EXPECT_EQ("ab", stopped.text);
    const ConvertedAtOnce next = ConvertAtOnce("\xAD", u"UTF-8", u"UTF-8", -1, 9);
    EXPECT_RESULT(KX_E_ENC_INVALID, next.result) << "nothing is carried to the next call";
    const ConvertedAtOnce substituted = ConvertAtOnce("ab\xE4\xB8", u"UTF-8", u"UTF-8", '?', 9);
    EXPECT_RESULT(KX_S_OK, substituted.result);
    EXPECT_EQ("ab\xEF\xBF\xBD", substituted.text) << "wide text has ICU's own substitute";
}

TEST(EncodingConvert, SubstitutesInBothEncodings) {
    const ConvertedAtOnce all =
        ConvertAtOnce("a\xFF\xE4\xB8\xADz", u"UTF-8", u"ISO-8859-1", '?', 9);
    EXPECT_RESULT(KX_S_OK, all.result);
    EXPECT_EQ("a??z", all.text);
}

TEST(EncodingConvert, LeavesTheLengthsWhereTheSubstituteIsRefused) {
    const struct {
        const char16_t* source;
        const char16_t* target;
        int substitution;
    } refusals[] = {
        {u"UTF-8", u"UTF-8", 0x10FFFF},  {u"UTF-8", u"UTF-8", INT_MAX},
        {u"US-ASCII", u"UTF-8", 0},      {u"UTF-8", u"US-ASCII", 0},
        {u"UTF-8", u"US-ASCII", 0x20AC}, {u"UTF-8", u"UTF-8", 0xDC00},
    };
    for (const auto& [source, target, substitution] : refusals) {
        const ConvertedAtOnce all = ConvertAtOnce("abc", source, target, substitution, 9);
        EXPECT_RESULT(KX_E_ENC_INVALID, all.result);
        EXPECT_EQ(3u, all.read);
        EXPECT_EQ(9u, all.written);
        EXPECT_EQ(std::string(9, '#'), all.text) << "and the target";
    }
    EXPECT_RESULT(KX_S_OK, ConvertAtOnce("abc", u"UTF-8", u"UTF-8", 0x10FFFE, 9).result);
}

TEST(EncodingConvert, TakesANameThatNobodyKnowsForLatin1) {
    const ConvertedAtOnce all = ConvertAtOnce("\xE9\xFF", u"no such encoding", u"UTF-8", -1, 9);
    EXPECT_RESULT(KX_S_OK, all.result);
    EXPECT_EQ("\xC3\xA9\xC3\xBF", all.text);
    EXPECT_EQ("\xE9", ConvertAtOnce("\xC3\xA9", u"UTF-8", u"no such encoding", -1, 9).text);
}
