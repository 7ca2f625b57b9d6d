// The inner loops in terms of a vector, which the including file defines in an unnamed namespace:
//
//   kBytes                        how many a vector has
//   Vector                        its type
//   Load, Store                   from and to any address
//   Fill<Unit>                    a unit in every place
//   And, Or, Xor, Without         bit by bit; Without takes the bits of the second from the first
//   Equal<Unit>, Greater<Unit>    all bits one in the places where it holds; Greater is signed
//   Add<Unit>                     place by place
//   Least<Unit>                   place by place the smaller of two, as unsigned numbers
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

// Keeps in a register what is needed twice; compilers prefer to read it twice, which is slower.
Vector Held(Vector vector) {
    asm("" : "+x"(vector));
    return vector;
}

// The first bit of every byte of the units that are zero.
template <typename Unit>
unsigned Zeros(Vector units) {
    return Mask(Equal<Unit>(units, Fill<Unit>(0)));
}

template <typename Unit>
Size PlaceIn(unsigned zeros) {
    return static_cast<Size>(__builtin_ctz(zeros)) / sizeof(Unit);
}

// Where in a block the first zero is.
template <typename Unit>
Size PlaceIn(const Vector (&block)[4]) {
    constexpr Size kStep = kBytes / sizeof(Unit);
    for (Size i = 0; i < 3; ++i) {
        if (const unsigned zeros = Zeros<Unit>(block[i]); zeros != 0) {
            return i * kStep + PlaceIn<Unit>(zeros);
        }
    }
    return 3 * kStep + PlaceIn<Unit>(Zeros<Unit>(block[3]));
}

// Going through texts up to the place where they stop, at most count units. `Texts` is one text or
// several:
//
//   Unit                the type of their units
//   Stops(i)            whether they stop at unit i
//   From(i)             a vector that is zero in the places of the units from i on where they stop
//   Left(i)             bytes that may be read from unit i on, in each of them
//   Misaligned(i)       how far unit i of the first is past a place for a vector
template <typename Texts>
class Run {
  public:
    // Short text is a matter of its first vectors, taken wherever they lie.
    static Size Length(Texts texts, Size count) {
        if (count == 0) return 0;
        if (texts.Left(0) < kBlockBytes) return LengthFrom(0, texts, count);
        for (Size done = 0; done < kBlock; done += kStep) {
            if (const unsigned zeros = Zeros<Unit>(texts.From(done)); zeros != 0) {
                return Smaller(done + PlaceIn<Unit>(zeros), count);
            }
        }
        return LengthFrom(kBlock - texts.Misaligned(kBlock) / sizeof(Unit), texts, count);
    }

  private:
    using Unit = typename Texts::Unit;
    static constexpr Size kStep = kBytes / sizeof(Unit);
    static constexpr Size kBlock = 4 * kStep;
    static constexpr Size kBlockBytes = 4 * kBytes;

    // Whole blocks up to the end of a page. Where one would leave the page it is taken from further
    // back, over units that were gone through already; with too few of those it is a vector or a
    // unit instead. Apart, so that short text has nothing of it to prepare.
    [[gnu::noinline]] static Size LengthFrom(Size done, Texts texts, Size count) {
        while (done < count) {
            const Size left = texts.Left(done);
            if (const Size back = Back<kBlockBytes>(left); back <= done) {
                done -= back;
                const Size wanted = (count - done - 1) / kBlock + 1;
                Size blocks = back != 0 ? 1 : Smaller(left / kBlockBytes, wanted);
                for (; blocks != 0; --blocks, done += kBlock) {
                    const Vector block[] = {texts.From(done), texts.From(done + kStep),
                                            texts.From(done + 2 * kStep),
                                            texts.From(done + 3 * kStep)};
                    const Vector least = Least<Unit>(Least<Unit>(block[0], block[1]),
                                                     Least<Unit>(block[2], block[3]));
                    if (Zeros<Unit>(least) == 0) continue;
                    return Smaller(done + PlaceIn<Unit>(block), count);
                }
            } else if (const Size backOne = Back<kBytes>(left); backOne <= done) {
                done -= backOne;
                if (const unsigned zeros = Zeros<Unit>(texts.From(done)); zeros != 0) {
                    return Smaller(done + PlaceIn<Unit>(zeros), count);
                }
                done += kStep;
            } else {
                if (texts.Stops(done)) return done;
                ++done;
            }
        }
        return count;
    }

    // How many units further back so many bytes have to begin that only left are there for. A unit
    // that lies on the end of the page is for none of them.
    template <Size kWanted>
    static Size Back(Size left) {
        if (left >= kWanted) return 0;
        return left >= sizeof(Unit) ? (kWanted - left + sizeof(Unit) - 1) / sizeof(Unit) : kNoCount;
    }
};

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
    Vector From(Size i) const { return Load(text + i); }
};

struct ToUnit : OneText<char16_t> {
    bool Stops(Size i) const { return text[i] == 0 || text[i] == unit; }
    Vector From(Size i) const {
        const Vector units = Held(Load(text + i));
        return Least<char16_t>(units, Xor(units, Fill<char16_t>(unit)));
    }

    char16_t unit;
};

struct ToDifference : TwoTexts<char16_t> {
    bool Stops(Size i) const { return a[i] != b[i] || a[i] == 0; }
    // What is the same in both is kept, so that a zero stands for a difference as well.
    Vector From(Size i) const {
        const Vector units = Held(Load(a + i));
        return And(units, Equal<char16_t>(units, Load(b + i)));
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

// All bits one in the places of the 26 units from first on. They are moved to where the numbers
// begin, so that one comparison tells.
template <typename Unit>
Vector Letters(Vector units, char first) {
    constexpr int kLowest = sizeof(Unit) == 1 ? -0x80 : -0x8000;
    return Greater<Unit>(Fill<Unit>(kLowest + 26), Add<Unit>(units, Fill<Unit>(kLowest - first)));
}

template <typename Case, typename Unit>
Vector Changed(Vector units) {
    const Vector letters = Letters<Unit>(units, Case::kFirst);
    return Add<Unit>(units, And(letters, Fill<Unit>(Case::kStep)));
}

constexpr int ToUpper(char ch) {
    return ch >= 'a' && ch <= 'z' ? ch - 0x20 : ch;
}

struct ToFoldedDifference : TwoTexts<char> {
    bool Stops(Size i) const { return ToUpper(a[i]) != ToUpper(b[i]) || !(a[i] > 0); }
    // Letters may differ in the bit that tells their case. Bytes that are no ASCII are below zero
    // here, and the terminator is not above it either.
    Vector From(Size i) const {
        const Vector bytes = Held(Load(a + i));
        const Vector caseBit = Fill<char>(0x20);
        const Vector letters = Letters<char>(Or(bytes, caseBit), 'a');
        const Vector differences = Without(Xor(bytes, Load(b + i)), And(letters, caseBit));
        return And(Equal<char>(differences, Fill<char>(0)), Greater<char>(bytes, Fill<char>(0)));
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
    return Run<ToTerminator>::Length({{text}}, count);
}

std::size_t Find(const char16_t* text, char16_t unit) noexcept {
    return Run<ToUnit>::Length({{text}, unit}, kNoCount);
}

std::size_t Common(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    return Run<ToDifference>::Length({{a, b}}, count);
}

std::size_t CommonFolded(const char* a, const char* b, std::size_t count) noexcept {
    return Run<ToFoldedDifference>::Length({{a, b}}, count);
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
