#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "LineFilters/HsvTables.h"
#include "support/PlainLanes.inc"
#include "support/Random.h"

#include "LineFilters/kernels/HsvRow_lanes.inc"

// What the row leaves to vectors, on plain ones. A function that does less than it could leaves more to the plain
// loops: the same bytes, more slowly.

namespace platen {
namespace {

using platen_test::Random;

constexpr std::size_t kMost = 100;  // pixels, in all tests

// No target that can shuffle is big-endian: the shuffles make a byte the first one of 16 bits.
constexpr bool kIsBigEndian = std::endian::native == std::endian::big;

std::vector<std::uint8_t> RandomBytes(std::size_t count) {
    Random random(1);
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) {
        byte = random.Byte();
    }
    return bytes;
}

// Eight pixels are 24 bytes, which two overlapping loads give: each byte is taken from one of them, from the first
// if that has it, and -1 stands wherever nothing is taken. So targets may shuffle by any instruction that gives 0
// for it.
TEST(HsvLanes, EachChannelIsTakenFromOneOfTwoLoads) {
    for (int channel = 0; channel < 3; ++channel) {
        for (int pixel = 0; pixel < 8; ++pixel) {
            const int byte = 3 * pixel + channel;
            const bool inFirst = byte <= 15;
            EXPECT_EQ(inFirst ? byte : -1, kTake[channel].first[2 * pixel]) << byte;
            EXPECT_EQ(inFirst ? -1 : byte - 8, kTake[channel].second[2 * pixel]) << byte;
            EXPECT_EQ(-1, kTake[channel].first[2 * pixel + 1]) << "the upper byte of pixel " << pixel;
            EXPECT_EQ(-1, kTake[channel].second[2 * pixel + 1]) << "the upper byte of pixel " << pixel;
        }
    }
}

// And two overlapping stores: of each byte's three channels one has it, the others -1.
TEST(HsvLanes, EachByteIsPutFromOneChannel) {
    for (int channel = 0; channel < 3; ++channel) {
        for (int pixel = 0; pixel < 8; ++pixel) {
            for (int other = 0; other < 3; ++other) {
                const int byte = 3 * pixel + other;
                const int expected = other == channel ? 2 * pixel : -1;
                if (byte < 16) {
                    EXPECT_EQ(expected, kPut[channel].first[byte]) << byte;
                }
                if (byte >= 8) {
                    EXPECT_EQ(expected, kPut[channel].second[byte - 8]) << byte;
                }
            }
        }
    }
}

TEST(HsvLanes, AllWholeVectorsOfALineAreTakenApart) {
    if (kIsBigEndian) {
        GTEST_SKIP() << "big-endian";
    }
    const std::vector<std::uint8_t> line = RandomBytes(3 * kMost);
    for (std::size_t pixels = 0; pixels <= kMost; ++pixels) {
        std::int16_t planes[3][kMost];
        std::int16_t* const all[3] = {planes[0], planes[1], planes[2]};
        const std::size_t taken = TakeVectors(all, line.data(), pixels);
        ASSERT_EQ(pixels / 16 * 16, taken) << pixels;
        for (std::size_t i = 0; i < 3 * taken; ++i) {
            ASSERT_EQ(line[i], planes[i % 3][i / 3]) << "byte " << i << " of " << pixels << " pixels";
        }
    }
}

TEST(HsvLanes, AllWholeVectorsOfALineArePutTogether) {
    if (kIsBigEndian) {
        GTEST_SKIP() << "big-endian";
    }
    const std::vector<std::uint8_t> line = RandomBytes(3 * kMost);
    std::int16_t planes[3][kMost];
    for (std::size_t i = 0; i < line.size(); ++i) {
        planes[i % 3][i / 3] = line[i];
    }
    const std::int16_t* const all[3] = {planes[0], planes[1], planes[2]};
    for (std::size_t pixels = 0; pixels <= kMost; ++pixels) {
        std::uint8_t got[3 * kMost] = {};
        const std::size_t put = PutVectors(got, all, pixels);
        ASSERT_EQ(pixels / 16 * 16, put) << pixels;
        ASSERT_EQ(0, std::memcmp(line.data(), got, 3 * put)) << pixels;
        ASSERT_EQ(3 * (kMost - put), static_cast<std::size_t>(std::count(got + 3 * put, got + 3 * kMost, 0)))
            << "nothing is written past the " << put << " pixels";
    }
}

TEST(HsvLanes, AllWholeVectorsOfBytesAreLookedUp) {
    const std::vector<std::uint8_t> table = RandomBytes(256);
    for (std::size_t count = 0; count <= kMost; ++count) {
        std::uint8_t bytes[kMost];
        std::iota(bytes, bytes + kMost, std::uint8_t{150});
        const std::size_t done = LookUpVectors(bytes, count, table.data());
        ASSERT_EQ(count / 32 * 32, done) << count;
        for (std::size_t i = 0; i < kMost; ++i) {
            const auto was = static_cast<std::uint8_t>(150 + i);
            ASSERT_EQ(i < done ? table[was] : was, bytes[i]) << i << " of " << count;
        }
    }
}

TEST(HsvLanes, TheNumbersOfMarkedPixelsAreCollectedByEights) {
    Random random(2);
    for (std::size_t count = 0; count <= kMost; ++count) {
        std::int16_t marks[kMost];
        std::vector<std::uint16_t> expected;
        for (std::size_t i = 0; i < kMost; ++i) {
            marks[i] = random.OneIn(3) ? std::int16_t{-1} : std::int16_t{0};
            if (marks[i] != 0 && i < count / 8 * 8) {
                expected.push_back(static_cast<std::uint16_t>(i));
            }
        }
        std::uint16_t index[kMost + 8];
        const std::size_t found = CollectEights(index, marks, count);
        ASSERT_EQ(expected, std::vector<std::uint16_t>(index, index + found)) << count;
    }
}

}  // namespace
}  // namespace platen
