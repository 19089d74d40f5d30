#include "LineFilters/HsvTables.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

// The tables entry by entry. A wrong entry that the rows don't look up, or one that only makes them slower, shows
// nowhere else.

namespace {

constexpr unsigned kDegrees = platen::kInexactAngle - 1;

std::uint8_t Entry(int d, int x) {
    return platen::kHsvAngles.degrees[d * (d + 1) / 2 + x];
}

// Pairs of a difference d and whole degrees whose product is a whole number of sixtieths.
struct WholeMove {
    int d;
    int degrees;
    bool exact;  // whether doubles, d / 60 rounded first, give that number
};

std::vector<WholeMove> WholeMoves() {
    std::vector<WholeMove> found;
    for (int d = 1; d < 256; ++d) {
        const double sixtieth = static_cast<double>(d) / 60.0;
        for (int whole = 1; whole <= d; ++whole) {
            if (60 * whole % d == 0) {
                const int degrees = 60 * whole / d;
                found.push_back({d, degrees, degrees * sixtieth == static_cast<double>(whole)});
            }
        }
    }
    return found;
}

// Whole degrees as the reference computes them, for pixels at both ends of a sector, too.
TEST(HsvTables, AnglesAreTheReferencesForEveryPair) {
    for (int d = 1; d < 256; ++d) {
        const double sixtieth = static_cast<double>(d) / 60.0;
        for (int x = 0; x <= d; ++x) {
            const double degrees = static_cast<double>(x) / sixtieth;
            ASSERT_EQ(static_cast<unsigned>(degrees), Entry(d, x) & kDegrees) << "d " << d << ", x " << x;
        }
    }
}

// The comments' figures: 35 of 1510 pairs, which belong to 19 differences.
TEST(HsvTables, FewWholeMovesAreInexactInDoubles) {
    std::size_t inexact = 0;
    for (const WholeMove& move : WholeMoves()) {
        inexact += move.exact ? 0u : 1u;
    }
    EXPECT_EQ(1510u, WholeMoves().size());
    EXPECT_EQ(35u, inexact);
}

// Where the flag is missing pixels come out wrong; where it's set without need they take the slow path.
TEST(HsvTables, AnglesAreFlaggedForDifferencesWithInexactMovesAndNoOthers) {
    bool expected[256] = {};
    for (const WholeMove& move : WholeMoves()) {
        expected[move.d] = expected[move.d] || !move.exact;
    }
    int differences = 0;
    for (int d = 1; d < 256; ++d) {
        differences += expected[d] ? 1 : 0;
        for (int x = 0; x <= d; ++x) {
            ASSERT_EQ(expected[d], (Entry(d, x) & platen::kInexactAngle) != 0) << "d " << d << ", x " << x;
        }
    }
    EXPECT_EQ(19, differences);
}

TEST(HsvTables, StepsAreTheSixtiethsOfEveryDifference) {
    for (int d = 0; d < 256; ++d) {
        ASSERT_EQ(static_cast<double>(d) / 60.0, platen::kHsvSteps.sixtieth[d]) << d;
    }
}

// Both bytes of each chosen lane, the lanes in order: a kernel may keep any 16-bit numbers there.
TEST(HsvTables, FrontsMoveTheChosenLanesToTheFront) {
    for (unsigned mask = 0; mask < 256; ++mask) {
        std::vector<unsigned> expected;
        for (unsigned byte = 0; byte < 16; ++byte) {
            if ((mask & 1u << byte / 2) != 0) {
                expected.push_back(byte);
            }
        }
        const std::uint8_t* shuffle = platen::kHsvFronts.shuffle[mask];
        ASSERT_EQ(expected, std::vector<unsigned>(shuffle, shuffle + expected.size())) << mask;
    }
}

}  // namespace
