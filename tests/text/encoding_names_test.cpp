// Which converters are asked for, and which are closed: the linker sends every call of ucnv_open
// and ucnv_close through here (--wrap).
#include <gtest/gtest.h>
#include <kxcore7/encoding.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "support/encoded_texts.h"
#include "support/faults.h"
#include "support/results.h"
#include "text/encoding.h"

extern "C" {
UConverter* U_ICU_ENTRY_POINT_RENAME(__real_ucnv_open)(const char* name, UErrorCode* status);
UConverter* U_ICU_ENTRY_POINT_RENAME(__wrap_ucnv_open)(const char* name, UErrorCode* status);
void U_ICU_ENTRY_POINT_RENAME(__real_ucnv_close)(UConverter* converter);
void U_ICU_ENTRY_POINT_RENAME(__wrap_ucnv_close)(UConverter* converter);
}

namespace {

using Names = std::vector<std::string>;

constexpr const char* kDefault = "(default)";
constexpr const char* kEverything = "(everything)";

Names g_asked;
Names g_refused;
bool g_statusWasClear = true;
// What is open, in the order of opening, and the places in it of what was closed.
std::vector<UConverter*> g_opened;
std::vector<std::ptrdiff_t> g_closed;

bool IsRefused(const std::string& name) {
    return std::ranges::find(g_refused, kEverything) != g_refused.end() ||
           std::ranges::find(g_refused, name) != g_refused.end();
}

}  // namespace

UConverter* U_ICU_ENTRY_POINT_RENAME(__wrap_ucnv_open)(const char* name, UErrorCode* status) {
    const std::string asked = name != nullptr ? name : kDefault;
    g_asked.push_back(asked);
    g_statusWasClear = g_statusWasClear && *status == U_ZERO_ERROR;
    if (IsRefused(asked)) {
        *status = U_FILE_ACCESS_ERROR;
        return nullptr;
    }
    UConverter* const converter = U_ICU_ENTRY_POINT_RENAME(__real_ucnv_open)(name, status);
    g_opened.push_back(converter);
    return converter;
}

void U_ICU_ENTRY_POINT_RENAME(__wrap_ucnv_close)(UConverter* converter) {
    g_closed.push_back(std::ranges::find(g_opened, converter) - g_opened.begin());
    U_ICU_ENTRY_POINT_RENAME(__real_ucnv_close)(converter);
}

namespace {

using namespace kx::test;

class EncodingNames : public ::testing::Test {
  protected:
    EncodingNames() {
        g_asked.clear();
        g_refused.clear();
        g_statusWasClear = true;
        g_opened.clear();
        g_closed.clear();
    }

    // Opens the name and closes it again; what was printed meanwhile.
    std::string Open(const char16_t* name) {
        ::testing::internal::CaptureStdout();
        const kx::core::Encoder encoder(name);
        m_isOpen = encoder.converter != nullptr;
        if (m_isOpen) {
            UErrorCode status = U_ZERO_ERROR;
            m_name = ucnv_getName(encoder.converter.get(), &status);
        }
        EXPECT_EQ(nullptr, encoder.secondConverter.get());
        EXPECT_TRUE(g_statusWasClear);
        std::fflush(stdout);
        return ::testing::internal::GetCapturedStdout();
    }

    // An object for which everything was refused.
    template <typename Stream>
    struct Without {
        Without() : refuse(std::exchange(g_refused, Names{kEverything})), stream(u"UTF-8") {
            g_refused = refuse;
        }
        Names refuse;
        Stream stream;
    };

    bool m_isOpen = false;
    std::string m_name;
};

}  // namespace

TEST_F(EncodingNames, AKnownNameIsAskedForOnce) {
    EXPECT_EQ("", Open(u"KOI8-R"));
    EXPECT_EQ(Names({"KOI8-R"}), g_asked);
    EXPECT_TRUE(m_isOpen);
}

TEST_F(EncodingNames, ARefusedNameHasAnAliasThatIsOpenedSilently) {
    const struct {
        const char16_t* name;
        Names asked;
        const char* opened;
    } aliases[] = {
        {u"CP1252", {"CP1252", "windows-1252"}, "ibm-5348_P100-1997"},
        {u"CP932", {"CP932", "shift_jis"}, "ibm-943_P15A-2003"},
        {u"SJIS", {"SJIS", "shift_jis"}, "ibm-943_P15A-2003"},
    };
    for (const auto& alias : aliases) {
        g_asked.clear();
        g_refused = {alias.asked[0]};
        EXPECT_EQ("", Open(alias.name));
        EXPECT_EQ(alias.asked, g_asked);
        EXPECT_EQ(alias.opened, m_name);
    }
}

TEST_F(EncodingNames, ARefusedUtf8IsAskedForASecondTime) {
    g_refused = {"UTF-8"};
    EXPECT_EQ("", Open(u"UTF-8"));
    EXPECT_EQ(Names({"UTF-8", "UTF-8", "ISO-8859-1"}), g_asked);
}

TEST_F(EncodingNames, ARefusedAliasIsLatin1) {
    g_refused = {"CP1252", "windows-1252"};
    EXPECT_EQ("", Open(u"CP1252"));
    EXPECT_EQ(Names({"CP1252", "windows-1252", "ISO-8859-1"}), g_asked);
    g_asked.clear();
    g_refused = {"CP932", "SJIS", "shift_jis"};
    EXPECT_EQ("", Open(u"SJIS"));
    EXPECT_EQ(Names({"SJIS", "shift_jis", "ISO-8859-1"}), g_asked);
    EXPECT_EQ("ISO-8859-1", m_name);
}

TEST_F(EncodingNames, AnAliasIsTheWholeNameInItsCase) {
    for (const char* const name : {"cp1252", "Cp932", "sjis", "utf-8", "CP1252,x", "CP125", "XSJIS",
                                   "SJIS ", "windows-1252", "shift_jis", "LATIN", ""}) {
        g_asked.clear();
        g_refused = {name};
        const std::string narrow = name;
        EXPECT_EQ("", Open(std::u16string(narrow.begin(), narrow.end()).c_str()));
        EXPECT_EQ(Names({name, "ISO-8859-1"}), g_asked);
        EXPECT_EQ("ISO-8859-1", m_name);
    }
}

TEST_F(EncodingNames, WithoutEvenLatin1ThereIsNoConverterAndTwoMessages) {
    g_refused = {kEverything};
    EXPECT_EQ("No converter for ISO-8859-1\nISO-8859-1: Could not open converter\n",
              Open(u"CP1252"));
    EXPECT_EQ(Names({"CP1252", "windows-1252", "ISO-8859-1"}), g_asked);
    EXPECT_FALSE(m_isOpen);
    g_asked.clear();
    EXPECT_EQ("No converter for ISO-8859-1\nISO-8859-1: Could not open converter\n",
              Open(u"nobody's"));
    EXPECT_EQ(Names({"nobody's", "ISO-8859-1"}), g_asked);
}

TEST_F(EncodingNames, WithoutANameOnlyTheDefaultIsAskedFor) {
    KXEncUtilInit(nullptr);
    g_asked.clear();
    EXPECT_EQ("", Open(nullptr));
    EXPECT_EQ(Names({kDefault}), g_asked);
    EXPECT_TRUE(m_isOpen);
    g_refused = {kDefault};
    EXPECT_EQ("default: Could not open converter\n", Open(nullptr));
    EXPECT_EQ(Names({kDefault, kDefault}), g_asked);
    EXPECT_FALSE(m_isOpen);
}

TEST_F(EncodingNames, HaveTheLowBytesOfAtMost128Units) {
    for (const std::size_t length : {1, 127, 128, 129, 500}) {
        g_asked.clear();
        Open(std::u16string(length, u'\u4E78').c_str());
        EXPECT_EQ(Names({std::string(std::min<std::size_t>(length, 128), 'x'), "ISO-8859-1"}),
                  g_asked);
    }
    g_asked.clear();
    g_refused = {"SJIS"};
    Open(u"\u0153\u014A\u0149\u0153\u0100tail");
    EXPECT_EQ(Names({"SJIS", "shift_jis"}), g_asked) << "up to the first low byte of zero";
}

// --- Without a converter -------------------------------------------------------------------------

TEST_F(EncodingNames, WithoutAConverterReadingSaysSo) {
    Without<ToWideStream> none;
    const auto part = Convert(none.stream, "abc");
    EXPECT_RESULT(0x8BB34103, part.result);
    EXPECT_EQ(0u, part.read);
    EXPECT_EQ(u"", part.text);
    EXPECT_RESULT(KX_E_ENC_NOT_OPEN, Flush(none.stream).result);
}

TEST_F(EncodingNames, WithoutAConverterWritingEndsTheProcess) {
    Without<FromWideStream> none;
    EXPECT_EXIT(Convert(none.stream, u"abc"), kx::test::EndedByAbort, "");
    EXPECT_EXIT(Flush(none.stream), kx::test::EndedByAbort, "");
}

TEST_F(EncodingNames, WithoutAConverterASubstituteHasNowhereToGo) {
    Without<ToWideStream> none;
    EXPECT_RESULT(0x80004005, none.stream.SetSubstitution(0));
    EXPECT_RESULT(0x80004005, none.stream.SetSubstitution('?'));
    EXPECT_RESULT(0x80004005, none.stream.SetSubstitution(0x10FFFE));
    EXPECT_RESULT(KX_E_ENC_INVALID, none.stream.SetSubstitution(0x10FFFF));
    EXPECT_RESULT(0x80004004, none.stream.SetSubstitution(-1));
}

TEST_F(EncodingNames, WithoutAConverterNothingIsConvertedAtOnce) {
    const Names both[] = {{"KOI8-R", "ISO-8859-1"}, {"UTF-8", "ISO-8859-1"}};
    for (const Names& refused : both) {
        g_refused = refused;
        ConvertedAtOnce all = ConvertAtOnce("abc", u"KOI8-R", u"UTF-8", '?', 16);
        EXPECT_RESULT(KX_E_FAIL, all.result);
        EXPECT_EQ(3u, all.read) << "the lengths stay as they were";
        EXPECT_EQ(16u, all.written);
        all = ConvertAtOnce("abc", u"KOI8-R", u"UTF-8", -1, 16);
        EXPECT_RESULT(KX_E_ABORT, all.result);
        EXPECT_EQ(3u, all.read);
        EXPECT_EQ(16u, all.written);
    }
}

// --- Opening and closing -------------------------------------------------------------------------

TEST_F(EncodingNames, AConversionAtOnceOpensItsTwoAndClosesThemInReverse) {
    for (int i = 0; i < 2; ++i) {
        g_asked.clear();
        g_opened.clear();
        g_closed.clear();
        EXPECT_RESULT(KX_S_OK, ConvertAtOnce("abc", u"KOI8-R", u"EUC-JP", '?', 16).result);
        EXPECT_EQ(Names({"KOI8-R", "EUC-JP"}), g_asked) << "nothing is kept from call to call";
        EXPECT_EQ(std::vector<std::ptrdiff_t>({1, 0}), g_closed);
    }
}

TEST_F(EncodingNames, AConversionWhoseSourceIsRefusedNeverOpensItsTarget) {
    EXPECT_RESULT(KX_E_ENC_INVALID, ConvertAtOnce("abc", u"US-ASCII", u"UTF-8", 0, 16).result);
    EXPECT_EQ(Names({"US-ASCII"}), g_asked);
    EXPECT_EQ(std::vector<std::ptrdiff_t>({0}), g_closed);
}

TEST_F(EncodingNames, ASecondConverterIsClosedBehindTheFirst) {
    {
        kx::core::Encoder encoder(u"KOI8-R");
        kx::core::Encoder other(u"EUC-JP");
        encoder.secondConverter = std::move(other.converter);
        ASSERT_EQ(2u, g_opened.size());
    }
    EXPECT_EQ(std::vector<std::ptrdiff_t>({0, 1}), g_closed);
}

TEST_F(EncodingNames, AnObjectClosesItsConverterOnce) {
    KXEncFromW_Close(KXEncToW_Open(u"KOI8-R"));
    EXPECT_EQ(std::vector<std::ptrdiff_t>({0}), g_closed);
}
