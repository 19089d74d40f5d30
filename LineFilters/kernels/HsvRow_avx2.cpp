#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"

namespace platen {
namespace {

// `bits`' top bits choose, byte by byte.
__m256i Choose(__m256i ifClear, __m256i ifSet, __m256i bits) {
    return _mm256_blendv_epi8(ifClear, ifSet, bits);
}

// Replaces every byte by its entry: sixteen 16-entry shuffles by the low four bits, of which the high four choose
// one, a bit at a time. The choices go pair by pair as soon as two are there, so that the registers suffice.
void LookUp(std::uint8_t* bytes, std::size_t count, const std::uint8_t* table) {
    __m256i part[16];
    for (int i = 0; i < 16; ++i) {
        part[i] = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * i)));
    }
    const __m256i low = _mm256_set1_epi8(0x0F);
    std::size_t done = 0;
    for (; done + 32 <= count; done += 32) {
        auto* place = reinterpret_cast<__m256i*>(bytes + done);
        const __m256i bit7 = _mm256_loadu_si256(place);
        const __m256i index = _mm256_and_si256(bit7, low);
        const __m256i bit6 = _mm256_slli_epi16(bit7, 1);
        const __m256i bit5 = _mm256_slli_epi16(bit7, 2);
        const __m256i bit4 = _mm256_slli_epi16(bit7, 3);
        const auto two = [&](int i) {
            return Choose(_mm256_shuffle_epi8(part[i], index), _mm256_shuffle_epi8(part[i + 1], index), bit4);
        };
        const auto four = [&](int i) { return Choose(two(i), two(i + 2), bit5); };
        const auto eight = [&](int i) { return Choose(four(i), four(i + 4), bit6); };
        _mm256_storeu_si256(place, Choose(eight(0), eight(8), bit7));
    }
    for (; done < count; ++done) {
        bytes[done] = table[bytes[done]];
    }
}

}  // namespace
}  // namespace platen

#include "LineFilters/kernels/HsvCollect_x86.inc"
#include "LineFilters/kernels/HsvPlanes_avx2.inc"

#define KERNEL_TARGET avx2
#include "LineFilters/kernels/HsvRow_loop.inc"
