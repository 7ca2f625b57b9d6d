// What the fuzz targets share.
#ifndef KXCORE7_TESTS_FUZZ_FUZZ_H
#define KXCORE7_TESTS_FUZZ_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kx::test {

// A finding: ends the run with the input kept.
inline void Require(bool claim) {
    if (!claim) std::abort();
}

// The input as wide text up to its first zero.
inline std::u16string WideInput(const std::uint8_t* data, std::size_t size) {
    std::u16string text(size / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
    return text.c_str();
}

}  // namespace kx::test

#endif
