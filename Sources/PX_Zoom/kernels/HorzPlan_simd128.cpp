#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_simd128.inc"
#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {
namespace {

constexpr bool kMakesSums = false;  // a page's module is to be small

inline Vector ProductSums(Vector a, Vector b) {
    return wasm_i32x4_dot_i16x8(a, b);
}
inline Vector ByteSums(Vector a) {
    return wasm_u16x8_extadd_pairwise_u8x16(a);
}
inline Vector ShortSums(Vector a) {
    return wasm_i32x4_add(wasm_v128_and(a, wasm_i32x4_const_splat(0xFFFF)), wasm_u32x4_shr(a, 16));
}
inline Vector SmallShortSums(Vector a) {
    return wasm_i32x4_extadd_pairwise_i16x8(a);
}
inline Vector SumsOfTwo(Vector a, Vector b) {
    return wasm_i32x4_add(wasm_i32x4_shuffle(a, b, 0, 2, 4, 6), wasm_i32x4_shuffle(a, b, 1, 3, 5, 7));
}

inline Vector LowBytesWide(Vector a) {
    return wasm_u16x8_extend_low_u8x16(a);
}
inline Vector LowShortsWide(Vector a) {
    return wasm_u32x4_extend_low_u16x8(a);
}
inline Vector HighShortsWide(Vector a) {
    return wasm_u32x4_extend_high_u16x8(a);
}

using DoublesOfTwo = double __attribute__((vector_size(16)));

inline DoublesOfTwo LowDoubles(Vector a) {
    return (DoublesOfTwo)wasm_f64x2_convert_low_i32x4(a);
}
inline DoublesOfTwo HighDoubles(Vector a) {
    return LowDoubles(wasm_i32x4_shuffle(a, a, 2, 3, 2, 3));
}

// As WholePart, by 2^52.
inline Vector WholeParts(DoublesOfTwo low, DoublesOfTwo high) {
    const Vector large = wasm_f64x2_const_splat(0x1p52);
    return wasm_i32x4_shuffle(wasm_f64x2_add(wasm_f64x2_trunc((Vector)low), large),
                              wasm_f64x2_add(wasm_f64x2_trunc((Vector)high), large), 0, 2, 4, 6);
}

inline Vector FourWords(const std::uint8_t* src, const std::int32_t* at) {
    Vector a = wasm_v128_load32_zero(src + at[0]);
    a = wasm_v128_load32_lane(src + at[1], a, 1);
    a = wasm_v128_load32_lane(src + at[2], a, 2);
    return wasm_v128_load32_lane(src + at[3], a, 3);
}
inline Vector TwoEights(const std::uint8_t* a, const std::uint8_t* b) {
    return wasm_v128_load64_lane(b, wasm_v128_load64_zero(a), 1);
}

}  // namespace
}  // namespace platen

#include "Sources/PX_Zoom/kernels/HorzLanes_halves.inc"

#define KERNEL_TARGET simd128
#include "Sources/PX_Zoom/kernels/HorzPlan_loop.inc"
