// Whole images: the stream against what the records mean.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "ZoomStream.h"

namespace {

using platen_test::GuardedBuffer;
using platen_test::MakeImage;
using platen_test::OracleScale;
using platen_test::Random;
using platen_test::ZoomCase;
using platen_test::ZoomContent;
using platen_test::ZoomStream;

constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
constexpr ZoomContent kContents[] = {ZoomContent::kRandom, ZoomContent::kExtreme, ZoomContent::kGradient};

// Which accumulators: those that Open chose, or doubles by force on one axis or both. The results must not differ.
struct Force {
    bool horz;
    bool vert;
};

bool RunCase(const ZoomCase& c, ZoomContent content, Force force, Random& random) {
    const auto source = MakeImage(c, content, random);
    PX_ZoomBilinear zoom;
    if (zoom.Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, c.format, 2) != 0) {
        ADD_FAILURE() << "Open, " << Describe(c);
        return false;
    }
    zoom.horzDouble |= force.horz ? 1 : 0;
    zoom.vertDouble |= force.vert ? 1 : 0;
    const bool odd = random.OneIn(2);
    const auto side = random.OneIn(2) ? GuardedBuffer::Against::kPageBehind : GuardedBuffer::Against::kPageBefore;
    return ZoomStream(c, odd, side).Run(zoom, source, OracleScale(c, source));
}

// Sizes of one axis by direction: 0 reduce, 1 keep, 2 enlarge.
void PickAxis(int direction, int limit, Random& random, int* dst, int* src) {
    *src = static_cast<int>(random.Between(1, limit));
    *dst = *src;
    if (direction == 0) {
        *src += 1;
        *dst = static_cast<int>(random.Between(1, *src - 1));
    } else if (direction == 2) {
        *dst += static_cast<int>(random.Between(1, limit));
    }
}

TEST(PX_ZoomBilinearImage, AllFormatsAndWaysAtRandomSizes) {
    Random random(501);
    for (int format : kFormats) {
        for (int directions = 0; directions < 9; ++directions) {
            for (int round = 0; round < 60; ++round) {
                ZoomCase c{};
                c.format = format;
                PickAxis(directions / 3, round % 6 == 0 ? 90 : 20, random, &c.dstWidth, &c.srcWidth);
                PickAxis(directions % 3, 20, random, &c.dstHeight, &c.srcHeight);
                const Force force = {random.OneIn(3), random.OneIn(3)};
                ASSERT_TRUE(RunCase(c, kContents[round % 3], force, random));
            }
        }
    }
}

TEST(PX_ZoomBilinearImage, AllSmallSizePairs) {
    Random random(502);
    for (int dst = 1; dst <= 24; ++dst) {
        for (int src = 1; src <= 24; ++src) {
            for (int format : {1, 8, 48}) {
                const int other = 1 + (dst * 7 + src) % 5;
                const Force force = {random.OneIn(2), random.OneIn(2)};
                ASSERT_TRUE(RunCase({dst, other, src, 3, format}, ZoomContent::kRandom, force, random));
                ASSERT_TRUE(RunCase({other, dst, 3, src, format}, ZoomContent::kExtreme, force, random));
            }
        }
    }
}

TEST(PX_ZoomBilinearImage, PageWidths) {
    Random random(503);
    const int widths[][2] = {{2480, 7440}, {4960, 2480}, {7440, 4960}, {2480, 2481}, {65535, 9}, {9, 65535}};
    for (const auto& width : widths) {
        for (int format : kFormats) {
            ASSERT_TRUE(RunCase({width[0], 2, width[1], 3, format}, kContents[format % 3], {false, false}, random));
        }
    }
}

// Sizes where Open itself asks for doubles.

TEST(PX_ZoomBilinearImage, WideLinesOf16BitSamples) {
    Random random(504);
    for (int format : {16, 48, 64}) {
        for (ZoomContent content : kContents) {
            ASSERT_TRUE(RunCase({70001, 1, 65537, 1, format}, content, {false, false}, random));
            ASSERT_TRUE(RunCase({100, 1, 70000, 1, format}, content, {false, false}, random));
            ASSERT_TRUE(RunCase({69999, 1, 70000, 2, format}, content, {false, false}, random));
        }
    }
}

TEST(PX_ZoomBilinearImage, WideLinesOf8BitSamples) {
    Random random(505);
    for (int format : {1, 8, 24, 32}) {
        ASSERT_TRUE(RunCase({100, 1, 70000, 2, format}, ZoomContent::kExtreme, {false, false}, random));
        ASSERT_TRUE(RunCase({70000, 2, 100, 1, format}, ZoomContent::kExtreme, {false, false}, random));
        ASSERT_TRUE(RunCase({66000, 1, 70000, 1, format}, ZoomContent::kRandom, {false, false}, random));
    }
}

TEST(PX_ZoomBilinearImage, TallImages) {
    Random random(506);
    for (int format : {1, 8, 16, 48}) {
        ASSERT_TRUE(RunCase({1, 7, 2, 70000, format}, ZoomContent::kExtreme, {false, false}, random));
        ASSERT_TRUE(RunCase({2, 69990, 2, 70000, format}, ZoomContent::kRandom, {false, false}, random));
        ASSERT_TRUE(RunCase({2, 70000, 1, 300, format}, ZoomContent::kRandom, {false, false}, random));
    }
}

// One line of 2^24 columns and more, without the model's memory: positions are taken from the formula one by one.
TEST(PX_ZoomBilinearImage, LinesOf16MillionColumns) {
    constexpr int kWide = 16777217;
    const std::uint8_t few[3] = {3, 250, 17};
    std::vector<std::uint8_t> line(kWide);
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(kWide - 2, 1, 3, 1, 8, 2));
    ASSERT_EQ(0, zoom.horzDouble);
    ASSERT_EQ(0, zoom.Open(kWide - 1, 1, 3, 1, 8, 2));
    ASSERT_EQ(1, zoom.horzDouble);
    ASSERT_EQ(0, zoom.Open(kWide, 1, 3, 1, 8, 2));
    ASSERT_EQ(1, zoom.horzDouble);
    ASSERT_EQ(0, zoom.Send(const_cast<std::uint8_t*>(few)));
    ASSERT_EQ(0, zoom.Read(line.data()));
    zoom.Close();
    for (std::int64_t x = 0; x < kWide; ++x) {
        const std::int64_t place = x * 2;
        const std::int64_t left = place >= kWide - 1 ? 1 : 0;
        const std::int64_t part = place - left * (kWide - 1);
        const std::int64_t sum = few[left] * (kWide - 1 - part) + few[left + 1] * part;
        ASSERT_EQ(sum / (kWide - 1), line[static_cast<std::size_t>(x)]) << x;
    }

    ASSERT_EQ(0, zoom.Open(3, 1, kWide, 1, 8, 2));
    ASSERT_EQ(1, zoom.horzDouble);
    ASSERT_EQ(0, zoom.Send(line.data()));
    std::uint8_t out[3];
    ASSERT_EQ(0, zoom.Read(out));
    for (int i = 0; i < 3; ++i) {
        const PX_Zoom2_Param record = platen_test::OracleReduced(i, 3, kWide);
        EXPECT_EQ(platen_test::OracleAverage(
                      record, 3, kWide, [&](int k) { return std::uint64_t{line[static_cast<std::size_t>(k)]}; }),
                  out[i]);
    }
}

}  // namespace
