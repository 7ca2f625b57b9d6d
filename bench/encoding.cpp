#include <benchmark/benchmark.h>
#include <glib.h>
#include <iconv.h>
#include <kxcore7/conversion.h>
#include <kxcore7/encoding.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "comparison.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

constexpr double kAsIcu = 1.05;
constexpr int kSubstitution = '?';  // which every encoding has

// --- What is converted ---------------------------------------------------------------------------

struct Sample {
    const char* name;
    std::u16string_view text;  // without pairs, so that it can be cut anywhere
};

constexpr Sample kAscii = {"ASCII", u"The quick brown fox jumps over the lazy dog; "};
constexpr Sample kLatin = {"Latin", u"Größe und Länge, façade à la carte, mañana año; "};
constexpr Sample kCjk = {"CJK", u"漢字とかな交じりの文章を変換する。東京特許許可局、二〇二四年。"};
constexpr Sample kJapanese = {"Japanese", u"漢字とかな交じりの文章 with some ASCII を変換する。"};

std::u16string Repeated(std::u16string_view text, std::size_t units) {
    std::u16string repeated(units, u'\0');
    for (std::size_t i = 0; i < units; ++i) repeated[i] = text[i % text.size()];
    return repeated;
}

// Written here, so that what all of those compared are held against comes from none of them.
std::string Utf8Of(std::u16string_view text) {
    std::string bytes;
    const auto tail = [&bytes](unsigned bits) { bytes += static_cast<char>(0x80 | (bits & 0x3F)); };
    for (const unsigned unit : text) {
        if (unit < 0x80) {
            bytes += static_cast<char>(unit);
            continue;
        }
        if (unit < 0x800) {
            bytes += static_cast<char>(0xC0 | (unit >> 6));
        } else {
            bytes += static_cast<char>(0xE0 | (unit >> 12));
            tail(unit >> 6);
        }
        tail(unit);
    }
    return bytes;
}

// iconv's view of a conversion, held open.
class Iconv final {
  public:
    Iconv(const char* to, const char* from) : m_descriptor(iconv_open(to, from)) {
        if (m_descriptor == kNone) throw std::runtime_error("iconv does not have the encoding");
    }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;
    ~Iconv() { iconv_close(m_descriptor); }

    // The bytes written.
    std::size_t Convert(const void* source, std::size_t sourceBytes, void* target,
                        std::size_t targetBytes) const {
        char* from = static_cast<char*>(const_cast<void*>(source));
        char* to = static_cast<char*>(target);
        iconv(m_descriptor, &from, &sourceBytes, &to, &targetBytes);
        return static_cast<std::size_t>(to - static_cast<char*>(target));
    }

  private:
    static inline const iconv_t kNone = reinterpret_cast<iconv_t>(-1);
    const iconv_t m_descriptor;
};

// How much was written into a buffer is compared first, so that old contents do not pass.
template <typename Unit>
auto Wrote(const std::basic_string<Unit>& expected, const std::basic_string<Unit>& room) {
    return [&expected, &room](std::size_t units) {
        return units == expected.size() && room.compare(0, units, expected) == 0;
    };
}

// --- UTF-8 and UTF-16 ----------------------------------------------------------------------------

struct Forms {
    Forms(const Sample& sample, std::size_t units)
        : label(std::string(sample.name) + ", " + std::to_string(units) + " units"),
          wide(Repeated(sample.text, units)) {}

    const std::string label;
    const std::u16string wide;
    const std::string utf8 = Utf8Of(wide);
    const Iconv toWide{"UTF-16LE", "UTF-8"};
    const Iconv toUtf8{"UTF-8", "UTF-16LE"};

    // The benchmarks' targets, with a place for a terminator.
    mutable std::u16string wideRoom = std::u16string(wide.size() + 1, u'\0');
    mutable std::string utf8Room = std::string(utf8.size() + 1, '\0');
};

using SharedForms = std::shared_ptr<const Forms>;

struct Lengths {
    explicit Lengths(const Forms& forms)
        : wide(static_cast<int>(forms.wide.size())), utf8(static_cast<int>(forms.utf8.size())) {}

    int wide;
    int utf8;
};

void AddPeersToWide(Comparison& row, const SharedForms& forms) {
    const char* const source = forms->utf8.data();
    char16_t* const target = forms->wideRoom.data();
    const Lengths lengths(*forms);
    row.Peer(
        "u_strFromUTF8",
        [=] {
            int length = 0;
            UErrorCode status = U_ZERO_ERROR;
            u_strFromUTF8(target, lengths.wide + 1, &length, Opaque(source), lengths.utf8, &status);
            return static_cast<std::size_t>(length);
        },
        Wrote(forms->wide, forms->wideRoom));
    row.Aside(
        "iconv",
        [forms = forms.get()] {
            const std::string& utf8 = forms->utf8;
            std::u16string& room = forms->wideRoom;
            return forms->toWide.Convert(utf8.data(), utf8.size(), room.data(), 2 * room.size()) /
                   2;
        },
        Wrote(forms->wide, forms->wideRoom));
    row.Aside(
        "g_utf8_to_utf16 + g_free",
        [=] {
            return GText<gunichar2>(
                g_utf8_to_utf16(Opaque(source), lengths.utf8, nullptr, nullptr, nullptr));
        },
        [&wide = forms->wide](const GText<gunichar2>& made) {
            return wide == reinterpret_cast<const char16_t*>(made.get());
        });
}

void AddPeersToUtf8(Comparison& row, const SharedForms& forms) {
    const char16_t* const source = forms->wide.data();
    char* const target = forms->utf8Room.data();
    const Lengths lengths(*forms);
    row.Peer(
        "u_strToUTF8",
        [=] {
            int length = 0;
            UErrorCode status = U_ZERO_ERROR;
            u_strToUTF8(target, lengths.utf8 + 1, &length, Opaque(source), lengths.wide, &status);
            return static_cast<std::size_t>(length);
        },
        Wrote(forms->utf8, forms->utf8Room));
    row.Aside(
        "iconv",
        [forms = forms.get()] {
            const std::u16string& wide = forms->wide;
            std::string& room = forms->utf8Room;
            return forms->toUtf8.Convert(wide.data(), 2 * wide.size(), room.data(), room.size());
        },
        Wrote(forms->utf8, forms->utf8Room));
    row.Aside(
        "g_utf16_to_utf8 + g_free",
        [=] {
            return GText<char>(g_utf16_to_utf8(reinterpret_cast<const gunichar2*>(Opaque(source)),
                                               lengths.wide, nullptr, nullptr, nullptr));
        },
        [&utf8 = forms->utf8](const GText<char>& made) { return utf8 == made.get(); });
}

void CompareToWide(Report& report, const SharedForms& forms) {
    const char* const source = forms->utf8.data();
    char16_t* const target = forms->wideRoom.data();
    const Lengths lengths(*forms);
    const auto isRight = Wrote(forms->wide, forms->wideRoom);

    Comparison plain("KXUTF8ToUTF16N, " + forms->label, forms);
    plain.Own(
        [=] {
            int length = 0;
            KXUTF8ToUTF16N(target, lengths.wide + 1, &length, Opaque(source), lengths.utf8);
            return static_cast<std::size_t>(length);
        },
        isRight);
    AddPeersToWide(plain, forms);
    plain.AddTo(report, kAsIcu);

    Comparison substituting("KXEncUTF8ToUTF16, " + forms->label, forms);
    substituting.Own(
        [=] {
            int length = 0;
            KXEncUTF8ToUTF16(target, lengths.wide + 1, &length, Opaque(source), lengths.utf8,
                             kSubstitution);
            return static_cast<std::size_t>(length);
        },
        isRight);
    AddPeersToWide(substituting, forms);
    substituting.AddTo(report, kAsIcu);
}

void CompareToUtf8(Report& report, const SharedForms& forms) {
    const char16_t* const source = forms->wide.data();
    char* const target = forms->utf8Room.data();
    const Lengths lengths(*forms);
    const auto isRight = Wrote(forms->utf8, forms->utf8Room);

    Comparison plain("KXUTF16ToUTF8N, " + forms->label, forms);
    plain.Own(
        [=] {
            int length = 0;
            KXUTF16ToUTF8N(target, lengths.utf8 + 1, &length, Opaque(source), lengths.wide);
            return static_cast<std::size_t>(length);
        },
        isRight);
    AddPeersToUtf8(plain, forms);
    plain.AddTo(report, kAsIcu);

    Comparison substituting("KXEncUTF16ToUTF8, " + forms->label, forms);
    substituting.Own(
        [=] {
            int length = 0;
            KXEncUTF16ToUTF8(target, lengths.utf8 + 1, &length, Opaque(source), lengths.wide,
                             kSubstitution);
            return static_cast<std::size_t>(length);
        },
        isRight);
    AddPeersToUtf8(substituting, forms);
    substituting.AddTo(report, kAsIcu);
}

// --- Encodings by name ---------------------------------------------------------------------------

struct Encoding {
    const char* name;
    const char16_t* wideName;
    const char* iconvName;
};

constexpr Encoding kUtf8 = {"UTF-8", u"UTF-8", "UTF-8"};
constexpr Encoding kShiftJis = {"Shift_JIS", u"Shift_JIS", "SHIFT_JIS"};
constexpr Encoding kWestern = {"windows-1252", u"windows-1252", "WINDOWS-1252"};

struct Conversion {
    Conversion(const Encoding& theFrom, const Encoding& theTo, std::string theSource,
               std::string theExpected)
        : from(theFrom),
          to(theTo),
          source(std::move(theSource)),
          expected(std::move(theExpected)) {}

    const Encoding from;
    const Encoding to;
    const std::string source;
    const std::string expected;
    const Iconv byIconv{to.iconvName, from.iconvName};
    mutable std::string room = std::string(expected.size() + 1, '\0');
};

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter Opened(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    return {ucnv_open(name, &status), ucnv_close};
}

// What the library does, in ICU's own words. 0 is no result.
std::size_t ConvertInTwoStages(const Conversion& conversion) {
    const Converter from = Opened(conversion.from.name);
    const Converter to = Opened(conversion.to.name);
    const char* source = conversion.source.data();
    const char* const sourceLimit = source + conversion.source.size();
    char* target = conversion.room.data();
    const char* const targetLimit = target + conversion.room.size();
    char16_t pivot[1024];
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        char16_t* end = pivot;
        ucnv_toUnicode(from.get(), &end, std::end(pivot), &source, sourceLimit, nullptr, true,
                       &status);
        const bool isLast = status != U_BUFFER_OVERFLOW_ERROR;
        const char16_t* begin = pivot;
        UErrorCode writing = U_ZERO_ERROR;
        ucnv_fromUnicode(to.get(), &target, targetLimit, &begin, end, nullptr, isLast, &writing);
        if (U_FAILURE(writing)) return 0;
    }
    return U_FAILURE(status) ? 0 : static_cast<std::size_t>(target - conversion.room.data());
}

std::size_t ConvertAtOnce(const Conversion& conversion) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        ucnv_convert(conversion.to.name, conversion.from.name, conversion.room.data(),
                     static_cast<int32_t>(conversion.room.size()), conversion.source.data(),
                     static_cast<int32_t>(conversion.source.size()), &status);
    return U_FAILURE(status) ? 0 : static_cast<std::size_t>(length);
}

std::size_t ConvertByKx(const Conversion& conversion) {
    std::size_t sourceLength = conversion.source.size();
    std::size_t targetLength = conversion.room.size();
    const KXResult result =
        KXEncConvert(conversion.source.data(), &sourceLength, conversion.from.wideName,
                     conversion.room.data(), &targetLength, conversion.to.wideName, kSubstitution);
    return result < 0 ? 0 : targetLength;
}

void CompareConversions(Report& report, const std::string& size, const Encoding& from,
                        const Encoding& to, std::string source, std::string expected) {
    const auto conversion =
        std::make_shared<const Conversion>(from, to, std::move(source), std::move(expected));
    const Conversion& it = *conversion;
    const auto isRight = Wrote(it.expected, it.room);
    Comparison row(size + " of " + from.name + " to " + to.name, conversion);
    row.Own([&it] { return ConvertByKx(it); }, isRight);
    row.Peer(
        "ucnv_toUnicode + ucnv_fromUnicode", [&it] { return ConvertInTwoStages(it); }, isRight);
    row.Aside(
        "ucnv_convert", [&it] { return ConvertAtOnce(it); }, isRight);
    row.Aside(
        "iconv",
        [&it] {
            return it.byIconv.Convert(it.source.data(), it.source.size(), it.room.data(),
                                      it.room.size());
        },
        isRight);
    row.AddTo(report, kAsIcu);
}

// In the encoding, as ICU writes it; iconv, which reads it, would not agree if that were wrong.
std::string EncodedBy(const Encoding& encoding, const std::u16string& text) {
    const Converter converter = Opened(encoding.name);
    std::string bytes(2 * text.size() + 1, '\0');
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        ucnv_fromUChars(converter.get(), bytes.data(), static_cast<int32_t>(bytes.size()),
                        text.data(), static_cast<int32_t>(text.size()), &status);
    if (U_FAILURE(status)) throw std::runtime_error("a text can't be encoded");
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

// The text has about 1 MiB in the encoding, and more in UTF-8.
void CompareBothWays(Report& report, const Encoding& encoding, const Sample& sample,
                     std::size_t units) {
    const std::u16string text = Repeated(sample.text, units);
    const std::string encoded = EncodedBy(encoding, text);
    const std::string utf8 = Utf8Of(text);
    CompareConversions(report, "1 MiB", encoding, kUtf8, encoded, utf8);
    CompareConversions(report, "the same", kUtf8, encoding, utf8, encoded);
}

}  // namespace

void RegisterEncoding(Report& report) {
    for (const Sample& sample : {kAscii, kLatin, kCjk}) {
        for (const std::size_t units : {256, 65536}) {
            const auto forms = std::make_shared<const Forms>(sample, units);
            CompareToWide(report, forms);
            CompareToUtf8(report, forms);
        }
    }
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    CompareBothWays(report, kShiftJis, kJapanese, kMiB * 2 / 3);
    CompareBothWays(report, kWestern, kLatin, kMiB);
}

}  // namespace bench
