// Whole images through Put and Get against an oracle that sees the image at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "LineFilters/SharpRow.h"
#include "SharpFilter.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace {

using platen_test::Bytes;
using platen_test::GuardedBuffer;
using platen_test::Random;
using platen_test::SharpenedImage;
using platen_test::SharpImage;

// The distance of the widths that are taken; instrumented builds take fewer.
constexpr int kWidthStep = PLATEN_TEST_STEP;

void FillRandom(Random& random, SharpImage& image) {
    for (std::uint8_t& byte : image.bytes) {
        // Extremes often: they are what clamps.
        byte = random.OneIn(3) ? static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0) : random.Byte();
    }
}

void StreamEqualsWholeImage(const SharpImage& image, int padding) {
    for (const auto& kernel : sfilterParamTable) {
        ASSERT_EQ(SharpenedImage(image, kernel).bytes, platen_test::Streamed(kernel[10], image, padding).bytes)
            << "level " << kernel[10] << ", " << image.width << " x " << image.height << ", samples "
            << image.samples;
    }
}

TEST(SharpnessImage, StreamEqualsWholeImageAtWidths3To300AndHeights1To40) {
    Random random(31);
    for (int width = 3; width <= 300; width += kWidthStep) {
        for (int height = 1; height <= 40; ++height) {
            for (const int samples : {1, 3}) {
                SharpImage image(width, height, samples);
                FillRandom(random, image);
                const int padding = random.OneIn(2) ? 0 : static_cast<int>(random.Between(1, 9));
                ASSERT_NO_FATAL_FAILURE(StreamEqualsWholeImage(image, padding));
            }
        }
    }
}

TEST(SharpnessImage, KernelsOfTheHostsOwn) {
    Random random(33);
    for (int round = 0; round < 500; ++round) {
        std::int32_t kernel[10];
        for (std::int32_t& word : kernel) {
            word = static_cast<std::int32_t>(random.Between(-100000, 100000));  // 12 x 255 x 100000 is below 2^31
        }
        kernel[9] = round % 2 == 0 ? static_cast<std::int32_t>(random.Between(1, 100000))
                                   : static_cast<std::int32_t>(random.Between(-300, -1));
        SharpImage image(static_cast<int>(random.Between(3, 30)), static_cast<int>(random.Between(1, 6)),
                         round % 3 == 0 ? 1 : 3);
        FillRandom(random, image);
        ASSERT_EQ(SharpenedImage(image, kernel).bytes, platen_test::Streamed(1, image, 0, kernel).bytes) << round;
    }
}

// One row between protected pages; every buffer ends or begins at one.
void RowAgainstPages(Random& random, std::size_t width, std::size_t samples, bool topEdge,
                     GuardedBuffer::Against side) {
    const std::size_t bytes = width * samples;
    const GuardedBuffer top(bytes, side);
    const GuardedBuffer middle(bytes, side);
    const GuardedBuffer bottom(bytes, side);
    const GuardedBuffer out(bytes, side);
    SharpImage image(static_cast<int>(width), topEdge ? 2 : 3, static_cast<int>(samples));
    FillRandom(random, image);
    const std::uint8_t* source = image.bytes.data();
    if (!topEdge) {
        std::memcpy(top.data(), source, bytes);
        source += bytes;
    }
    std::memcpy(middle.data(), source, bytes);
    std::memcpy(bottom.data(), source + bytes, bytes);
    const std::int32_t* kernel = sfilterParamTable[width % 5];
    // With the top edge, the row above is not there to be read.
    platen::SharpRow_reference(out.data(), {topEdge ? nullptr : top.data(), middle.data(), bottom.data(), kernel,
                                            width, samples, topEdge});
    const Bytes expected = SharpenedImage(image, kernel).bytes;
    const std::size_t row = topEdge ? 0 : 1;
    ASSERT_EQ(0, std::memcmp(expected.data() + row * bytes, out.data(), bytes)) << width << " " << samples;
}

TEST(SharpRow, ReferenceStaysInsideRowsAgainstProtectedPages) {
    Random random(34);
    for (std::size_t width = 3; width <= 300; width += std::size_t{kWidthStep}) {
        for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
            for (const bool topEdge : {false, true}) {
                RowAgainstPages(random, width, samples, topEdge, GuardedBuffer::Against::kPageBehind);
                RowAgainstPages(random, width, samples, topEdge, GuardedBuffer::Against::kPageBefore);
            }
        }
    }
}

TEST(SharpnessImage, BytesBehindThePixelsOfOutputLinesAreNeverWritten) {
    platen_test::SharpFilter filter(platen_test::SharpSettings(3, 3, 5, 3, 4));
    std::memset(filter.Words().outLine1 + 15, 0x5A, 4);
    std::memset(filter.Words().outLine2 + 15, 0x5B, 4);
    for (int i = 0; i < 3; ++i) {
        filter.PutFlat(static_cast<std::uint8_t>(i * 100));
    }
    const Bytes first = filter.Get();
    const Bytes second = filter.Get();
    EXPECT_EQ(Bytes(4, 0x5A), Bytes(first.begin() + 15, first.end()));
    EXPECT_EQ(Bytes(4, 0x5B), Bytes(second.begin() + 15, second.end()));
}

}  // namespace
