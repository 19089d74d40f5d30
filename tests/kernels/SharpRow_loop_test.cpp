#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "LineFilters/SharpRow.h"
#include "LineFilters/Sharpness.h"
#include "support/PlainLanes.inc"
#include "support/Random.h"

namespace platen {
void SharpRow_loop_test(std::uint8_t* out, const SharpRowArgs& row);
void SharpPut_loop_test(std::uint8_t* out, const SharpPutArgs& put);
}  // namespace platen

#define KERNEL_TARGET loop_test
#include "LineFilters/kernels/SharpRow_loop.inc"

// Which Puts are done in one pass. One that isn't gives the same bytes, more slowly.

namespace platen {
namespace {

using platen_test::Random;

constexpr std::size_t kWidth = 100;
constexpr std::size_t kBytes = 3 * kWidth;

// Column sums fill whole vectors: the widest have 32 of them.
TEST(SharpRowLoop, ABlockFillsWholeVectors) {
    EXPECT_EQ(0u, kBlock % 32);
}

TEST(SharpRowLoop, LinesOverlapFromOneSharedByteOn) {
    const std::array<std::uint8_t, 3 * kBytes> memory{};
    const std::uint8_t* line = memory.data() + kBytes;
    EXPECT_TRUE(Overlap(line, line, kBytes));
    for (const std::size_t away : {std::size_t{1}, kBytes / 2, kBytes - 1}) {
        EXPECT_TRUE(Overlap(line, line + away, kBytes)) << away;
        EXPECT_TRUE(Overlap(line, line - away, kBytes)) << away;
    }
    EXPECT_FALSE(Overlap(line, line + kBytes, kBytes)) << "lines that touch";
    EXPECT_FALSE(Overlap(line, line - kBytes, kBytes)) << "lines that touch";
    EXPECT_FALSE(Overlap(line, line + kBytes + 1, kBytes));
    EXPECT_FALSE(Overlap(line, line - kBytes - 1, kBytes));
}

// The finished line and those of a Put; the first two touch, the others have room between them.
struct Ring {
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(10 * kBytes);
    std::size_t place[5] = {kBytes, 2 * kBytes, 4 * kBytes, 6 * kBytes, 8 * kBytes};

    std::uint8_t* Line(std::size_t number) {
        return memory.data() + place[number];
    }
    SharpPutArgs Put(const std::int32_t* kernel) {
        return {Line(1), Line(2), Line(3), Line(4), kBytes, kernel, kWidth, 3};
    }
};

TEST(SharpRowLoop, FiveLinesAreApartUnlessAPairSharesAByte) {
    Ring ring;
    EXPECT_TRUE(AllApart(ring.Line(0), ring.Put(nullptr)));
    for (std::size_t i = 0; i < 5; ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            Ring other;
            other.place[i] = other.place[k] + kBytes - 1;
            EXPECT_FALSE(AllApart(other.Line(0), other.Put(nullptr))) << "lines " << k << " and " << i;
            other.place[i] = other.place[k] - kBytes + 1;
            EXPECT_FALSE(AllApart(other.Line(0), other.Put(nullptr))) << "lines " << k << " and " << i;
        }
    }
}

// The table's crosses over 4 and over 8; the box has no such pass.
TEST(SharpRowLoop, PutsOfCrossesAreDoneInOnePassWhereTheLinesAreApart) {
    for (const auto& kernel : sfilterParamTable) {
        Ring ring;
        const bool isCross = SharpShapeOf(kernel) == SharpShape::kCross;
        EXPECT_EQ(isCross, PutInOnePass(ring.Line(0), ring.Put(kernel))) << "level " << kernel[10];
        ring.place[4] = ring.place[3];  // the newest line is put again
        EXPECT_FALSE(PutInOnePass(ring.Line(0), ring.Put(kernel))) << "level " << kernel[10];
    }
}

// Vectors of any target's size: here those of plain C++.
TEST(SharpRowLoop, PlainVectorsGiveTheReferencesLines) {
    Random random(1);
    for (const auto& kernel : sfilterParamTable) {
        for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
            Ring expected;
            for (std::uint8_t& byte : expected.memory) {
                byte = random.Byte();
            }
            Ring got = expected;
            SharpPutArgs put = expected.Put(kernel);
            put.samples = samples;
            SharpPut_reference(expected.Line(0), put);
            put = got.Put(kernel);
            put.samples = samples;
            SharpPut_loop_test(got.Line(0), put);
            EXPECT_EQ(expected.memory, got.memory) << "level " << kernel[10] << ", samples " << samples;
        }
    }
}

}  // namespace
}  // namespace platen
