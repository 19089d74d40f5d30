#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 32;

// Every byte of bits eight times, one bit of each kept.
void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    std::int32_t four;
    __builtin_memcpy(&four, bits, sizeof four);
    const __m256i which = _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
    const __m256i mask = _mm256_set1_epi64x(0x0102040810204080);
    const __m256i spread = _mm256_and_si256(_mm256_shuffle_epi8(_mm256_set1_epi32(four), which), mask);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), _mm256_cmpeq_epi8(spread, mask));
}

// The top bits of the bytes, eight by eight in reverse.
void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    const __m256i reverse =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
    const std::int32_t four = _mm256_movemask_epi8(_mm256_shuffle_epi8(in, reverse));
    __builtin_memcpy(bits, &four, sizeof four);
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET avx2
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
