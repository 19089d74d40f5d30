#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"

// The horizontal pass by a plan: what the columns' records say, once, in the form in which a kernel uses it, kept
// in room that no one else wants. Not installed.

namespace platen {

// Memory of any content; a plan that is found there is used, else one is made there.
struct PlanRoom {
    void* memory;
    std::size_t bytes;
};

// Gives what ExpandHorzU8Fn gives, or returns false with nothing written to `out`: where the room is too small, or
// the records are none that the kernel has a plan for.
//
// A plan is known by its maker, the records' address and the sizes; another variant, say, makes its own. What else
// the room holds is believed but not trusted: numbers of a plan that somebody has overwritten give other results,
// but every byte read lies in the source line and the room, and every byte written in `out` and the room.
using ExpandHorzPlannedFn = bool (*)(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
                                     const PlanRoom& room);

// Where there is no kernel with a plan: false.
bool ExpandHorzPlanned_none(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
                            const PlanRoom& room);

// One processor family each, see HorzPlan_ymm.inc.
bool ExpandHorzPlanned_avx2(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
                            const PlanRoom& room);
bool ExpandHorzPlanned_avx512(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
                              const PlanRoom& room);

}  // namespace platen
