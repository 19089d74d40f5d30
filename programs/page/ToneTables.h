#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "programs/options/ToneSteps.h"

namespace platen_tool {

using ToneTable = std::array<std::uint8_t, 256>;

// The folded tone steps: what a sample of each channel becomes.
struct ToneTables {
    ToneTable red;
    ToneTable green;
    ToneTable blue;

    bool operator==(const ToneTables&) const = default;
};

// Folds the steps through one tone world, or one for each channel where levels act on single channels. Automatic
// steps have no effect.
//   depth  24 for colour, 8 for grey: colour balance and levels of single channels then have no effect, so that the
//          three tables are equal
ToneTables FoldToneSteps(std::span<const ToneStep> steps, int depth);

}  // namespace platen_tool
