// The same texts in several encodings, and whole texts through converter objects.
#ifndef KXCORE7_TESTS_SUPPORT_ENCODED_TEXTS_H
#define KXCORE7_TESTS_SUPPORT_ENCODED_TEXTS_H

#include <gtest/gtest.h>
#include <kxcore7/encoding.h>
#include <kxcore7/result.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "support/results.h"

namespace kx::test {

// A text whose characters differ in length, as an encoding has it and in wide units.
struct EncodedText {
    const char16_t* encoding;
    std::string bytes;
    std::u16string wide;
};

inline const std::vector<EncodedText>& EncodedTexts() {
    using namespace std::string_literals;
    static const std::vector<EncodedText> texts = {
        {u"UTF-8", "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z", u"a\u00E9\u4E2D\U0001F600z"},
        // The second byte of U+30BD is a backslash.
        {u"Shift_JIS", "a\x82\xA0\xB1\x83\x5Cz", u"a\u3042\uFF71\u30BDz"},
        {u"EUC-JP", "a\xA4\xA2\x8E\xB1\x8F\xB0\xA1z", u"a\u3042\uFF71\u4E02z"},
        // One, two and four bytes; the last four are one character of two units.
        {u"GB18030", "a\xD6\xD0\x81\x30\x81\x30\x94\x39\xFC\x36z", u"a\u4E2D\u0080\U0001F600z"},
        // With shifts, of which the last one ends the text.
        {u"ISO-2022-JP", "a\x1B$B$\"$$\x1B(Bz\x1B$B%=\x1B(B", u"a\u3042\u3044z\u30BD"},
        // With a mark, in the byte order of these systems.
        {u"UTF-16", "\xFF\xFE\x61\0\x2D\x4E\x3D\xD8\x00\xDE\x7A\0"s, u"a\u4E2D\U0001F600z"},
    };
    return texts;
}

// A converter object for the time of a scope, in the direction to wide text ...
class ToWideStream final {
  public:
    using In = char;
    using Out = char16_t;

    explicit ToWideStream(const char16_t* encoding) : m_handle(KXEncToW_Open(encoding)) {}
    ~ToWideStream() { KXEncToW_Close(m_handle); }
    ToWideStream(const ToWideStream&) = delete;
    ToWideStream& operator=(const ToWideStream&) = delete;

    KXResult SetSubstitution(int value) { return KXEncToW_SetSubstitutionChar(m_handle, value); }
    KXResult Convert(const In** source, const In* sourceLimit, Out** target, const Out* limit) {
        return KXEncToW_Convert(m_handle, source, sourceLimit, target, limit);
    }
    KXResult Flush(Out** target, const Out* limit) {
        return KXEncToW_Flush(m_handle, target, limit);
    }

  private:
    const KXEncHandle m_handle;
};

// ... and from it.
class FromWideStream final {
  public:
    using In = char16_t;
    using Out = char;

    explicit FromWideStream(const char16_t* encoding) : m_handle(KXEncFromW_Open(encoding)) {}
    ~FromWideStream() { KXEncFromW_Close(m_handle); }
    FromWideStream(const FromWideStream&) = delete;
    FromWideStream& operator=(const FromWideStream&) = delete;

    KXResult SetSubstitution(int value) { return KXEncFromW_SetSubstitutionChar(m_handle, value); }
    KXResult Convert(const In** source, const In* sourceLimit, Out** target, const Out* limit) {
        return KXEncFromW_Convert(m_handle, source, sourceLimit, target, limit);
    }
    KXResult Flush(Out** target, const Out* limit) {
        return KXEncFromW_Flush(m_handle, target, limit);
    }

  private:
    const KXEncHandle m_handle;
};

// What came of a piece of text.
template <typename Out>
struct Converted {
    KXResult result;
    std::basic_string<Out> text;
    std::size_t read;

    bool operator==(const Converted&) const = default;
};

template <typename Out>
void PrintTo(const Converted<Out>& converted, std::ostream* out) {
    *out << Hex(converted.result) << ' ' << ::testing::PrintToString(converted.text) << " from "
         << converted.read;
}

constexpr std::size_t kAmpleRoom = 4096;

// One call, with a target of so many units.
template <typename Stream>
Converted<typename Stream::Out> Convert(Stream& stream,
                                        const std::basic_string<typename Stream::In>& source,
                                        std::size_t room = kAmpleRoom) {
    std::vector<typename Stream::Out> units(room);
    auto* target = units.data();
    const auto* cursor = source.data();
    const KXResult result =
        stream.Convert(&cursor, source.data() + source.size(), &target, units.data() + room);
    return {result, {units.data(), target}, static_cast<std::size_t>(cursor - source.data())};
}

template <typename Stream>
Converted<typename Stream::Out> Flush(Stream& stream, std::size_t room = kAmpleRoom) {
    std::vector<typename Stream::Out> units(room);
    auto* target = units.data();
    const KXResult result = stream.Flush(&target, units.data() + room);
    return {result, {units.data(), target}, 0};
}

// Pieces of a text up to its end, with a new target of so many units as often as one is full. Ends
// at the first failure, and at a target of which nothing was used.
template <typename Stream>
Converted<typename Stream::Out> ConvertAll(
    Stream& stream, const std::vector<std::basic_string<typename Stream::In>>& pieces,
    std::size_t room = kAmpleRoom) {
    Converted<typename Stream::Out> all{KX_S_OK, {}, 0};
    const auto full = [&](const Converted<typename Stream::Out>& part) {
        all.result = part.result;
        all.text += part.text;
        all.read += part.read;
        return part.result == KX_CO_E_INIT_CLASS_CACHE && !part.text.empty();
    };
    for (auto piece : pieces) {
        for (auto part = Convert(stream, piece, room); full(part);) {
            piece.erase(0, part.read);
            part = Convert(stream, piece, room);
        }
        if (all.result < 0) return all;
    }
    while (full(Flush(stream, room))) {
    }
    return all;
}

// All of KXEncConvert's answers.
struct ConvertedAtOnce {
    KXResult result;
    std::string text;
    std::size_t read;
    std::size_t written;
};

inline ConvertedAtOnce ConvertAtOnce(const std::string& source, const char16_t* sourceEncoding,
                                     const char16_t* targetEncoding, int substitution,
                                     std::size_t room) {
    std::string target(room + 1, '#');
    std::size_t read = source.size();
    std::size_t written = room;
    const KXResult result = KXEncConvert(source.data(), &read, sourceEncoding, target.data(),
                                         &written, targetEncoding, substitution);
    const bool withinRoom = written <= room && target[room] == '#';
    return {result, withinRoom ? target.substr(0, written) : "beyond the room", read, written};
}

}  // namespace kx::test

#endif
