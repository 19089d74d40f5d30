#pragma once

#include <cstddef>
#include <cstdint>

// The horizontal pass by the records of its columns. Not installed.
//
// A is the arithmetic: std::uint32_t, every product and sum modulo 2^32, or double, in the order written. S is the
// sample: std::uint8_t or std::uint16_t. Sample pointers may be odd; work lines are aligned for doubles. No buffer
// overlaps another.
//
// Any records will do. Positions outside the source line count as samples of 0 and are not read; in 32-bit
// arithmetic a weightSum of 0, which has no quotient, gives 0. As Open makes them weights are 0..2^31-1, weightSum
// is at least 1 and in 32-bit arithmetic a weight sum times the largest sample is below 2^32: every quotient then
// lies within the samples' range.

struct PX_Zoom2_Param;

namespace platen {

// What the horizontal pass needs. A source line has srcWidth x samples samples; no other is read.
struct HorzPass {
    const PX_Zoom2_Param* columns;  // dstWidth records
    std::int32_t dstWidth;
    std::int32_t srcWidth;
    std::int32_t samples;          // per pixel
    std::int32_t sampleBytes = 1;  // 1 or 2
};

// The reference: one statement per rule, never tuned, always built. A faster kernel must give the same results for
// every input that its contract allows.
namespace reference {

// Per column and sample, by the mode of the axis:
//   reduce   (src[start] x startWeight + the whole ones x dstWidth + src[wholeEnd + 1] x endWeight) / weightSum,
//            the last one read only if its weight is not 0
//   enlarge  (src[start] x startWeight + src[start + 1] x endWeight) / weightSum
//   keep     src[column]; of a source one pixel wide its first sample for all samples
//   negative source width: 0
// out receives dstWidth x samples whole numbers, also when A is double.
template <class A, class S>
void ExpandHorz(std::uint32_t* out, const S* src, const HorzPass& pass);

// The columns from `first` on of a reduced or an enlarged line, in 32-bit arithmetic. Numbers before are left
// alone.
template <class S>
void ExpandColumns(std::uint32_t* out, const S* src, const HorzPass& pass, std::int32_t first);

}  // namespace reference
}  // namespace platen
