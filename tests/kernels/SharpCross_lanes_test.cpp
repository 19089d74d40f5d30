#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "LineFilters/SharpRow.h"
#include "support/PlainLanes.inc"
#include "support/Random.h"

#include "LineFilters/kernels/SharpCross_lanes.inc"

// Which lines the vectors take, and where they are stored; on plain vectors, which note that. What is refused,
// stored twice or stored at the wrong alignment comes out the same, more slowly.

namespace platen {
namespace {

using platen_test::Random;

// The five lines of a Put, each from an address that is a multiple of a vector's bytes.
class Lines {
  public:
    static constexpr std::size_t kMost = 400;

    explicit Lines(std::uint64_t seed) : bytes_(6 * kStride) {
        Random random(seed);
        for (std::uint8_t& byte : bytes_) {
            byte = random.Byte();
        }
        stores.clear();
    }
    std::uint8_t* Line(std::size_t number) {
        const std::size_t past = reinterpret_cast<std::uintptr_t>(bytes_.data()) % kVectorBytes;
        return bytes_.data() + (kVectorBytes - past) + number * kStride;
    }
    std::uint8_t* Out(std::size_t offset = 0) {
        return Line(4) + offset;
    }
    SharpPutArgs Put(std::size_t width, std::size_t samples) {
        return {Line(0), Line(1), Line(2), Line(3), width * samples, nullptr, width, samples};
    }

  private:
    static constexpr std::size_t kStride = 480;
    std::vector<std::uint8_t> bytes_;
};

TEST(SharpVectors, LinesOfAVectorAndMoreAreDoneAndShorterOnesLeftAlone) {
    for (std::size_t count = 0; count <= 130; ++count) {
        Lines lines(count);
        const std::uint8_t* up = lines.Line(0);
        const std::uint8_t* down = lines.Line(1);
        const std::uint8_t* middle = lines.Line(2);
        std::uint8_t* out = lines.Out();
        const std::vector<std::uint8_t> before(out, out + Lines::kMost);
        const bool done = CrossVectors<2>(out, up, down, middle, middle + 3, middle + 6, -1, 8, count);
        ASSERT_EQ(count >= kVectorBytes, done) << count;
        for (std::size_t i = 0; i < Lines::kMost; ++i) {
            const int arms = up[i] + down[i] + middle[i] + middle[i + 6];
            const int sum = std::abs(8 * middle[i + 3] - arms) / 4;
            ASSERT_EQ(done && i < count ? std::min(sum, 255) : before[i], out[i]) << i << " of " << count;
        }
    }
}

// As many samples between the first and the last pixel as two vectors have: the one at each end may not overlap
// more.
TEST(SharpVectors, LinesOfTwoVectorsBetweenTheirEndsAreDoneInOnePassAndShorterOnesLeftAlone) {
    for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
        for (std::size_t width = 3; width <= 130 / samples; ++width) {
            Lines lines(width);
            const bool done = PutVectors<2>(lines.Out(), lines.Put(width, samples), -1, 8);
            ASSERT_EQ((width - 2) * samples >= 2 * kVectorBytes, done) << width << " pixels of " << samples;
            ASSERT_EQ(done, !stores.empty()) << width << " pixels of " << samples;
        }
    }
}

// The finished line's first and last vectors lie where they must, and all others at multiples of a vector's bytes,
// which is what makes the stores fast. Addresses of which the first multiple lies inside the first pixel are an
// exception.
TEST(SharpVectors, TheStepsOfAFinishedLineAreAligned) {
    for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
        for (std::size_t offset = 0; offset <= kVectorBytes - samples; ++offset) {
            Lines lines(offset);
            const std::size_t width = 300 / samples;
            const std::size_t lastVector = (width - 1) * samples - kVectorBytes;
            std::uint8_t* out = lines.Out(offset);
            ASSERT_TRUE(PutVectors<2>(out, lines.Put(width, samples), -1, 8));
            std::size_t steps = 0;
            for (const std::uint8_t* store : stores) {
                if (store < out || store == out + samples || store == out + lastVector) {
                    continue;
                }
                ++steps;
                ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(store) % kVectorBytes)
                    << store - out << " of a line " << offset << " bytes past a multiple";
            }
            ASSERT_GE(steps, (300 - 3 * kVectorBytes) / kVectorBytes);
        }
    }
}

TEST(SharpVectors, NoVectorOfAPutIsStoredTwice) {
    for (std::size_t width = 70; width <= 140; ++width) {
        Lines lines(width);
        ASSERT_TRUE(PutVectors<2>(lines.Out(), lines.Put(width, 1), -1, 8));
        std::sort(stores.begin(), stores.end());
        ASSERT_EQ(stores.end(), std::adjacent_find(stores.begin(), stores.end())) << width;
    }
}

}  // namespace
}  // namespace platen
