#include "platform/posix/utf8.h"

#include <cstring>

namespace kx::platform {
namespace {

constexpr bool IsLead(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsTrail(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Takes one code point, or an unpaired surrogate, off the front of text.
char32_t TakeCodePoint(std::u16string_view& text) {
    const char32_t first = text[0];
    if (IsLead(first) && text.size() > 1 && IsTrail(text[1])) {
        const char32_t second = text[1];
        text.remove_prefix(2);
        return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
    }
    text.remove_prefix(1);
    return first;
}

struct Sequence {
    char bytes[4];
    std::size_t length;

    operator std::string_view() const { return {bytes, length}; }
};

Sequence Encode(char32_t point) {
    const auto tail = [&](unsigned shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    if (point < 0x80) return {{static_cast<char>(point)}, 1};
    if (point < 0x800) return {{static_cast<char>(0xC0 | point >> 6), tail(0)}, 2};
    if (point < 0x10000) return {{static_cast<char>(0xE0 | point >> 12), tail(6), tail(0)}, 3};
    return {{static_cast<char>(0xF0 | point >> 18), tail(12), tail(6), tail(0)}, 4};
}

void AppendUtf16(std::u16string& out, char32_t point) {
    if (point < 0x10000) {
        out += static_cast<char16_t>(point);
        return;
    }
    out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
    out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
}

constexpr char32_t kNoSequence = 0xFFFFFFFF;

// Takes one sequence off the front of text, surrogates included; kNoSequence and one byte where
// there is none.
char32_t TakeSequence(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    static constexpr unsigned kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    bool valid = length != 0 && length <= text.size();
    char32_t point = first & kLeadBits[length];
    for (std::size_t i = 1; valid && i < length; ++i) {
        valid = (byte(i) & 0xC0) == 0x80;
        point = point << 6 | (byte(i) & 0x3Fu);
    }
    valid = valid && point >= kSmallest[length] && point <= 0x10FFFF;
    text.remove_prefix(valid ? length : 1);
    return valid ? point : kNoSequence;
}

}  // namespace

std::string Utf8FromUtf16(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) out += Encode(TakeCodePoint(text));
    return out;
}

std::u16string Utf16FromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const char32_t point = TakeSequence(text);
        AppendUtf16(out, point != kNoSequence ? point : 0xFFFD);
    }
    return out;
}

std::size_t EncodeUtf8(std::u16string_view text, char* out, std::size_t size) {
    std::size_t used = 0;
    while (!text.empty()) {
        const Sequence sequence = Encode(TakeCodePoint(text));
        if (sequence.length >= size - used) break;
        std::memcpy(out + used, sequence.bytes, sequence.length);
        used += sequence.length;
    }
    out[used] = '\0';
    return used;
}

std::string PathFromWide(std::u16string_view path) {
    std::string out;
    out.reserve(path.size());
    while (!path.empty()) {
        const char32_t point = TakeCodePoint(path);
        if (point >= 0xDC80 && point <= 0xDCFF) {
            out += static_cast<char>(point - 0xDC00);
        } else {
            out += Encode(point);
        }
    }
    return out;
}

// A surrogate's number in three bytes is no UTF-8 either, so each of its bytes is carried alone.
std::u16string WideFromPath(std::string_view path) {
    std::u16string out;
    out.reserve(path.size());
    while (!path.empty()) {
        std::string_view rest = path;
        const char32_t point = TakeSequence(rest);
        if (point == kNoSequence || IsLead(point) || IsTrail(point)) {
            out += static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(path[0]));
            path.remove_prefix(1);
            continue;
        }
        AppendUtf16(out, point);
        path = rest;
    }
    return out;
}

}  // namespace kx::platform
