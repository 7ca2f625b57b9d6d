// Vectors of 32 bytes. Compiled for AVX2 as a whole, so nothing of it may run where that is not.
#include <immintrin.h>

#include "platform/x86_64/scan_forms.h"

namespace kx::platform {
namespace {

constexpr std::size_t kBytes = 32;
using Vector = __m256i;

Vector Load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i_u*>(from));
}
void Store(void* to, Vector vector) {
    _mm256_storeu_si256(static_cast<__m256i_u*>(to), vector);
}
template <typename Unit>
Vector Fill(int unit) {
    return sizeof(Unit) == 1 ? _mm256_set1_epi8(static_cast<char>(unit))
                             : _mm256_set1_epi16(static_cast<short>(unit));
}
Vector And(Vector a, Vector b) {
    return _mm256_and_si256(a, b);
}
Vector Or(Vector a, Vector b) {
    return _mm256_or_si256(a, b);
}
Vector Xor(Vector a, Vector b) {
    return _mm256_xor_si256(a, b);
}
Vector Without(Vector a, Vector b) {
    return _mm256_andnot_si256(b, a);
}
template <typename Unit>
Vector Equal(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm256_cmpeq_epi8(a, b) : _mm256_cmpeq_epi16(a, b);
}
template <typename Unit>
Vector Greater(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm256_cmpgt_epi8(a, b) : _mm256_cmpgt_epi16(a, b);
}
template <typename Unit>
Vector Add(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm256_add_epi8(a, b) : _mm256_add_epi16(a, b);
}
template <typename Unit>
Vector Least(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm256_min_epu8(a, b) : _mm256_min_epu16(a, b);
}
unsigned Mask(Vector vector) {
    return static_cast<unsigned>(_mm256_movemask_epi8(vector));
}

}  // namespace
}  // namespace kx::platform

#include "platform/x86_64/scan_vector.h"

namespace kx::platform {

constinit const Scan kAvx2Scan = FormNamed("avx2");

}  // namespace kx::platform
