// Length, duplicates, copy and append.
#include <kxcore7/str.h>

#include <cstring>
#include <iterator>

#include "text/flavours.h"

using namespace kx::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr size_t kUnbounded = ~size_t{0};

template <typename Unit>
class Str : public ::testing::Test {
  protected:
    using String = std::basic_string<Unit>;
    static String T(std::string_view text) { return Text<Unit>(text); }
    static std::unique_ptr<Unit[]> TightT(std::string_view text) {
        return Tight<Unit>(Text<Unit>(text));
    }
};
TYPED_TEST_SUITE(Str, Units, FlavourName);

}  // namespace

// --- Length --------------------------------------------------------------------------------------

TYPED_TEST(Str, LenCountsUnitsBeforeTheTerminator) {
    EXPECT_EQ(0u, Len(this->T("").c_str()));
    EXPECT_EQ(3u, Len(this->T("abc").c_str()));
    EXPECT_EQ(4u, Len(this->T("\xFF\x80"
                              "a\x7F")
                          .c_str()));
    for (size_t length = 0; length < 80; ++length) {
        const auto text = this->TightT(std::string(length, 'x') + '\0');
        EXPECT_EQ(length, Len(text.get()));
    }
}

TYPED_TEST(Str, NLenCountsAtMostSoMany) {
    const auto text = this->T("abcdef");
    for (size_t count = 0; count < 6; ++count) EXPECT_EQ(count, NLen(text.c_str(), count));
    EXPECT_EQ(6u, NLen(text.c_str(), 6));
    EXPECT_EQ(6u, NLen(text.c_str(), 7));
    EXPECT_EQ(6u, NLen(text.c_str(), kUnbounded));
}

TYPED_TEST(Str, NLenOfNothingDoesNotTouchTheString) {
    const TypeParam* const nowhere = nullptr;
    EXPECT_EQ(0u, NLen(nowhere, 0));
    EXPECT_EQ(0u, KXStrNLenUTF16(nullptr, 0));
}

TYPED_TEST(Str, NLenReadsNothingBehindTheCount) {
    for (size_t count = 0; count < 40; ++count) {
        const auto text = this->TightT(std::string(count, 'x'));
        EXPECT_EQ(count, NLen(text.get(), count));
    }
}

TEST(StrLength, CountsUnitsOfPairsInWAndUtf16) {
    EXPECT_EQ(2u, KXStrLenW(u"\U0001F600"));
    EXPECT_EQ(2u, KXStrLenUTF16(u"\U0001F600"));
    EXPECT_EQ(0u, KXStrLenUTF16(u""));
    EXPECT_EQ(4u, KXStrLenUTF16(u"a\U0001F600z"));
    for (size_t count = 0; count < 6; ++count) {
        EXPECT_EQ(std::min<size_t>(count, 4), KXStrNLenUTF16(u"a\U0001F600z", count));
    }
}

TEST(StrLength, CountCharCountsPairsAndLoneSurrogatesOnce) {
    EXPECT_EQ(0u, KXCountCharUTF16(u""));
    EXPECT_EQ(3u, KXCountCharUTF16(u"a\U0001F600z"));
    const char16_t lone[] = {0xDC00, u'a', 0xD800, 0xD83D, 0xDE00, 0xD800, 0};
    EXPECT_EQ(5u, KXCountCharUTF16(lone));
}

TEST(StrLength, CountCharOfNullIsZero) {
    EXPECT_EQ(0u, KXCountCharUTF16(nullptr));
}

// --- Duplicates ----------------------------------------------------------------------------------

TYPED_TEST(Str, DupMakesANewString) {
    for (const auto text : {""sv, "a"sv, "some text"sv, "\xFF\x80z"sv}) {
        const auto source = this->T(text);
        TypeParam* const copy = Dup(source.c_str());
        EXPECT_NE(source.c_str(), copy);
        EXPECT_EQ(source, copy);
        KXStrFreeA(copy);
    }
}

TYPED_TEST(Str, DupReadsAndWritesNoMoreThanTheString) {
    const auto source = this->TightT("some text\0"sv);
    TypeParam* const copy = Dup(source.get());
    EXPECT_EQ(this->T("some text"), copy);
    KXStrFreeW(copy);
}

TYPED_TEST(Str, NDupCopiesSoManyUnitsAndTerminates) {
    const auto source = this->TightT("abcde"sv);
    for (size_t count = 0; count < 6; ++count) {
        TypeParam* const copy = NDup(source.get(), count);
        EXPECT_EQ(this->T("abcde").substr(0, count), copy);
        KXStrFreeW(copy);
    }
    TypeParam* const whole = NDup(this->T("abc").c_str(), kUnbounded);
    EXPECT_EQ(this->T("abc"), whole);
    KXStrFreeA(whole);
}

TYPED_TEST(Str, DuplicateOfNullIsNull) {
    const TypeParam* const null = nullptr;
    EXPECT_EQ(nullptr, Dup(null));
    EXPECT_EQ(nullptr, NDup(null, 0));
    EXPECT_EQ(nullptr, NDup(null, 5));
}

TYPED_TEST(Str, EitherFreeReleasesEitherDuplicate) {
    const auto text = this->T("abc");
    KXStrFreeA(Dup(text.c_str()));
    KXStrFreeW(Dup(text.c_str()));
    KXStrFreeA(NDup(text.c_str(), 2));
    KXStrFreeW(NDup(text.c_str(), 2));
}

TEST(StrFree, AcceptsNull) {
    KXStrFreeA(nullptr);
    KXStrFreeW(nullptr);
}

// --- Copy and append -----------------------------------------------------------------------------

TYPED_TEST(Str, CpyCopiesThroughTheTerminator) {
    Buffer<TypeParam> buffer;
    EXPECT_EQ(buffer.Get(), Cpy(buffer.Get(), this->T("abc").c_str()));
    EXPECT_EQ(this->T("abc\0########"sv), buffer.All());
    Cpy(buffer.Get(), this->T("").c_str());
    EXPECT_EQ(this->T("\0bc\0########"sv), buffer.All());
}

TYPED_TEST(Str, CatAppendsThroughTheTerminator) {
    Buffer<TypeParam> buffer("ab\0"sv);
    EXPECT_EQ(buffer.Get(), Cat(buffer.Get(), this->T("cde").c_str()));
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All());
    Cat(buffer.Get(), this->T("").c_str());
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All());
}

TYPED_TEST(Str, CpyAndCatFillABufferToItsEnd) {
    const auto half = this->TightT("abc\0"sv);
    const auto buffer = std::make_unique<TypeParam[]>(7);
    Cpy(buffer.get(), half.get());
    Cat(buffer.get(), half.get());
    EXPECT_EQ(this->T("abcabc"), buffer.get());
}

TYPED_TEST(Str, NCpyPadsAndDoesNotTerminate) {
    Buffer<TypeParam> padded;
    EXPECT_EQ(padded.Get(), NCpy(padded.Get(), this->T("ab").c_str(), 5));
    EXPECT_EQ(this->T("ab\0\0\0#######"sv), padded.All());
    Buffer<TypeParam> cut;
    NCpy(cut.Get(), this->TightT("abc").get(), 3);
    EXPECT_EQ(this->T("abc#########"), cut.All());
    NCpy(cut.Get(), this->T("x").c_str(), 0);
    EXPECT_EQ(this->T("abc#########"), cut.All());
}

TYPED_TEST(Str, NCatAppendsSoManyUnitsAndATerminator) {
    Buffer<TypeParam> buffer("ab\0"sv);
    EXPECT_EQ(buffer.Get(), NCat(buffer.Get(), this->TightT("cde").get(), 3));
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All());
    NCat(buffer.Get(), this->T("fgh").c_str(), 1);
    EXPECT_EQ(this->T("abcdef\0#####"sv), buffer.All());
    NCat(buffer.Get(), this->T("gh").c_str(), 0);
    EXPECT_EQ(this->T("abcdef\0#####"sv), buffer.All());
    NCat(buffer.Get(), this->T("gh").c_str(), kUnbounded);
    EXPECT_EQ(this->T("abcdefgh\0###"sv), buffer.All());
}

// --- Bounded copy --------------------------------------------------------------------------------

TYPED_TEST(Str, NZCpyTakesTheSmallerBoundAndTerminates) {
    struct Case {
        size_t size, count;
        std::string_view expected;
    };
    for (const auto& [size, count, expected] : {
             Case{4, 9, "abc\0########"sv},  // the buffer's end cuts
             Case{9, 2, "ab\0#########"sv},  // the count cuts
             Case{3, 2, "ab\0#########"sv},
             Case{7, 6, "abcdef\0#####"sv},
             Case{9, kUnbounded, "abcdef\0\0\0###"sv},
             Case{5, 0, "\0###########"sv},
         }) {
        Buffer<TypeParam> buffer;
        const auto source = this->T("abcdef");
        EXPECT_EQ(buffer.Get(), NZCpy(buffer.Get(), size, source.c_str(), count));
        EXPECT_EQ(this->T(expected), buffer.All()) << size << ' ' << count;
    }
}

TYPED_TEST(Str, NZCpyIntoOnePlaceStoresOnlyATerminator) {
    Buffer<TypeParam> buffer;
    EXPECT_EQ(buffer.Get(), NZCpy(buffer.Get(), 1, this->T("abc").c_str(), 3));
    EXPECT_EQ(this->T("\0###########"sv), buffer.All());
}

TYPED_TEST(Str, NZCpyWithSizeZeroIsBoundByTheCountAlone) {
    Buffer<TypeParam> buffer;
    EXPECT_EQ(buffer.Get(), NZCpy(buffer.Get(), 0, this->T("abcdef").c_str(), 4));
    EXPECT_EQ(this->T("abcd\0#######"sv), buffer.All());
    NZCpy(buffer.Get(), 0, this->T("x").c_str(), 3);
    EXPECT_EQ(this->T("x\0\0\0\0#######"sv), buffer.All()) << "the terminator is at the count";
}

TYPED_TEST(Str, NZCpyZeroesTheFirstPlacesBehindAShortSource) {
    Buffer<TypeParam> buffer;
    NZCpy(buffer.Get(), 8, this->T("ab").c_str(), 5);
    EXPECT_EQ(this->T("ab\0\0\0\0######"sv), buffer.All());
}

TYPED_TEST(Str, NZCpyReadsNothingBehindTheCount) {
    Buffer<TypeParam> buffer;
    NZCpy(buffer.Get(), 12, this->TightT("abc").get(), 3);
    EXPECT_EQ(this->T("abc\0########"sv), buffer.All());
    NZCpy(buffer.Get(), 3, this->TightT("xy").get(), 9);
    EXPECT_EQ(this->T("xy\0\0########"sv), buffer.All());
}

TEST(StrUtf16, NZCpyTakesTheSmallerBoundAndTerminates) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(buffer.Get(), KXStrNZCpyUTF16(buffer.Get(), 4, u"abcdef", 9));
    EXPECT_EQ(u"abc\0########"s, buffer.All());
    EXPECT_EQ(buffer.Get(), KXStrNZCpyUTF16(buffer.Get(), 9, u"vwxyz", 2));
    EXPECT_EQ(u"vw\0\0########"s, buffer.All());
    KXStrNZCpyUTF16(buffer.Get(), 1, u"abc", 3);
    EXPECT_EQ(u"\0w\0\0########"s, buffer.All());
}

TEST(StrUtf16, NZCpyLeavesWhatIsBehindAShortSource) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(buffer.Get(), KXStrNZCpyUTF16(buffer.Get(), 8, u"ab", 5));
    EXPECT_EQ(u"ab\0##\0######"s, buffer.All());
}

TEST(StrUtf16, NZCpyWithSizeZeroIsBoundByTheCountAlone) {
    Buffer<char16_t> buffer;
    KXStrNZCpyUTF16(buffer.Get(), 0, u"abcdef", 4);
    EXPECT_EQ(u"abcd\0#######"s, buffer.All());
    KXStrNZCpyUTF16(buffer.Get(), 0, u"x", 6);
    EXPECT_EQ(u"x\0cd\0#\0#####"s, buffer.All());
}

TEST(StrUtf16, NZCpyReadsNothingBehindTheCount) {
    Buffer<char16_t> buffer;
    KXStrNZCpyUTF16(buffer.Get(), 12, Tight<char16_t>(u"abc").get(), 3);
    EXPECT_EQ(u"abc\0########"s, buffer.All());
}

// --- Bounded append ------------------------------------------------------------------------------

TYPED_TEST(Str, NZCatReturnsWhereTheAppendedTextBegins) {
    Buffer<TypeParam> buffer("ab\0"sv);
    EXPECT_EQ(buffer.Get() + 2, NZCat(buffer.Get(), 12, this->T("cde").c_str(), 3));
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All());
    EXPECT_EQ(buffer.Get() + 5, NZCat(buffer.Get(), 12, this->T("fgh").c_str(), 1));
    EXPECT_EQ(this->T("abcdef\0#####"sv), buffer.All());
}

TYPED_TEST(Str, NZCatReturnsTheBufferItselfOnlyWhenItIsEmpty) {
    Buffer<TypeParam> empty("\0"sv);
    EXPECT_EQ(empty.Get(), NZCat(empty.Get(), 12, this->T("abc").c_str(), 3));
    EXPECT_EQ(this->T("abc\0########"sv), empty.All());
    Buffer<TypeParam> onePlace;
    EXPECT_EQ(onePlace.Get(), NZCat(onePlace.Get(), 1, this->T("abc").c_str(), 3));
    EXPECT_EQ(this->T("\0###########"sv), onePlace.All());
}

TYPED_TEST(Str, NZCatCutsAtTheBuffersEnd) {
    Buffer<TypeParam> buffer("abc\0"sv);
    EXPECT_EQ(buffer.Get() + 3, NZCat(buffer.Get(), 6, this->T("defgh").c_str(), kUnbounded));
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All());
    EXPECT_EQ(buffer.Get() + 5, NZCat(buffer.Get(), 6, this->T("xyz").c_str(), 3));
    EXPECT_EQ(this->T("abcde\0######"sv), buffer.All()) << "a full buffer stays";
}

TYPED_TEST(Str, NZCatPadsWithinItsBounds) {
    Buffer<TypeParam> buffer("ab\0"sv);
    NZCat(buffer.Get(), 8, this->T("c").c_str(), 4);
    EXPECT_EQ(this->T("abc\0\0\0\0#####"sv), buffer.All());
}

TYPED_TEST(Str, NZCatWithoutATerminatorOverwritesTheLastUnit) {
    Buffer<TypeParam> buffer("abcdef");
    EXPECT_EQ(buffer.Get() + 3, NZCat(buffer.Get(), 4, this->T("xyz").c_str(), 3));
    EXPECT_EQ(this->T("abc\0ef######"sv), buffer.All());
    const auto tight = this->TightT("abcd");
    NZCat(tight.get(), 4, this->T("xyz").c_str(), 3);
    EXPECT_EQ(this->T("abc"), tight.get());
}

TYPED_TEST(Str, NZCatWithSizeZeroStoresATerminatorInFrontOfTheBuffer) {
    Buffer<TypeParam> buffer;
    EXPECT_EQ(buffer.Get() + 3, NZCat(buffer.Get() + 4, 0, this->T("xyz").c_str(), 3));
    EXPECT_EQ(this->T("###\0########"sv), buffer.All());
}

TEST(StrUtf16, NZCatAppendsWithoutPadding) {
    Buffer<char16_t> buffer("ab\0"sv);
    EXPECT_EQ(buffer.Get() + 2, KXStrNZCatUTF16(buffer.Get(), 9, u"c", 4));
    EXPECT_EQ(u"abc\0##\0#####"s, buffer.All());
    EXPECT_EQ(buffer.Get() + 3, KXStrNZCatUTF16(buffer.Get(), 6, u"defgh", kUnbounded));
    EXPECT_EQ(u"abcde\0\0#####"s, buffer.All());
}

TEST(StrUtf16, NZCatWithoutATerminatorOverwritesTheLastUnit) {
    Buffer<char16_t> buffer("abcdef");
    EXPECT_EQ(buffer.Get() + 3, KXStrNZCatUTF16(buffer.Get(), 4, u"xyz", 3));
    EXPECT_EQ(u"abc\0ef######"s, buffer.All());
}

TEST(StrUtf16, NZCatWithSizeZeroStoresATerminatorInFrontOfTheBuffer) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(buffer.Get() + 3, KXStrNZCatUTF16(buffer.Get() + 4, 0, u"xyz", 3));
    EXPECT_EQ(u"###\0########"s, buffer.All());
}

// --- Copy and concatenate ------------------------------------------------------------------------

TEST(StrCpyCat, ConcatenatesItsStringsAndCountsWhatItWrote) {
    Buffer<char> buffer;
    EXPECT_EQ(6u, KXStrCpyCatA(buffer.Get(), 3, "ab", "c", "def"));
    EXPECT_EQ("abcdef\0#####"s, buffer.All());
    EXPECT_EQ(1u, KXStrCpyCatA(buffer.Get(), 1, "x"));
    EXPECT_EQ("x\0cdef\0#####"s, buffer.All());
}

TEST(StrCpyCat, PassesOverNullAndEmptyStrings) {
    Buffer<char> buffer;
    const char* const null = nullptr;
    EXPECT_EQ(3u, KXStrCpyCatA(buffer.Get(), 6, null, "a", "", "b", null, "c"));
    EXPECT_EQ("abc\0########"s, buffer.All());
    EXPECT_EQ(0u, KXStrCpyCatA(buffer.Get(), 2, "", null));
    EXPECT_EQ("\0bc\0########"s, buffer.All());
}

TEST(StrCpyCat, OfNoStringsIsEmpty) {
    for (const int count : {0, -1}) {
        Buffer<char> buffer;
        EXPECT_EQ(0u, KXStrCpyCatA(buffer.Get(), count, "abc"));
        EXPECT_EQ("\0###########"s, buffer.All()) << count;
    }
}

TEST(StrCpyCat, IntoNullGivesZero) {
    EXPECT_EQ(0u, KXStrCpyCatA(nullptr, 1, "abc"));
}

TEST(StrCpyCat, WritesUpToTheEndOfItsText) {
    const auto buffer = std::make_unique<char[]>(6);
    EXPECT_EQ(5u, KXStrCpyCatA(buffer.get(), 2, "abc", "de"));
    EXPECT_STREQ("abcde", buffer.get());
}
