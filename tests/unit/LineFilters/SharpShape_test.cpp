#include <gtest/gtest.h>

#include <array>

#include "LineFilters/SharpRow.h"
#include "LineFilters/Sharpness.h"

namespace {

using platen::SharpShape;
using platen::SharpShapeOf;
using Kernel = std::array<std::int32_t, 10>;

Kernel Cross(std::int32_t arm, std::int32_t centre, std::int32_t divisor) {
    return {0, arm, 0, arm, centre, arm, 0, arm, 0, divisor};
}

// The kernel with one of its words changed.
SharpShape Changed(Kernel kernel, std::size_t word, std::int32_t by) {
    kernel[word] += by;
    return SharpShapeOf(kernel.data());
}

TEST(SharpShape, TheTableHoldsABoxAndFourCrosses) {
    EXPECT_EQ(SharpShape::kBox, SharpShapeOf(sfilterParamTable[0]));
    for (const int entry : {1, 2, 3, 4}) {
        EXPECT_EQ(SharpShape::kCross, SharpShapeOf(sfilterParamTable[entry])) << entry;
    }
}

TEST(SharpShape, ABoxWithOneWordChangedIsNone) {
    const Kernel box = {1, 1, 1, 1, 1, 1, 1, 1, 1, 9};
    for (std::size_t word = 0; word < box.size(); ++word) {
        for (const std::int32_t by : {-1, 1}) {
            EXPECT_EQ(SharpShape::kOther, Changed(box, word, by)) << word << ' ' << by;
        }
    }
    EXPECT_EQ(SharpShape::kOther, SharpShapeOf(Kernel{2, 2, 2, 2, 2, 2, 2, 2, 2, 9}.data()));
    EXPECT_EQ(SharpShape::kOther, SharpShapeOf(Kernel{0, 0, 0, 0, 0, 0, 0, 0, 0, 9}.data()));
}

TEST(SharpShape, ACrossMayChangeItsCentreOnly) {
    const Kernel cross = Cross(-1, 8, 4);
    for (std::size_t word = 0; word < cross.size(); ++word) {
        for (const std::int32_t by : {-1, 1}) {
            EXPECT_EQ(word == 4 ? SharpShape::kCross : SharpShape::kOther, Changed(cross, word, by))
                << word << ' ' << by;
        }
    }
}

TEST(SharpShape, CrossesHaveSmallArmsAndCentresOver4Or8) {
    for (std::int32_t arm = -5; arm <= 5; ++arm) {
        for (std::int32_t centre = -22; centre <= 22; ++centre) {
            for (std::int32_t divisor = -9; divisor <= 9; ++divisor) {
                const bool fits = arm >= -3 && arm <= 3 && centre >= -20 && centre <= 20;
                const bool isCross = fits && (divisor == 4 || divisor == 8);
                EXPECT_EQ(isCross ? SharpShape::kCross : SharpShape::kOther,
                          SharpShapeOf(Cross(arm, centre, divisor).data()))
                    << arm << ' ' << centre << ' ' << divisor;
            }
        }
    }
}

}  // namespace
