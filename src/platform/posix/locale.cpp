#include "platform/locale.h"

#include <langinfo.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string_view>

namespace kx::platform {
namespace {

static_assert(sizeof(wchar_t) == 4, "the runtime's wide character is a code point");

constexpr bool IsLead(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsTrail(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// For a character that an encoding lacks; all of the runtime's have it.
constexpr wchar_t kReplacement = L'?';

std::size_t UnitsOf(wchar_t point) {
    return point >= 0x10000 ? 2 : 1;
}

void StoreUnits(char16_t* dst, wchar_t point) {
    const auto value = static_cast<char32_t>(point);
    if (value < 0x10000) {
        dst[0] = static_cast<char16_t>(value);
        return;
    }
    dst[0] = static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
    dst[1] = static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF));
}

// The character at src, of one unit or a pair; an unpaired surrogate is left to the runtime, which
// refuses it in every locale.
wchar_t CharacterAt(const char16_t* src) {
    if (!IsLead(src[0]) || !IsTrail(src[1])) return src[0];
    return static_cast<wchar_t>(0x10000 + ((src[0] - 0xD800) << 10) + (src[1] - 0xDC00));
}

// The encodings of the runtime's locales, and the code pages that ICU opens by "CP" and a number.
// Without one of its own, an encoding has the nearest; of KOI8-U, that lacks the letters which only
// Ukrainian has.
struct CodeSet {
    std::string_view name;
    std::uint32_t codePage;
};

constexpr std::uint32_t kAscii = 367;

constexpr CodeSet kCodeSets[] = {
    {"UTF-8", 65001},     {"ANSI_X3.4-1968", kAscii},
    {"ISO-8859-1", 819},  {"ISO-8859-2", 912},
    {"ISO-8859-3", 913},  {"ISO-8859-4", 914},
    {"ISO-8859-5", 915},  {"ISO-8859-6", 1089},
    {"ISO-8859-7", 813},  {"ISO-8859-8", 916},
    {"ISO-8859-9", 920},  {"ISO-8859-13", 921},
    {"ISO-8859-15", 923}, {"KOI8-R", 878},
    {"KOI8-U", 878},      {"CP1250", 1250},
    {"CP1251", 1251},     {"CP1252", 1252},
    {"CP1253", 1253},     {"CP1254", 1254},
    {"CP1255", 1255},     {"CP1256", 1256},
    {"CP1257", 1257},     {"CP1258", 1258},
    {"IBM866", 866},      {"EUC-JP", 33722},
    {"SHIFT_JIS", 932},   {"WINDOWS-31J", 932},
    {"EUC-KR", 970},      {"CP949", 1363},
    {"GB2312", 1383},     {"GBK", 936},
    {"GB18030", 936},     {"BIG5", 950},
    {"BIG5-HKSCS", 950},  {"EUC-TW", 964},
    {"TIS-620", 874},
};

// The name of the locale for messages, which tells the user's language, as far as tables know it:
// "de_AT" of "de_AT.UTF-8@euro". The plain locale's own names are those of POSIX.
std::string_view UserLocaleName() {
    const char* const name = std::setlocale(LC_MESSAGES, nullptr);
    const std::string_view all = name != nullptr ? name : "C";
    const std::string_view plain = all.substr(0, all.find_first_of(".@"));
    return plain == "C" || plain == "POSIX" ? "en_US_POSIX" : plain;
}

// Whether ASCII text is itself in the locale, whatever stands beside it. What is asked here costs
// less than a character by the runtime; encodings that are not named go by it all the way.
bool AsciiIsItself() {
    const std::string_view own = nl_langinfo(CODESET);
    return own == "UTF-8" || own == "ANSI_X3.4-1968";
}

// The length of the ASCII text at the start of src, at most so many units; it is copied unless dst
// is null.
template <typename To, typename From>
std::size_t CopyAscii(To* dst, const From* src, std::size_t most) {
    std::size_t length = 0;
    for (; length != most && src[length] > 0 && src[length] < 0x80; ++length) {
        if (dst != nullptr) dst[length] = static_cast<To>(src[length]);
    }
    return length;
}

}  // namespace

// The runtime converts a character at a time; its own whole-string calls work in 32-bit units.
std::size_t NarrowToWide(char16_t* dst, const char* src, std::size_t count) noexcept {
    std::mbstate_t state{};
    const bool plain = AsciiIsItself();
    std::size_t left = std::strlen(src) + 1;
    for (std::size_t produced = 0;;) {
        if (plain) {
            const std::size_t copied = dst != nullptr
                                           ? CopyAscii(dst + produced, src, count - produced)
                                           : CopyAscii(dst, src, left);
            produced += copied;
            src += copied;
            left -= copied;
        }
        if (dst != nullptr && produced == count) return produced;
        if (plain && *src == '\0') {
            if (dst != nullptr) dst[produced] = u'\0';
            return produced;
        }
        wchar_t point = 0;
        const std::size_t consumed = std::mbrtowc(&point, src, left, &state);
        if (consumed > left) return kConversionFailed;
        const std::size_t units = UnitsOf(point);
        if (dst != nullptr) {
            if (units > count - produced) return produced;
            StoreUnits(dst + produced, point);
        }
        if (consumed == 0) return produced;
        produced += units;
        src += consumed;
        left -= consumed;
    }
}

std::size_t WideToNarrow(char* dst, const char16_t* src, std::size_t count) noexcept {
    std::mbstate_t state{};
    const bool plain = AsciiIsItself();
    for (std::size_t produced = 0;;) {
        if (plain) {
            const std::size_t copied = dst != nullptr
                                           ? CopyAscii(dst + produced, src, count - produced)
                                           : CopyAscii(dst, src, kConversionFailed);
            produced += copied;
            src += copied;
        }
        if (dst != nullptr && produced == count) return produced;
        if (plain && *src == u'\0') {
            if (dst != nullptr) dst[produced] = '\0';
            return produced;
        }
        char bytes[MB_LEN_MAX];
        const wchar_t point = CharacterAt(src);
        const std::size_t length = std::wcrtomb(bytes, point, &state);
        if (length == kConversionFailed) return kConversionFailed;
        if (dst != nullptr) {
            if (length > count - produced) return produced;
            std::memcpy(dst + produced, bytes, length);
        }
        // The terminator may have a shift sequence in front of it, which counts.
        if (point == 0) return produced + length - 1;
        produced += length;
        src += UnitsOf(point);
    }
}

std::size_t WideToCodePage(char* dst, const char16_t* src, std::size_t size) noexcept {
    std::mbstate_t state{};
    for (std::size_t produced = 0;;) {
        char bytes[MB_LEN_MAX];
        const wchar_t point = CharacterAt(src);
        const std::mbstate_t before = state;
        std::size_t length = std::wcrtomb(bytes, point, &state);
        if (length == kConversionFailed) {
            state = before;
            length = std::wcrtomb(bytes, kReplacement, &state);
        }
        if (length > size - produced) return 0;
        std::memcpy(dst + produced, bytes, length);
        produced += length;
        if (point == 0) return produced;
        src += UnitsOf(point);
    }
}

std::uint32_t UserLocale(std::span<const LocaleName> names) {
    const std::string_view own = UserLocaleName();
    const auto found = std::ranges::find(names, own, &LocaleName::name);
    return found != names.end() ? found->identifier : kNoLocale;
}

std::uint32_t NarrowCodePage() noexcept {
    const std::string_view own = nl_langinfo(CODESET);
    const auto found = std::ranges::find(kCodeSets, own, &CodeSet::name);
    return found != std::end(kCodeSets) ? found->codePage : kAscii;
}

}  // namespace kx::platform
