#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"

namespace platen {
namespace {

// Replaces every byte by its entry: sixteen 16-entry shuffles, of which the one that a byte's high four bits choose
// gives the entry and the others 0. A shuffle gives 0 where its index has the top bit set; adding 0x70 with
// saturation sets it for every index above 15.
void LookUp(std::uint8_t* bytes, std::size_t count, const std::uint8_t* table) {
    __m256i part[16];
    for (int i = 0; i < 16; ++i) {
        part[i] = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * i)));
    }
    const __m256i onlyLow = _mm256_set1_epi8(0x70);
    std::size_t done = 0;
    for (; done + 32 <= count; done += 32) {
        auto* place = reinterpret_cast<__m256i*>(bytes + done);
        const __m256i in = _mm256_loadu_si256(place);
        __m256i out = _mm256_shuffle_epi8(part[0], _mm256_adds_epu8(in, onlyLow));
        for (int i = 1; i < 16; ++i) {
            const __m256i index = _mm256_xor_si256(in, _mm256_set1_epi8(static_cast<char>(16 * i)));
            out = _mm256_or_si256(out, _mm256_shuffle_epi8(part[i], _mm256_adds_epu8(index, onlyLow)));
        }
        _mm256_storeu_si256(place, out);
    }
    for (; done < count; ++done) {
        bytes[done] = table[bytes[done]];
    }
}

}  // namespace
}  // namespace platen

#include "LineFilters/HsvCollect_x86.inc"
#include "LineFilters/HsvPlanes_avx2.inc"

#define KERNEL_TARGET avx2
#include "LineFilters/HsvRow_loop.inc"
