#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "LineFilters/Hsv.h"
#include "LineFilters/HsvRow.h"
#include "support/Random.h"

namespace platen {
void HsvRow_saturation_test(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                            const std::uint8_t* lightness);
}  // namespace platen

#define KERNEL_TARGET saturation_test
#include "LineFilters/kernels/HsvRow_loop.inc"

// The steps of the saturation stage: which pixels it sends through doubles, and the doubles' own ramp. Pixels that
// are marked without need come out the same, more slowly.

namespace platen {
namespace {

using platen_test::Random;

enum class Path { kWhole, kEnds, kAll };

// A channel of `value` is a whole fraction: saturation * (2 value - max - min) / 200 is a whole number, other than
// the 0 of a channel half-way between the extremes.
bool IsWholeFraction(int value, int sum, int saturation) {
    return 2 * value != sum && saturation * (2 * value - sum) % 200 == 0;
}

// The new saturation is 1 or would be more. The old one is d over the room that the sum leaves.
bool IsClipped(int d, int sum, int saturation) {
    const int room = std::min(sum, 510 - sum);
    return d * (100 + saturation) >= 100 * room;
}

// Greys need no doubles. Clipped pixels do, and those with whole fractions: of two channels just the ends, of one
// or three all.
Path ExpectedPath(const std::array<int, 3>& pixel, int saturation) {
    const auto [min, max] = std::minmax_element(pixel.begin(), pixel.end());
    const int sum = *min + *max;
    if (*min == *max) {
        return Path::kWhole;
    }
    if (IsClipped(*max - *min, sum, saturation)) {
        return Path::kAll;
    }
    const auto whole = std::count_if(pixel.begin(), pixel.end(),
                                     [&](int value) { return IsWholeFraction(value, sum, saturation); });
    return whole == 0 ? Path::kWhole : whole == 2 ? Path::kEnds : Path::kAll;
}

// Pixels with some smallest channels, every largest one and middle ones all the way, greys too.
std::vector<std::array<int, 3>> SomePixels() {
    std::vector<std::array<int, 3>> pixels;
    for (const int min : {0, 1, 23, 64, 126, 127, 200, 254, 255}) {
        for (int max = min; max < 256; ++max) {
            const int step = 1 + (max - min) / 23;
            for (int mid = min; mid <= max; mid += step) {
                std::array<int, 3> pixel = {max, mid, min};
                std::rotate(pixel.begin(), pixel.begin() + static_cast<std::ptrdiff_t>(pixels.size() % 3),
                            pixel.end());
                pixels.push_back(pixel);
            }
            pixels.push_back({(min + max) / 2, min, max});
            pixels.push_back({min, max, max});
        }
    }
    return pixels;
}

void ExpectMarks(const std::vector<std::array<int, 3>>& all, int saturation) {
    Planes planes;
    int16_t ends[kBlock];
    int16_t everything[kBlock];
    for (std::size_t from = 0; from < all.size(); from += kBlock) {
        const std::size_t pixels = std::min(kBlock, all.size() - from);
        for (std::size_t i = 0; i < pixels; ++i) {
            planes.red[i] = static_cast<int16_t>(all[from + i][0]);
            planes.green[i] = static_cast<int16_t>(all[from + i][1]);
            planes.blue[i] = static_cast<int16_t>(all[from + i][2]);
        }
        SaturateWhole(planes, ends, everything, pixels, saturation);
        for (std::size_t i = 0; i < pixels; ++i) {
            const auto& [r, g, b] = all[from + i];
            const Path expected = ExpectedPath(all[from + i], saturation);
            ASSERT_EQ(Mask(expected == Path::kEnds), ends[i])
                << "the ends of " << r << "," << g << "," << b << " by " << saturation;
            ASSERT_EQ(Mask(expected == Path::kAll), everything[i])
                << "all of " << r << "," << g << "," << b << " by " << saturation;
        }
    }
}

TEST(HsvSaturation, ClippedPixelsAndWholeFractionsAreMarkedAndNoOthers) {
    const std::vector<std::array<int, 3>> pixels = SomePixels();
    for (const int saturation : {-100, -99, -50, -20, 1, 25, 50, 60, 99, 100}) {
        ASSERT_NO_FATAL_FAILURE(ExpectMarks(pixels, saturation));
    }
}

// So that all lanes work: the widest vectors have eight doubles.
TEST(HsvSaturation, AHandfulFillsWholeVectors) {
    EXPECT_EQ(0u, kHandful % 8);
}

// At the ramp's corners two formulas meet, which doubles tell apart for ends far below 0.
TEST(HsvSaturation, TheRampIsTheReferencesForAnyEnds) {
    Random random(1);
    bool told = false;
    for (int i = 0; i < 2000; ++i) {
        const double p = -random.Fraction();
        const double q = random.Fraction();
        const double span = q - p;
        told = told || p + span != q;
        for (const double h : {0.0, 0.3, 1.0, 1.7, 3.0, 3.2, 4.0, 5.5, 6.0 * random.Fraction()}) {
            ASSERT_EQ(GetHSLValue(p, q, h), HslValue(p, q, span, h)) << p << " to " << q << " at " << h;
        }
    }
    EXPECT_TRUE(told);
}

}  // namespace
}  // namespace platen
