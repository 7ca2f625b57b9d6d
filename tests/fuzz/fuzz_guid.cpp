// Whatever text is accepted as an identifier is written and read back as the same one.
#include <kxcore7/guid.h>

#include "fuzz/fuzz.h"

using namespace kx::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A byte a unit, so that the fuzzer finds hexadecimal digits.
    const std::u16string text(data, data + size);
    KXGUID guid{};
    if (KXComGUIDFromString(text.c_str(), &guid) != 0) return 0;
    char16_t written[KX_GUID_TEXT_SIZE];
    KXGUID back{};
    KXComStringFromGUID(&guid, written, KX_GUID_TEXT_SIZE);
    Require(KXComGUIDFromString(written, &back) == 0);
    Require(KXComIsEqualGUID(&guid, &back) == 1);
    Require(KXComCompareGUID(&guid, &back) == 0);
    return 0;
}
