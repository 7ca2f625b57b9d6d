// The forms of Unicode: what is well-formed comes back the same, what is not is found as ICU's
// converter finds it, and the room changes nothing.
#include <kxcore7/encoding.h>
#include <kxcore7/result.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "fuzz/fuzz.h"

using namespace kx::test;

namespace {

constexpr int kStop = -1;

template <typename To, typename From>
using Function = KXResult (*)(To*, int, int*, const From*, int, int);

// The whole text, or nothing where it is ill-formed. With half the room it is as long.
template <typename To, typename From>
std::optional<std::basic_string<To>> Convert(Function<To, From> function,
                                             const std::basic_string<From>& source,
                                             int substitution) {
    const auto length = static_cast<int>(source.size());
    std::basic_string<To> target(source.size() * 4 + 2, To{'#'});
    const auto room = static_cast<int>(target.size()) - 1;
    int needed = -1;
    const KXResult result =
        function(target.data(), room, &needed, source.data(), length, substitution);
    Require(target.back() == To{'#'});
    if (result != KX_S_OK) {
        Require(result == KX_E_ENC_INVALID);
        return std::nullopt;
    }
    Require(needed >= 0 && needed <= room);
    target.resize(static_cast<std::size_t>(needed));

    const int half = needed / 2;
    std::basic_string<To> less(static_cast<std::size_t>(half) + 1, To{'#'});
    int neededForLess = -1;
    const KXResult lessResult =
        function(less.data(), half, &neededForLess, source.data(), length, substitution);
    Require(lessResult == (needed > 0 ? KX_CO_E_INIT_CLASS_CACHE : KX_S_OK));
    Require(neededForLess == needed && less.back() == To{'#'});
    return target;
}

// ICU's converter in stop mode.
std::optional<std::u16string> IcuReads(const std::string& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open("UTF-8", &status),
                                                                       ucnv_close);
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    std::u16string units(bytes.size() + 1, u'\0');
    char16_t* target = units.data();
    const char* source = bytes.data();
    ucnv_toUnicode(converter.get(), &target, units.data() + units.size(), &source,
                   source + bytes.size(), nullptr, true, &status);
    if (U_FAILURE(status)) return std::nullopt;
    return std::u16string(units.data(), target);
}

bool IsWellFormed(const std::u16string& units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
        if ((units[i] & 0xF800) != 0xD800) continue;
        const bool pair =
            units[i] < 0xDC00 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
        if (!pair) return false;
        ++i;
    }
    return true;
}

bool IsWellFormed(const std::u32string& points) {
    return std::ranges::all_of(points, [](char32_t point) {
        return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF);
    });
}

// The input in wider units.
template <typename Unit>
std::basic_string<Unit> As(const std::uint8_t* data, std::size_t size) {
    std::basic_string<Unit> text(size / sizeof(Unit), Unit{});
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(Unit));
    return text;
}

void CheckUtf8(const std::string& bytes) {
    const auto utf16 = Convert(KXEncUTF8ToUTF16, bytes, kStop);
    Require(utf16 == IcuReads(bytes));
    const auto utf32 = Convert(KXEncUTF8ToUTF32, bytes, kStop);
    Require(utf32.has_value() == utf16.has_value());
    const auto substituted = Convert(KXEncUTF8ToUTF16, bytes, '?');
    Require(substituted.has_value() && IsWellFormed(*substituted));
    if (!utf16.has_value()) return;
    Require(substituted == utf16);
    Require(Convert(KXEncUTF16ToUTF8, *utf16, kStop) == bytes);
    Require(Convert(KXEncUTF32ToUTF8, *utf32, kStop) == bytes);
}

void CheckUtf16(const std::u16string& units) {
    const auto utf8 = Convert(KXEncUTF16ToUTF8, units, kStop);
    Require(utf8.has_value() == IsWellFormed(units));
    const auto substituted = Convert(KXEncUTF16ToUTF8, units, 0xFFFD);
    Require(substituted.has_value() && IcuReads(*substituted).has_value());
    if (utf8.has_value()) Require(Convert(KXEncUTF8ToUTF16, *utf8, kStop) == units);
}

void CheckUtf32(const std::u32string& points) {
    const auto utf8 = Convert(KXEncUTF32ToUTF8, points, kStop);
    Require(utf8.has_value() == IsWellFormed(points));
    const auto substituted = Convert(KXEncUTF32ToUTF8, points, 0x10FFFF);
    Require(substituted.has_value() && IcuReads(*substituted).has_value());
    if (utf8.has_value()) Require(Convert(KXEncUTF8ToUTF32, *utf8, kStop) == points);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CheckUtf8(As<char>(data, size));
    CheckUtf16(As<char16_t>(data, size));
    CheckUtf32(As<char32_t>(data, size));
    return 0;
}
