// Every form of the inner loops gives what plain reasoning gives, and touches nothing that is not
// the text's: texts lie right in front of memory that nobody may read.
#include "platform/scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/guarded_memory.h"

using namespace kx::platform;
using kx::test::GuardedMemory;

namespace {

// More than four vectors of any form, and some.
constexpr std::size_t kLongest = 300;

class ScanForms : public ::testing::TestWithParam<const Scan*> {
  protected:
    const Scan& m_scan = *GetParam();
    const GuardedMemory m_memory;
    const GuardedMemory m_other;
};

std::u16string Letters(std::size_t count) {
    std::u16string text;
    for (std::size_t i = 0; i < count; ++i) text += static_cast<char16_t>(u'a' + i % 23);
    return text;
}

std::string Narrow(const std::u16string& text) {
    return {text.begin(), text.end()};
}

// Places in front of the end: at it, within the last vectors, and across two pages.
std::vector<std::size_t> Places() {
    std::vector<std::size_t> places;
    for (std::size_t before = 0; before < 160; before += 2) places.push_back(before);
    for (std::size_t before = 3900; before < 4100; before += 2) places.push_back(before);
    return places;
}

}  // namespace

TEST_P(ScanForms, LengthEndsAtTheTerminator) {
    const std::u16string letters = Letters(kLongest);
    for (std::size_t length = 0; length < kLongest; ++length) {
        const std::u16string text = letters.substr(0, length);
        for (const std::size_t before : Places()) {
            const char16_t* const placed = m_memory.Place(text.c_str(), length + 1, before);
            ASSERT_EQ(length, m_scan.length(placed, kNoCount)) << length << ' ' << before;
        }
    }
}

TEST_P(ScanForms, LengthEndsAtTheCount) {
    const std::u16string letters = Letters(kLongest);
    for (std::size_t count = 0; count < kLongest; ++count) {
        const char16_t* const placed = m_memory.Place(letters.c_str(), count);
        ASSERT_EQ(count, m_scan.length(placed, count)) << "no terminator, and none looked for";
        ASSERT_EQ(count / 2, m_scan.length(placed, count / 2));
    }
}

TEST_P(ScanForms, LengthSeesATerminatorBehindTheCountAsNone) {
    for (std::size_t count = 0; count < kLongest; ++count) {
        const std::u16string text = Letters(count + 3);
        const char16_t* const placed = m_memory.Place(text.c_str(), text.size() + 1, 64);
        ASSERT_EQ(count, m_scan.length(placed, count));
    }
}

TEST_P(ScanForms, LengthTakesUnitsWithOneZeroByteForUnits) {
    const std::u16string text(kLongest, u'\u0100');
    const std::u16string other(kLongest, u'\u0001');
    EXPECT_EQ(kLongest, m_scan.length(m_memory.Place(text.c_str(), kLongest + 1), kNoCount));
    EXPECT_EQ(kLongest, m_scan.length(m_memory.Place(other.c_str(), kLongest + 1), kNoCount));
    std::u16string mixed = text;
    for (std::size_t i = 0; i < kLongest; i += 2) mixed[i] = u'\u0001';
    EXPECT_EQ(kLongest, m_scan.length(m_memory.Place(mixed.c_str(), kLongest + 1), kNoCount));
}

TEST_P(ScanForms, FindStopsAtTheUnitOrTheTerminator) {
    for (std::size_t length = 0; length < kLongest; length += 7) {
        for (std::size_t at = 0; at <= length; ++at) {
            std::u16string text(length, u'x');
            if (at < length) text[at] = u'\u2028';
            if (at + 1 < length) text[at + 1] = u'\u2028';
            const char16_t* const placed = m_memory.Place(text.c_str(), length + 1, at % 33 * 2);
            ASSERT_EQ(at, m_scan.find(placed, u'\u2028')) << length;
            ASSERT_EQ(length, m_scan.find(placed, u'y')) << at;
            ASSERT_EQ(length, m_scan.find(placed, u'\0')) << at;
        }
    }
}

TEST_P(ScanForms, CommonStopsAtTheFirstDifference) {
    for (std::size_t length = 0; length < kLongest; ++length) {
        const std::u16string text = Letters(length);
        for (const std::size_t before : Places()) {
            const char16_t* const a = m_memory.Place(text.c_str(), length + 1, before);
            char16_t* const b = m_other.Place(text.c_str(), length + 1, before * 2 % 130);
            ASSERT_EQ(length, m_scan.common(a, b, kNoCount)) << before;
            const std::size_t at = length * before / 4100;
            if (at >= length) continue;
            b[at] ^= 0x8000;
            ASSERT_EQ(at, m_scan.common(a, b, kNoCount)) << length << ' ' << before;
            ASSERT_EQ(at, m_scan.common(b, a, kNoCount)) << length << ' ' << before;
        }
    }
}

TEST_P(ScanForms, CommonStopsAtEveryPlace) {
    const std::u16string text = Letters(kLongest);
    char16_t* const a = m_memory.Place(text.c_str(), kLongest + 1);
    char16_t* const b = m_other.Place(text.c_str(), kLongest + 1, 6);
    for (std::size_t at = 0; at < kLongest; ++at) {
        b[at] = u'#';
        ASSERT_EQ(at, m_scan.common(a, b, kNoCount));
        b[at] = u'\0';
        ASSERT_EQ(at, m_scan.common(a, b, kNoCount)) << "the shorter text ends there";
        a[at] = u'\0';
        ASSERT_EQ(at, m_scan.common(a, b, kNoCount)) << "both end there";
        a[at] = b[at] = text[at];
    }
}

TEST_P(ScanForms, CommonEndsAtTheCount) {
    const std::u16string text = Letters(kLongest);
    for (std::size_t count = 0; count < kLongest; ++count) {
        const char16_t* const a = m_memory.Place(text.c_str(), count);
        const char16_t* const b = m_other.Place(text.c_str(), count, count % 3 * 2);
        ASSERT_EQ(count, m_scan.common(a, b, count));
        ASSERT_EQ(count / 2, m_scan.common(a, b, count / 2));
    }
}

TEST_P(ScanForms, CommonFoldedKnowsAsciiLettersAlone) {
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            // In text that vectors go through, and in text that is too short for one.
            for (const std::size_t length : {std::size_t{140}, std::size_t{7}}) {
                const std::size_t at = length - 2;
                std::string first(length, 'm');
                std::string second(length, 'M');
                first[at] = static_cast<char>(a);
                second[at] = static_cast<char>(b);
                const auto upper = [](int ch) { return ch >= 'a' && ch <= 'z' ? ch - 32 : ch; };
                const bool same = a != 0 && a < 0x80 && b < 0x80 && upper(a) == upper(b);
                const char* const placed = m_memory.Place(first.c_str(), length + 1);
                const char* const other = m_other.Place(second.c_str(), length + 1, 3);
                ASSERT_EQ(same ? length : at, m_scan.commonFolded(placed, other, kNoCount))
                    << a << ' ' << b;
            }
        }
    }
}

TEST_P(ScanForms, CommonFoldedEndsAtTheCountAndTheTerminator) {
    const std::string text = Narrow(Letters(kLongest));
    std::string upper = text;
    for (char& ch : upper) ch = static_cast<char>(ch - 0x20);
    for (std::size_t length = 0; length < kLongest; ++length) {
        const char* a = m_memory.Place(text.c_str(), length);
        const char* b = m_other.Place(upper.c_str(), length, length % 5);
        ASSERT_EQ(length, m_scan.commonFolded(a, b, length)) << "no terminator";
        a = m_memory.Place(text.substr(0, length).c_str(), length + 1, length % 40);
        b = m_other.Place(upper.substr(0, length).c_str(), length + 1);
        ASSERT_EQ(length, m_scan.commonFolded(a, b, kNoCount));
    }
}

namespace {

// Changes text of every length, in front of the end of each page; stopped by each of `ends`.
template <typename Unit>
void ExpectChange(const GuardedMemory& memory, std::size_t (*change)(Unit*) noexcept, int first,
                  int step, const std::basic_string<Unit>& ends) {
    for (std::size_t length = 0; length < 400; ++length) {
        const Unit end = ends[length % ends.size()];
        std::basic_string<Unit> text;
        for (std::size_t i = 0; i < length; ++i) {
            text += static_cast<Unit>(1 + (i * 5 + length) % 0x7F);
        }
        text += end;
        text += static_cast<Unit>(first);
        std::basic_string<Unit> expected = text;
        for (std::size_t i = 0; i < length; ++i) {
            const auto unit = static_cast<int>(text[i]);
            if (unit >= first && unit < first + 26) expected[i] = static_cast<Unit>(unit + step);
        }
        for (const std::size_t before : {length * 3 % 70, 4096 - length + length % 9}) {
            const std::size_t aligned = before / sizeof(Unit) * sizeof(Unit);
            Unit* const placed = memory.Place(text.c_str(), text.size() + 1, aligned);
            ASSERT_EQ(length, change(placed)) << int(end) << ' ' << before;
            ASSERT_EQ(expected, std::basic_string<Unit>(placed, text.size())) << before;
        }
    }
}

}  // namespace

TEST_P(ScanForms, CaseOfNarrowTextIsChangedUpToTheFirstByteThatIsNoAscii) {
    const std::string ends("\0\x80\xC1\xE1\xFF", 5);
    ExpectChange<char>(m_memory, m_scan.lowerNarrow, 'A', 0x20, ends);
    ExpectChange<char>(m_memory, m_scan.upperNarrow, 'a', -0x20, ends);
}

TEST_P(ScanForms, CaseOfWideTextIsChangedUpToTheFirstUnitThatIsNoAscii) {
    const std::u16string ends(u"\0\u0080\u00C1\u0141\u0161\u4100\u8041\uFF41\uFFFF", 9);
    ExpectChange<char16_t>(m_memory, m_scan.lowerWide, 'A', 0x20, ends);
    ExpectChange<char16_t>(m_memory, m_scan.upperWide, 'a', -0x20, ends);
}

INSTANTIATE_TEST_SUITE_P(Every, ScanForms, ::testing::ValuesIn(Scans().begin(), Scans().end()),
                         [](const auto& form) { return std::string(form.param->name); });

TEST(Scan, TheFormInUseIsTheBestThatTheMachineCanRun) {
    ChooseScan();
    EXPECT_EQ(Scans().back(), g_scan);
    EXPECT_STREQ("portable", Scans().front()->name);
}

// Which is no address for a wide unit, but what processors of this kind let everyone do.
TEST(Scan, VectorsTakeTextAtOddAddressesAsWell) {
    const GuardedMemory memory;
    const std::u16string text = Letters(kLongest);
    for (const Scan* const scan : Scans().subspan(1)) {
        for (std::size_t before = 1; before < 4200; before += 97) {
            const char16_t* const placed = memory.Place(text.c_str(), kLongest + 1, before);
            ASSERT_EQ(kLongest, scan->length(placed, kNoCount)) << before;
            ASSERT_EQ(kLongest, scan->common(placed, text.c_str(), kNoCount)) << before;
            ASSERT_EQ(22u, scan->find(placed, text[22])) << before;
        }
    }
}
