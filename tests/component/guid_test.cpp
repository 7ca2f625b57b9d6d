#include <kxcore7/guid.h>

#include <cstring>
#include <string>

#include "support/results.h"

namespace {

constexpr KXGUID kSample = {
    0xABCDEF01u, 0x2345, 0x6789, {0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45, 0x67, 0x89}};
constexpr KXGUID kNone = {0x77777777u, 7, 7, {7, 7, 7, 7, 7, 7, 7, 7}};

KXResult Parse(const std::u16string& text, KXGUID* guid) {
    *guid = kNone;
    return KXComGUIDFromString(text.c_str(), guid);
}

bool Equal(const KXGUID& a, const KXGUID& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

TEST(Guid, IsReadInEitherCaseWithAndWithoutBraces) {
    for (const char16_t* const text :
         {u"abcdef01-2345-6789-abcd-ef0123456789", u"ABCDEF01-2345-6789-ABCD-EF0123456789",
          u"{abcdef01-2345-6789-abcd-ef0123456789}", u"{ABCDEF01-2345-6789-ABCD-EF0123456789}"}) {
        KXGUID guid;
        EXPECT_RESULT(KX_S_OK, Parse(text, &guid));
        EXPECT_TRUE(Equal(kSample, guid));
    }
}

TEST(Guid, WhatFollowsTheBodyIsNotExamined) {
    for (const char16_t* const text : {u"12345678-1234-1234-1234-123456789012junk",
                                       u"{12345678-1234-1234-1234-123456789012}junk",
                                       u"12345678-1234-1234-1234-123456789012}"}) {
        KXGUID guid;
        EXPECT_RESULT(KX_S_OK, Parse(text, &guid));
        EXPECT_EQ(0x12345678u, guid.data1);
        EXPECT_EQ(0x12, guid.data4[7]);
    }
}

TEST(Guid, OtherTextIsRefusedAndTheOutputUntouched) {
    for (const char16_t* const text :
         {u"", u"{", u"12345678-1234-1234-1234-12345678901",  // 35
          u"{12345678-1234-1234-1234-123456789012",           // 37 with a brace
          u"{12345678-1234-1234-1234-123456789012-",          // 38, no closing brace
          u"{12345678-1234-1234-1234-12345678901}x",          // brace one too early
          u"12345678_1234-1234-1234-123456789012", u"1234567g-1234-1234-1234-123456789012",
          u"12345678-1234-1234-1234-12345678901g", u"1234567:-1234-1234-1234-123456789012",
          u"12345678-1234-1234-12341-23456789012", u"123456781234-1234-1234-1234-56789012",
          u"1234-5678-1234-1234-1234-123456789012",
          u"\uFF11\uFF12345678-1234-1234-1234-123456789012",
          u" 12345678-1234-1234-1234-12345678901"}) {
        KXGUID guid;
        EXPECT_RESULT(KX_E_INVALIDARG, Parse(text, &guid));
        EXPECT_TRUE(Equal(kNone, guid));
    }
}

TEST(Guid, IsWrittenInBracesAndUpperCase) {
    char16_t text[KX_GUID_TEXT_SIZE];
    EXPECT_RESULT(KX_S_OK, KXComStringFromGUID(&kSample, text, KX_GUID_TEXT_SIZE));
    EXPECT_EQ(std::u16string(u"{ABCDEF01-2345-6789-ABCD-EF0123456789}"), text);
    const KXGUID small = {1, 2, 3, {0, 1, 2, 3, 4, 5, 6, 7}};
    KXComStringFromGUID(&small, text, KX_GUID_TEXT_SIZE);
    EXPECT_EQ(std::u16string(u"{00000001-0002-0003-0001-020304050607}"), text);
}

TEST(Guid, IsCutWithoutATerminatorWhereTheTextDoesNotFit) {
    for (size_t count = 0; count < KX_GUID_TEXT_SIZE; ++count) {
        std::u16string text(KX_GUID_TEXT_SIZE, u'#');
        EXPECT_RESULT(KX_S_OK, KXComStringFromGUID(&kSample, text.data(), count));
        EXPECT_EQ(std::u16string(u"{ABCDEF01-2345-6789-ABCD-EF0123456789}").substr(0, count),
                  text.substr(0, count));
        EXPECT_EQ(u'#', text[count]);
    }
}

TEST(Guid, WrittenAndReadIsTheSame) {
    for (int i = 0; i < 100; ++i) {
        KXGUID guid;
        KXGUID back;
        char16_t text[KX_GUID_TEXT_SIZE];
        ASSERT_RESULT(KX_S_OK, KXComGenerateGUID(&guid));
        KXComStringFromGUID(&guid, text, KX_GUID_TEXT_SIZE);
        ASSERT_RESULT(KX_S_OK, Parse(text, &back));
        ASSERT_TRUE(Equal(guid, back));
    }
}

TEST(Guid, GeneratedOnesSayThatTheyAreRandom) {
    for (int i = 0; i < 32; ++i) {
        KXGUID guid;
        KXComGenerateGUID(&guid);
        EXPECT_EQ(4, guid.data3 >> 12);
        EXPECT_EQ(2, guid.data4[0] >> 6);
    }
}

TEST(Guid, GeneratedOnesDiffer) {
    KXGUID a;
    KXGUID b;
    KXComGenerateGUID(&a);
    KXComGenerateGUID(&b);
    EXPECT_EQ(0, KXComIsEqualGUID(&a, &b));
    EXPECT_EQ(1, KXComIsEqualGUID(&a, &a));
}

TEST(Guid, EqualityTakesAll16Bytes) {
    for (size_t i = 0; i < sizeof(KXGUID); ++i) {
        KXGUID other = kSample;
        reinterpret_cast<unsigned char*>(&other)[i] ^= 1;
        EXPECT_EQ(0, KXComIsEqualGUID(&kSample, &other)) << i;
    }
}

TEST(Guid, OrderIsDecidedByTheEndOfTheTextFirst) {
    EXPECT_EQ(0, KXComCompareGUID(&kSample, &kSample));
    static constexpr size_t kOrder[] = {10, 11, 12, 13, 14, 15, 8, 9, 6, 7, 4, 5, 0, 1, 2, 3};
    for (size_t i = 0; i < 16; ++i) {
        KXGUID low{};
        KXGUID high{};
        reinterpret_cast<unsigned char*>(&high)[kOrder[i]] = 0x80;  // unsigned: above 0x01
        reinterpret_cast<unsigned char*>(&low)[kOrder[i]] = 0x01;
        // Everything behind in the order says the opposite.
        for (size_t behind = i + 1; behind < 16; ++behind) {
            reinterpret_cast<unsigned char*>(&low)[kOrder[behind]] = 0xFF;
        }
        EXPECT_EQ(1, KXComCompareGUID(&high, &low)) << i;
        EXPECT_EQ(-1, KXComCompareGUID(&low, &high)) << i;
    }
}
