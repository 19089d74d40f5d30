#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_neon.inc"
#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {
namespace {

constexpr bool kMakesSums = true;

inline Vector ProductSums(Vector a, Vector b) {
    const int16x8_t x = vreinterpretq_s16_u8(a);
    const int16x8_t y = vreinterpretq_s16_u8(b);
    return vreinterpretq_u8_s32(vpaddq_s32(vmull_s16(vget_low_s16(x), vget_low_s16(y)), vmull_high_s16(x, y)));
}
inline Vector ByteSums(Vector a) {
    return vreinterpretq_u8_u16(vpaddlq_u8(a));
}
inline Vector ShortSums(Vector a) {
    return vreinterpretq_u8_u32(vpaddlq_u16(vreinterpretq_u16_u8(a)));
}
inline Vector SmallShortSums(Vector a) {
    return ShortSums(a);
}
inline Vector SumsOfTwo(Vector a, Vector b) {
    return vreinterpretq_u8_u32(vpaddq_u32(vreinterpretq_u32_u8(a), vreinterpretq_u32_u8(b)));
}

inline Vector LowBytesWide(Vector a) {
    return vreinterpretq_u8_u16(vmovl_u8(vget_low_u8(a)));
}
inline Vector LowShortsWide(Vector a) {
    return vreinterpretq_u8_u32(vmovl_u16(vget_low_u16(vreinterpretq_u16_u8(a))));
}
inline Vector HighShortsWide(Vector a) {
    return vreinterpretq_u8_u32(vmovl_high_u16(vreinterpretq_u16_u8(a)));
}

inline float64x2_t LowDoubles(Vector a) {
    return vcvtq_f64_s64(vmovl_s32(vget_low_s32(vreinterpretq_s32_u8(a))));
}
inline float64x2_t HighDoubles(Vector a) {
    return vcvtq_f64_s64(vmovl_high_s32(vreinterpretq_s32_u8(a)));
}
inline Vector WholeParts(float64x2_t low, float64x2_t high) {
    return vreinterpretq_u8_s32(
        vuzp1q_s32(vreinterpretq_s32_s64(vcvtq_s64_f64(low)), vreinterpretq_s32_s64(vcvtq_s64_f64(high))));
}

inline Vector FourWords(const std::uint8_t* src, const std::int32_t* at) {
    std::uint32_t words[4];
    for (int i = 0; i < 4; ++i) {
        __builtin_memcpy(&words[i], src + at[i], sizeof words[i]);
    }
    uint32x4_t a = vdupq_n_u32(words[0]);
    a = vsetq_lane_u32(words[1], a, 1);
    a = vsetq_lane_u32(words[2], a, 2);
    return vreinterpretq_u8_u32(vsetq_lane_u32(words[3], a, 3));
}
inline Vector TwoEights(const std::uint8_t* a, const std::uint8_t* b) {
    return vcombine_u8(vld1_u8(a), vld1_u8(b));
}

}  // namespace
}  // namespace platen

#include "Sources/PX_Zoom/kernels/HorzLanes_halves.inc"

#define KERNEL_TARGET neon
#include "Sources/PX_Zoom/kernels/HorzPlan_loop.inc"
