#pragma once

#include <cstdint>

#include "Sources/PX_Zoom/LineKernels.h"

// The scaler's horizontal pass in 32-bit arithmetic: the contract between Expand_Horz and whatever computes a line.
// Not installed.
//
// Gives what reference::ExpandHorz<std::uint32_t> gives, for records as Open makes them: `start` never falls from
// one column to the next, the whole positions are src / dst or one fewer, weights are at most the destination width
// and weightSum at most 65535 when reducing. (Open takes doubles where it is more.) Every byte read lies in the
// source line, whatever the weights are; `src` may be odd, out is aligned for its numbers, and neither they nor the
// records overlap. Behind dstWidth x samples numbers nothing is written.

namespace platen {

using ExpandHorzU8Fn = void (*)(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass);
using ExpandHorzU16Fn = void (*)(std::uint32_t* out, const std::uint16_t* src, const HorzPass& pass);

// One processor family each, see HorzPass_loop.inc.
void ExpandHorzU8_baseline(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass);
void ExpandHorzU8_avx2(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass);
void ExpandHorzU8_avx512(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass);
void ExpandHorzU16_baseline(std::uint32_t* out, const std::uint16_t* src, const HorzPass& pass);
void ExpandHorzU16_avx2(std::uint32_t* out, const std::uint16_t* src, const HorzPass& pass);
void ExpandHorzU16_avx512(std::uint32_t* out, const std::uint16_t* src, const HorzPass& pass);

}  // namespace platen
