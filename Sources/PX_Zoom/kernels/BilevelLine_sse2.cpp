#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 64;

// Both bytes of a doubled pair eight times, one bit of each kept.
__m128i Spread(__m128i pair) {
    const __m128i mask = _mm_set_epi32(0x01020408, 0x10204080, 0x01020408, 0x10204080);
    return _mm_cmpeq_epi8(_mm_and_si128(pair, mask), mask);
}

void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bits));
    const __m128i twice = _mm_unpacklo_epi8(eight, eight);
    const __m128i low = _mm_unpacklo_epi16(twice, twice);
    const __m128i high = _mm_unpackhi_epi16(twice, twice);
    auto* to = reinterpret_cast<__m128i*>(bytes);
    _mm_storeu_si128(to, Spread(_mm_unpacklo_epi32(low, low)));
    _mm_storeu_si128(to + 1, Spread(_mm_unpackhi_epi32(low, low)));
    _mm_storeu_si128(to + 2, Spread(_mm_unpacklo_epi32(high, high)));
    _mm_storeu_si128(to + 3, Spread(_mm_unpackhi_epi32(high, high)));
}

std::uint64_t TopBits(const std::uint8_t* bytes) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(in));
}

// The top bits of the bytes; then the bits of all eight bytes are reversed at once.
void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    std::uint64_t v =
        TopBits(bytes) | TopBits(bytes + 16) << 16 | TopBits(bytes + 32) << 32 | TopBits(bytes + 48) << 48;
    v = (v >> 4 & 0x0F0F0F0F0F0F0F0Fu) | (v & 0x0F0F0F0F0F0F0F0Fu) << 4;
    v = (v >> 2 & 0x3333333333333333u) | (v & 0x3333333333333333u) << 2;
    v = (v >> 1 & 0x5555555555555555u) | (v & 0x5555555555555555u) << 1;
    __builtin_memcpy(bits, &v, sizeof v);
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET sse2
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
