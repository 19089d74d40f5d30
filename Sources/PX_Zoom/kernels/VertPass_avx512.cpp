#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // GCC 12's own header: the operand of a full mask
#endif

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/VertPass.h"
#include "Sources/PX_Zoom/kernels/VertPass_divisor.inc"

namespace platen {
namespace {

using V = __m512i;
using F = __m512;

constexpr std::size_t kLanes = 16;

V Load(const std::uint32_t* from) {
    return _mm512_loadu_si512(from);
}

void Store(std::uint32_t* to, V a) {
    _mm512_storeu_si512(to, a);
}

V Set(std::uint32_t value) {
    return _mm512_set1_epi32(static_cast<int>(value));
}

F SetFloat(float value) {
    return _mm512_set1_ps(value);
}

V Add(V a, V b) {
    return _mm512_add_epi32(a, b);
}

V Mul(V a, V factor) {
    return _mm512_mullo_epi32(a, factor);
}

V Or(V a, V b) {
    return _mm512_or_si512(a, b);
}

V LowBits(V a, V mask) {
    return _mm512_and_si512(a, mask);
}

V Times(V a, F r) {
    return _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(a), r));
}

constexpr bool kMulsAll = true;

struct Shift {
    __m128i count;

    explicit Shift(int n) : count(_mm_cvtsi32_si128(n)) {}
    V Of(V a) const {
        return _mm512_srl_epi32(a, count);
    }
};

struct Divisor {
    V multiplier;
    V addend;
    __m128i shift;

    explicit Divisor(std::uint32_t divisor) {
        const Reciprocal r(divisor);
        multiplier = Set(r.multiplier);
        addend = _mm512_set1_epi64(r.addend);
        shift = _mm_cvtsi32_si128(r.shift);
    }
};

V Divide(V a, const Divisor& divisor) {
    const V even = _mm512_add_epi64(_mm512_mul_epu32(a, divisor.multiplier), divisor.addend);
    const V odd = _mm512_add_epi64(_mm512_mul_epu32(_mm512_srli_epi64(a, 32), divisor.multiplier), divisor.addend);
    const V high = _mm512_mask_blend_epi32(0xAAAA, _mm512_srli_epi64(even, 32), odd);
    return _mm512_srl_epi32(high, divisor.shift);
}

// In each 16 bytes the packed four numbers of a, b, c and d follow one another.
void StoreBytes(std::uint8_t* out, V a, V b, V c, V d) {
    const V order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const V bytes = _mm512_packus_epi16(_mm512_packus_epi32(a, b), _mm512_packus_epi32(c, d));
    _mm512_storeu_si512(out, _mm512_permutexvar_epi32(order, bytes));
}

void StoreWords(std::uint16_t* out, V a, V b) {
    const V order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    _mm512_storeu_si512(out, _mm512_permutexvar_epi64(order, _mm512_packus_epi32(a, b)));
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
