#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/BilevelLine.h"

namespace platen {
namespace {

constexpr std::size_t kPixels = 8;

void UnpackBlock(std::uint8_t* bytes, const std::uint8_t* bits) {
    for (unsigned i = 0; i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(0u - (*bits >> (7 - i) & 1u));
    }
}

void PackBlock(std::uint8_t* bits, const std::uint8_t* bytes) {
    unsigned v = 0;
    for (unsigned i = 0; i < 8; ++i) {
        v = v << 1 | bytes[i] >> 7;
    }
    *bits = static_cast<std::uint8_t>(v);
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET baseline
#include "Sources/PX_Zoom/kernels/BilevelLine_loop.inc"
