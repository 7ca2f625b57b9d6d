// The tokens of a text are what lies between its delimiters, and no unit but a delimiter changes.
#include <kxcore7/str.h>

#include <memory>
#include <vector>

#include "fuzz/fuzz.h"

using namespace kx::test;

namespace {

template <typename Unit>
std::vector<std::basic_string<Unit>> Split(const std::basic_string<Unit>& text,
                                           const std::basic_string<Unit>& delimiters) {
    std::vector<std::basic_string<Unit>> tokens;
    for (std::size_t at = 0;;) {
        at = text.find_first_not_of(delimiters, at);
        if (at == text.npos) return tokens;
        const std::size_t end = text.find_first_of(delimiters, at);
        tokens.push_back(text.substr(at, end - at));
        if (end == text.npos) return tokens;
        at = end;
    }
}

template <typename Unit>
void RequireTokens(const std::basic_string<Unit>& text, const std::basic_string<Unit>& delimiters,
                   Unit* (*next)(Unit**, const Unit*)) {
    const std::size_t units = text.size() + 1;
    const auto block = std::make_unique<Unit[]>(units);
    text.copy(block.get(), units);
    Unit* cursor = block.get();
    for (const auto& token : Split(text, delimiters)) {
        const Unit* const found = next(&cursor, delimiters.c_str());
        Require(found != nullptr && found == token);
    }
    Require(next(&cursor, delimiters.c_str()) == nullptr && cursor == nullptr);
    Require(next(&cursor, delimiters.c_str()) == nullptr && cursor == nullptr);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool delimiter = delimiters.find(text[i]) != delimiters.npos;
        Require(block[i] == text[i] || (delimiter && block[i] == 0));
    }
}

}  // namespace

// Up to the first zero are the delimiters, behind it the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    const std::string delimiters = bytes.c_str();
    const std::size_t behind = delimiters.size() + 1;
    const std::string text = behind < size ? bytes.substr(behind).c_str() : "";
    RequireTokens(text, delimiters, KXStrTokA);
    // Units whose low bytes are the same in some, so that both have to count.
    const auto widen = [](const std::string& narrow) {
        std::u16string wide;
        for (const char byte : narrow) wide += static_cast<char16_t>((byte & 0x3F) << 7 | 1);
        return wide;
    };
    RequireTokens(widen(text), widen(delimiters), KXStrTokW);
    return 0;
}
