#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"

namespace platen {
namespace {

// Replaces every byte by its entry: two 128-entry permutations, chosen between by the byte's top bit.
void LookUp(std::uint8_t* bytes, std::size_t count, const std::uint8_t* table) {
    const __m512i a = _mm512_loadu_si512(table);
    const __m512i b = _mm512_loadu_si512(table + 64);
    const __m512i c = _mm512_loadu_si512(table + 128);
    const __m512i d = _mm512_loadu_si512(table + 192);
    std::size_t done = 0;
    for (; done + 64 <= count; done += 64) {
        const __m512i in = _mm512_loadu_si512(bytes + done);
        const __m512i low = _mm512_permutex2var_epi8(a, in, b);
        const __m512i high = _mm512_permutex2var_epi8(c, in, d);
        _mm512_storeu_si512(bytes + done, _mm512_mask_blend_epi8(_mm512_movepi8_mask(in), low, high));
    }
    for (; done < count; ++done) {
        bytes[done] = table[bytes[done]];
    }
}

}  // namespace
}  // namespace platen

#include "LineFilters/kernels/HsvCollect_x86.inc"

#define KERNEL_TARGET avx512
#include "LineFilters/kernels/HsvRow_loop.inc"
