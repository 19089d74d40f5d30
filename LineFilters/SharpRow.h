#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/KernelTargets.h"

// The sharpness filter's row: the contract between ApplySharpFilterPutLine and whatever computes a finished line.
// Not installed.

namespace platen {

struct SharpRowArgs {
    const std::uint8_t* top;     // the row above; not read with topEdge
    const std::uint8_t* middle;  // the row to be finished
    const std::uint8_t* bottom;  // the row below
    const std::int32_t* kernel;  // ten words: k0..k8, row by row, then the divisor; any values
    std::size_t width;           // pixels, at least 3
    std::size_t samples;         // samples per pixel: 1 or 3
    bool topEdge;                // no row above: the bottom row's sum counts twice
};

// Writes width x samples bytes to `out`, any alignment, and touches nothing past them or past the rows' like
// number of bytes. `out` overlaps none of the rows; the rows may be one another.
//
//   out = min(255, |S / divisor|), S modulo 2^32 taken as signed, '/' truncating toward zero; 0 for divisor 0
//
// Range: with the five kernels of sfilterParamTable the weights' magnitudes add up to 32 at most, with the bottom
// row doubled too, so every partial sum lies within +-8160 and fits 16 bits. Kernels from elsewhere have no range.
using SharpRowFn = void (*)(std::uint8_t* out, const SharpRowArgs& row);

// A Put in mid-image: the ring of lines as it finds them, and the line that it brings.
struct SharpPutArgs {
    std::uint8_t* oldest;
    std::uint8_t* previous;
    std::uint8_t* newest;
    const std::uint8_t* line;
    std::size_t rowBytes;        // of each line; width x samples at least
    const std::int32_t* kernel;  // as in SharpRowArgs, like the two below
    std::size_t width;
    std::size_t samples;
};

// Moves the ring on, rowBytes bytes each in this order: previous to oldest, newest to previous, line to newest.
// Then finishes the line that is `previous` now into `out`, as SharpRowFn does with three rows. `out` overlaps no
// other buffer. Whoever copies and filters in one pass has to see that the other four don't overlap either.
using SharpPutFn = void (*)(std::uint8_t* out, const SharpPutArgs& put);

// The kernels that have loops of their own. kBox: nine ones over 9. kCross: zero corners and four equal arms of at
// most 3, a centre of at most 20, over 4 or 8, which includes the table's four others and keeps sums within 16
// bits.
enum class SharpShape { kOther, kBox, kCross };
SharpShape SharpShapeOf(const std::int32_t* kernel);

// The references: plain, never tuned, always built, for any kernel.
void SharpRow_reference(std::uint8_t* out, const SharpRowArgs& row);
void SharpPut_reference(std::uint8_t* out, const SharpPutArgs& put);

// The same for each target, see kernels/SharpRow_loop.inc.
#define PLATEN_DECLARE(target)                                          \
    void SharpRow_##target(std::uint8_t* out, const SharpRowArgs& row); \
    void SharpPut_##target(std::uint8_t* out, const SharpPutArgs& put);
PLATEN_EACH_TARGET(PLATEN_DECLARE)
#undef PLATEN_DECLARE

}  // namespace platen
