#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "Sources/PX_Zoom/kernels/ReciprocalAbove.inc"

namespace {

// Whether the float is below 1 / divisor: the product of 24 bits by 24 is exact as a double.
bool IsBelow(float reciprocal, std::uint32_t divisor) {
    return static_cast<double>(reciprocal) * divisor < 1.0;
}

TEST(ReciprocalAbove, IsTheSmallestFloatNotBelow) {
    for (std::uint32_t divisor = 1; divisor <= 70000; ++divisor) {
        const float reciprocal = platen::ReciprocalAbove(divisor);
        EXPECT_FALSE(IsBelow(reciprocal, divisor)) << divisor;
        EXPECT_TRUE(IsBelow(std::nextafter(reciprocal, 0.0f), divisor)) << divisor;
    }
}

}  // namespace
