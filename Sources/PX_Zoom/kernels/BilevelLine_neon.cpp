#include <arm_neon.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 64;

// Two bytes of bits eight times each, one bit of each tested.
void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    const uint8x16_t mask = vreinterpretq_u8_u64(vdupq_n_u64(0x0102040810204080u));
    const uint8x16_t eight = vcombine_u8(vld1_u8(bits), vdup_n_u8(0));
    uint8x16_t which = vcombine_u8(vdup_n_u8(0), vdup_n_u8(1));
    for (std::size_t i = 0; i < kPixels; i += 16) {
        vst1q_u8(bytes + i, vtstq_u8(vqtbl1q_u8(eight, which), mask));
        which = vaddq_u8(which, vdupq_n_u8(2));
    }
}

// Of each byte its own bit of the eight; then three sums of neighbours put eight of them into one byte.
void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    const uint8x16_t mask = vreinterpretq_u8_u64(vdupq_n_u64(0x0102040810204080u));
    uint8x16_t own[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const int8x16_t in = vreinterpretq_s8_u8(vld1q_u8(bytes + 16 * i));
        own[i] = vandq_u8(vreinterpretq_u8_s8(vshrq_n_s8(in, 7)), mask);
    }
    const uint8x16_t fours = vpaddq_u8(vpaddq_u8(own[0], own[1]), vpaddq_u8(own[2], own[3]));
    const uint8x16_t eights = vpaddq_u8(fours, fours);
    vst1_u8(bits, vget_low_u8(eights));
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET neon
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
