#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/VertPass.h"
#include "Sources/PX_Zoom/kernels/VertPass_divisor.inc"

namespace platen {
namespace {

using V = __m256i;
using F = __m256;

constexpr std::size_t kLanes = 8;

V Load(const std::uint32_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const V*>(from));
}

void Store(std::uint32_t* to, V a) {
    _mm256_storeu_si256(reinterpret_cast<V*>(to), a);
}

V Set(std::uint32_t value) {
    return _mm256_set1_epi32(static_cast<int>(value));
}

F SetFloat(float value) {
    return _mm256_set1_ps(value);
}

V Add(V a, V b) {
    return _mm256_add_epi32(a, b);
}

V Mul(V a, V factor) {
    return _mm256_mullo_epi32(a, factor);
}

V Or(V a, V b) {
    return _mm256_or_si256(a, b);
}

V LowBits(V a, V mask) {
    return _mm256_and_si256(a, mask);
}

V Times(V a, F r) {
    return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(a), r));
}

constexpr bool kMulsAll = true;

struct Shift {
    __m128i count;

    explicit Shift(int n) : count(_mm_cvtsi32_si128(n)) {}
    V Of(V a) const {
        return _mm256_srl_epi32(a, count);
    }
};

struct Divisor {
    V multiplier;
    V addend;
    __m128i shift;

    explicit Divisor(std::uint32_t divisor) {
        const Reciprocal r(divisor);
        multiplier = Set(r.multiplier);
        addend = _mm256_set1_epi64x(r.addend);
        shift = _mm_cvtsi32_si128(r.shift);
    }
};

V Divide(V a, const Divisor& divisor) {
    const V even = _mm256_add_epi64(_mm256_mul_epu32(a, divisor.multiplier), divisor.addend);
    const V odd = _mm256_add_epi64(_mm256_mul_epu32(_mm256_srli_epi64(a, 32), divisor.multiplier), divisor.addend);
    const V high = _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA);
    return _mm256_srl_epi32(high, divisor.shift);
}

void StoreBytes(std::uint8_t* out, V a, V b, V c, V d) {
    const V order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const V bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
    _mm256_storeu_si256(reinterpret_cast<V*>(out), _mm256_permutevar8x32_epi32(bytes, order));
}

void StoreWords(std::uint16_t* out, V a, V b) {
    const V words = _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<V*>(out), words);
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET avx2
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
