// The pipeline's rules, one by one.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

namespace {

// Lines ready after each Send, reading all of them before the next.
std::vector<int> ReadyAfterEachLine(PX_ZoomBilinear& zoom, std::vector<std::uint8_t>& out) {
    std::vector<int> ready;
    for (int y = 0; y < zoom.srcHeight; ++y) {
        std::uint8_t line[16] = {static_cast<std::uint8_t>(y * 30)};
        EXPECT_EQ(0, zoom.Send(line));
        ready.push_back(zoom.CheckData());
        while (zoom.CheckData() != 0) {
            EXPECT_EQ(0, zoom.Read(line));
            out.push_back(line[0]);
        }
    }
    return ready;
}

TEST(PX_ZoomBilinearStream, Reduces10LinesTo3) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
    std::vector<std::uint8_t> out;
    EXPECT_EQ((std::vector<int>{0, 0, 0, 1, 0, 0, 1, 0, 0, 1}), ReadyAfterEachLine(zoom, out));
    // Lines of 0, 30, 60...: (0 + 30 + 60) x 3 / 9; (90 x 2 + 120 x 3 + 150 x 3 + 180 x 2) / 10;
    // (180 + (210 + 240 + 14) x 3) / 10, the last line being 270 - 256.
    EXPECT_EQ((std::vector<std::uint8_t>{30, 135, 157}), out);
}

TEST(PX_ZoomBilinearStream, ReadTakesTheSharedLineAgain) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
    std::uint8_t line[1] = {100};
    for (int y = 0; y <= 3; ++y) {
        EXPECT_EQ(0, zoom.CheckData());
        ASSERT_EQ(0, zoom.Send(line));
    }
    EXPECT_EQ(1, zoom.CheckData());
    EXPECT_EQ(1, zoom.resendLine);
    EXPECT_EQ(3, zoom.srcLineIndex);  // 3 counts again
    ASSERT_EQ(0, zoom.Read(line));
    EXPECT_EQ(0, zoom.resendLine);
    EXPECT_EQ(4, zoom.srcLineIndex);
    EXPECT_EQ(1, zoom.vertCursor - zoom.vertParam);
    std::uint32_t sum = 0;
    std::memcpy(&sum, zoom.workLine[0], sizeof sum);
    EXPECT_EQ(200u, sum);  // line 3 with its weight of 2
}

// Where the shared line can't be taken, Read says so: a host has written that another line waits.
TEST(PX_ZoomBilinearStream, ReadGivesWhatTheSharedLineIsAnswered) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
    std::uint8_t line[1] = {100};
    for (int y = 0; y <= 3; ++y) {
        ASSERT_EQ(0, zoom.Send(line));
    }
    ASSERT_EQ(1, zoom.resendLine);
    zoom.linesReady = 2;
    EXPECT_EQ(3, zoom.Read(line));
    EXPECT_EQ(1, zoom.CheckData());
    EXPECT_EQ(0, zoom.resendLine);
}

// Only negative heights leave the lines alone; a host may write a 0.
TEST(PX_ZoomBilinearStream, LinesCountWhereAHostWritesAHeightOf0) {
    for (const bool source : {false, true}) {
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
        (source ? zoom.srcHeight : zoom.dstHeight) = 0;
        std::uint8_t line[1] = {100};
        EXPECT_EQ(0, zoom.Send(line));
        std::uint32_t number = 0;
        std::memcpy(&number, zoom.workLine[0], sizeof number);
        EXPECT_EQ(source ? 100u : 300u, number);  // kept, or added with its record's weight of 3
    }
}

TEST(PX_ZoomBilinearStream, SharedLineOfFullWeightIsAskedForAgain) {
    // The shaped weight of a part reaches that of a whole line only above some 2^27 lines, so a record is changed
    // by hand. The line then isn't kept for the next one: the caller's next line takes its place.
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
    zoom.vertParam[0].endWeight = 3;
    std::uint8_t line[1] = {100};
    for (int y = 0; y <= 3; ++y) {
        ASSERT_EQ(0, zoom.Send(line));
    }
    EXPECT_EQ(1, zoom.CheckData());
    EXPECT_EQ(0, zoom.resendLine);
    EXPECT_EQ(3, zoom.srcLineIndex);
    EXPECT_EQ(2, zoom.Send(nullptr));
    ASSERT_EQ(0, zoom.Read(line));
    EXPECT_EQ(3, zoom.srcLineIndex);
    for (int y = 3; y <= 6; ++y) {
        EXPECT_EQ(0, zoom.CheckData());
        line[0] = 50;
        ASSERT_EQ(0, zoom.Send(line));
    }
    ASSERT_EQ(0, zoom.Read(line));
    EXPECT_EQ(50, line[0]);
}

TEST(PX_ZoomBilinearStream, Enlarges3LinesTo5) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 5, 1, 3, 8, 2));
    std::vector<std::uint8_t> out;
    EXPECT_EQ((std::vector<int>{0, 3, 2}), ReadyAfterEachLine(zoom, out));
    EXPECT_EQ((std::vector<std::uint8_t>{0, 15, 30, 45, 60}), out);
}

TEST(PX_ZoomBilinearStream, OneLineServesEveryHeight) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 4, 1, 1, 8, 2));
    std::uint8_t line[1] = {77};
    ASSERT_EQ(0, zoom.Send(line));
    EXPECT_EQ(4, zoom.CheckData());
    EXPECT_EQ(0, zoom.currentWork);
    for (int y = 3; y >= 0; --y) {
        line[0] = 0;
        EXPECT_EQ(0, zoom.Read(line));
        EXPECT_EQ(77, line[0]);
        EXPECT_EQ(y, zoom.CheckData());
    }
}

TEST(PX_ZoomBilinearStream, KeptHeightDeliversLineByLine) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(2, 3, 2, 3, 8, 2));
    for (int y = 0; y < 3; ++y) {
        std::uint8_t line[2] = {static_cast<std::uint8_t>(y), 200};
        std::uint8_t out[2] = {};
        ASSERT_EQ(0, zoom.Send(line));
        EXPECT_EQ(1, zoom.CheckData());
        EXPECT_EQ(3, zoom.Send(line));
        EXPECT_EQ(1, zoom.CheckData());
        ASSERT_EQ(0, zoom.Read(out));
        EXPECT_EQ(0, std::memcmp(line, out, 2));
        EXPECT_EQ(3, zoom.Read(out));
    }
}

TEST(PX_ZoomBilinearStream, NullLinesAreRefused) {
    PX_ZoomBilinear zoom;
    std::uint8_t line[1] = {};
    EXPECT_EQ(2, zoom.Send(nullptr));
    EXPECT_EQ(3, zoom.Send(line));
    EXPECT_EQ(2, zoom.Read(nullptr));
    EXPECT_EQ(3, zoom.Read(line));
    ASSERT_EQ(0, zoom.Open(1, 3, 1, 10, 8, 2));
    EXPECT_EQ(2, zoom.Send(nullptr));
    EXPECT_EQ(0, zoom.srcLineIndex);
    EXPECT_EQ(2, zoom.Read(nullptr));
    ASSERT_EQ(0, zoom.Send(line));
    EXPECT_EQ(2, zoom.Send(nullptr));
    for (int y = 1; y <= 3; ++y) {
        ASSERT_EQ(0, zoom.Send(line));
    }
    EXPECT_EQ(2, zoom.Read(nullptr));  // null comes before everything
    EXPECT_EQ(3, zoom.Send(nullptr));  // but here a resend is pending
    EXPECT_EQ(1, zoom.resendLine);
    EXPECT_EQ(3, zoom.srcLineIndex);
}

TEST(PX_ZoomBilinearStream, NullLineWhileAnUnsharedLineWaits) {
    PX_ZoomBilinear zoom;
    std::uint8_t line[1] = {};
    ASSERT_EQ(0, zoom.Open(1, 2, 1, 2, 8, 2));
    ASSERT_EQ(0, zoom.Send(line));
    EXPECT_EQ(2, zoom.Send(nullptr));
}

TEST(PX_ZoomBilinearStream, SendAfterTheLastLineIsRefused) {
    const int heights[][2] = {{3, 10}, {5, 3}, {4, 4}, {4, 1}, {1, 1}, {1, 7}};
    for (const auto& height : heights) {
        for (int format : {1, 8, 48}) {
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(2, height[0], 3, height[1], format, 2));
            std::uint8_t line[32] = {};
            int delivered = 0;
            for (int y = 0; y < height[1]; ++y) {
                ASSERT_EQ(0, zoom.Send(line));
                for (; zoom.CheckData() != 0; ++delivered) {
                    ASSERT_EQ(0, zoom.Read(line));
                }
            }
            ASSERT_EQ(height[0], delivered);
            const PX_Zoom2_Param* cursor = zoom.vertCursor;
            const int index = zoom.srcLineIndex;
            EXPECT_EQ(3, zoom.Send(line));
            EXPECT_EQ(3, zoom.Read(line));
            EXPECT_EQ(2, zoom.Send(nullptr));
            EXPECT_EQ(2, zoom.Read(nullptr));
            EXPECT_EQ(0, zoom.CheckData());
            EXPECT_EQ(cursor, zoom.vertCursor);
            EXPECT_EQ(index, zoom.srcLineIndex);
        }
    }
}

TEST(PX_ZoomBilinearStream, BilevelLinesAreBitsWithAClearTail) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(10, 1, 10, 1, 1, 2));
    std::uint8_t line[3] = {0xA7, 0xFF, 0x5A};
    std::uint8_t out[3] = {0x99, 0x99, 0x99};
    ASSERT_EQ(0, zoom.Send(line));
    EXPECT_EQ(255, zoom.bilevelLine[0]);
    EXPECT_EQ(0, zoom.bilevelLine[1]);
    ASSERT_EQ(0, zoom.Read(out));
    EXPECT_EQ(0xA7, out[0]);
    EXPECT_EQ(0xC0, out[1]);  // two pixels, six clear bits
    EXPECT_EQ(0x99, out[2]);
}

TEST(PX_ZoomBilinearStream, BilevelPixelIsSetFrom128On) {
    // A set line above a clear one: line i of 256 is 255 - i.
    PX_ZoomBilinear zoom;
    std::uint8_t set[1] = {0x80};
    std::uint8_t clear[1] = {0x00};
    ASSERT_EQ(0, zoom.Open(1, 256, 1, 2, 1, 2));
    ASSERT_EQ(0, zoom.Send(set));
    ASSERT_EQ(0, zoom.Send(clear));
    for (int i = 0; i < 256; ++i) {
        std::uint8_t out[1] = {0x55};
        ASSERT_EQ(0, zoom.Read(out));
        EXPECT_EQ(255 - i >= 128 ? 0x80 : 0x00, out[0]) << i;
    }
}

TEST(PX_ZoomBilinearStream, OnePixelWideSourceUsesFirstSample) {
    const std::uint8_t pixel[4] = {10, 20, 30, 40};
    for (int width : {1, 2, 5}) {
        for (int format : {24, 32}) {
            for (std::int32_t useDouble : {0, 1}) {
                PX_ZoomBilinear zoom;
                ASSERT_EQ(0, zoom.Open(width, 1, 1, 1, format, 2));
                zoom.horzDouble = useDouble;
                std::array<std::uint8_t, 20> out{};
                ASSERT_EQ(0, zoom.Send(const_cast<std::uint8_t*>(pixel)));
                ASSERT_EQ(0, zoom.Read(out.data()));
                for (int k = 0; k < width * format / 8; ++k) {
                    EXPECT_EQ(10, out[static_cast<std::size_t>(k)]);
                }
            }
        }
    }
    const std::uint16_t wide[3] = {1000, 2000, 3000};
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(2, 1, 1, 1, 48, 2));
    std::array<std::uint16_t, 6> out{};
    ASSERT_EQ(0, zoom.Send(const_cast<std::uint16_t*>(wide)));
    ASSERT_EQ(0, zoom.Read(out.data()));
    EXPECT_EQ((std::array<std::uint16_t, 6>{1000, 1000, 1000, 1000, 1000, 1000}), out);
}

TEST(PX_ZoomBilinearStream, QuotientsAreCut) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 1, 2, 1, 8, 2));
    std::uint8_t line[2] = {254, 255};
    ASSERT_EQ(0, zoom.Send(line));
    ASSERT_EQ(0, zoom.Read(line));
    EXPECT_EQ(254, line[0]);
}

// The work line's buffer after the first source line of a destination line: its weighted samples, then zeros.
template <class A>
void ExpectSumAndZeros(const PX_ZoomBilinear& zoom, const std::array<A, 3>& sums) {
    std::vector<std::uint8_t> expected(zoom.workLineBytes, 0);
    std::memcpy(expected.data(), sums.data(), sizeof sums);
    const auto* bytes = static_cast<const std::uint8_t*>(zoom.workLine[0]);
    EXPECT_EQ(expected, std::vector<std::uint8_t>(bytes, bytes + zoom.workLineBytes));
}

TEST(PX_ZoomBilinearStream, AFirstLineLeavesNothingOfTheSumBefore) {
    for (const int useDouble : {0, 1}) {
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(3, 2, 3, 5, 8, 2));  // the third line serves both destination lines
        zoom.vertDouble = useDouble;
        std::array<std::uint8_t, 3> line = {200, 100, 50};
        ASSERT_EQ(0, zoom.Send(line.data()));
        for (int destination = 0; destination < 2; ++destination) {
            const std::uint32_t weight = destination == 0 ? 2 : 1;
            if (useDouble == 1) {
                ExpectSumAndZeros<double>(zoom, {200.0 * weight, 100.0 * weight, 50.0 * weight});
            } else {
                ExpectSumAndZeros<std::uint32_t>(zoom, {200 * weight, 100 * weight, 50 * weight});
            }
            while (zoom.CheckData() == 0) {
                ASSERT_EQ(0, zoom.Send(line.data()));
            }
            std::array<std::uint8_t, 3> out{};
            ASSERT_EQ(0, zoom.Read(out.data()));
            EXPECT_EQ(line, out);
        }
    }
}

TEST(PX_ZoomBilinearStream, ReopeningStartsANewImage) {
    PX_ZoomBilinear zoom;
    std::uint8_t line[4] = {200, 200, 200, 200};
    ASSERT_EQ(0, zoom.Open(4, 2, 4, 4, 8, 2));
    ASSERT_EQ(0, zoom.Send(line));
    ASSERT_EQ(0, zoom.Send(line));
    ASSERT_EQ(0, zoom.Open(4, 2, 4, 4, 8, 2));
    EXPECT_EQ(0, zoom.CheckData());
    EXPECT_EQ(0, zoom.srcLineIndex);
    ASSERT_EQ(0, zoom.Send(line));
    EXPECT_EQ(0, zoom.CheckData());
}

// The passes called by themselves.

TEST(PX_ZoomBilinearPasses, WorkLinesHoldWholeNumbersWhicheverKindComputed) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(2, 1, 3, 1, 16, 2));
    std::uint16_t line[3] = {65535, 65533, 1};
    std::array<std::uint32_t, 2> whole{};
    std::array<double, 2> room{};
    zoom.Expand_Horz(whole.data(), line);
    zoom.Expand_Horz(room.data(), line);
    EXPECT_EQ(0, std::memcmp(whole.data(), room.data(), sizeof whole));
    EXPECT_EQ(65534u, whole[0]);  // half of the second sample keeps its weight: 196603 / 3
}

TEST(PX_ZoomBilinearPasses, UnsignedProductsWrap) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 1, 1, 1, 8, 2));
    std::uint32_t acc = 5;
    std::uint32_t line = 0x80000001u;
    zoom.Add_ReduceVert(&acc, &line, 3);
    EXPECT_EQ(0x80000008u, acc);
    zoom.Add_ReduceVert(&acc, &line, 0);
    EXPECT_EQ(0x80000008u, acc);
}

TEST(PX_ZoomBilinearPasses, DoublesTakeLinesUnsignedAndWeightsSigned) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 1, 1, 1, 8, 2));
    double acc = 0.5;
    std::uint32_t line = 0xFFFFFFFFu;
    zoom.Add_ReduceVert(&acc, &line, 2);
    EXPECT_EQ(8589934590.5, acc);
    zoom.Add_ReduceVert(&acc, &line, -1);
    EXPECT_EQ(4294967295.5, acc);
}

TEST(PX_ZoomBilinearPasses, LowBitsAreStored) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 1, 1, 1, 8, 2));
    std::uint32_t line = 0x12345678;
    std::uint32_t other = 0;
    double acc = 305419896.9;
    std::uint8_t byte = 0;
    std::uint16_t word = 0;
    zoom.Equal_Vert(&byte, &line);
    zoom.Equal_Vert(&word, &line);
    EXPECT_EQ(0x78, byte);
    EXPECT_EQ(0x5678, word);
    zoom.Reduce_Vert(&byte, &line);
    zoom.Reduce_Vert(&word, &line);
    EXPECT_EQ(0x78, byte);
    EXPECT_EQ(0x5678, word);
    byte = 0;
    word = 0;
    zoom.Reduce_Vert(&byte, &acc);
    zoom.Reduce_Vert(&word, &acc);
    EXPECT_EQ(0x78, byte);
    EXPECT_EQ(0x5678, word);
    zoom.Expand_Vert(&byte, &line, &other);
    zoom.Expand_Vert(&word, &line, &other);
    EXPECT_EQ(0x78, byte);
    EXPECT_EQ(0x5678, word);
    byte = 0;
    word = 0;
    zoom.Expand_Vert(&byte, reinterpret_cast<double*>(&line), reinterpret_cast<double*>(&other));
    zoom.Expand_Vert(&word, reinterpret_cast<double*>(&line), reinterpret_cast<double*>(&other));
    EXPECT_EQ(0x78, byte);
    EXPECT_EQ(0x5678, word);
}

TEST(PX_ZoomBilinearPasses, UnknownBitsPerPixelProcessNothing) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(1, 1, 1, 1, 8, 2));
    zoom.bitsPerPixel = 12;
    std::uint32_t line = 7;
    std::uint8_t byte = 99;
    std::uint32_t acc = 5;
    zoom.Equal_Vert(&byte, &line);
    zoom.Reduce_Vert(&byte, &line);
    zoom.Expand_Vert(&byte, &line, &line);
    zoom.Add_ReduceVert(&acc, &line, 3);
    zoom.Expand_Horz(&acc, &byte);
    EXPECT_EQ(99, byte);
    EXPECT_EQ(5u, acc);
}

TEST(PX_ZoomBilinearPasses, ClosedScalerProcessesNothing) {
    PX_ZoomBilinear zoom;
    std::uint32_t line = 7;
    std::uint8_t byte = 99;
    zoom.Equal_Vert(&byte, &line);
    zoom.Reduce_Vert(&byte, &line);
    zoom.Expand_Vert(&byte, &line, &line);
    zoom.Add_ReduceVert(&line, &line, 3);
    zoom.Expand_Horz(&line, &byte);
    EXPECT_EQ(99, byte);
    EXPECT_EQ(7u, line);
}

}  // namespace
