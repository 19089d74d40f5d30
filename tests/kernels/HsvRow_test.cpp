#include "LineFilters/HsvRow.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <iterator>
#include <numeric>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace {

using platen_test::GuardedBuffer;
using platen_test::Random;
using Side = GuardedBuffer::Against;

struct Setting {
    std::int32_t hue;
    std::int32_t saturation;
    std::uint8_t lightness[256];
};

Setting RandomSetting(Random& random) {
    Setting setting{};
    setting.hue = random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-180, 180));
    setting.saturation = random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-100, 100));
    const bool identity = random.OneIn(2);
    for (int i = 0; i < 256; ++i) {
        setting.lightness[i] = identity ? static_cast<std::uint8_t>(i) : random.Byte();
    }
    return setting;
}

// Random, near grey (as scans are), or the corners of the cube.
void Fill(Random& random, const GuardedBuffer& line) {
    const int kind = static_cast<int>(random.Between(0, 2));
    std::uint8_t grey = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        grey = i % 3 == 0 ? random.Byte() : grey;
        const auto near = static_cast<std::uint8_t>(grey / 2 + 32 + random.Between(0, 12));
        line[i] = kind == 0   ? random.Byte()
                  : kind == 1 ? near
                              : static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0);
    }
}

void ExpectEqualLines(Random& random, std::size_t width, Side side) {
    const Setting setting = RandomSetting(random);
    const GuardedBuffer lightness(sizeof setting.lightness, side);
    std::memcpy(lightness.data(), setting.lightness, sizeof setting.lightness);
    const GuardedBuffer source(3 * width, side);
    const GuardedBuffer expected(3 * width, side);
    const GuardedBuffer line(3 * width, side);
    Fill(random, source);
    if (width != 0) {
        std::memcpy(expected.data(), source.data(), 3 * width);
    }
    platen::HsvRow_reference(expected.data(), width, setting.hue, setting.saturation, lightness.data());
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        if (width != 0) {
            std::memcpy(line.data(), source.data(), 3 * width);
        }
        variant->hsvRow(line.data(), width, setting.hue, setting.saturation, lightness.data());
        ASSERT_TRUE(width == 0 || std::memcmp(expected.data(), line.data(), 3 * width) == 0)
            << variant->name << ", width " << width << ", hue " << setting.hue << ", saturation "
            << setting.saturation;
    }
}

TEST(HsvRow, EveryVariantEqualsReferenceAtWidths0To300) {
    Random random(1);
    for (std::size_t width = 0; width <= 300; ++width) {
        ExpectEqualLines(random, width, Side::kPageBehind);
        ExpectEqualLines(random, width, Side::kPageBefore);
    }
}

TEST(HsvRow, EveryVariantEqualsReferenceAtLongWidthsAndEveryAlignment) {
    Random random(2);
    for (int i = 0; i < 400; ++i) {
        ExpectEqualLines(random, static_cast<std::size_t>(random.Between(301, 3000)), Side::kPageBehind);
    }
}

// Hosts may write any entry: a table that is the identity but for one is none.
TEST(HsvRow, EveryEntryOfTheTableCounts) {
    std::uint8_t lightness[256];
    std::uint8_t line[3 * 256];
    for (int changed = 0; changed < 256; ++changed) {
        for (int i = 0; i < 256; ++i) {
            lightness[i] = static_cast<std::uint8_t>(i == changed ? 255 - i : i);
        }
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            for (int i = 0; i < 3 * 256; ++i) {
                line[i] = static_cast<std::uint8_t>(i);
            }
            variant->hsvRow(line, 256, 0, 0, lightness);
            for (int i = 0; i < 3 * 256; ++i) {
                ASSERT_EQ(lightness[i % 256], line[i]) << variant->name << ", entry " << changed;
            }
        }
    }
}

// Every setting on a few thousand colours; all colours with some settings are hsv_all_colours' work.
TEST(HsvRow, EveryVariantEqualsReferenceForEveryHueAndEverySaturation) {
    Random random(3);
    Setting setting{};
    for (int i = 0; i < 256; ++i) {
        setting.lightness[i] = static_cast<std::uint8_t>(i);
    }
    const GuardedBuffer source(3 * 2048);
    const GuardedBuffer expected(3 * 2048);
    const GuardedBuffer line(3 * 2048);
    for (std::int32_t number = 0; number < 361 + 201; ++number) {
        const bool turns = number < 361;
        setting.hue = turns ? number - 180 : 0;
        setting.saturation = turns ? 0 : number - 461;
        Fill(random, source);
        std::memcpy(expected.data(), source.data(), source.size());
        platen::HsvRow_reference(expected.data(), 2048, setting.hue, setting.saturation, setting.lightness);
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            std::memcpy(line.data(), source.data(), source.size());
            variant->hsvRow(line.data(), 2048, setting.hue, setting.saturation, setting.lightness);
            ASSERT_EQ(0, std::memcmp(expected.data(), line.data(), source.size()))
                << variant->name << ", hue " << setting.hue << ", saturation " << setting.saturation;
        }
    }
}

// Lines of one colour after another, `each` pixels of each, for one saturation.
void ExpectEqualColours(const std::vector<std::array<std::uint8_t, 3>>& colours, std::size_t each,
                        std::int32_t saturation) {
    std::uint8_t lightness[256];
    std::iota(std::begin(lightness), std::end(lightness), std::uint8_t{0});
    std::vector<std::uint8_t> source;
    for (const auto& colour : colours) {
        for (std::size_t i = 0; i < each; ++i) {
            source.insert(source.end(), colour.begin(), colour.end());
        }
    }
    std::vector<std::uint8_t> expected = source;
    platen::HsvRow_reference(expected.data(), expected.size() / 3, 0, saturation, lightness);
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        std::vector<std::uint8_t> line = source;
        variant->hsvRow(line.data(), line.size() / 3, 0, saturation, lightness);
        ASSERT_EQ(expected, line) << variant->name << ", saturation " << saturation;
    }
}

// Channels that differ by 1 only: the darkest and the lightest are clipped.
TEST(HsvRow, EveryVariantEqualsReferenceForEveryColourNextToAGrey) {
    std::vector<std::array<std::uint8_t, 3>> colours;
    for (int grey = 0; grey < 255; ++grey) {
        for (int higher = 1; higher < 7; ++higher) {  // one or two channels
            std::array<std::uint8_t, 3> colour{};
            for (int channel = 0; channel < 3; ++channel) {
                colour[static_cast<std::size_t>(channel)] =
                    static_cast<std::uint8_t>(grey + (higher >> channel & 1));
            }
            colours.push_back(colour);
        }
    }
    for (std::int32_t saturation = -100; saturation <= 100; ++saturation) {
        ASSERT_NO_FATAL_FAILURE(ExpectEqualColours(colours, 1, saturation));
    }
}

// Whole blocks of pixels that need doubles: of some the extremes only, of others all three channels.
TEST(HsvRow, EveryVariantEqualsReferenceForBlocksThatNeedDoubles) {
    for (const std::int32_t saturation : {-50, 50, 90}) {
        for (const int middle : {50, 70, 100, 120, 149}) {
            ASSERT_NO_FATAL_FAILURE(
                ExpectEqualColours({{150, 50, static_cast<std::uint8_t>(middle)}}, 700, saturation));
        }
    }
}

// Differences of largest and smallest channel for which some whole number of sixtieths isn't exact in doubles.
std::vector<int> DifferencesWithInexactWays() {
    std::vector<int> found;
    for (int d = 1; d < 256; ++d) {
        const double step = static_cast<double>(d) / 60.0;
        bool inexact = false;
        for (int degrees = 1; degrees <= 60; ++degrees) {
            inexact = inexact || (degrees * d % 60 == 0 && degrees * step != degrees * d / 60);
        }
        if (inexact) {
            found.push_back(d);
        }
    }
    return found;
}

// Every pixel of the differences in question at some heights, in all six orders of its channels.
std::vector<std::uint8_t> PixelsOf(const std::vector<int>& differences) {
    static constexpr int kOrders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    std::vector<std::uint8_t> pixels;
    for (const int d : differences) {
        for (int min = 0; min + d < 256; min += 37) {
            for (int mid = min; mid <= min + d; ++mid) {
                const int channels[3] = {min, mid, min + d};
                for (const auto& order : kOrders) {
                    for (const int channel : order) {
                        pixels.push_back(static_cast<std::uint8_t>(channels[channel]));
                    }
                }
            }
        }
    }
    return pixels;
}

TEST(HsvRow, EveryVariantEqualsReferenceWhereTheWayOfAHueIsInexact) {
    std::uint8_t identity[256];
    for (int i = 0; i < 256; ++i) {
        identity[i] = static_cast<std::uint8_t>(i);
    }
    const std::vector<int> differences = DifferencesWithInexactWays();
    ASSERT_EQ(19u, differences.size());
    const std::vector<std::uint8_t> source = PixelsOf(differences);
    for (std::int32_t hue = -180; hue <= 180; ++hue) {
        std::vector<std::uint8_t> expected = source;
        platen::HsvRow_reference(expected.data(), expected.size() / 3, hue, 0, identity);
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            std::vector<std::uint8_t> line = source;
            variant->hsvRow(line.data(), line.size() / 3, hue, 0, identity);
            ASSERT_TRUE(expected == line) << variant->name << ", hue " << hue;
        }
    }
}

}  // namespace
