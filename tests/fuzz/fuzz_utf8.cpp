// Text and paths of any content survive the way to bytes and back.
#include "fuzz/fuzz.h"
#include "platform/posix/utf8.h"

using namespace kx::platform;
using namespace kx::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    const std::u16string units = WideInput(data, size);
    Require(Utf16FromUtf8(Utf8FromUtf16(units)) == units);
    Require(PathFromWide(WideFromPath(bytes)) == bytes);
    const std::u16string read = Utf16FromUtf8(bytes);
    Require(Utf16FromUtf8(Utf8FromUtf16(read)) == read);
    char out[17];
    out[16] = '#';
    Require(EncodeUtf8(units, out, 16) < 16 && out[16] == '#');
    return 0;
}
