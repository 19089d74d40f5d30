#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/KernelTargets.h"

// The vertical passes' kernels: the contract between the line pipeline and whatever combines its work lines. A
// table of functions per processor family. Not installed.
//
// All hold for any content and any weights, since hosts may call the passes themselves; in 32-bit arithmetic a
// weightSum of 0 gives 0.
// What Open makes is the fast case: work lines of samples, weights that make up weightSum, so that no quotient
// leaves the samples' range. Products and sums of 32-bit arithmetic are modulo 2^32. Samples may lie at odd
// addresses, work lines are aligned for what they hold, no buffer overlaps another, and exactly `count` elements of
// each are touched.

namespace platen {

struct VertWeights {
    std::int32_t upper;
    std::int32_t lower;
    std::int32_t sum;
};

struct VertKernels {
    // acc[k] = line[k] x weight: what adding to a cleared accumulator gives.
    void (*setU32)(std::uint32_t* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count);
    void (*setF64)(double* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count);

    // acc[k] += line[k] x weight; a weight of 0 touches nothing.
    void (*addU32)(std::uint32_t* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count);
    void (*addF64)(double* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count);

    // out[k] = low bits of acc[k] / weightSum, truncated.
    void (*reduceU32ToU8)(std::uint8_t* out, const std::uint32_t* acc, std::int32_t weightSum, std::size_t count);
    void (*reduceU32ToU16)(std::uint16_t* out, const std::uint32_t* acc, std::int32_t weightSum, std::size_t count);

    // The same results, sooner where the numbers are multiples of weightSum's odd part, as they are in sums of
    // whole lines of which a record takes a power of two.
    void (*reduceMultiplesToU8)(std::uint8_t* out, const std::uint32_t* acc, std::int32_t weightSum,
                                std::size_t count);
    void (*reduceMultiplesToU16)(std::uint16_t* out, const std::uint32_t* acc, std::int32_t weightSum,
                                 std::size_t count);
    void (*reduceF64ToU8)(std::uint8_t* out, const double* acc, std::int32_t weightSum, std::size_t count);
    void (*reduceF64ToU16)(std::uint16_t* out, const double* acc, std::int32_t weightSum, std::size_t count);

    // out[k] = low bits of (upper[k] x weights.upper + lower[k] x weights.lower) / weights.sum, truncated.
    void (*expandU32ToU8)(std::uint8_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                          const VertWeights& weights, std::size_t count);
    void (*expandU32ToU16)(std::uint16_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                           const VertWeights& weights, std::size_t count);
    void (*expandF64ToU8)(std::uint8_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                          const VertWeights& weights, std::size_t count);
    void (*expandF64ToU16)(std::uint16_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                           const VertWeights& weights, std::size_t count);

    // out[k] = low bits of line[k].
    void (*equalToU8)(std::uint8_t* out, const std::uint32_t* line, std::size_t count);
    void (*equalToU16)(std::uint16_t* out, const std::uint32_t* line, std::size_t count);
};

// The reference: one statement per rule, never tuned, always built.
extern const VertKernels kVert_reference;

// The same for each target, see kernels/VertPass_loop.inc.
#define PLATEN_DECLARE(target) extern const VertKernels kVert_##target;
PLATEN_EACH_TARGET(PLATEN_DECLARE)
#undef PLATEN_DECLARE

}  // namespace platen
