// Converters of ICU's behind the exports, and exhausted memory.
#include "text/encoding.h"

#include <kxcore7/encoding.h>

#include <new>
#include <string>
#include <utility>

#include "support/failing_new.h"
#include "support/results.h"

using namespace kx;
using test::FailingNew;

namespace {

// What a converter makes of a character that its encoding lacks; "stops" in stop mode.
std::string Lacking(UConverter* converter) {
    char bytes[16];
    UErrorCode status = U_ZERO_ERROR;
    ucnv_reset(converter);
    const int length = ucnv_fromUChars(converter, bytes, sizeof bytes, u"\u0E01", 1, &status);
    return U_SUCCESS(status) ? std::string(bytes, static_cast<std::size_t>(length)) : "stops";
}

// And of a byte that is none.
bool StopsReading(UConverter* converter) {
    char16_t units[16];
    UErrorCode status = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_toUChars(converter, units, 16, "\xFF", 1, &status);
    return U_FAILURE(status);
}

// An object of which nothing but the settings can be told, with two converters.
core::Encoder Two(const char16_t* first, const char16_t* second) {
    core::Encoder encoder(first);
    core::Encoder other(second);
    encoder.secondConverter = std::move(other.converter);
    return encoder;
}

}  // namespace

// --- The second converter ------------------------------------------------------------------------

TEST(EncoderPair, IsNoneFromTheStart) {
    const core::Encoder encoder(u"US-ASCII");
    EXPECT_NE(nullptr, encoder.converter.get());
    EXPECT_EQ(nullptr, encoder.secondConverter.get());
}

TEST(EncoderPair, HasItsSubstituteInBoth) {
    core::Encoder encoder = Two(u"US-ASCII", u"ISO-8859-2");
    EXPECT_RESULT(KX_S_OK, encoder.SetSubstitution('!'));
    EXPECT_EQ("!", Lacking(encoder.converter.get()));
    EXPECT_EQ("!", Lacking(encoder.secondConverter.get()));
}

TEST(EncoderPair, StopsInBoth) {
    core::Encoder encoder = Two(u"US-ASCII", u"EUC-JP");
    EXPECT_RESULT(KX_S_OK, encoder.SetSubstitution(-1));
    EXPECT_EQ("stops", Lacking(encoder.converter.get()));
    EXPECT_EQ("stops", Lacking(encoder.secondConverter.get()));
    EXPECT_TRUE(StopsReading(encoder.converter.get()));
    EXPECT_TRUE(StopsReading(encoder.secondConverter.get()));
}

TEST(EncoderPair, LeavesTheSecondAloneWhereTheFirstRefuses) {
    core::Encoder encoder = Two(u"US-ASCII", u"ISO-8859-1");
    EXPECT_RESULT(KX_S_OK, encoder.SetSubstitution('!'));
    EXPECT_RESULT(KX_E_ENC_INVALID, encoder.SetSubstitution(0xE9));
    EXPECT_EQ("!", Lacking(encoder.secondConverter.get()));
    EXPECT_RESULT(KX_E_ENC_INVALID, encoder.SetSubstitution(0x10FFFF));
    EXPECT_EQ("!", Lacking(encoder.secondConverter.get()));
}

TEST(EncoderPair, AnswersWithWhatTheSecondRefuses) {
    core::Encoder encoder = Two(u"ISO-8859-1", u"US-ASCII");
    EXPECT_RESULT(KX_E_ENC_INVALID, encoder.SetSubstitution(0xE9));
    EXPECT_EQ("\xE9", Lacking(encoder.converter.get())) << "the first has it all the same";
}

TEST(EncoderPair, WithoutAFirstTheSecondIsNotReached) {
    core::Encoder encoder = Two(u"US-ASCII", u"ISO-8859-1");
    encoder.converter.reset();
    EXPECT_RESULT(KX_E_FAIL, encoder.SetSubstitution('!'));
    EXPECT_RESULT(KX_E_ABORT, encoder.SetSubstitution(-1));
    EXPECT_NE("!", Lacking(encoder.secondConverter.get()));
    EXPECT_NE("stops", Lacking(encoder.secondConverter.get()));
}

// --- What an object keeps ------------------------------------------------------------------------

TEST(NamedEncoder, KeepsTheNameThatItWasAskedFor) {
    EXPECT_EQ(u"no such encoding", core::NamedEncoder(u"no such encoding").name);
    EXPECT_EQ(std::u16string(300, u'\u4E2D'),
              core::NamedEncoder(std::u16string(300, u'\u4E2D').c_str()).name);
    EXPECT_EQ(u"", core::NamedEncoder(nullptr).name);
}

// --- Results -------------------------------------------------------------------------------------

TEST(EncodingResult, ComesFromEveryStatusOfIcu) {
    for (int code = U_ERROR_WARNING_START; code < U_ERROR_WARNING_LIMIT + 200; ++code) {
        const KXResult result = core::ResultOf(static_cast<UErrorCode>(code));
        if (code <= 0) {
            EXPECT_RESULT(0, result) << code;
        } else if (code >= 10 && code <= 12) {
            EXPECT_RESULT(0x8BB34101, result) << code;
        } else if (code == 15) {
            EXPECT_RESULT(0x80004009, result) << code;
        } else {
            EXPECT_RESULT(0x80004005, result) << code;
        }
    }
    for (int code = 1; code < 0x11000; code += 7) {
        if (code < 10 || code > 15) {
            EXPECT_RESULT(0x80004005, core::ResultOf(static_cast<UErrorCode>(code))) << code;
        }
    }
}

// --- Exhausted memory ----------------------------------------------------------------------------

TEST(EncodingMemory, OpeningThrowsWhereThereIsNone) {
    for (const int allowed : {0, 1}) {
        const FailingNew failing(allowed, 1);
        EXPECT_THROW(KXEncToW_Open(u"a name that is longer than a short one"), std::bad_alloc)
            << "object, then name: " << allowed;
    }
    const FailingNew failing(0, 1);
    EXPECT_THROW(KXEncFromW_Open(nullptr), std::bad_alloc);
}

TEST(EncodingMemory, LongUtf32FailsWhereThereIsNoneAndShortNeedsNone) {
    const std::u32string text(256, U'a');
    const std::string bytes(512, 'a');
    std::string utf8(600, '#');
    std::u32string utf32(600, U'#');
    const struct {
        int utf32Units;
        int utf8Units;
        int result;
    } lengths[] = {{255, 511, 0}, {256, 512, static_cast<int>(0x80004005)}};
    for (const auto& [utf32Units, utf8Units, result] : lengths) {
        int length = -77;
        {
            const FailingNew failing;
            EXPECT_EQ(result,
                      KXEncUTF32ToUTF8(utf8.data(), 600, &length, text.data(), utf32Units, -1));
        }
        EXPECT_EQ(result == 0 ? utf32Units : 0, length);
        {
            const FailingNew failing;
            EXPECT_EQ(result,
                      KXEncUTF8ToUTF32(utf32.data(), 600, &length, bytes.data(), utf8Units, -1));
        }
        EXPECT_EQ(result == 0 ? utf8Units : 0, length);
    }
}

TEST(EncodingMemory, ConvertingAtOnceNeedsNoneOfTheLibrarys) {
    const std::string text(5000, 'x');
    std::string target(5000, '#');
    std::size_t read = text.size();
    std::size_t written = target.size();
    const FailingNew failing;
    EXPECT_EQ(KX_S_OK, KXEncConvert(text.data(), &read, u"UTF-8", target.data(), &written,
                                    u"ISO-8859-1", -1));
}
