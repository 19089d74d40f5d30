#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/KernelTargets.h"

// The HSV filter's row: the contract between ApplyOneLineHsv and whatever computes a line. Not installed.

namespace platen {

// Changes `width` packed RGB pixels in place.
//   line        3 x width bytes, any alignment; nothing past them is read or written
//   width       any, also 0
//   hue         -180 to 180; 0 skips the hue stage
//   saturation  -100 to 100; 0 skips the saturation stage
//   lightness   256 entries: the low bytes of gStorage when the line began
//
// The result for a pixel depends on its three bytes and these arguments alone and is that of HsvRow_reference for
// each of the 2^24 colours and each setting. Stages, order of operations and truncation: see HsvRow_reference.cpp.
// Every operation there is one rounded double operation; a faster row has to prove, or show for every input, that
// it gives the same bytes.
using HsvRowFn = void (*)(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                          const std::uint8_t* lightness);

// The reference: plain, never tuned, always built.
void HsvRow_reference(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                      const std::uint8_t* lightness);

// The same for each target, see kernels/HsvRow_loop.inc.
#define PLATEN_DECLARE(target)                                                                             \
    void HsvRow_##target(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation, \
                         const std::uint8_t* lightness);
PLATEN_EACH_TARGET(PLATEN_DECLARE)
#undef PLATEN_DECLARE

}  // namespace platen
