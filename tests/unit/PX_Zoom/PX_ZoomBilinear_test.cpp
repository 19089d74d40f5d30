#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "oracles/ZoomImageOracle.h"
#include "support/Random.h"

namespace {

using platen_test::OracleShape;
using platen_test::OracleTable;
using Table = std::vector<PX_Zoom2_Param>;

static_assert(std::is_same_v<decltype(PX_ZoomBilinear::workLineBytes), std::uint32_t> &&
              std::is_same_v<decltype(PX_ZoomBilinear::srcLineIndex), std::int32_t> &&
              std::is_same_v<decltype(PX_ZoomBilinear::vertDouble), std::int32_t> &&
              std::is_same_v<decltype(PX_Zoom2_Param::emit), std::int32_t>);

// A table as the scaler makes it, and a record after it that must stay as it is.
struct Made {
    Table table;
    int result;
};

constexpr PX_Zoom2_Param kUntouched = {-7, -7, -7, -7, -7, -7, -7};

Made Make(int dst, int src) {
    PX_ZoomBilinear zoom;
    Made made{Table(static_cast<std::size_t>(dst) + 1, kUntouched), 0};
    made.result = dst < src ? zoom.Calc_ReducedParam(made.table.data(), dst, src)
                            : zoom.Calc_ExpandParam(made.table.data(), dst, src);
    EXPECT_EQ(0, std::memcmp(&kUntouched, &made.table.back(), sizeof kUntouched)) << dst << " of " << src;
    made.table.pop_back();
    return made;
}

bool Same(const Table& a, const Table& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(PX_Zoom2_Param)) == 0;
}

TEST(PX_ZoomBilinear, Reduces10To3) {
    const Table want = {{0, 3, 2, 0, 1, 9, 3}, {3, 2, 5, 2, 2, 10, 6}, {6, 1, 9, 0, 0, 10, 9}};
    const Made made = Make(3, 10);
    EXPECT_TRUE(Same(want, made.table));
    EXPECT_EQ(0, made.result);
}

TEST(PX_ZoomBilinear, Enlarges3To5) {
    const Table want = {{0, 4, 0, 0, 0, 4, 3},
                        {0, 2, 0, 2, 0, 4, 0},
                        {0, 0, 0, 4, 0, 4, 0},
                        {1, 2, 0, 2, 0, 4, 2},
                        {1, 0, 0, 4, 0, 4, 0}};
    EXPECT_TRUE(Same(want, Make(5, 3).table));
}

TEST(PX_ZoomBilinear, OneColumnServesEveryWidth) {
    for (int width : {1, 2, 3, 100}) {
        const Table table = Make(width, 1).table;
        for (std::size_t i = 0; i < table.size(); ++i) {
            const PX_Zoom2_Param want = {0, 1, 0, 0, 0, 1, i == 0 ? width : 0};
            EXPECT_EQ(0, std::memcmp(&want, &table[i], sizeof want)) << width << ' ' << i;
        }
    }
}

TEST(PX_ZoomBilinear, KeepsPositions) {
    const Table want = {{0, 1, 0, 0, 0, 1, 1}, {1, 1, 0, 0, 0, 1, 1}, {2, 1, 0, 0, 0, 1, 1}};
    EXPECT_TRUE(Same(want, Make(3, 3).table));
}

TEST(PX_ZoomBilinear, ShapesWeights) {
    PX_ZoomBilinear zoom;
    EXPECT_EQ(5, zoom.Shift_Coefficient(5, 10));
    EXPECT_EQ(0, zoom.Shift_Coefficient(2, 10));
    EXPECT_EQ(9, zoom.Shift_Coefficient(8, 10));
    EXPECT_EQ(0, zoom.Shift_Coefficient(1, 3));
    EXPECT_EQ(2, zoom.Shift_Coefficient(2, 3));
    EXPECT_EQ(0, zoom.Shift_Coefficient(0, 0));
    for (long range = 1; range <= 600; ++range) {
        for (long weight = 0; weight <= range; ++weight) {
            ASSERT_EQ(OracleShape(weight, range), zoom.Shift_Coefficient(weight, range)) << weight << ' ' << range;
        }
    }
}

TEST(PX_ZoomBilinear, ShapesTheLargestWeights) {
    PX_ZoomBilinear zoom;
    constexpr long kTop = 2147483647;
    EXPECT_EQ(0, zoom.Shift_Coefficient(0, kTop));
    EXPECT_EQ(0, zoom.Shift_Coefficient(1, kTop));
    // From about 2^27 on a double no longer tells range - 2 / range from range.
    EXPECT_EQ(kTop, zoom.Shift_Coefficient(kTop - 1, kTop));
    EXPECT_EQ(kTop, zoom.Shift_Coefficient(kTop, kTop));
    EXPECT_EQ((1L << 26) - 1, zoom.Shift_Coefficient((1L << 26) - 1, 1L << 26));
    platen_test::Random random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto range = static_cast<long>(random.Between(1, 1 << 24));
        const auto weight = static_cast<long>(random.Between(0, range));
        ASSERT_EQ(OracleShape(weight, range), zoom.Shift_Coefficient(weight, range)) << weight << ' ' << range;
    }
}

bool AnyTooHeavy(const Table& table) {
    for (const PX_Zoom2_Param& record : table) {
        if (record.weightSum > 65535) {
            return true;
        }
    }
    return false;
}

TEST(PX_ZoomBilinear, TablesOfAllSmallPairs) {
    for (int dst = 1; dst <= 64; ++dst) {
        for (int src = 1; src <= 64; ++src) {
            const Made made = Make(dst, src);
            ASSERT_TRUE(Same(OracleTable(dst, src), made.table)) << src << " to " << dst;
            ASSERT_EQ(0, made.result);
        }
    }
}

TEST(PX_ZoomBilinear, TablesOfLargePairs) {
    const int pairs[][2] = {{100, 70000},   {70000, 100},    {1, 65535},      {1, 65536},
                            {2, 65535},     {2, 65537},      {65534, 65535},  {65535, 65536},
                            {65536, 65535}, {99999, 100000}, {100000, 99999}, {300, 600},
                            {7440, 4960},   {4960, 7440},    {1, 1 << 24},    {1 << 20, 2},
                            {1 << 20, 3},   {3, 1 << 24},    {1000003, 7},    {1 << 20, (1 << 20) + 1}};
    for (const auto& pair : pairs) {
        const Made made = Make(pair[0], pair[1]);
        ASSERT_TRUE(Same(OracleTable(pair[0], pair[1]), made.table)) << pair[1] << " to " << pair[0];
        ASSERT_EQ(pair[0] < pair[1] && AnyTooHeavy(made.table) ? 1 : 0, made.result)
            << pair[1] << " to " << pair[0];
    }
    platen_test::Random random(2);
    for (int i = 0; i < 300; ++i) {
        const auto dst = static_cast<int>(random.Between(1, 20000));
        const auto src = static_cast<int>(random.Between(1, 80000));
        const Made made = Make(dst, src);
        ASSERT_TRUE(Same(OracleTable(dst, src), made.table)) << src << " to " << dst;
        ASSERT_EQ(dst < src && AnyTooHeavy(made.table) ? 1 : 0, made.result) << src << " to " << dst;
    }
}

TEST(PX_ZoomBilinear, TablesOfTheLargestCountsDoNotOverflow) {
    constexpr int kTop = 2147483647;
    PX_ZoomBilinear zoom;
    PX_Zoom2_Param records[3];
    EXPECT_EQ(1, zoom.Calc_ReducedParam(records, 3, kTop));
    const Table want = OracleTable(3, kTop);
    EXPECT_EQ(0, std::memcmp(want.data(), records, sizeof records));
    // What a negative source gives is never used for pixels, but it is defined.
    EXPECT_EQ(0, zoom.Calc_ExpandParam(records, 1, -kTop - 1));
    EXPECT_EQ(1, records[0].emit);
    EXPECT_EQ(0, zoom.Calc_ExpandParam(records, 3, -kTop - 1));
    EXPECT_EQ(0, zoom.Calc_ReducedParam(records, -5, 3));
    EXPECT_EQ(0, zoom.Calc_ExpandParam(nullptr, -5, 1));
}

TEST(PX_ZoomBilinear, WeightSumsDecideTheTableResult) {
    EXPECT_EQ(0, Make(1, 65535).result);
    EXPECT_EQ(1, Make(1, 65536).result);
    EXPECT_EQ(1, Make(100, 70000).result);
}

void ExpectClosed(const PX_ZoomBilinear& zoom) {
    EXPECT_EQ(nullptr, zoom.workLine[0]);
    EXPECT_EQ(nullptr, zoom.workLine[1]);
    EXPECT_EQ(nullptr, zoom.bilevelLine);
    EXPECT_EQ(nullptr, zoom.horzParam);
    EXPECT_EQ(nullptr, zoom.vertParam);
    EXPECT_EQ(nullptr, zoom.vertCursor);
    const std::array<std::int64_t, 16> numbers = {
        zoom.linesReady,   zoom.active,       zoom.dstWidth,      zoom.dstHeight,
        zoom.srcWidth,     zoom.srcHeight,    zoom.pixelFormat,   zoom.bitsPerPixel,
        zoom.dstLineBytes, zoom.srcLineBytes, zoom.workLineBytes, zoom.srcLineIndex,
        zoom.currentWork,  zoom.resendLine,   zoom.horzDouble,    zoom.vertDouble};
    EXPECT_EQ((std::array<std::int64_t, 16>{}), numbers);
}

TEST(PX_ZoomBilinear, ConstructionAndCloseZeroEveryField) {
    PX_ZoomBilinear zoom;
    ExpectClosed(zoom);
    EXPECT_EQ(nullptr, zoom.zoom);
    EXPECT_EQ(0, zoom.method);
    ASSERT_EQ(0, zoom.Open(70000, 2, 3, 70000, 16, 2));
    zoom.linesReady = zoom.srcLineIndex = zoom.currentWork = zoom.resendLine = 1;
    zoom.method = 9;
    zoom.Close();
    ExpectClosed(zoom);
    EXPECT_EQ(9, zoom.method);  // left alone
    zoom.Close();
    ExpectClosed(zoom);
}

TEST(PX_ZoomBilinear, RefusesZeroSizesUnknownFormatsAndOtherMethods) {
    PX_ZoomBilinear zoom;
    EXPECT_EQ(2, zoom.Open(0, 1, 1, 1, 8, 2));
    EXPECT_EQ(2, zoom.Open(1, 0, 1, 1, 8, 2));
    EXPECT_EQ(2, zoom.Open(1, 1, 0, 1, 8, 2));
    EXPECT_EQ(2, zoom.Open(1, 1, 1, 0, 8, 2));
    for (int format = -70; format <= 130; ++format) {
        const bool known = format == 1 || format == 8 || format == 16 || format == 24 || format == 32 ||
                           format == 48 || format == 64;
        EXPECT_EQ(known ? 0 : 2, zoom.Open(2, 2, 3, 3, format, 2)) << format;
    }
    for (int method : {-1, 0, 1, 3}) {
        ASSERT_EQ(0, zoom.Open(2, 2, 3, 3, 8, 2));
        EXPECT_EQ(2, zoom.Open(2, 2, 3, 3, 8, method));
        ExpectClosed(zoom);  // the earlier opening is forgotten too
    }
}

TEST(PX_ZoomBilinear, LineBytes) {
    const int formats[] = {1, 8, 16, 24, 32, 48, 64};
    for (int format : formats) {
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(7, 2, 10, 3, format, 2));
        const int bits = format == 1 ? 8 : format;
        EXPECT_EQ(bits, zoom.bitsPerPixel);
        EXPECT_EQ(7 * bits / 8, zoom.dstLineBytes);
        EXPECT_EQ(10 * bits / 8, zoom.srcLineBytes);
        EXPECT_EQ(static_cast<std::uint32_t>(10 * (bits + 7)), zoom.workLineBytes);
        EXPECT_EQ(format == 1, zoom.bilevelLine != nullptr);
        EXPECT_EQ(zoom.vertParam, zoom.vertCursor);
    }
}

TEST(PX_ZoomBilinear, BuffersStartAsZeros) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(7, 2, 10, 3, 24, 2));
    const std::vector<std::uint8_t> zeros(zoom.workLineBytes);
    for (const void* line : zoom.workLine) {
        EXPECT_EQ(0, std::memcmp(zeros.data(), line, zeros.size()));
    }
}

TEST(PX_ZoomBilinear, TablesOfAnOpenScaler) {
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(5, 3, 3, 10, 8, 2));
    EXPECT_EQ(0, std::memcmp(OracleTable(5, 3).data(), zoom.horzParam, 5 * sizeof(PX_Zoom2_Param)));
    EXPECT_EQ(0, std::memcmp(OracleTable(3, 10).data(), zoom.vertParam, 3 * sizeof(PX_Zoom2_Param)));
}

TEST(PX_ZoomBilinear, ActiveIsClearedWhereNothingIsReducedOnEqualWidths) {
    PX_ZoomBilinear zoom;
    const auto active = [&zoom](int dstWidth, int dstHeight, int srcWidth, int srcHeight) {
        EXPECT_EQ(0, zoom.Open(dstWidth, dstHeight, srcWidth, srcHeight, 8, 2));
        return zoom.active;
    };
    EXPECT_EQ(0, active(10, 10, 10, 10));
    EXPECT_EQ(0, active(10, 11, 10, 10));
    EXPECT_EQ(1, active(10, 9, 10, 10));
    EXPECT_EQ(1, active(9, 10, 10, 10));
    EXPECT_EQ(1, active(11, 10, 10, 10));
}

struct Choice {
    int dst;
    int src;
    int format;
    std::int32_t useDouble;
};

TEST(PX_ZoomBilinear, AccumulatorsFollowSizesAndWeightSums) {
    const Choice choices[] = {
        {100, 70000, 8, 1},   {70000, 100, 8, 0},    {100, 70000, 16, 1}, {70000, 100, 16, 1},
        {65535, 100, 16, 0},  {65536, 100, 16, 1},   {65536, 100, 48, 1}, {65536, 100, 64, 1},
        {65536, 100, 24, 0},  {65536, 100, 32, 0},   {65536, 100, 1, 0},  {100, 65000, 16, 0},
        {100, 65536, 16, 1},  {100, 65000, 8, 0},    {100, 65600, 8, 1},  {70000, 70000, 16, 0},
        {32768, 65535, 8, 1}, {32768, 65500, 16, 1}, {100, 100, 16, 0},
    };
    for (const Choice& choice : choices) {
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(choice.dst, 1, choice.src, 1, choice.format, 2));
        EXPECT_EQ(choice.useDouble, zoom.horzDouble) << choice.src << " to " << choice.dst << ' ' << choice.format;
        EXPECT_EQ(0, zoom.vertDouble);
        ASSERT_EQ(0, zoom.Open(1, choice.dst, 1, choice.src, choice.format, 2));
        EXPECT_EQ(choice.useDouble, zoom.vertDouble) << choice.src << " to " << choice.dst << ' ' << choice.format;
        EXPECT_EQ(0, zoom.horzDouble);
    }
}

}  // namespace
