#include <kxcore7/character.h>
#include <kxcore7/str.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <new>

#include "platform/characters.h"
#include "platform/scan.h"
#include "text/ascii.h"

using namespace kx;
using platform::g_scan;
using platform::kNoCount;

namespace {

constexpr std::uint32_t kCodePointOrder = U_COMPARE_CODE_POINT_ORDER;

// What the next functions need of a flavour's own.
size_t LengthOf(const char* text) {
    return std::strlen(text);
}
size_t LengthOf(const char16_t* text) {
    return g_scan->length(text, kNoCount);
}
size_t LengthOf(const char* text, size_t count) {
    return KXStrNLenA(text, count);
}
size_t LengthOf(const char16_t* text, size_t count) {
    return KXStrNLenW(text, count);
}

template <typename Unit>
Unit* Duplicate(const Unit* text, size_t length) {
    auto* const copy = new Unit[length + 1];
    std::memcpy(copy, text, length * sizeof(Unit));
    copy[length] = 0;
    return copy;
}

constexpr int Sign(int value) {
    return (value > 0) - (value < 0);
}

// In unsigned arithmetic, so that a size of 0 bounds nothing.
constexpr size_t UnitsToCopy(size_t dstSize, size_t count) {
    return std::min(dstSize - 1, count);
}

// A size of 0 makes the offset -1: the terminator then goes in front of the buffer.
template <typename Unit>
Unit* AppendTerminated(Unit* dst, size_t dstSize, const Unit* src, size_t count,
                       Unit* (*copy)(Unit*, size_t, const Unit*, size_t)) {
    const size_t length = LengthOf(dst, dstSize);
    const size_t offset = length == dstSize ? length - 1 : length;
    return copy(dst + static_cast<std::ptrdiff_t>(offset), dstSize - offset, src, count);
}

template <typename Unit>
bool IsOneOf(Unit unit, const Unit* units) {
    for (; *units != 0; ++units) {
        if (*units == unit) return true;
    }
    return false;
}

template <typename Unit>
Unit* NextToken(Unit** cursor, const Unit* delimiters) {
    Unit* token = *cursor;
    *cursor = nullptr;
    if (token == nullptr) return nullptr;
    while (*token != 0 && IsOneOf(*token, delimiters)) ++token;
    if (*token == 0) return nullptr;
    for (Unit* at = token; *at != 0; ++at) {
        if (!IsOneOf(*at, delimiters)) continue;
        *at = 0;
        *cursor = at + 1;
        break;
    }
    return token;
}

// Finishes in the locale what ASCII could not answer.
template <typename Unit>
Unit* ChangeCase(Unit* text, size_t (*changeAscii)(Unit*) noexcept,
                 void (*changeRest)(Unit*) noexcept) {
    Unit* const rest = text + changeAscii(text);
    if (*rest != 0) changeRest(rest);
    return text;
}

using MapCase = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*);

// Twice the length is what callers make room for, and rely on being gone through. ICU leaves all of
// it alone when it would grow, so what stands at its end gives way to the text.
char16_t* ChangeCase(char16_t* text, MapCase map) {
    const int32_t length = u_strlen(text);
    const int32_t room = 2 * length;
    for (int32_t taken = room; taken >= length;) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t needed = map(text, room, text, taken, nullptr, &status);
        if (needed <= room) break;
        taken -= needed - room;
    }
    return text;
}

}  // namespace

// --- Length --------------------------------------------------------------------------------------

size_t KXStrLenA(const char* str) {
    return std::strlen(str);
}

size_t KXStrLenW(const char16_t* str) {
    return g_scan->length(str, kNoCount);
}

size_t KXStrLenUTF16(const char16_t* str) {
    return static_cast<size_t>(u_strlen(str));
}

size_t KXStrNLenA(const char* str, size_t maxCount) {
    return maxCount != 0 ? strnlen(str, maxCount) : 0;
}

size_t KXStrNLenW(const char16_t* str, size_t maxCount) {
    return g_scan->length(str, maxCount);
}

size_t KXStrNLenUTF16(const char16_t* str, size_t maxCount) {
    return KXStrNLenW(str, maxCount);
}

size_t KXCountCharUTF16(const char16_t* str) {
    return static_cast<size_t>(u_countChar32(str, -1));
}

// --- Duplicates ----------------------------------------------------------------------------------

char* KXStrDupA(const char* str) {
    return str != nullptr ? Duplicate(str, LengthOf(str)) : nullptr;
}

char16_t* KXStrDupW(const char16_t* str) {
    return str != nullptr ? Duplicate(str, LengthOf(str)) : nullptr;
}

char* KXStrNDupA(const char* str, size_t maxCount) {
    return str != nullptr ? Duplicate(str, LengthOf(str, maxCount)) : nullptr;
}

char16_t* KXStrNDupW(const char16_t* str, size_t maxCount) {
    return str != nullptr ? Duplicate(str, LengthOf(str, maxCount)) : nullptr;
}

void KXStrFreeA(void* str) {
    ::operator delete[](str);
}

void KXStrFreeW(void* str) {
    KXStrFreeA(str);
}

// --- Copy and append -----------------------------------------------------------------------------

char* KXStrCpyA(char* dst, const char* src) {
    return std::strcpy(dst, src);  // NOLINT(clang-analyzer-security.*): as asked for
}

char16_t* KXStrCpyW(char16_t* dst, const char16_t* src) {
    std::memcpy(dst, src, (LengthOf(src) + 1) * sizeof(char16_t));
    return dst;
}

char* KXStrCatA(char* dst, const char* src) {
    return std::strcat(dst, src);  // NOLINT(clang-analyzer-security.*): as asked for
}

char16_t* KXStrCatW(char16_t* dst, const char16_t* src) {
    KXStrCpyW(dst + LengthOf(dst), src);
    return dst;
}

size_t KXStrCpyCatA(char* dst, int count, ...) {
    if (dst == nullptr) return 0;
    char* end = dst;
    *end = '\0';  // first of all: dst itself may be among the strings, and is empty then
    std::va_list strings;
    va_start(strings, count);
    for (; count > 0; --count) {
        const char* const string = va_arg(strings, const char*);
        if (string == nullptr) continue;
        const size_t length = LengthOf(string);
        std::memcpy(end, string, length);
        end += length;
    }
    va_end(strings);
    *end = '\0';
    return static_cast<size_t>(end - dst);
}

char* KXStrNCpyA(char* dst, const char* src, size_t count) {
    return std::strncpy(dst, src, count);
}

char16_t* KXStrNCpyW(char16_t* dst, const char16_t* src, size_t count) {
    const size_t length = LengthOf(src, count);
    std::memcpy(dst, src, length * sizeof(char16_t));
    std::memset(dst + length, 0, (count - length) * sizeof(char16_t));
    return dst;
}

char* KXStrNCatA(char* dst, const char* src, size_t count) {
    return std::strncat(dst, src, count);
}

char16_t* KXStrNCatW(char16_t* dst, const char16_t* src, size_t count) {
    char16_t* const end = dst + LengthOf(dst);
    const size_t length = LengthOf(src, count);
    std::memcpy(end, src, length * sizeof(char16_t));
    end[length] = 0;
    return dst;
}

char* KXStrNZCpyA(char* dst, size_t dstSize, const char* src, size_t count) {
    const size_t units = UnitsToCopy(dstSize, count);
    KXStrNCpyA(dst, src, units);
    dst[units] = 0;
    return dst;
}

char16_t* KXStrNZCpyW(char16_t* dst, size_t dstSize, const char16_t* src, size_t count) {
    const size_t units = UnitsToCopy(dstSize, count);
    KXStrNCpyW(dst, src, units);
    dst[units] = 0;
    return dst;
}

// ICU's bounded copy does not pad, so what is between the terminators stays.
char16_t* KXStrNZCpyUTF16(char16_t* dst, size_t dstSize, const char16_t* src, size_t count) {
    const size_t units = UnitsToCopy(dstSize, count);
    u_strncpy(dst, src, static_cast<int32_t>(std::min<size_t>(units, INT32_MAX)));
    dst[units] = 0;
    return dst;
}

char* KXStrNZCatA(char* dst, size_t dstSize, const char* src, size_t count) {
    return AppendTerminated(dst, dstSize, src, count, KXStrNZCpyA);
}

char16_t* KXStrNZCatW(char16_t* dst, size_t dstSize, const char16_t* src, size_t count) {
    return AppendTerminated(dst, dstSize, src, count, KXStrNZCpyW);
}

char16_t* KXStrNZCatUTF16(char16_t* dst, size_t dstSize, const char16_t* src, size_t count) {
    return AppendTerminated(dst, dstSize, src, count, KXStrNZCpyUTF16);
}

// --- Comparison ----------------------------------------------------------------------------------

int KXStrCmpA(const char* a, const char* b) {
    return Sign(std::strcmp(a, b));
}

int KXStrCmpW(const char16_t* a, const char16_t* b) {
    return Sign(KXStrCmpUCS2(a, b));
}

int KXStrCmpUCS2(const char16_t* a, const char16_t* b) {
    const size_t common = g_scan->common(a, b, kNoCount);
    return a[common] - b[common];
}

int KXStrCmpUTF16(const char16_t* a, const char16_t* b) {
    return u_strcmpCodePointOrder(a, b);
}

int KXStrNCmpA(const char* a, const char* b, size_t count) {
    return std::strncmp(a, b, count);
}

int KXStrNCmpW(const char16_t* a, const char16_t* b, size_t count) {
    const size_t common = g_scan->common(a, b, count);
    return common == count ? 0 : a[common] - b[common];
}

int KXStrNCmpUTF16(const char16_t* a, const char16_t* b, size_t count) {
    return u_strncmpCodePointOrder(a, b, static_cast<int32_t>(std::min<size_t>(count, INT32_MAX)));
}

int KXStrICmpA(const char* a, const char* b) {
    return KXStrNICmpA(a, b, kNoCount);
}

int KXStrICmpW(const char16_t* a, const char16_t* b) {
    return platform::CompareFolded(a, b);
}

int KXStrICmpUCS2(const char16_t* a, const char16_t* b) {
    for (;; ++a, ++b) {
        const int difference = core::AsciiToLower(*a) - core::AsciiToLower(*b);
        if (difference != 0 || *a == 0) return difference;
    }
}

int KXStrICmpUTF16(const char16_t* a, const char16_t* b) {
    return u_strcasecmp(a, b, kCodePointOrder);
}

int KXStrNICmpA(const char* a, const char* b, size_t count) {
    const size_t common = g_scan->commonFolded(a, b, count);
    if (common == count) return 0;
    a += common;
    b += common;
    if (core::IsAscii(*a) && core::IsAscii(*b)) {
        return core::AsciiToUpper(*a) - core::AsciiToUpper(*b);
    }
    return count == kNoCount ? platform::CompareFolded(a, b)
                             : platform::CompareFolded(a, b, count - common);
}

int KXStrNICmpW(const char16_t* a, const char16_t* b, size_t count) {
    return platform::CompareFolded(a, b, count);
}

// Three units whatever the count: callers have come to rely on it.
int KXStrNICmpUTF16(const char16_t* a, const char16_t* b, size_t /*count*/) {
    return u_strncasecmp(a, b, 3, kCodePointOrder);
}

// --- Search --------------------------------------------------------------------------------------

char* KXStrChrA(const char* str, char ch) {
    return const_cast<char*>(std::strchr(str, ch));
}

char16_t* KXStrChrW(const char16_t* str, char16_t ch) {
    const char16_t* const found = str + g_scan->find(str, ch);
    return *found == ch ? const_cast<char16_t*>(found) : nullptr;
}

char16_t* KXStrChrUCS2(const char16_t* str, char16_t ch) {
    return u_strchr(str, ch);
}

char16_t* KXStrChrUTF16(const char16_t* str, char32_t ch) {
    return u_strchr32(str, static_cast<UChar32>(ch));
}

char* KXStrRChrA(const char* str, char ch) {
    return const_cast<char*>(std::strrchr(str, ch));
}

char16_t* KXStrRChrW(const char16_t* str, char16_t ch) {
    const char16_t* at = str + LengthOf(str);
    while (*at != ch) {
        if (at == str) return nullptr;
        --at;
    }
    return const_cast<char16_t*>(at);
}

char16_t* KXStrRChrUCS2(const char16_t* str, char16_t ch) {
    return u_strrchr(str, ch);
}

char16_t* KXStrRChrUTF16(const char16_t* str, char32_t ch) {
    return u_strrchr32(str, static_cast<UChar32>(ch));
}

char* KXStrStrA(const char* str, const char* substring) {
    return const_cast<char*>(std::strstr(str, substring));
}

char16_t* KXStrStrW(const char16_t* str, const char16_t* substring) {
    const size_t length = LengthOf(substring);
    if (length == 0) return const_cast<char16_t*>(str);
    for (;; ++str) {
        str = KXStrChrW(str, *substring);
        if (str == nullptr) return nullptr;
        if (g_scan->common(str, substring, length) == length) return const_cast<char16_t*>(str);
    }
}

char16_t* KXStrStrUTF16(const char16_t* str, const char16_t* substring) {
    return u_strstr(str, substring);
}

// --- Tokens --------------------------------------------------------------------------------------

char* KXStrTokA(char** cursor, const char* delimiters) {
    return NextToken(cursor, delimiters);
}

char16_t* KXStrTokW(char16_t** cursor, const char16_t* delimiters) {
    return NextToken(cursor, delimiters);
}

// --- Case ----------------------------------------------------------------------------------------

char* KXStrToLowerA(char* str) {
    return ChangeCase<char>(str, g_scan->lowerNarrow, platform::LowerText);
}

char16_t* KXStrToLowerW(char16_t* str) {
    return ChangeCase<char16_t>(str, g_scan->lowerWide, platform::LowerText);
}

char* KXStrToUpperA(char* str) {
    return ChangeCase<char>(str, g_scan->upperNarrow, platform::UpperText);
}

char16_t* KXStrToUpperW(char16_t* str) {
    return ChangeCase<char16_t>(str, g_scan->upperWide, platform::UpperText);
}

char16_t* KXStrToLowerUTF16(char16_t* str) {
    return ChangeCase(str, u_strToLower);
}

char16_t* KXStrToUpperUTF16(char16_t* str) {
    return ChangeCase(str, u_strToUpper);
}
