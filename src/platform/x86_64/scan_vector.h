// The inner loops in terms of a vector, which the including file defines in an unnamed namespace:
//
//   kBytes                        how many a vector has
//   Vector                        its type
//   Load, Store                   from and to any address
//   Fill<Unit>                    a unit in every place
//   Or, And                       bit by bit
//   Equal<Unit>, Greater<Unit>    all bits one in the places where it holds; Greater is signed
//   Add<Unit>                     place by place
//   Mask                          the first bit of every byte
//
// Everything here has internal linkage and calls nothing of the standard library: it is compiled
// for processors that the rest of the program does not ask for, and must not be shared with it.
#ifndef KXCORE7_SRC_PLATFORM_X86_64_SCAN_VECTOR_H
#define KXCORE7_SRC_PLATFORM_X86_64_SCAN_VECTOR_H

#include "platform/portable/scan_portable.h"

namespace kx::platform {
namespace {

using Size = std::size_t;

// Bytes from place on to the end of its page, which is there because text has a unit in it.
Size LeftInPage(const void* place) {
    constexpr Size kPage = 4096;
    return kPage - (reinterpret_cast<Size>(place) & (kPage - 1));
}

constexpr Size Smaller(Size a, Size b) {
    return a < b ? a : b;
}

// Where one of four vectors has its first bit.
Size PlaceOf(const Vector (&stops)[4]) {
    for (Size i = 0; i < 3; ++i) {
        if (const unsigned mask = Mask(stops[i]); mask != 0) {
            return i * kBytes + static_cast<Size>(__builtin_ctz(mask));
        }
    }
    return 3 * kBytes + static_cast<Size>(__builtin_ctz(Mask(stops[3])));
}

// Units up to the place where texts stop, at most count. `texts` is one text or several:
//
//   Unit                the type of their units
//   Stops(i)            whether they stop at unit i
//   StopsFrom(i)        the same for a vector of units
//   Left(i)             bytes that may be read from unit i on, in each of them
//   Misaligned(i)       how far unit i of the first is past a place for a vector
//
// Where a vector would leave a page it is taken from further back, over units that were gone
// through already.
template <typename Texts>
Size Run(const Texts& texts, Size count) {
    constexpr Size kUnit = sizeof(typename Texts::Unit);
    constexpr Size kStep = kBytes / kUnit;
    Size done = 0;
    while (done < count) {
        const Size left = texts.Left(done);
        if (left >= 4 * kBytes) {
            const Vector stops[] = {texts.StopsFrom(done), texts.StopsFrom(done + kStep),
                                    texts.StopsFrom(done + 2 * kStep),
                                    texts.StopsFrom(done + 3 * kStep)};
            if (Mask(Or(Or(stops[0], stops[1]), Or(stops[2], stops[3]))) != 0) {
                return Smaller(done + PlaceOf(stops) / kUnit, count);
            }
            done += 4 * kStep;
            // Once, behind the first vectors: from here on they are read where they lie best.
            if (done == 4 * kStep) done -= texts.Misaligned(done) / kUnit;
            continue;
        }
        const Size back = left >= kBytes ? 0 : (kBytes - left) / kUnit;
        if (back > done || left % kUnit != 0) {
            if (texts.Stops(done)) return done;
            ++done;
            continue;
        }
        if (const unsigned mask = Mask(texts.StopsFrom(done - back)); mask != 0) {
            return Smaller(done - back + static_cast<Size>(__builtin_ctz(mask)) / kUnit, count);
        }
        done += kStep - back;
    }
    return count;
}

// --- Texts ---------------------------------------------------------------------------------------

template <typename OfUnit>
struct OneText {
    using Unit = OfUnit;

    Size Left(Size i) const { return LeftInPage(text + i); }
    Size Misaligned(Size i) const { return reinterpret_cast<Size>(text + i) % kBytes; }

    const Unit* text;
};

template <typename OfUnit>
struct TwoTexts {
    using Unit = OfUnit;

    Size Left(Size i) const { return Smaller(LeftInPage(a + i), LeftInPage(b + i)); }
    Size Misaligned(Size i) const { return reinterpret_cast<Size>(a + i) % kBytes; }

    const Unit* a;
    const Unit* b;
};

struct ToTerminator : OneText<char16_t> {
    bool Stops(Size i) const { return text[i] == 0; }
    Vector StopsFrom(Size i) const { return Equal<char16_t>(Load(text + i), Fill<char16_t>(0)); }
};

struct ToUnit : OneText<char16_t> {
    bool Stops(Size i) const { return text[i] == 0 || text[i] == unit; }
    Vector StopsFrom(Size i) const {
        const Vector units = Load(text + i);
        return Or(Equal<char16_t>(units, Fill<char16_t>(0)),
                  Equal<char16_t>(units, Fill<char16_t>(unit)));
    }

    char16_t unit;
};

struct ToDifference : TwoTexts<char16_t> {
    bool Stops(Size i) const { return a[i] != b[i] || a[i] == 0; }
    // What is the same in both is kept, so that a zero stands for a difference as well.
    Vector StopsFrom(Size i) const {
        const Vector units = Load(a + i);
        return Equal<char16_t>(And(units, Equal<char16_t>(units, Load(b + i))), Fill<char16_t>(0));
    }
};

// --- Case ----------------------------------------------------------------------------------------

struct Lower {
    static constexpr char kFirst = 'A';
    static constexpr int kStep = 0x20;
};

struct Upper {
    static constexpr char kFirst = 'a';
    static constexpr int kStep = -0x20;
};

template <typename Case, typename Unit>
Vector Changed(Vector units) {
    const Vector letters = And(Greater<Unit>(units, Fill<Unit>(Case::kFirst - 1)),
                               Greater<Unit>(Fill<Unit>(Case::kFirst + 26), units));
    return Add<Unit>(units, And(letters, Fill<Unit>(Case::kStep)));
}

constexpr int ToUpper(char ch) {
    return ch >= 'a' && ch <= 'z' ? ch - 0x20 : ch;
}

struct ToFoldedDifference : TwoTexts<char> {
    bool Stops(Size i) const { return ToUpper(a[i]) != ToUpper(b[i]) || !(a[i] > 0); }
    // Bytes that are no ASCII are below zero here, and the terminator is not above it either.
    Vector StopsFrom(Size i) const {
        const Vector bytes = Load(a + i);
        const Vector same =
            Equal<char>(Changed<Upper, char>(bytes), Changed<Upper, char>(Load(b + i)));
        return Equal<char>(And(same, Greater<char>(bytes, Fill<char>(0))), Fill<char>(0));
    }
};

// All bits one where a unit is the terminator or no ASCII. A byte that is none is below zero; a
// wide unit may lie on either side.
template <typename Unit>
Vector EndOfAscii(Vector units) {
    Vector ascii = Greater<Unit>(units, Fill<Unit>(0));
    if constexpr (sizeof(Unit) > 1) ascii = And(ascii, Greater<Unit>(Fill<Unit>(0x80), units));
    return Equal<Unit>(ascii, Fill<Unit>(0));
}

// Whole vectors of ASCII are changed here; the last units, and those at the end of a page, one by
// one.
template <typename Case, typename Unit>
Size ChangeCase(Unit* text, Size (*changeRest)(Unit*) noexcept) {
    constexpr Size kStep = kBytes / sizeof(Unit);
    Size done = 0;
    for (;;) {
        while (LeftInPage(text + done) >= kBytes) {
            const Vector units = Load(text + done);
            if (Mask(EndOfAscii<Unit>(units)) != 0) return done + changeRest(text + done);
            Store(text + done, Changed<Case, Unit>(units));
            done += kStep;
        }
        Unit& unit = text[done];
        if (!(unit > 0) || static_cast<unsigned>(unit) >= 0x80) return done;
        if (unit >= Case::kFirst && unit < Case::kFirst + 26) {
            unit = static_cast<Unit>(unit + Case::kStep);
        }
        ++done;
    }
}

// --- The form ------------------------------------------------------------------------------------

std::size_t Length(const char16_t* text, std::size_t count) noexcept {
    return Run(ToTerminator{{text}}, count);
}

std::size_t Find(const char16_t* text, char16_t unit) noexcept {
    return Run(ToUnit{{text}, unit}, kNoCount);
}

std::size_t Common(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    return Run(ToDifference{{a, b}}, count);
}

std::size_t CommonFolded(const char* a, const char* b, std::size_t count) noexcept {
    return Run(ToFoldedDifference{{a, b}}, count);
}

std::size_t LowerNarrow(char* text) noexcept {
    return ChangeCase<Lower>(text, kPortableScan.lowerNarrow);
}
std::size_t UpperNarrow(char* text) noexcept {
    return ChangeCase<Upper>(text, kPortableScan.upperNarrow);
}
std::size_t LowerWide(char16_t* text) noexcept {
    return ChangeCase<Lower>(text, kPortableScan.lowerWide);
}
std::size_t UpperWide(char16_t* text) noexcept {
    return ChangeCase<Upper>(text, kPortableScan.upperWide);
}

constexpr Scan FormNamed(const char* name) {
    return {
        .name = name,
        .length = Length,
        .find = Find,
        .common = Common,
        .commonFolded = CommonFolded,
        .lowerNarrow = LowerNarrow,
        .upperNarrow = UpperNarrow,
        .lowerWide = LowerWide,
        .upperWide = UpperWide,
    };
}

}  // namespace
}  // namespace kx::platform

#endif
