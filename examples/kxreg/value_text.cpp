#include "value_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "text.h"
#include "usage_error.h"

namespace {

struct Type {
    const char* name;
    std::uint32_t number;
};
constexpr Type kTypes[] = {
    {"sz", KX_REG_SZ},         {"dword", KX_REG_DWORD},      {"qword", KX_REG_QWORD},
    {"binary", KX_REG_BINARY}, {"expand", KX_REG_EXPAND_SZ}, {"multi", KX_REG_MULTI_SZ},
};
constexpr const char* kHexDigits = "0123456789abcdef";

// --- Writing -------------------------------------------------------------------------------------

void Append(const void* bytes, size_t count, Value* value) {
    const auto* const first = static_cast<const unsigned char*>(bytes);
    value->data.insert(value->data.end(), first, first + count);
}

void AppendText(const std::u16string& text, Value* value) {
    Append(text.c_str(), (text.size() + 1) * sizeof(char16_t), value);
}

void AppendNumber(const std::string& word, Value* value) {
    size_t used = 0;
    unsigned long long number = 0;
    const bool begins = !word.empty() && word[0] >= '0' && word[0] <= '9';
    const int base = word.compare(0, 2, "0x") == 0 ? 16 : 10;
    try {
        number = begins ? std::stoull(word, &used, base) : 0;
    } catch (const std::logic_error&) {  // too many digits, or "0x" alone
        used = 0;
    }
    if (!begins || used != word.size() || number > UINT32_MAX) {
        throw UsageError("not a number of 32 bits: " + word);
    }
    const auto stored = static_cast<std::uint32_t>(number);
    Append(&stored, sizeof stored, value);
}

void AppendHex(const std::string& word, Value* value) {
    const auto digitAt = [&word](size_t index) -> unsigned {
        const char digit = word[index] >= 'A' && word[index] <= 'F'
                               ? static_cast<char>(word[index] + ('a' - 'A'))
                               : word[index];
        const char* const found = digit != '\0' ? std::strchr(kHexDigits, digit) : nullptr;
        if (found == nullptr) throw UsageError("not in hexadecimal digits: " + word);
        return static_cast<unsigned>(found - kHexDigits);
    };
    if (word.size() % 2 != 0) throw UsageError("half a byte: " + word);
    for (size_t i = 0; i < word.size(); i += 2) {
        value->data.push_back(static_cast<unsigned char>(16 * digitAt(i) + digitAt(i + 1)));
    }
}

// A terminator ends each text and one more the list, which an empty text would do as well.
void AppendList(const std::vector<std::string>& words, Value* value) {
    for (const std::string& word : words) {
        if (word.empty()) throw UsageError("a list has no empty texts");
        AppendText(Widen(word), value);
    }
    AppendText(u"", value);
}

// --- Reading -------------------------------------------------------------------------------------

std::u16string UnitsOf(const Value& value) {
    std::u16string units(value.data.size() / sizeof(char16_t), u'\0');
    std::memcpy(units.data(), value.data.data(), units.size() * sizeof(char16_t));
    return units;
}

std::string NumberIn(const Value& value) {
    std::uint64_t number = 0;
    std::memcpy(&number, value.data.data(), std::min(value.data.size(), sizeof number));
    return std::to_string(number);
}

std::string HexOf(const Value& value) {
    std::string hex;
    for (const unsigned byte : value.data) {
        hex += kHexDigits[byte / 16];
        hex += kHexDigits[byte % 16];
    }
    return hex;
}

std::vector<std::string> ListIn(const Value& value) {
    const std::u16string units = UnitsOf(value);
    std::vector<std::string> lines;
    for (size_t at = 0; at < units.size() && units[at] != 0;) {
        const size_t end = std::min(units.find(u'\0', at), units.size());
        lines.push_back(Shown(units.substr(at, end - at)));
        at = end + 1;
    }
    return lines;
}

}  // namespace

Value TextValue(const std::u16string& text) {
    Value value;
    AppendText(text, &value);
    return value;
}

std::optional<std::u16string> TextOf(const Value& value) {
    if (value.type != KX_REG_SZ && value.type != KX_REG_EXPAND_SZ) return {};
    const std::u16string units = UnitsOf(value);
    return units.substr(0, units.find(u'\0'));
}

Value ValueFromWords(const std::string& type, const std::vector<std::string>& words) {
    const Type* const found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                           [&](const Type& one) { return type == one.name; });
    if (found == std::end(kTypes)) throw UsageError("no such type: " + type);
    if (found->number != KX_REG_MULTI_SZ && words.size() != 1) {
        throw UsageError("a value of this type is one word");
    }
    Value value;
    value.type = found->number;
    switch (value.type) {
        case KX_REG_SZ:
        case KX_REG_EXPAND_SZ:
            AppendText(Widen(words[0]), &value);
            break;
        case KX_REG_DWORD:
            AppendNumber(words[0], &value);
            break;
        case KX_REG_BINARY:
            AppendHex(words[0], &value);
            break;
        case KX_REG_MULTI_SZ:
            AppendList(words, &value);
            break;
        default:
            throw UsageError("values of this type can be read, but not written: " + type);
    }
    return value;
}

const char* TypeNameOf(const Value& value) {
    for (const auto& [name, number] : kTypes) {
        if (value.type == number) return name;
    }
    return "other";
}

std::vector<std::string> LinesOf(const Value& value) {
    if (const auto text = TextOf(value)) return {Shown(*text)};
    switch (value.type) {
        case KX_REG_DWORD:
        case KX_REG_QWORD:
            return {NumberIn(value)};
        case KX_REG_MULTI_SZ:
            return ListIn(value);
        default:
            return {HexOf(value)};
    }
}
