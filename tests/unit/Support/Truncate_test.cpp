#include "Sources/Support/Truncate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using platen::Truncate;

TEST(Truncate, CutsTowardZero) {
    EXPECT_EQ(63, Truncate<std::int32_t>(63.9));
    EXPECT_EQ(-63, Truncate<std::int32_t>(-63.9));
    EXPECT_EQ(0, Truncate<std::int32_t>(-0.9));
    EXPECT_EQ(0u, Truncate<std::uint32_t>(-0.9));
}

TEST(Truncate, SaturatesAtTheEndsOfTheTarget) {
    EXPECT_EQ(2147483647, Truncate<std::int32_t>(2147483647.0));
    EXPECT_EQ(2147483647, Truncate<std::int32_t>(2147483647.9));
    EXPECT_EQ(2147483647, Truncate<std::int32_t>(2147483648.0));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), Truncate<std::int32_t>(-2147483648.9));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), Truncate<std::int32_t>(-2147483649.0));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), Truncate<std::int32_t>(-1e300));
    EXPECT_EQ(0u, Truncate<std::uint32_t>(-1.0));
    EXPECT_EQ(4294967295u, Truncate<std::uint32_t>(4294967295.9));
    EXPECT_EQ(4294967295u, Truncate<std::uint32_t>(1e300));
    EXPECT_EQ(0u, Truncate<std::uint32_t>(-1e300));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), Truncate<std::int64_t>(0x1p63));
    EXPECT_EQ(std::int64_t{0x7FFFFFFFFFFFFC00}, Truncate<std::int64_t>(0x1p63 - 1024));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), Truncate<std::int64_t>(-0x1p63));
    EXPECT_EQ(255, Truncate<std::uint8_t>(256.0));
}

TEST(Truncate, HandlesInfinityAndNotANumber) {
    EXPECT_EQ(2147483647, Truncate<std::int32_t>(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(),
              Truncate<std::int32_t>(-std::numeric_limits<double>::infinity()));
    EXPECT_EQ(0, Truncate<std::int32_t>(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(0u, Truncate<std::uint32_t>(std::numeric_limits<double>::quiet_NaN()));
}

}  // namespace
