#include "frame/format.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/locale.h"

namespace kx::core {
namespace {

// No message is longer, so no single conversion needs to be.
constexpr std::size_t kConversionSize = 512;
// A conversion never needs more padding than a message has units.
constexpr int kMaxField = static_cast<int>(kConversionSize);

enum class Length { none, hh, h, l, ll, j, z, t, i32, i64, pointer, longDouble };

struct Conversion {
    char flags[6] = "";  // each flag once
    int width = 0;
    int precision = -1;  // -1: none given
    Length length = Length::none;
    char16_t type = 0;

    bool Has(char flag) const { return std::strchr(flags, flag) != nullptr; }
    void Add(char flag) {
        if (Has(flag)) return;
        const std::size_t used = std::strlen(flags);
        flags[used] = flag;
        flags[used + 1] = '\0';
    }
};

// The bounded output.
class Writer final {
  public:
    Writer(char16_t* out, std::size_t size) : m_next(out), m_end(out + size - 1) {}
    ~Writer() { *m_next = u'\0'; }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void Put(char16_t unit) {
        if (m_next != m_end) *m_next++ = unit;
    }
    void Put(const char16_t* text, std::size_t count) {
        while (count-- != 0) Put(*text++);
    }
    void Fill(char16_t unit, std::size_t count) {
        while (count-- != 0) Put(unit);
    }
    // Text in a field of at least width units.
    void PutField(const char16_t* text, std::size_t count, const Conversion& conversion) {
        const auto width = static_cast<std::size_t>(conversion.width);
        const std::size_t padding = width > count ? width - count : 0;
        const bool left = conversion.Has('-');
        if (!left) Fill(u' ', padding);
        Put(text, count);
        if (left) Fill(u' ', padding);
    }

  private:
    char16_t* m_next;
    char16_t* const m_end;
};

// A va_list that can be handed on by reference, whatever type it is on this system.
struct Arguments {
    std::va_list list;
};

int ClampField(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, kMaxField));
}

int ParseNumber(const char16_t*& next) {
    std::int64_t number = 0;
    for (; *next >= u'0' && *next <= u'9'; ++next)
        number = ClampField(number * 10 + (*next - u'0'));
    return ClampField(number);
}

void ParseFlags(const char16_t*& next, Conversion& conversion) {
    for (; *next != 0 && *next < 0x80 && std::strchr("-+ #0", static_cast<char>(*next)); ++next) {
        conversion.Add(static_cast<char>(*next));
    }
}

// A negative width from the arguments means left-justified, a negative precision none at all.
void ParseWidth(const char16_t*& next, Conversion& conversion, Arguments& arguments) {
    if (*next != u'*') {
        conversion.width = ParseNumber(next);
        return;
    }
    ++next;
    const std::int64_t width = va_arg(arguments.list, int);
    if (width < 0) conversion.Add('-');
    conversion.width = ClampField(width < 0 ? -width : width);
}

void ParsePrecision(const char16_t*& next, Conversion& conversion, Arguments& arguments) {
    if (*next != u'.') return;
    ++next;
    if (*next != u'*') {
        conversion.precision = ParseNumber(next);
        return;
    }
    ++next;
    const int precision = va_arg(arguments.list, int);
    conversion.precision = precision < 0 ? -1 : ClampField(precision);
}

bool Skip(const char16_t*& next, const char16_t* prefix) {
    const char16_t* ahead = next;
    for (; *prefix != 0; ++prefix, ++ahead) {
        if (*ahead != *prefix) return false;
    }
    next = ahead;
    return true;
}

Length ParseLength(const char16_t*& next) {
    static constexpr struct {
        const char16_t* text;
        Length length;
    } kLengths[] = {
        {u"hh", Length::hh},   {u"h", Length::h},     {u"ll", Length::ll},
        {u"l", Length::l},     {u"w", Length::l},     {u"j", Length::j},
        {u"z", Length::z},     {u"t", Length::t},     {u"L", Length::longDouble},
        {u"I64", Length::i64}, {u"I32", Length::i32}, {u"I", Length::pointer},
    };
    for (const auto& candidate : kLengths) {
        if (Skip(next, candidate.text)) return candidate.length;
    }
    return Length::none;
}

std::intmax_t SignedArgument(Length length, Arguments& arguments) {
    switch (length) {
        case Length::hh:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case Length::h:
            return static_cast<short>(va_arg(arguments.list, int));
        case Length::l:
            return va_arg(arguments.list, long);
        case Length::ll:
        case Length::i64:
        case Length::longDouble:
            return va_arg(arguments.list, long long);
        case Length::j:
            return va_arg(arguments.list, std::intmax_t);
        case Length::z:
        case Length::t:
        case Length::pointer:
            return va_arg(arguments.list, std::ptrdiff_t);
        case Length::none:
        case Length::i32:
            break;
    }
    return va_arg(arguments.list, int);
}

std::uintmax_t UnsignedArgument(Length length, Arguments& arguments) {
    switch (length) {
        case Length::hh:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
        case Length::h:
            return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
        case Length::l:
            return va_arg(arguments.list, unsigned long);
        case Length::ll:
        case Length::i64:
        case Length::longDouble:
            return va_arg(arguments.list, unsigned long long);
        case Length::j:
            return va_arg(arguments.list, std::uintmax_t);
        case Length::z:
        case Length::t:
        case Length::pointer:
            return va_arg(arguments.list, std::size_t);
        case Length::none:
        case Length::i32:
            break;
    }
    return va_arg(arguments.list, unsigned);
}

// The C library's own formatter does the numbers, in a narrow field that is then widened: digits,
// signs and padding are ASCII, and so is a decimal point in practice.
template <typename Value>
void PutNumber(Writer& writer, const Conversion& conversion, const char* length, Value value) {
    char format[32];
    if (conversion.precision < 0) {
        std::snprintf(format, sizeof format, "%%%s*%s%c", conversion.flags, length,
                      static_cast<char>(conversion.type));
    } else {
        std::snprintf(format, sizeof format, "%%%s*.%d%s%c", conversion.flags, conversion.precision,
                      length, static_cast<char>(conversion.type));
    }
    char digits[kConversionSize];
    std::snprintf(digits, sizeof digits, format, conversion.width, value);
    for (const char* digit = digits; *digit != '\0'; ++digit) {
        writer.Put(static_cast<unsigned char>(*digit));
    }
}

void PutFloat(Writer& writer, const Conversion& conversion, Arguments& arguments) {
    if (conversion.length == Length::longDouble) {
        PutNumber(writer, conversion, "L", va_arg(arguments.list, long double));
    } else {
        PutNumber(writer, conversion, "", va_arg(arguments.list, double));
    }
}

std::size_t BoundedLength(const char16_t* text, std::size_t most) {
    std::size_t length = 0;
    while (length < most && text[length] != 0) ++length;
    return length;
}

// A text in an alert is to be read by a person: what the locale can't widen is shown as '?'.
std::size_t WidenForReading(const char* text, char16_t (&out)[kConversionSize]) {
    const std::size_t produced = platform::NarrowToWide(out, text, kConversionSize);
    if (produced != platform::kConversionFailed) return produced;
    std::size_t count = 0;
    for (; count < kConversionSize && text[count] != '\0'; ++count) {
        const auto byte = static_cast<unsigned char>(text[count]);
        out[count] = byte < 0x80 ? byte : u'?';
    }
    return count;
}

void PutWideString(Writer& writer, const Conversion& conversion, const char16_t* text) {
    if (text == nullptr) text = u"(null)";
    const std::size_t most =
        conversion.precision < 0 ? kConversionSize : static_cast<std::size_t>(conversion.precision);
    writer.PutField(text, BoundedLength(text, most), conversion);
}

// With a precision the text needs no terminator, so no more bytes than that are looked at.
void PutNarrowString(Writer& writer, const Conversion& conversion, const char* text) {
    if (text == nullptr) text = "(null)";
    char bounded[kConversionSize + 1];
    if (conversion.precision >= 0) {
        const auto most = static_cast<std::size_t>(conversion.precision);
        const void* const end = std::memchr(text, 0, most);
        const std::size_t length =
            end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : most;
        std::memcpy(bounded, text, length);
        bounded[length] = '\0';
        text = bounded;
    }
    char16_t wide[kConversionSize];
    writer.PutField(wide, WidenForReading(text, wide), conversion);
}

void PutCharacter(Writer& writer, const Conversion& conversion, bool narrow, int argument) {
    if (!narrow) {
        const auto unit = static_cast<char16_t>(argument);
        writer.PutField(&unit, 1, conversion);
        return;
    }
    const char byte[2] = {static_cast<char>(argument), '\0'};
    char16_t wide[kConversionSize];
    writer.PutField(wide, WidenForReading(byte, wide), conversion);
}

// %s is wide and %S narrow unless a length says which; false for a conversion that is none.
bool PutConversion(Writer& writer, const Conversion& conversion, Arguments& arguments) {
    const bool capital = conversion.type == u'S' || conversion.type == u'C';
    const bool narrow = conversion.length == Length::h || conversion.length == Length::hh ||
                        (capital && conversion.length == Length::none);
    switch (conversion.type) {
        case u'd':
        case u'i':
            PutNumber(writer, conversion, "j", SignedArgument(conversion.length, arguments));
            return true;
        case u'u':
        case u'x':
        case u'X':
        case u'o':
            PutNumber(writer, conversion, "j", UnsignedArgument(conversion.length, arguments));
            return true;
        case u'e':
        case u'E':
        case u'f':
        case u'F':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            PutFloat(writer, conversion, arguments);
            return true;
        case u'p':
            PutNumber(writer, conversion, "", va_arg(arguments.list, void*));
            return true;
        case u's':
        case u'S':
            if (narrow) {
                PutNarrowString(writer, conversion, va_arg(arguments.list, const char*));
            } else {
                PutWideString(writer, conversion, va_arg(arguments.list, const char16_t*));
            }
            return true;
        case u'c':
        case u'C':
            PutCharacter(writer, conversion, narrow, va_arg(arguments.list, int));
            return true;
        case u'n':  // a format that writes to memory is an attack, not a message
            static_cast<void>(va_arg(arguments.list, void*));
            return true;
        default:
            return false;
    }
}

Conversion ParseConversion(const char16_t*& next, Arguments& arguments) {
    Conversion conversion;
    ParseFlags(next, conversion);
    ParseWidth(next, conversion, arguments);
    ParsePrecision(next, conversion, arguments);
    conversion.length = ParseLength(next);
    conversion.type = *next;
    if (*next != 0) ++next;
    return conversion;
}

}  // namespace

void FormatV(char16_t* out, std::size_t size, const char16_t* format, std::va_list arguments) {
    Writer writer(out, size);
    Arguments copy;
    va_copy(copy.list, arguments);
    while (*format != 0) {
        const char16_t* const start = format;
        if (*format++ != u'%') {
            writer.Put(*start);
            continue;
        }
        if (Skip(format, u"%")) {
            writer.Put(u'%');
            continue;
        }
        const Conversion conversion = ParseConversion(format, copy);
        if (!PutConversion(writer, conversion, copy)) {
            writer.Put(start, static_cast<std::size_t>(format - start));
        }
    }
    va_end(copy.list);
}

void Format(char16_t* out, std::size_t size, const char16_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    FormatV(out, size, format, arguments);
    va_end(arguments);
}

}  // namespace kx::core
