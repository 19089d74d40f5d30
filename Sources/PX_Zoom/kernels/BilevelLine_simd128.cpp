#include <wasm_simd128.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 64;

// Two bytes of bits eight times each, one bit of each kept.
void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    const v128_t mask = wasm_i64x2_const_splat(0x0102040810204080);
    const v128_t eight = wasm_v128_load64_zero(bits);
    v128_t which = wasm_i8x16_const(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1);
    for (std::size_t i = 0; i < kPixels; i += 16) {
        const v128_t own = wasm_v128_and(wasm_i8x16_swizzle(eight, which), mask);
        wasm_v128_store(bytes + i, wasm_i8x16_eq(own, mask));
        which = wasm_i8x16_add(which, wasm_i8x16_const_splat(2));
    }
}

// The top bits of the bytes, eight by eight in reverse.
void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    for (std::size_t i = 0; i < kPixels; i += 16) {
        const v128_t in = wasm_v128_load(bytes + i);
        const v128_t reversed = wasm_i8x16_shuffle(in, in, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
        const auto two = static_cast<std::uint16_t>(wasm_i8x16_bitmask(reversed));
        __builtin_memcpy(bits + i / 8, &two, sizeof two);
    }
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET simd128
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
