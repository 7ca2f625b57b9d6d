#include <kxcore7/conversion.h>
#include <kxcore7/guid.h>
#include <kxcore7/result.h>
#include <kxcore7/str.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <optional>

#include "platform/identifiers.h"

namespace {

constexpr size_t kBodyLength = 36;    // XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX
constexpr size_t kBracedLength = 38;  // the same in braces

using Bytes = std::array<uint8_t, sizeof(KXGUID)>;

Bytes BytesOf(const KXGUID& guid) {
    Bytes bytes;
    std::memcpy(bytes.data(), &guid, sizeof guid);
    return bytes;
}

std::optional<unsigned> HexDigit(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10u;
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10u;
    return std::nullopt;
}

// Reads the body of the text form from left to right.
class BodyReader final {
  public:
    explicit BodyReader(const char16_t* text) : m_next(text) {}

    // Four hexadecimal digits.
    bool Group(uint16_t* value) {
        unsigned group = 0;
        for (int i = 0; i < 4; ++i) {
            const std::optional<unsigned> digit = HexDigit(*m_next++);
            if (!digit) return false;
            group = group << 4 | *digit;
        }
        *value = static_cast<uint16_t>(group);
        return true;
    }
    bool Hyphen() { return *m_next++ == u'-'; }

  private:
    const char16_t* m_next;
};

// The eight groups with the four hyphens where they belong.
bool ReadBody(const char16_t* body, std::array<uint16_t, 8>& groups) {
    BodyReader reader(body);
    for (size_t i = 0; i < groups.size(); ++i) {
        const bool hyphenBefore = i >= 2 && i <= 5;
        if (hyphenBefore && !reader.Hyphen()) return false;
        if (!reader.Group(&groups[i])) return false;
    }
    return true;
}

}  // namespace

KXResult KXComGUIDFromString(const char16_t* text, KXGUID* guid) {
    const size_t length = KXStrLenW(text);
    if (length < kBodyLength) return KX_E_INVALIDARG;
    const bool braced = text[0] == u'{';
    if (braced && (length < kBracedLength || text[kBracedLength - 1] != u'}')) {
        return KX_E_INVALIDARG;
    }
    std::array<uint16_t, 8> groups{};
    if (!ReadBody(braced ? text + 1 : text, groups)) return KX_E_INVALIDARG;
    guid->data1 = uint32_t{groups[0]} << 16 | groups[1];
    guid->data2 = groups[2];
    guid->data3 = groups[3];
    for (size_t i = 0; i < 4; ++i) {
        guid->data4[2 * i] = static_cast<uint8_t>(groups[4 + i] >> 8);
        guid->data4[2 * i + 1] = static_cast<uint8_t>(groups[4 + i]);
    }
    return KX_S_OK;
}

KXResult KXComStringFromGUID(const KXGUID* guid, char16_t* text, size_t count) {
    char narrow[KX_GUID_TEXT_SIZE];
    const uint8_t* const tail = guid->data4;
    std::snprintf(narrow, sizeof narrow, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  unsigned{guid->data1}, unsigned{guid->data2}, unsigned{guid->data3}, tail[0],
                  tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    KXAnsiToUnicode(text, narrow, count);
    return KX_S_OK;
}

KXResult KXComGenerateGUID(KXGUID* guid) {
    const uint32_t status = kx::platform::GenerateIdentifier(guid);
    return status == kx::platform::kNoNetworkAddress ? KX_E_FAIL : KX_S_OK;
}

int32_t KXComIsEqualGUID(const KXGUID* a, const KXGUID* b) {
    return std::memcmp(a, b, sizeof *a) == 0 ? 1 : 0;
}

int32_t KXComCompareGUID(const KXGUID* a, const KXGUID* b) {
    static constexpr size_t kOrder[] = {10, 11, 12, 13, 14, 15, 8, 9, 6, 7, 4, 5, 0, 1, 2, 3};
    const Bytes left = BytesOf(*a);
    const Bytes right = BytesOf(*b);
    for (const size_t position : kOrder) {
        if (left[position] != right[position]) return right[position] < left[position] ? 1 : -1;
    }
    return 0;
}
