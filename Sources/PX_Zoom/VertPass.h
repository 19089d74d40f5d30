#pragma once

#include <cstddef>
#include <cstdint>

// The vertical passes' kernels: the contract between the line pipeline and whatever combines its work lines. A
// table of functions per processor family. Not installed.
//
// Range, as Open makes it: work lines hold whole numbers up to 65535; weights are 0..2^31-1 and in 32-bit
// arithmetic add up to weightSum; weightSum is at least 1; every quotient lies within the samples' range, so an
// accumulator is at most 255 or 65535 times weightSum. Products and sums of 32-bit arithmetic are modulo 2^32.
// Samples may lie at odd addresses, work lines are aligned for what they hold, no buffer overlaps another, and
// exactly `count` elements of each are touched.

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

    // out[k] = acc[k] / weightSum, truncated.
    void (*reduceU32ToU8)(std::uint8_t* out, const std::uint32_t* acc, std::int32_t weightSum, std::size_t count);
    void (*reduceU32ToU16)(std::uint16_t* out, const std::uint32_t* acc, std::int32_t weightSum, std::size_t count);
    void (*reduceF64ToU8)(std::uint8_t* out, const double* acc, std::int32_t weightSum, std::size_t count);
    void (*reduceF64ToU16)(std::uint16_t* out, const double* acc, std::int32_t weightSum, std::size_t count);

    // out[k] = (upper[k] x weights.upper + lower[k] x weights.lower) / weights.sum, truncated.
    void (*expandU32ToU8)(std::uint8_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                          const VertWeights& weights, std::size_t count);
    void (*expandU32ToU16)(std::uint16_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                           const VertWeights& weights, std::size_t count);
    void (*expandF64ToU8)(std::uint8_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                          const VertWeights& weights, std::size_t count);
    void (*expandF64ToU16)(std::uint16_t* out, const std::uint32_t* upper, const std::uint32_t* lower,
                           const VertWeights& weights, std::size_t count);

    // out[k] = low bits of line[k], whatever it holds.
    void (*equalToU8)(std::uint8_t* out, const std::uint32_t* line, std::size_t count);
    void (*equalToU16)(std::uint16_t* out, const std::uint32_t* line, std::size_t count);
};

// The judge: the plain passes of LineKernels.h.
extern const VertKernels kVert_reference;

// The same for one processor family each, see VertPass_loop.inc.
extern const VertKernels kVert_baseline;
extern const VertKernels kVert_avx2;
extern const VertKernels kVert_avx512;

}  // namespace platen
