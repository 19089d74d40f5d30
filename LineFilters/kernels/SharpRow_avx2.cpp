#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"

namespace platen {
namespace {

using Vector = __m256i;
constexpr std::size_t kVectorBytes = sizeof(Vector);

Vector Load(const std::uint8_t* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

void Store(std::uint8_t* bytes, Vector v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), v);
}

Vector Zero() {
    return _mm256_setzero_si256();
}

// Signed byte pairs, the first one lower.
Vector Pairs(int first, int second) {
    return _mm256_set1_epi16(static_cast<short>((first & 0xFF) | (second << 8)));
}

Vector UnpackLow(Vector a, Vector b) {
    return _mm256_unpacklo_epi8(a, b);
}

Vector UnpackHigh(Vector a, Vector b) {
    return _mm256_unpackhi_epi8(a, b);
}

Vector MultiplyPairs(Vector samples, Vector weights) {
    return _mm256_maddubs_epi16(samples, weights);
}

Vector Add16(Vector a, Vector b) {
    return _mm256_add_epi16(a, b);
}

Vector Abs16(Vector v) {
    return _mm256_abs_epi16(v);
}

template <int kShift>
Vector ShiftRight16(Vector v) {
    return _mm256_srli_epi16(v, kShift);
}

Vector PackSaturated(Vector low, Vector high) {
    return _mm256_packus_epi16(low, high);
}

}  // namespace
}  // namespace platen

#include "LineFilters/kernels/SharpCross_maddubs.inc"

#define KERNEL_TARGET avx2
#include "LineFilters/kernels/SharpRow_loop.inc"
