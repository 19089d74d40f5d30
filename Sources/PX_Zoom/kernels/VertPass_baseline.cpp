#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/VertPass.h"
#include "Sources/PX_Zoom/kernels/VertPass_divisor.inc"

// SSE2 where the processor family has it, the compiler's own vectors elsewhere.

#if defined(__SSE2__)

#include <emmintrin.h>

namespace platen {
namespace {

using V = __m128i;
using F = __m128;

constexpr std::size_t kLanes = 4;

V Load(const std::uint32_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const V*>(from));
}

void Store(std::uint32_t* to, V a) {
    _mm_storeu_si128(reinterpret_cast<V*>(to), a);
}

V Set(std::uint32_t value) {
    return _mm_set1_epi32(static_cast<int>(value));
}

F SetFloat(float value) {
    return _mm_set1_ps(value);
}

V Add(V a, V b) {
    return _mm_add_epi32(a, b);
}

// By halves: low(a0 f) + (low(a1 f) + high(a0 f)) 2^16 for a = a0 + a1 2^16, and a factor of one half.
V Mul(V a, V factor) {
    const V twice = _mm_or_si128(factor, _mm_slli_epi32(factor, 16));
    return _mm_add_epi16(_mm_mullo_epi16(a, twice), _mm_slli_epi32(_mm_mulhi_epu16(a, twice), 16));
}

V Or(V a, V b) {
    return _mm_or_si128(a, b);
}

V LowBits(V a, V mask) {
    return _mm_and_si128(a, mask);
}

V Times(V a, F r) {
    return _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(a), r));
}

constexpr bool kMulsAll = false;

struct Shift {
    __m128i count;

    explicit Shift(int n) : count(_mm_cvtsi32_si128(n)) {}
    V Of(V a) const {
        return _mm_srl_epi32(a, count);
    }
};

struct Divisor {
    V multiplier;
    V addend;
    V shift;

    explicit Divisor(std::uint32_t divisor) {
        const Reciprocal r(divisor);
        multiplier = Set(r.multiplier);
        addend = _mm_set1_epi64x(r.addend);
        shift = _mm_cvtsi32_si128(r.shift);
    }
};

V Divide(V a, const Divisor& divisor) {
    const V even = _mm_add_epi64(_mm_mul_epu32(a, divisor.multiplier), divisor.addend);
    const V odd = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(a, 32), divisor.multiplier), divisor.addend);
    const V high = _mm_or_si128(_mm_srli_epi64(even, 32), _mm_and_si128(odd, _mm_set1_epi64x(~0xFFFFFFFFLL)));
    return _mm_srl_epi32(high, divisor.shift);
}

void StoreBytes(std::uint8_t* out, V a, V b, V c, V d) {
    const V bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    _mm_storeu_si128(reinterpret_cast<V*>(out), bytes);
}

// The packing instruction is for signed numbers: the sign is made the half's top bit.
V AsSigned(V a) {
    return _mm_srai_epi32(_mm_slli_epi32(a, 16), 16);
}

void StoreWords(std::uint16_t* out, V a, V b) {
    _mm_storeu_si128(reinterpret_cast<V*>(out), _mm_packs_epi32(AsSigned(a), AsSigned(b)));
}

}  // namespace
}  // namespace platen

#else

// Where a processor has no vectors GCC warns that functions of other compilers would take them elsewhere; all of
// these are this file's own.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace platen {
namespace {

constexpr std::size_t kLanes = 4;

using V = std::uint32_t __attribute__((vector_size(16)));
using F = float __attribute__((vector_size(16)));
using Signed = std::int32_t __attribute__((vector_size(16)));
using Wide = std::uint64_t __attribute__((vector_size(32)));
using Words = std::uint16_t __attribute__((vector_size(8)));

V Load(const std::uint32_t* from) {
    V a;
    __builtin_memcpy(&a, from, sizeof a);
    return a;
}

void Store(std::uint32_t* to, V a) {
    __builtin_memcpy(to, &a, sizeof a);
}

V Set(std::uint32_t value) {
    return V{value, value, value, value};
}

F SetFloat(float value) {
    return F{value, value, value, value};
}

V Add(V a, V b) {
    return a + b;
}

V Mul(V a, V factor) {
    return a * factor;
}

V Or(V a, V b) {
    return a | b;
}

V LowBits(V a, V mask) {
    return a & mask;
}

V Times(V a, F r) {
    const F product = __builtin_convertvector(reinterpret_cast<Signed>(a), F) * r;
    return reinterpret_cast<V>(__builtin_convertvector(product, Signed));
}

constexpr bool kMulsAll = true;

struct Shift {
    int count;

    explicit Shift(int n) : count(n) {}
    V Of(V a) const {
        return a >> count;
    }
};

using Divisor = Reciprocal;

V Divide(V a, const Divisor& divisor) {
    const Wide sum = __builtin_convertvector(a, Wide) * divisor.multiplier + divisor.addend;
    return __builtin_convertvector(sum >> (32 + divisor.shift), V);
}

void StoreBytes(std::uint8_t* out, V a, V b, V c, V d) {
    const V from[4] = {a, b, c, d};
    std::uint32_t lanes[4 * kLanes];
    __builtin_memcpy(lanes, from, sizeof lanes);
    for (std::size_t i = 0; i < 4 * kLanes; ++i) {
        out[i] = static_cast<std::uint8_t>(lanes[i]);
    }
}

void StoreWords(std::uint16_t* out, V a, V b) {
    const Words words[2] = {__builtin_convertvector(a, Words), __builtin_convertvector(b, Words)};
    __builtin_memcpy(reinterpret_cast<unsigned char*>(out), words, sizeof words);
}

}  // namespace
}  // namespace platen

#endif

#define KERNEL_TARGET baseline
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
