#pragma once

#include <cstdint>

// The HSV row's tables, one of each for all targets. Not installed.

// Said before the definition, so that kernels reach the tables without a detour. On Windows nothing leaves a
// library that isn't marked.
#if defined(_WIN32)
#define PLATEN_HIDDEN
#else
#define PLATEN_HIDDEN [[gnu::visibility("hidden")]]
#endif

namespace platen {

// Whole degrees inside a sector, trunc(x / (d / 60)), for d = max - min from 1 to 255 and x from 0 to d, at
// d * (d + 1) / 2 + x. The top bit, kInexactAngle, is set for a d of which some product of a whole number of
// degrees by d / 60 is not exact in doubles where it should be whole: 19 of the 255.
struct HsvAngles {
    std::uint8_t degrees[256 * 257 / 2];
};

constexpr std::uint8_t kInexactAngle = 0x80;

// d / 60: how far a channel moves in one degree.
struct HsvSteps {
    double sixtieth[256];
};

// For each mask of eight 16-bit lanes the bytes of the chosen lanes, in order, at the front of 16 bytes. What
// follows them doesn't matter.
struct HsvFronts {
    alignas(16) std::uint8_t shuffle[256][16];
};

// Hidden, so that the kernels reach them without a detour by the global offset table.
PLATEN_HIDDEN extern const HsvAngles kHsvAngles;
PLATEN_HIDDEN extern const HsvSteps kHsvSteps;
PLATEN_HIDDEN extern const HsvFronts kHsvFronts;

}  // namespace platen
