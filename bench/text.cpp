#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/str.h>
#include <unicode/ustring.h>

#include <strings.h>
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "comparison.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

constexpr double kAsGlibc = 1.05;
constexpr std::size_t kLong = 65536;

// --- What is worked on ---------------------------------------------------------------------------

// What is searched is at the very end; what it begins with is all over the text.
constexpr std::string_view kSentence = "The quick brown fox jumps over the lazy dog; ";
constexpr std::string_view kSearched = "the end#";

template <typename Unit>
std::basic_string<Unit> MadeText(std::size_t units) {
    std::basic_string<Unit> text(units, Unit{});
    for (std::size_t i = 0; i < units; ++i) {
        text[i] = static_cast<Unit>(kSentence[i % kSentence.size()]);
    }
    std::copy(kSearched.begin(), kSearched.end(),
              text.end() - static_cast<std::ptrdiff_t>(kSearched.size()));
    return text;
}

template <typename Unit>
std::basic_string<Unit> Changed(std::basic_string<Unit> text, int (*change)(int)) {
    for (Unit& unit : text) unit = static_cast<Unit>(change(unit));
    return text;
}

// Terminated text that begins so many units behind the start of a page.
template <typename Unit>
class Placed final {
  public:
    Placed(std::basic_string_view<Unit> text, std::size_t offset)
        : m_block(
              static_cast<Unit*>(::operator new((offset + text.size() + 1) * sizeof(Unit), kPage))),
          m_text(m_block.get() + offset) {
        std::copy(text.begin(), text.end(), m_text);
        m_text[text.size()] = 0;
    }
    Unit* Get() const { return m_text; }

  private:
    static constexpr std::align_val_t kPage{4096};
    struct Free {
        void operator()(Unit* block) const { ::operator delete(block, kPage); }
    };

    const std::unique_ptr<Unit, Free> m_block;
    Unit* const m_text;
};

// Odd, so that what is here and what is there are never aligned alike.
constexpr std::size_t kHere = 32;
constexpr std::size_t kThere = 1035;

template <typename Unit>
struct Texts {
    explicit Texts(std::size_t units) : length(units), made(MadeText<Unit>(units)) {}

    const std::size_t length;
    const std::basic_string<Unit> made;
    const std::basic_string<Unit> inLower = Changed(made, std::tolower);

    const Placed<Unit> text{made, kHere};
    const Placed<Unit> same{made, kThere};
    const Placed<Unit> otherCase{Changed(made, std::toupper), kThere};
    const Placed<Unit> room{std::basic_string<Unit>(length, Unit{}), kThere};
    const Placed<Unit> searched{std::basic_string<Unit>(kSearched.begin(), kSearched.end()), kHere};
};

// A narrow peer of a wide function is given as many bytes, which are twice the units.
struct Subjects {
    explicit Subjects(std::size_t units) : narrow(units), bytes(2 * units), wide(units) {}

    const Texts<char> narrow;
    const Texts<char> bytes;
    const Texts<char16_t> wide;
};

using Shared = std::shared_ptr<const Subjects>;

template <typename Unit>
Unit* PlaceOfSearched(const Texts<Unit>& texts) {
    return texts.text.Get() + texts.length - kSearched.size();
}

template <typename Unit>
Unit* Last(const Texts<Unit>& texts) {
    return texts.text.Get() + texts.length - 1;
}

template <typename Unit>
auto Holds(const std::basic_string<Unit>& expected) {
    return [&expected](const Unit* result) { return result == expected; };
}

std::string Named(const char* function, const Shared& subjects) {
    return std::string(function) + ", " + std::to_string(subjects->wide.length) + " units";
}

std::string OfBytes(const char* peer) {
    return std::string(peer) + " of as many bytes";
}

// --- Length --------------------------------------------------------------------------------------

void CompareNarrowLengths(Report& report, const Shared& subjects) {
    const char* const text = subjects->narrow.text.Get();
    const std::size_t length = subjects->narrow.length;
    Comparison row(Named("KXStrLenA", subjects), subjects);
    row.Own([=] { return KXStrLenA(Opaque(text)); }, Is(length));
    row.Peer(
        "strlen", [=] { return std::strlen(Opaque(text)); }, Is(length));
    row.Aside(
        "g_utf8_strlen", [=] { return g_utf8_strlen(Opaque(text), -1); },
        Is(static_cast<glong>(length)));
    row.AddTo(report, kAsGlibc);
}

void CompareWideLengths(Report& report, const Shared& subjects) {
    const char16_t* const text = subjects->wide.text.Get();
    const char* const bytes = subjects->bytes.text.Get();
    const std::size_t length = subjects->wide.length;
    Comparison row(Named("KXStrLenW", subjects), subjects);
    row.Own([=] { return KXStrLenW(Opaque(text)); }, Is(length));
    row.Peer(
        "u_strlen", [=] { return u_strlen(Opaque(text)); }, Is(static_cast<int32_t>(length)));
    row.Peer(
        "char_traits::length", [=] { return std::char_traits<char16_t>::length(Opaque(text)); },
        Is(length));
    row.Peer(
        OfBytes("strlen"), [=] { return std::strlen(Opaque(bytes)); }, Is(2 * length));
    row.AddTo(report, length == kLong ? std::optional(1.0) : std::nullopt);
}

// --- Comparison ----------------------------------------------------------------------------------

void CompareNarrowComparisons(Report& report, const Shared& subjects) {
    const char* const a = subjects->narrow.text.Get();
    const char* const b = subjects->narrow.same.Get();
    Comparison row(Named("KXStrCmpA", subjects), subjects);
    row.Own([=] { return KXStrCmpA(Opaque(a), Opaque(b)); }, Is(0));
    row.Peer(
        "strcmp", [=] { return std::strcmp(Opaque(a), Opaque(b)); }, Is(0));
    row.AddTo(report, kAsGlibc);
}

void CompareWideComparisons(Report& report, const Shared& subjects) {
    const char16_t* const a = subjects->wide.text.Get();
    const char16_t* const b = subjects->wide.same.Get();
    const char* const aBytes = subjects->bytes.text.Get();
    const char* const bBytes = subjects->bytes.same.Get();
    const std::size_t length = subjects->wide.length;
    Comparison row(Named("KXStrCmpW", subjects), subjects);
    row.Own([=] { return KXStrCmpW(Opaque(a), Opaque(b)); }, Is(0));
    row.Peer(
        "u_strcmp", [=] { return u_strcmp(Opaque(a), Opaque(b)); }, Is(0));
    row.Peer(
        "u16string_view::compare",
        [=] {
            const std::u16string_view view(Opaque(a), Opaque(length));
            return view.compare({Opaque(b), Opaque(length)});
        },
        Is(0));
    row.Peer(
        OfBytes("strcmp"), [=] { return std::strcmp(Opaque(aBytes), Opaque(bBytes)); }, Is(0));
    row.AddTo(report, length == kLong ? std::optional(1.0) : std::nullopt);
}

void CompareFoldedComparisons(Report& report, const Shared& subjects) {
    const char* const a = subjects->narrow.text.Get();
    const char* const b = subjects->narrow.otherCase.Get();
    Comparison row(Named("KXStrICmpA", subjects), subjects);
    row.Own([=] { return KXStrICmpA(Opaque(a), Opaque(b)); }, Is(0));
    row.Peer(
        "strcasecmp", [=] { return strcasecmp(Opaque(a), Opaque(b)); }, Is(0));
    row.Aside(
        "g_ascii_strcasecmp", [=] { return g_ascii_strcasecmp(Opaque(a), Opaque(b)); }, Is(0));
    row.AddTo(report, kAsGlibc);
}

// --- Search --------------------------------------------------------------------------------------

void CompareNarrowSearches(Report& report, const Shared& subjects) {
    const char* const text = subjects->narrow.text.Get();
    const char* const last = Last(subjects->narrow);
    const char ch = *last;
    Comparison row(Named("KXStrChrA", subjects), subjects);
    row.Own([=] { return KXStrChrA(Opaque(text), Opaque(ch)); }, Is(last));
    row.Peer(
        "strchr", [=] { return std::strchr(Opaque(text), Opaque(ch)); }, Is(last));
    row.AddTo(report, kAsGlibc);
}

void CompareWideSearches(Report& report, const Shared& subjects) {
    const char16_t* const text = subjects->wide.text.Get();
    const char16_t* const last = Last(subjects->wide);
    const char16_t unit = *last;
    const char* const bytes = subjects->bytes.text.Get();
    const char* const lastByte = Last(subjects->bytes);
    const char ch = *lastByte;
    const std::size_t length = subjects->wide.length;
    Comparison row(Named("KXStrChrW", subjects), subjects);
    row.Own([=] { return KXStrChrW(Opaque(text), Opaque(unit)); }, Is(last));
    row.Peer(
        "u_strchr", [=] { return u_strchr(Opaque(text), Opaque(unit)); }, Is(last));
    row.Peer(
        "u16string_view::find",
        [=] { return std::u16string_view(Opaque(text), Opaque(length)).find(Opaque(unit)); },
        Is(length - 1));
    row.Peer(
        OfBytes("strchr"), [=] { return std::strchr(Opaque(bytes), Opaque(ch)); }, Is(lastByte));
    row.AddTo(report);
}

void CompareNarrowTextSearches(Report& report, const Shared& subjects) {
    const char* const text = subjects->narrow.text.Get();
    const char* const searched = subjects->narrow.searched.Get();
    const char* const place = PlaceOfSearched(subjects->narrow);
    Comparison row(Named("KXStrStrA", subjects), subjects);
    row.Own([=] { return KXStrStrA(Opaque(text), Opaque(searched)); }, Is(place));
    row.Peer(
        "strstr", [=] { return std::strstr(Opaque(text), Opaque(searched)); }, Is(place));
    row.Aside(
        "g_strstr_len", [=] { return g_strstr_len(Opaque(text), -1, Opaque(searched)); },
        Is(place));
    row.AddTo(report, kAsGlibc);
}

void CompareWideTextSearches(Report& report, const Shared& subjects) {
    const char16_t* const text = subjects->wide.text.Get();
    const char16_t* const searched = subjects->wide.searched.Get();
    const char16_t* const place = PlaceOfSearched(subjects->wide);
    const char* const bytes = subjects->bytes.text.Get();
    const char* const searchedBytes = subjects->bytes.searched.Get();
    const std::size_t length = subjects->wide.length;
    Comparison row(Named("KXStrStrW", subjects), subjects);
    row.Own([=] { return KXStrStrW(Opaque(text), Opaque(searched)); }, Is(place));
    row.Peer(
        "u_strstr", [=] { return u_strstr(Opaque(text), Opaque(searched)); }, Is(place));
    row.Peer(
        "u16string_view::find",
        [=] {
            const std::u16string_view view(Opaque(text), Opaque(length));
            return view.find(Opaque(searched), 0, kSearched.size());
        },
        Is(length - kSearched.size()));
    row.Peer(
        OfBytes("strstr"), [=] { return std::strstr(Opaque(bytes), Opaque(searchedBytes)); },
        Is(PlaceOfSearched(subjects->bytes)));
    row.AddTo(report);
}

// --- Copy ----------------------------------------------------------------------------------------

void CompareNarrowCopies(Report& report, const Shared& subjects) {
    const char* const text = subjects->narrow.text.Get();
    char* const room = subjects->narrow.room.Get();
    const auto isRight = Holds(subjects->narrow.made);
    Comparison row(Named("KXStrCpyA", subjects), subjects);
    row.Own([=] { return KXStrCpyA(Opaque(room), Opaque(text)); }, isRight);
    row.Peer(
        "strcpy", [=] { return std::strcpy(Opaque(room), Opaque(text)); }, isRight);
    row.AddTo(report, kAsGlibc);
}

void CompareWideCopies(Report& report, const Shared& subjects) {
    const char16_t* const text = subjects->wide.text.Get();
    char16_t* const room = subjects->wide.room.Get();
    const char* const bytes = subjects->bytes.text.Get();
    char* const roomForBytes = subjects->bytes.room.Get();
    const auto isRight = Holds(subjects->wide.made);
    Comparison row(Named("KXStrCpyW", subjects), subjects);
    row.Own([=] { return KXStrCpyW(Opaque(room), Opaque(text)); }, isRight);
    row.Peer(
        "u_strcpy", [=] { return u_strcpy(Opaque(room), Opaque(text)); }, isRight);
    row.Peer(
        OfBytes("strcpy"), [=] { return std::strcpy(Opaque(roomForBytes), Opaque(bytes)); },
        Holds(subjects->bytes.made));
    row.AddTo(report);
}

// --- Case ----------------------------------------------------------------------------------------

// Text is changed in place, so each call begins with a copy of what is to be changed.
template <typename Unit>
Unit* Restored(const Texts<Unit>& texts) {
    Unit* const room = Opaque(texts.room.Get());
    std::memcpy(room, texts.text.Get(), (texts.length + 1) * sizeof(Unit));
    return room;
}

char* LowerByTolower(char* text) {
    for (char* at = text; *at != 0; ++at) {
        *at = static_cast<char>(std::tolower(static_cast<unsigned char>(*at)));
    }
    return text;
}

void CompareNarrowCaseChanges(Report& report, const Shared& subjects) {
    const Texts<char>& texts = subjects->narrow;
    const char* const text = texts.text.Get();
    const auto isRight = Holds(texts.inLower);
    Comparison row(Named("copy + KXStrToLowerA", subjects), subjects);
    row.Own([&texts] { return KXStrToLowerA(Restored(texts)); }, isRight);
    row.Peer(
        "copy + loop of tolower", [&texts] { return LowerByTolower(Restored(texts)); }, isRight);
    row.Aside(
        "g_ascii_strdown + g_free",
        [text] { return GText<char>(g_ascii_strdown(Opaque(text), -1)); },
        [isRight](const GText<char>& result) { return isRight(result.get()); });
    row.AddTo(report, kAsGlibc);
}

void CompareWideCaseChanges(Report& report, const Shared& subjects) {
    const Texts<char16_t>& texts = subjects->wide;
    const Texts<char>& bytes = subjects->bytes;
    const auto isRight = Holds(texts.inLower);
    Comparison row(Named("copy + KXStrToLowerW", subjects), subjects);
    row.Own([&texts] { return KXStrToLowerW(Restored(texts)); }, isRight);
    row.Peer(
        "copy + u_strToLower",
        [&texts, capacity = static_cast<int32_t>(texts.length + 1)] {
            char16_t* const text = Restored(texts);
            UErrorCode status = U_ZERO_ERROR;
            u_strToLower(text, capacity, text, -1, "", &status);
            return text;
        },
        isRight);
    row.Peer(
        OfBytes("copy + loop of tolower"), [&bytes] { return LowerByTolower(Restored(bytes)); },
        Holds(bytes.inLower));
    row.AddTo(report);
}

}  // namespace

void RegisterText(Report& report) {
    for (const std::size_t units : {std::size_t{16}, std::size_t{256}, kLong}) {
        const auto subjects = std::make_shared<const Subjects>(units);
        CompareNarrowLengths(report, subjects);
        CompareWideLengths(report, subjects);
        CompareNarrowComparisons(report, subjects);
        CompareWideComparisons(report, subjects);
        CompareFoldedComparisons(report, subjects);
        CompareNarrowSearches(report, subjects);
        CompareWideSearches(report, subjects);
        CompareNarrowTextSearches(report, subjects);
        CompareWideTextSearches(report, subjects);
        CompareNarrowCopies(report, subjects);
        CompareWideCopies(report, subjects);
        CompareNarrowCaseChanges(report, subjects);
        CompareWideCaseChanges(report, subjects);
    }
}

}  // namespace bench
