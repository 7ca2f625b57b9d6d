// Vectors of 16 bytes, which every processor of the kind has.
#include <emmintrin.h>

#include "platform/x86_64/scan_forms.h"

namespace kx::platform {
namespace {

constexpr std::size_t kBytes = 16;
using Vector = __m128i;

Vector Load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i_u*>(from));
}
void Store(void* to, Vector vector) {
    _mm_storeu_si128(static_cast<__m128i_u*>(to), vector);
}
template <typename Unit>
Vector Fill(int unit) {
    return sizeof(Unit) == 1 ? _mm_set1_epi8(static_cast<char>(unit))
                             : _mm_set1_epi16(static_cast<short>(unit));
}
Vector And(Vector a, Vector b) {
    return _mm_and_si128(a, b);
}
Vector Or(Vector a, Vector b) {
    return _mm_or_si128(a, b);
}
Vector Xor(Vector a, Vector b) {
    return _mm_xor_si128(a, b);
}
Vector Without(Vector a, Vector b) {
    return _mm_andnot_si128(b, a);
}
template <typename Unit>
Vector Equal(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm_cmpeq_epi8(a, b) : _mm_cmpeq_epi16(a, b);
}
template <typename Unit>
Vector Greater(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm_cmpgt_epi8(a, b) : _mm_cmpgt_epi16(a, b);
}
template <typename Unit>
Vector Add(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm_add_epi8(a, b) : _mm_add_epi16(a, b);
}
// By what a is above b, if at all.
template <typename Unit>
Vector Least(Vector a, Vector b) {
    return sizeof(Unit) == 1 ? _mm_min_epu8(a, b) : _mm_sub_epi16(a, _mm_subs_epu16(a, b));
}
unsigned Mask(Vector vector) {
    return static_cast<unsigned>(_mm_movemask_epi8(vector));
}

}  // namespace
}  // namespace kx::platform

#include "platform/x86_64/scan_vector.h"

namespace kx::platform {

constinit const Scan kSse2Scan = FormNamed("sse2");

}  // namespace kx::platform
