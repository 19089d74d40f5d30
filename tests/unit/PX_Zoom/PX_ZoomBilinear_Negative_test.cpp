// Negative sizes are not refused, so streaming with them must be harmless and defined.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "support/AllocationLedger.h"
#include "support/GuardedBuffer.h"

namespace {

using platen_test::AllocationLedger;
using platen_test::GuardedBuffer;

constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
constexpr int kLowest = std::numeric_limits<int>::min();

std::size_t Bytes(int width, int format) {
    return width < 0 ? 0 : (static_cast<std::size_t>(width) * static_cast<std::size_t>(format) + 7) / 8;
}

TEST(PX_ZoomBilinearNegative, OpenLooksAtZerosOnly) {
    for (int format : kFormats) {
        for (int signs = 0; signs < 16; ++signs) {
            for (int size : {1, 5, 9}) {
                const auto pick = [&](int bit, int value) { return (signs & bit) != 0 ? -value : value; };
                PX_ZoomBilinear zoom;
                const int status = zoom.Open(pick(1, 5), pick(2, size), pick(4, size), pick(8, 5), format, 2);
                const bool noColumns = (signs & 5) == 5;
                const bool noLines = (signs & 10) == 10;
                ASSERT_EQ(noColumns || noLines ? 1 : 0, status) << signs << ' ' << size << ' ' << format;
                ASSERT_EQ(status == 0, zoom.vertParam != nullptr);
            }
        }
    }
}

TEST(PX_ZoomBilinearNegative, TheLowestSizesOverflowNothing) {
    PX_ZoomBilinear zoom;
    std::uint8_t line[64] = {};
    EXPECT_EQ(1, zoom.Open(kLowest, 5, kLowest, 5, 64, 2));
    EXPECT_EQ(1, zoom.Open(5, kLowest, 5, kLowest, 64, 2));
    EXPECT_EQ(1, zoom.Open(kLowest, kLowest, kLowest, kLowest, 1, 2));
    for (int format : kFormats) {
        ASSERT_EQ(0, zoom.Open(1, 2, kLowest, 2, format, 2));
        EXPECT_EQ(0, zoom.Send(line));
        EXPECT_EQ(0, zoom.Read(line));
        ASSERT_EQ(0, zoom.Open(kLowest, 1, 4, 2, format, 2));
        EXPECT_EQ(0, zoom.Send(line));
        EXPECT_EQ(0, zoom.Send(line));
        EXPECT_EQ(0, zoom.Read(line));
        ASSERT_EQ(0, zoom.Open(4, 1, 4, kLowest, format, 2));
        EXPECT_EQ(0, zoom.Send(line));
        ASSERT_EQ(0, zoom.Open(4, kLowest, 4, 1, format, 2));
        EXPECT_EQ(0, zoom.Send(line));
    }
}

// A line of no pixels makes samples of 0 without a look at the records, which a host may have given back.
TEST(PX_ZoomBilinearNegative, LinesWithoutPixelsNeedNoRecords) {
    PX_ZoomBilinear zoom;
    zoom.dstWidth = 3;
    zoom.srcWidth = -5;
    zoom.bitsPerPixel = 8;
    std::uint8_t line = 9;
    std::uint32_t out[4] = {7, 7, 7, 7};
    zoom.Expand_Horz(out, &line);
    EXPECT_EQ(0u, out[0] | out[1] | out[2]);
    EXPECT_EQ(7u, out[3]);
}

TEST(PX_ZoomBilinearNegative, LineBytesCutTowardZero) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(-3, 1, 2, 1, 24, 2));
    EXPECT_EQ(-8, zoom.dstLineBytes);  // -72 + 7 is -65
    EXPECT_EQ(6, zoom.srcLineBytes);
    EXPECT_EQ(62u, zoom.workLineBytes);
}

TEST(PX_ZoomBilinearNegative, NoColumnsNeedNoMallocAtAll) {
    AllocationLedger ledger;
    PX_ZoomBilinear zoom;
    EXPECT_EQ(1, zoom.Open(-1, 1, -1, 1, 8, 2));
    EXPECT_EQ(0u, ledger.Mallocs());
    EXPECT_EQ(1, zoom.Open(1, -1, 1, -1, 8, 2));
    EXPECT_EQ(3u, ledger.Mallocs());  // the line records are what can't be had
    EXPECT_EQ(0u, ledger.Outstanding());
}

TEST(PX_ZoomBilinearNegative, NegativeHeightTakesLinesAndDeliversNone) {
    const int heights[][2] = {{-5, 3}, {-1, 1}, {5, -3}, {1, -3}, {2, -1}};
    for (int format : kFormats) {
        for (const auto& height : heights) {
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(4, height[0], 3, height[1], format, 2));
            GuardedBuffer source(Bytes(3, format));
            GuardedBuffer target(Bytes(4, format));
            for (int y = 0; y < 20; ++y) {
                ASSERT_EQ(0, zoom.Send(source.data()));
                ASSERT_EQ(0, zoom.CheckData());
                ASSERT_EQ(y + 1, zoom.srcLineIndex);
                ASSERT_EQ(3, zoom.Read(target.data()));
                ASSERT_EQ(2, zoom.Send(nullptr));
            }
            for (const std::uint8_t byte : target.bytes()) {
                ASSERT_EQ(0xA5, byte);
            }
            zoom.srcLineIndex = std::numeric_limits<std::int32_t>::max();
            ASSERT_EQ(0, zoom.Send(source.data()));
            ASSERT_EQ(kLowest, zoom.srcLineIndex);
        }
    }
}

// Streams lines of `srcWidth`, of which nothing may be touched if that is negative.
void Stream(int dstWidth, int srcWidth, int dstHeight, int srcHeight, int format, std::int32_t useDouble) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(dstWidth, dstHeight, srcWidth, srcHeight, format, 2));
    zoom.horzDouble = useDouble;
    zoom.vertDouble = useDouble;
    GuardedBuffer source(Bytes(srcWidth, format));
    GuardedBuffer target(Bytes(dstWidth, format));
    int delivered = 0;
    for (int y = 0; y < srcHeight; ++y) {
        ASSERT_EQ(0, zoom.Send(source.data()));
        for (; zoom.CheckData() != 0; ++delivered) {
            ASSERT_EQ(0, zoom.Read(target.data()));
            for (const std::uint8_t byte : target.bytes()) {
                ASSERT_EQ(0, byte);
            }
        }
    }
    EXPECT_EQ(dstHeight, delivered);
    EXPECT_EQ(3, zoom.Send(source.data()));
}

TEST(PX_ZoomBilinearNegative, NegativeSourceWidthReadsAsZeros) {
    for (int format : kFormats) {
        for (const auto& height : {std::pair{3, 7}, std::pair{4, 4}, std::pair{7, 3}, std::pair{2, 1}}) {
            for (int width : {1, 2, 11}) {
                for (std::int32_t useDouble : {0, 1}) {
                    Stream(width, -3, height.first, height.second, format, useDouble);
                    Stream(width, -1, height.first, height.second, format, useDouble);
                }
            }
        }
    }
}

TEST(PX_ZoomBilinearNegative, HorizontalPassWritesTheZeros) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(2, 1, -1, 1, 24, 2));
    std::uint32_t out[7] = {1, 2, 3, 4, 5, 6, 7};
    zoom.Expand_Horz(out, static_cast<std::uint8_t*>(nullptr));
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(0u, out[k]);
    }
    EXPECT_EQ(7u, out[6]);
}

TEST(PX_ZoomBilinearNegative, NegativeDestinationWidthGetsNothing) {
    for (int format : kFormats) {
        for (const auto& height : {std::pair{3, 7}, std::pair{4, 4}, std::pair{7, 3}, std::pair{2, 1}}) {
            for (int width : {1, 2, 11}) {
                for (std::int32_t useDouble : {0, 1}) {
                    Stream(-3, width, height.first, height.second, format, useDouble);
                    Stream(-1, width, height.first, height.second, format, useDouble);
                }
            }
        }
    }
}

}  // namespace
