// The code page of every codeset that a locale may have: the linker sends the question for it
// through here (--wrap).
#include <gtest/gtest.h>
#include <iconv.h>
#include <kxcore7/locale.h>
#include <langinfo.h>
#include <unicode/ucnv.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

extern "C" {
char* __real_nl_langinfo(nl_item item);
char* __wrap_nl_langinfo(nl_item item);
}

namespace {

std::string g_codeset;

}  // namespace

char* __wrap_nl_langinfo(nl_item item) {
    return item == CODESET && !g_codeset.empty() ? g_codeset.data() : __real_nl_langinfo(item);
}

namespace {

std::string EncodingOf(const char* codeset) {
    g_codeset = codeset;
    char16_t name[8] = {};
    EXPECT_EQ(0, KXGetDefaultCharEncoding(name, 8));
    g_codeset.clear();
    const std::u16string wide = name;
    return {wide.begin(), wide.end()};
}

using Reading = std::optional<std::u16string>;

// The runtime's reading of bytes in a codeset.
class Runtime final {
  public:
    explicit Runtime(const char* codeset) : m_converter(iconv_open("UTF-16LE", codeset)) {}
    ~Runtime() { iconv_close(m_converter); }
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    Reading Read(std::string bytes) const {
        char16_t units[8];
        char* source = bytes.data();
        char* target = reinterpret_cast<char*>(units);
        std::size_t left = bytes.size();
        std::size_t room = sizeof units;
        iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_converter, &source, &left, &target, &room) != 0 || left != 0) return {};
        iconv(m_converter, nullptr, nullptr, &target, &room);
        return std::u16string(units, reinterpret_cast<char16_t*>(target));
    }

  private:
    const iconv_t m_converter;
};

// ICU's reading of them under the name that the library gives.
class Icu final {
  public:
    explicit Icu(const char* codeset)
        : m_converter(ucnv_open(EncodingOf(codeset).c_str(), &m_status), ucnv_close) {
        EXPECT_TRUE(U_SUCCESS(m_status)) << EncodingOf(codeset);
        ucnv_setToUCallBack(m_converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &m_status);
    }

    std::string Name() { return ucnv_getName(m_converter.get(), &m_status); }
    Reading Read(const std::string& bytes) const {
        char16_t units[8];
        UErrorCode status = U_ZERO_ERROR;
        const int length = ucnv_toUChars(m_converter.get(), units, 8, bytes.data(),
                                         static_cast<int>(bytes.size()), &status);
        if (U_FAILURE(status)) return {};
        return std::u16string(units, static_cast<std::size_t>(length));
    }

  private:
    UErrorCode m_status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> m_converter;
};

// Every text of one byte that the runtime can read, and of two whose first is not ASCII.
std::vector<std::string> ShortTexts() {
    std::vector<std::string> texts;
    for (int first = 0x20; first < 0x100; ++first) {
        if (first == 0x7F) continue;
        texts.push_back({static_cast<char>(first)});
        for (int second = 0x20; first >= 0x80 && second < 0x100; ++second) {
            texts.push_back({static_cast<char>(first), static_cast<char>(second)});
        }
    }
    return texts;
}

struct Differences {
    int read = 0;
    int different = 0;
};

// How many characters the runtime reads, and how many of them ICU reads in another way or not at
// all. Two characters that the runtime puts together to one are left out.
Differences Compare(const char* codeset) {
    Differences differences;
    const Runtime runtime(codeset);
    const Icu icu(codeset);
    for (const std::string& text : ShortTexts()) {
        const Reading expected = runtime.Read(text);
        if (!expected.has_value() || expected->size() != 1) continue;
        if (text.size() == 2 && runtime.Read(text.substr(0, 1)).has_value()) continue;
        ++differences.read;
        differences.different += icu.Read(text) != expected;
    }
    return differences;
}

}  // namespace

TEST(CodesetNames, ReadTheSameCharactersAsTheRuntime) {
    for (const char* const codeset :
         {"UTF-8",      "ANSI_X3.4-1968", "ISO-8859-1", "ISO-8859-2",  "ISO-8859-3",  "ISO-8859-4",
          "ISO-8859-5", "ISO-8859-6",     "ISO-8859-9", "ISO-8859-13", "ISO-8859-15", "KOI8-R",
          "CP1250",     "CP1251",         "CP1252",     "CP1253",      "CP1254",      "CP1255",
          "CP1256",     "CP1257",         "CP1258",     "IBM866",      "TIS-620",     "GBK"}) {
        const Differences differences = Compare(codeset);
        EXPECT_GT(differences.read, 90) << codeset;
        EXPECT_EQ(0, differences.different) << codeset;
    }
}

// Where the vendors of converters never agreed, a few signs differ and no letter.
TEST(CodesetNames, ReadAlmostTheSameWhereThereAreSeveralReadings) {
    const struct {
        const char* codeset;
        int different;
    } codesets[] = {
        {"ISO-8859-7", 5}, {"ISO-8859-8", 4}, {"EUC-JP", 6}, {"SHIFT_JIS", 8}, {"WINDOWS-31J", 0},
        {"EUC-KR", 5},     {"CP949", 6},      {"GB2312", 1}, {"EUC-TW", 9},
    };
    for (const auto& [codeset, different] : codesets) {
        const Differences differences = Compare(codeset);
        EXPECT_GT(differences.read, 180) << codeset;
        EXPECT_LE(differences.different, different) << codeset;
    }
}

// The nearest that ICU has by a number: ASCII is right, and most of the rest.
TEST(CodesetNames, ReadMostWhereThereIsNoCodePageOfItsOwn) {
    for (const char* const codeset : {"KOI8-U", "GB18030", "BIG5", "BIG5-HKSCS"}) {
        const Differences differences = Compare(codeset);
        EXPECT_LT(differences.different, differences.read / 5) << codeset;
    }
}

TEST(CodesetNames, AreAsciiForWhatNobodyKnows) {
    for (const char* const codeset : {"no such codeset", "utf8", "UTF-8x", "ISO-8859-16"}) {
        EXPECT_EQ("CP367", EncodingOf(codeset)) << codeset;
    }
}

TEST(CodesetNames, NeverEndUpAsLatin1ByMistake) {
    for (const char* const codeset : {"ISO-8859-2", "KOI8-U", "EUC-JP", "CP949", "GB18030", "BIG5",
                                      "EUC-TW", "TIS-620", "no such codeset"}) {
        EXPECT_NE("ISO-8859-1", Icu(codeset).Name()) << codeset;
    }
    EXPECT_EQ("ISO-8859-1", Icu("ISO-8859-1").Name());
}
