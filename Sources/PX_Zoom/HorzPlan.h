#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/KernelTargets.h"
#include "Sources/PX_Zoom/HorzPass.h"

// The horizontal pass in 32-bit arithmetic: the columns' records are checked and turned into a plan, once; kernels
// follow plans. Not installed.
//
// What a kernel may believe is what a plan promises, and nothing else: no kernel here looks at a record. Records
// that have no plan are followed by reference::ExpandHorz, which believes nothing.

namespace platen {

// Memory of any content; a plan that is found there is used, else one is made there.
struct PlanRoom {
    void* memory;
    std::size_t bytes;
};

// The kinds of plans. HorzPlan.cpp says what each promises and what its blocks hold.
enum PlanKind : std::int32_t {
    kNoPlan = 1,  // the records have none; not 0, which a fresh room holds
    kPairs1,      // grey bytes reduced: one, two or three pairs of taps
    kPairs2,
    kPairs3,
    kPairsDivided,  // three taps, in less room
    kQuads,         // grey bytes reduced: eight taps
    kPixels,        // pixels of bytes reduced
    kEnlarge,       // bytes enlarged
    kTaps,          // any samples, any ratio
    kTapsDivided,   // the same, in less room
    kWhole2,        // every column is the plain average of 2, 3, 4 or 6 whole positions of its own
    kWhole3,
    kWhole4,
    kWhole6,
    kPlanKinds,
};

constexpr std::uint32_t PlanBit(std::int32_t kind) {
    return std::uint32_t{1} << kind;
}

// What followers that shuffle bytes make sums with.
constexpr std::uint32_t kSummedKinds = PlanBit(kPairs1) | PlanBit(kPairs2) | PlanBit(kPairs3) |
                                       PlanBit(kPairsDivided) | PlanBit(kQuads) | PlanBit(kWhole2) |
                                       PlanBit(kWhole3) | PlanBit(kWhole4) | PlanBit(kWhole6);

// The vectors of a plan have 32 bytes, its blocks eight columns; the last block may overlap the one before.
constexpr std::size_t kPlanVector = 32;
constexpr std::size_t kPlanColumns = 8;
constexpr std::size_t kPlanWindow = 16;  // bytes

// A plan as its follower sees it. What `blocks` and `places` point at lies in a room that others may write to: a
// follower clamps every place to the line, and no number there makes it read or write anything else. Kind and
// counts are sound.
struct HorzPlan {
    std::int32_t kind;
    const std::uint8_t* blocks;
    const std::uint32_t* places;
    std::size_t count;  // of blocks
    std::size_t
        columns;  // that the blocks make, from the first on; the follower has the others made by the records
};

// Where a line's numbers go: to `line`; where `sum` is given, also sum[k] = line[k] x weight, or += if not `first`,
// modulo 2^32. The two don't overlap.
struct HorzTarget {
    std::uint32_t* line;
    std::uint32_t* sum;  // or null
    std::int32_t weight;
    bool first;
};

// One processor family's followers. Source lines may lie at any address.
struct HorzKernels {
    std::uint32_t kinds;  // bits of those that `follow` serves; 0 where there are no plans
    std::uint32_t sums;   // bits of those with which it makes sums, too
    void (*follow)(const HorzTarget& to, const std::uint8_t* src, const HorzPass& pass, const HorzPlan& plan);

    // out[k] = src[k], of as many numbers as the line has; or null where the reference serves.
    void (*keepU8)(std::uint32_t* out, const std::uint8_t* src, std::size_t count);
    void (*keepU16)(std::uint32_t* out, const std::uint8_t* src, std::size_t count);
};

// Finds the plan of a pass in a room, or makes it there. False, with nothing promised, where the room is too small
// or the records have no plan among `kinds`.
//
// A plan is known by the records' address, the sizes, the format and `kinds`. The records themselves are read only
// when it is made: whoever changes them later says so with ForgetPlan.
bool FindPlan(HorzPlan& plan, const HorzPass& pass, const PlanRoom& room, std::uint32_t kinds);

// Has the next FindPlan make the plan anew.
void ForgetPlan(const PlanRoom& room);

extern const HorzKernels kHorz_reference;
#define PLATEN_DECLARE(target) extern const HorzKernels kHorz_##target;
PLATEN_EACH_TARGET(PLATEN_DECLARE)
#undef PLATEN_DECLARE

}  // namespace platen
