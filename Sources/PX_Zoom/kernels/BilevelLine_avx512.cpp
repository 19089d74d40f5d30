#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 64;

// Every byte of bits eight times, one bit of each tested.
void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    long long eight;
    __builtin_memcpy(&eight, bits, sizeof eight);
    const __m512i which =
        _mm512_setr_epi64(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303, 0x0404040404040404,
                          0x0505050505050505, 0x0606060606060606, 0x0707070707070707);
    const __m512i spread = _mm512_shuffle_epi8(_mm512_set1_epi64(eight), which);
    const __mmask64 set = _mm512_test_epi8_mask(spread, _mm512_set1_epi64(0x0102040810204080));
    _mm512_storeu_si512(bytes, _mm512_movm_epi8(set));
}

// The top bits of the bytes, eight by eight in reverse.
void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    const long long low = 0x0001020304050607;
    const long long high = 0x08090A0B0C0D0E0F;
    const __m512i reverse = _mm512_setr_epi64(low, high, low, high, low, high, low, high);
    const __mmask64 eight = _mm512_movepi8_mask(_mm512_shuffle_epi8(_mm512_loadu_si512(bytes), reverse));
    __builtin_memcpy(bits, &eight, sizeof eight);
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
