#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "LineFilters/HsvTables.h"

namespace platen {
void HsvRow_hue_test(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                     const std::uint8_t* lightness);
}  // namespace platen

#define KERNEL_TARGET hue_test
#include "LineFilters/kernels/HsvRow_loop.inc"

// The steps of the hue stage one by one: which pixels it sends through doubles, and what a step gives for any
// values that its record can hold. Pixels that are marked without need come out the same, more slowly.

namespace platen {
namespace {

TEST(HsvHue, ATurnIsWholeSectorsAndDegreesUpToASector) {
    for (int hue = -180; hue <= 180; ++hue) {
        const Turn turn = TurnOf(hue);
        EXPECT_TRUE(turn.sectors >= 0 && turn.sectors <= 5) << hue;
        EXPECT_TRUE(turn.degrees >= 0 && turn.degrees <= 59) << hue;
        EXPECT_EQ(0, (60 * turn.sectors + turn.degrees - hue) % 360) << hue;
    }
}

// A pixel's sector and the turn's add up to 11 at most, with the degrees that are carried.
TEST(HsvHue, SixSectorsAreAFullTurnForHuesThatAreNotNegative) {
    for (int hue = 0; hue <= 180; ++hue) {
        EXPECT_EQ(6, TurnOf(hue).full) << hue;
    }
    for (int hue = -180; hue < 0; ++hue) {
        const int full = TurnOf(hue).full;
        EXPECT_TRUE(full < 0 || full > 11) << hue << ": no number of sectors";
    }
}

TEST(HsvHue, AnglesAreLookedUpForThePixelsOfABlockOnly) {
    Rotation turn;
    for (std::size_t pixels = 0; pixels < 20; ++pixels) {
        for (std::size_t i = 0; i < 24; ++i) {
            turn.place[i] = static_cast<uint16_t>(1000 + 31 * i);
        }
        LookUpAngles(turn, pixels);
        for (std::size_t i = 0; i < 24; ++i) {
            const std::size_t place = 1000 + 31 * i;
            ASSERT_EQ(i < pixels ? kHsvAngles.degrees[place] : place, turn.place[i]) << i << " of " << pixels;
        }
    }
}

// A block of pixels of one difference, with middle channels from one end to the other, in all orders of channels.
std::size_t FillWithDifference(Planes& planes, int d) {
    static constexpr int kOrders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    const int min = (255 - d) / 2;
    const std::size_t pixels = std::min(kBlock, static_cast<std::size_t>(6 * (d + 1)));
    for (std::size_t i = 0; i < pixels; ++i) {
        const int mid = min + static_cast<int>(i) * d / static_cast<int>(pixels - 1);
        const int channels[3] = {min, mid, min + d};
        const auto& order = kOrders[i % 6];
        planes.red[i] = static_cast<int16_t>(channels[order[0]]);
        planes.green[i] = static_cast<int16_t>(channels[order[1]]);
        planes.blue[i] = static_cast<int16_t>(channels[order[2]]);
    }
    return pixels;
}

// Doubles are for moves by a whole number where the difference has inexact ones, and for nothing else; a block
// without any doesn't collect. Which differences those are the angles' table says; HsvTables_test checks it.
TEST(HsvHue, WholeMovesOfInexactDifferencesAreMarkedAndNoOthers) {
    Planes planes;
    Rotation turn;
    int16_t mark[kBlock];
    int marks = 0;
    for (int d = 1; d < 256; ++d) {
        const bool inexact = (kHsvAngles.degrees[d * (d + 1) / 2] & kInexactAngle) != 0;
        for (const int hue : {-180, -97, -30, 1, 15, 60, 113, 180}) {
            const std::size_t pixels = FillWithDifference(planes, d);
            FindSectors(turn, planes, pixels);
            LookUpAngles(turn, pixels);
            const bool any = RotateWhole(turn, planes, mark, pixels, hue);
            bool expectedAny = false;
            for (std::size_t i = 0; i < pixels; ++i) {
                const bool expected = turn.factor[i] * d % 60 == 0 && inexact;
                ASSERT_EQ(Mask(expected), mark[i]) << "difference " << d << ", hue " << hue << ", pixel " << i;
                expectedAny = expectedAny || expected;
                marks += expected ? 1 : 0;
            }
            ASSERT_EQ(expectedAny, any) << "difference " << d << ", hue " << hue;
        }
    }
    EXPECT_GT(marks, 0);
}

// The moving channel is |base + factor * (max - min) / 60|, and a byte in any case: the steps don't count on it
// that the middle channel stays between the two others.
TEST(HsvHue, MarkedPixelsMoveByTheMagnitudeUpTo255) {
    struct Case {
        int16_t base, factor, d, expected;
    };
    static constexpr Case kCases[] = {
        {100, 20, 120, 140}, {100, -20, 120, 60}, {10, -40, 120, 70}, {3, -3, 60, 0},     {0, -1, 60, 1},
        {194, 60, 60, 254},  {195, 60, 60, 255},  {196, 60, 60, 255}, {197, 60, 60, 255}, {255, 60, 240, 255},
    };
    Rotation turn;
    Marked marked;
    marked.count = 1;
    for (const std::size_t at : {0u, 7u, 255u}) {
        marked.index[0] = static_cast<uint16_t>(at);
        for (const Case& move : kCases) {
            turn.max[at] = move.d;
            turn.min[at] = 0;
            turn.base[at] = move.base;
            turn.factor[at] = move.factor;
            RotateMarked(turn, marked);
            EXPECT_EQ(move.expected, turn.moved[at]) << move.base << " by " << move.factor << " of " << move.d;
        }
    }
}

TEST(HsvHue, WholeMovesEndAt255) {
    Planes planes;
    Rotation turn;
    int16_t mark[kBlock];
    planes.red[0] = 255;
    planes.green[0] = 200;
    planes.blue[0] = 0;
    turn.max[0] = 255;
    turn.min[0] = 0;
    turn.sector[0] = 0;
    turn.place[0] = 0;  // further back than the middle channel is
    RotateWhole(turn, planes, mark, 1, 59);
    EXPECT_EQ(255, turn.moved[0]);
}

TEST(HsvHue, ASignIsAllOnesForNegativeValuesAndZeroForOthers) {
    for (int value = -32768; value <= 32767; ++value) {
        ASSERT_EQ(value < 0 ? -1 : 0, Sign(value)) << value;
    }
}

}  // namespace
}  // namespace platen
