#include "programs/io/Ratios.h"

#include <gtest/gtest.h>

#include <cmath>

namespace platen_tool {
namespace {

TEST(Ratios, ReducedKeepsWhatFits) {
    const auto expect = [](Ratio from, std::uint64_t limit, Ratio to) {
        const Ratio reduced = Reduced(from, limit);
        EXPECT_EQ(reduced.numerator, to.numerator);
        EXPECT_EQ(reduced.denominator, to.denominator);
    };
    expect({600, 2}, 1000, {300, 1});
    expect({0, 5}, 1000, {0, 1});
    expect({0, 0}, 1000, {0, 1});
    expect({5000, 1}, 1000, {1000, 1});
    expect({314159265, 100000000}, 1000, {355, 113});
    expect({100000000, 314159265}, 1000, {113, 355});
    expect({1, 5000}, 1000, {0, 1});
}

TEST(Ratios, ReducedIsNearerThanOtherRatiosThatFit) {
    const Ratio exact{2718281828, 1000000000};
    const Ratio reduced = Reduced(exact, 100);
    const double distance = std::abs(reduced.Value() - exact.Value());
    for (std::uint64_t q = 1; q <= reduced.denominator; ++q) {
        for (std::uint64_t p = 1; p <= reduced.numerator; ++p) {
            EXPECT_GE(std::abs(static_cast<double>(p) / static_cast<double>(q) - exact.Value()), distance);
        }
    }
}

TEST(Ratios, AResolutionNeedsAllItsNumbers) {
    EXPECT_TRUE(ResolutionFrom({300, 1}, {150, 1}, LengthUnit::kInch));
    const Ratio bad[] = {{0, 1}, {1, 0}};
    for (const Ratio& ratio : bad) {
        EXPECT_FALSE(ResolutionFrom(ratio, {150, 1}, LengthUnit::kInch));
        EXPECT_FALSE(ResolutionFrom({300, 1}, ratio, LengthUnit::kInch));
    }
    const auto metric = ResolutionFrom({11811, 1}, {5000, 1}, LengthUnit::kMetre);
    ASSERT_TRUE(metric);
    EXPECT_EQ(metric->x.numerator * 5000, std::uint64_t{11811} * 127 * metric->x.denominator);
    EXPECT_EQ(metric->y.numerator, 127u);
    EXPECT_EQ(metric->y.denominator, 1u);
}

TEST(Ratios, WholeNumbersAreTheNearestWithinTheirRange) {
    EXPECT_EQ(Rounded({5, 2}), 3u);
    EXPECT_EQ(Rounded({7, 3}), 2u);
    EXPECT_EQ(Rounded({8, 3}), 3u);
    EXPECT_EQ(Rounded({8, 0}), 0u);
    EXPECT_EQ(Rounded({UINT64_MAX, UINT64_MAX}), 1u);
    EXPECT_EQ(JfifDensity({1, 100}), 1);
    EXPECT_EQ(JfifDensity({70000, 1}), 65535);
    EXPECT_EQ(PixelsPerMetre({300, 1}), 11811u);
    EXPECT_EQ(PixelsPerMetre({1, 1000}), 1u);
    EXPECT_EQ(PixelsPerMetre({0xFFFFFFFF, 1}), 2147483647u);
}

}  // namespace
}  // namespace platen_tool
