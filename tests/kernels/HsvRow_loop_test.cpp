#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "LineFilters/HsvRow.h"
#include "support/Random.h"

namespace platen {
void HsvRow_loop_test(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                      const std::uint8_t* lightness);
}  // namespace platen

#define KERNEL_TARGET loop_test
#include "LineFilters/kernels/HsvRow_loop.inc"

// The row's blocks and marks, as compiled for a target without vector operations. Pixels that are collected without
// a mark are computed in doubles and come out the same, so that lines of pixels don't tell.

namespace platen {
namespace {

using platen_test::Random;

// The planes of a block fill whole vectors of 16-bit lanes: the widest have 32.
TEST(HsvRowLoop, ABlockFillsWholeVectors) {
    EXPECT_EQ(0u, kBlock % 32);
}

TEST(HsvRowLoop, TheMarkedPixelsAreCollectedAndNoOthers) {
    Random random(1);
    Marked marked;
    for (const std::uint64_t rarity : {1u, 2u, 9u, 60u}) {
        for (std::size_t pixels = 0; pixels <= kBlock; ++pixels) {
            std::vector<uint16_t> expected;
            for (std::size_t i = 0; i < kBlock; ++i) {
                marked.mark[i] = Mask(random.OneIn(rarity));
                if (marked.mark[i] != 0 && i < pixels) {
                    expected.push_back(static_cast<uint16_t>(i));
                }
            }
            marked.Collect(pixels);
            ASSERT_EQ(expected, std::vector<uint16_t>(marked.index, marked.index + marked.count)) << pixels;
        }
    }
}

// Most blocks have few marks or none.
TEST(HsvRowLoop, EightPixelsWithoutAMarkArePassedOver) {
    static constexpr uint16_t kUntouched = 0xFFFF;
    Marked marked;
    for (std::size_t i = 0; i < kBlock; ++i) {
        marked.mark[i] = 0;
        marked.index[i] = kUntouched;
    }
    marked.Collect(kBlock);
    EXPECT_EQ(0u, marked.count);
    EXPECT_EQ(kUntouched, marked.index[0]) << "no number is tried";
}

// Without a change of lightness no byte is looked up.
TEST(HsvRowLoop, OnlyATableThatMapsEveryByteToItselfIsTheIdentity) {
    std::uint8_t table[256];
    std::iota(table, table + 256, std::uint8_t{0});
    EXPECT_TRUE(IsIdentity(table));
    for (unsigned i = 0; i < 256; ++i) {
        for (const unsigned bit : {1u, 2u, 128u}) {
            table[i] = static_cast<std::uint8_t>(i ^ bit);
            EXPECT_FALSE(IsIdentity(table)) << i << " becomes " << (i ^ bit);
        }
        table[i] = static_cast<std::uint8_t>(i);
    }
}

}  // namespace
}  // namespace platen
