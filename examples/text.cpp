#include "text.h"

#include <kxcore7/character.h>
#include <kxcore7/conversion.h>

#include <stdexcept>

namespace {

template <typename To, typename From>
std::optional<To> Converted(const From& text, size_t most,
                            size_t (*convert)(typename To::value_type*,
                                              const typename From::value_type*, size_t)) {
    if (text.find(typename From::value_type{}) != From::npos) return {};
    To converted(most, typename To::value_type{});
    const size_t length = convert(converted.data(), text.c_str(), converted.size());
    if (length == 0 && !text.empty()) return {};
    converted.resize(length);
    return converted;
}

}  // namespace

// No character has more units than bytes, and none more bytes than this for a unit.
std::optional<std::u16string> Widened(const std::string& text) {
    return Converted<std::u16string>(text, text.size() + 1, KXAnsiToWstring);
}

std::optional<std::string> Narrowed(const std::u16string& text) {
    constexpr size_t kBytesAUnit = 4;
    return Converted<std::string>(text, kBytesAUnit * text.size() + 1, KXUnicodeToString);
}

std::u16string Widen(const std::string& text) {
    const auto wide = Widened(text);
    if (!wide) throw std::runtime_error("the locale cannot express \"" + text + "\"");
    return *wide;
}

std::string Shown(const std::u16string& text) {
    if (auto whole = Narrowed(text)) return *whole;
    std::string shown;
    const char16_t* const end = text.data() + text.size();
    for (const char16_t* at = text.data(); at != end;) {
        const char16_t* const start = at;
        KXNextCharUTF16(&at, static_cast<int>(end - at));
        shown += Narrowed(std::u16string(start, at)).value_or("?");
    }
    return shown;
}

std::u16string Folded(std::u16string text) {
    for (char16_t& unit : text) unit = static_cast<char16_t>(KXToLowerW(unit));
    return text;
}
