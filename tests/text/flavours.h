// What the narrow and the wide flavour promise alike is tested by one text: their functions under
// one name each, for typed tests over the units.
#ifndef KXCORE7_TESTS_TEXT_FLAVOURS_H
#define KXCORE7_TESTS_TEXT_FLAVOURS_H

#include <gtest/gtest.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace kx::test {

using Units = ::testing::Types<char, char16_t>;

// The tests of a suite are called Suite/A.Test and Suite/W.Test.
struct FlavourName {
    template <typename Unit>
    static std::string GetName(int) {
        return std::is_same_v<Unit, char> ? "A" : "W";
    }
};

// Text in either unit, of characters up to U+00FF; with zeros where a string view has them.
template <typename Unit>
std::basic_string<Unit> Text(std::string_view text) {
    std::basic_string<Unit> units;
    for (const char byte : text) units += static_cast<Unit>(static_cast<unsigned char>(byte));
    return units;
}

// Units that end where a block of the heap does: a sanitizer sees what goes behind them.
template <typename Unit>
std::unique_ptr<Unit[]> Tight(std::basic_string_view<Unit> units) {
    auto block = std::make_unique<Unit[]>(units.size());
    std::copy(units.begin(), units.end(), block.get());
    return block;
}

// Text that begins somewhere in a buffer of '#', all of which a test can look at.
template <typename Unit>
class Buffer final {
  public:
    explicit Buffer(std::string_view text = {}, std::size_t size = 12)
        : m_units(size, static_cast<Unit>('#')) {
        const auto units = Text<Unit>(text);
        std::copy(units.begin(), units.end(), m_units.begin());
    }
    Unit* Get() { return m_units.data(); }
    const std::basic_string<Unit>& All() const { return m_units; }

  private:
    std::basic_string<Unit> m_units;
};

inline std::size_t Len(const char* str) {
    return KXStrLenA(str);
}
inline std::size_t Len(const char16_t* str) {
    return KXStrLenW(str);
}
inline std::size_t NLen(const char* str, std::size_t maxCount) {
    return KXStrNLenA(str, maxCount);
}
inline std::size_t NLen(const char16_t* str, std::size_t maxCount) {
    return KXStrNLenW(str, maxCount);
}
inline char* Dup(const char* str) {
    return KXStrDupA(str);
}
inline char16_t* Dup(const char16_t* str) {
    return KXStrDupW(str);
}
inline char* NDup(const char* str, std::size_t maxCount) {
    return KXStrNDupA(str, maxCount);
}
inline char16_t* NDup(const char16_t* str, std::size_t maxCount) {
    return KXStrNDupW(str, maxCount);
}
inline char* Cpy(char* dst, const char* src) {
    return KXStrCpyA(dst, src);
}
inline char16_t* Cpy(char16_t* dst, const char16_t* src) {
    return KXStrCpyW(dst, src);
}
inline char* Cat(char* dst, const char* src) {
    return KXStrCatA(dst, src);
}
inline char16_t* Cat(char16_t* dst, const char16_t* src) {
    return KXStrCatW(dst, src);
}
inline char* NCpy(char* dst, const char* src, std::size_t count) {
    return KXStrNCpyA(dst, src, count);
}
inline char16_t* NCpy(char16_t* dst, const char16_t* src, std::size_t count) {
    return KXStrNCpyW(dst, src, count);
}
inline char* NCat(char* dst, const char* src, std::size_t count) {
    return KXStrNCatA(dst, src, count);
}
inline char16_t* NCat(char16_t* dst, const char16_t* src, std::size_t count) {
    return KXStrNCatW(dst, src, count);
}
inline char* NZCpy(char* dst, std::size_t size, const char* src, std::size_t count) {
    return KXStrNZCpyA(dst, size, src, count);
}
inline char16_t* NZCpy(char16_t* dst, std::size_t size, const char16_t* src, std::size_t count) {
    return KXStrNZCpyW(dst, size, src, count);
}
inline char* NZCat(char* dst, std::size_t size, const char* src, std::size_t count) {
    return KXStrNZCatA(dst, size, src, count);
}
inline char16_t* NZCat(char16_t* dst, std::size_t size, const char16_t* src, std::size_t count) {
    return KXStrNZCatW(dst, size, src, count);
}
inline int Cmp(const char* a, const char* b) {
    return KXStrCmpA(a, b);
}
inline int Cmp(const char16_t* a, const char16_t* b) {
    return KXStrCmpW(a, b);
}
inline int NCmp(const char* a, const char* b, std::size_t count) {
    return KXStrNCmpA(a, b, count);
}
inline int NCmp(const char16_t* a, const char16_t* b, std::size_t count) {
    return KXStrNCmpW(a, b, count);
}
inline int ICmp(const char* a, const char* b) {
    return KXStrICmpA(a, b);
}
inline int ICmp(const char16_t* a, const char16_t* b) {
    return KXStrICmpW(a, b);
}
inline int NICmp(const char* a, const char* b, std::size_t count) {
    return KXStrNICmpA(a, b, count);
}
inline int NICmp(const char16_t* a, const char16_t* b, std::size_t count) {
    return KXStrNICmpW(a, b, count);
}
inline char* Chr(const char* str, char ch) {
    return KXStrChrA(str, ch);
}
inline char16_t* Chr(const char16_t* str, char16_t ch) {
    return KXStrChrW(str, ch);
}
inline char* RChr(const char* str, char ch) {
    return KXStrRChrA(str, ch);
}
inline char16_t* RChr(const char16_t* str, char16_t ch) {
    return KXStrRChrW(str, ch);
}
inline char* Find(const char* str, const char* substring) {
    return KXStrStrA(str, substring);
}
inline char16_t* Find(const char16_t* str, const char16_t* substring) {
    return KXStrStrW(str, substring);
}
inline char* Tok(char** cursor, const char* delimiters) {
    return KXStrTokA(cursor, delimiters);
}
inline char16_t* Tok(char16_t** cursor, const char16_t* delimiters) {
    return KXStrTokW(cursor, delimiters);
}
inline char* Lower(char* str) {
    return KXStrToLowerA(str);
}
inline char16_t* Lower(char16_t* str) {
    return KXStrToLowerW(str);
}
inline char* Upper(char* str) {
    return KXStrToUpperA(str);
}
inline char16_t* Upper(char16_t* str) {
    return KXStrToUpperW(str);
}

}  // namespace kx::test

#endif
