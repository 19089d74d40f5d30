#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/KernelTargets.h"

// Bilevel lines, packed eight pixels a byte with the first one in the top bit, and as one byte a pixel. Not
// installed. Addresses are of any kind, buffers don't overlap, and exactly ceil(width / 8) bytes of `bits` and
// `width` of `bytes` are touched; none where `width` is 0 or less.

namespace platen {

// A set bit becomes 255, a clear one 0.
using UnpackBitsFn = void (*)(std::uint8_t* bytes, const std::uint8_t* bits, std::int32_t width);

// A byte of 128 or more becomes a set bit; the last byte's unused bits are 0.
using PackBitsFn = void (*)(std::uint8_t* bits, const std::uint8_t* bytes, std::int32_t width);

// The reference: never tuned, always built.
void UnpackBits_reference(std::uint8_t* bytes, const std::uint8_t* bits, std::int32_t width);
void PackBits_reference(std::uint8_t* bits, const std::uint8_t* bytes, std::int32_t width);

#define PLATEN_DECLARE(target)                                                                   \
    void UnpackBits_##target(std::uint8_t* bytes, const std::uint8_t* bits, std::int32_t width); \
    void PackBits_##target(std::uint8_t* bits, const std::uint8_t* bytes, std::int32_t width);
PLATEN_EACH_TARGET(PLATEN_DECLARE)
#undef PLATEN_DECLARE

}  // namespace platen
