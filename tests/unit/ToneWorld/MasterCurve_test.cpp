#include "ToneWorld/MasterCurve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "oracles/CurvesOracle.h"
#include "support/Random.h"

namespace {

using platen::ControlPoints;
using platen::MasterCurve;

std::vector<int> Entries(const MasterCurve& master, std::size_t first, std::size_t count) {
    return std::vector<int>(master.data() + first, master.data() + first + count);
}

MasterCurve Identity() {
    MasterCurve master;
    for (std::size_t i = 0; i < 256; ++i) {
        master[i] = static_cast<std::uint8_t>(i);
    }
    return master;
}

constexpr ControlPoints kBent = {{{20, 40}, {64, 64}, {128, 128}, {192, 192}, {230, 200}}};

TEST(GammaMaster, Strength100Brightens) {
    EXPECT_NEAR(platen::CurveGamma(100), 10.113, 0.0005);
    const MasterCurve master = platen::GammaMaster(100);
    EXPECT_EQ(Entries(master, 0, 6), (std::vector<int>{0, 147, 157, 164, 169, 172}));
    EXPECT_EQ(master[64], 222);
    EXPECT_EQ(master[128], 238);
    EXPECT_EQ(master[192], 247);
    EXPECT_EQ(master[255], 255);
}

TEST(GammaMaster, StrengthMinus100Darkens) {
    const MasterCurve master = platen::GammaMaster(-100);
    EXPECT_EQ(Entries(master, 0, 65), std::vector<int>(65, 0));
    EXPECT_EQ(master[128], 0);
    EXPECT_EQ(master[192], 11);
    EXPECT_EQ(master[254], 244);
    EXPECT_EQ(master[255], 255);
}

TEST(GammaMaster, EveryStrengthEqualsTheOracle) {
    for (std::int32_t strength = -100; strength <= 100; ++strength) {
        const MasterCurve master = platen::GammaMaster(strength);
        EXPECT_EQ(master, platen_test::OracleCurvesGamma(strength)) << strength;
        EXPECT_EQ(master[0], 0) << strength;
        EXPECT_EQ(master[255], 255) << strength;
        EXPECT_TRUE(std::is_sorted(master.begin(), master.end())) << strength;
    }
}

TEST(GammaMaster, StrongerNeverIsDarker) {
    for (std::int32_t strength = -99; strength <= 100; ++strength) {
        const MasterCurve weaker = platen::GammaMaster(strength - 1);
        const MasterCurve master = platen::GammaMaster(strength);
        for (std::size_t i = 0; i < 256; ++i) {
            ASSERT_GE(master[i], weaker[i]) << strength << " " << i;
        }
    }
}

TEST(SplineMaster, DefaultPointsAreTheIdentity) {
    EXPECT_EQ(platen::SplineMaster(platen::kDefaultPoints), Identity());
}

TEST(SplineMaster, FlatOutsideThePointsUnlessTheySpanTheScale) {
    const MasterCurve master = platen::SplineMaster(kBent);
    EXPECT_EQ(Entries(master, 0, 21), std::vector<int>(21, 40));
    EXPECT_EQ(Entries(master, 230, 26), std::vector<int>(26, 200));
    EXPECT_EQ(master[64], 64);
    EXPECT_EQ(master[128], 128);

    // Just below 255 across: entry 0 is the first level cut off, where the cubic goes on to 101.
    ControlPoints points = platen::kDefaultPoints;
    points[0] = {0.5f, 100.75f};
    EXPECT_EQ(platen::SplineMaster(points)[0], 100);
}

TEST(SplineMaster, TinyFirstLevelStillSpansTheScale) {
    // 255 less 1e-9 is 255 in single precision.
    ControlPoints points = platen::kDefaultPoints;
    points[0] = {1e-9f, 9.0f};
    const platen_test::CurvesSetting setting{0, 3, {{{1e-9f, 9}, {64, 64}, {128, 128}, {192, 192}, {255, 255}}}};
    EXPECT_EQ(platen::SplineMaster(points), platen_test::OracleCurvesMaster(setting));
}

TEST(PolylineMaster, DefaultPointsAreTheIdentity) {
    EXPECT_EQ(platen::PolylineMaster(platen::kDefaultPoints), Identity());
}

TEST(PolylineMaster, FlatOutsideAndStraightBetween) {
    const MasterCurve master = platen::PolylineMaster(kBent);
    EXPECT_EQ(Entries(master, 0, 21), std::vector<int>(21, 40));
    for (std::size_t i = 20; i < 64; ++i) {
        EXPECT_EQ(master[i], 40 + (i - 20) * 24 / 44) << i;
    }
    for (std::size_t i = 64; i <= 192; ++i) {
        EXPECT_EQ(master[i], i);
    }
    for (std::size_t i = 192; i < 230; ++i) {
        EXPECT_EQ(master[i], 192 + (i - 192) * 8 / 38) << i;
    }
    EXPECT_EQ(Entries(master, 230, 26), std::vector<int>(26, 200));
}

TEST(PolylineMaster, LastPointHasAnEntryOfItsOwn) {
    ControlPoints points = platen::kDefaultPoints;
    points[4].y = 100;
    EXPECT_EQ(platen::PolylineMaster(points)[255], 100);
    points[3] = {251, 255};
    points[4].y = 0;
    EXPECT_EQ(Entries(platen::PolylineMaster(points), 251, 5), (std::vector<int>{255, 191, 127, 63, 0}));
}

TEST(PolylineMaster, ValuesBeyondTheEndsAreClipped) {
    // The last line starts at entry 250 but is 4.5 wide, so its sixth entry lies beyond the last point.
    ControlPoints points = platen::kDefaultPoints;
    points[3] = {250.5f, 0};
    EXPECT_EQ(platen::PolylineMaster(points)[255], 255);  // 283
    points[3].y = 255;
    points[4].y = 0;
    EXPECT_EQ(platen::PolylineMaster(points)[255], 0);  // -28
}

TEST(PolylineMaster, PointsAtOneLevelAreDefined) {
    const ControlPoints points = {{{100, 10}, {100, 20}, {100, 30}, {100, 40}, {100, 50}}};
    const MasterCurve master = platen::PolylineMaster(points);
    EXPECT_EQ(Entries(master, 0, 100), std::vector<int>(100, 10));
    EXPECT_EQ(Entries(master, 100, 156), std::vector<int>(156, 50));
}

TEST(PolylineMaster, EntriesThatNoLineReachesStayTheIdentity) {
    // From just below 13 to 251 is 238 in single precision, so the third line sets 12 to 249, and the fourth
    // begins at 251.
    const ControlPoints points = {{{0, 0}, {4, 0}, {std::nextafter(13.0f, 0.0f), 0}, {251, 0}, {255, 0}}};
    MasterCurve expected{};
    expected[250] = 250;
    EXPECT_EQ(platen::PolylineMaster(points), expected);
    // The same gap at the first point, whose level is for the entries below it only.
    const ControlPoints back = {{{238, 7}, {100, 1}, {std::nextafter(13.0f, 0.0f), 2}, {239, 3}, {255, 3}}};
    EXPECT_EQ(Entries(platen::PolylineMaster(back), 237, 3), (std::vector<int>{2, 238, 3}));
}

TEST(PolylineMaster, RiseIsTakenInSinglePrecision) {
    // 64 less 1e-9 is 64 in single precision: a slope of 1, and in double it would be less.
    ControlPoints points = platen::kDefaultPoints;
    points[0].y = 1e-9f;
    EXPECT_EQ(platen::PolylineMaster(points), Identity());
}

TEST(PolylineMaster, PointsOutOfOrderAreDefined) {
    // Falling x draws nothing. First the level of (120, 7) below it, then 120 to 199, 150 to 159, 160 to 175.
    const ControlPoints back = {{{120, 7}, {200, 7}, {150, 2}, {160, 3}, {175, 3}}};
    const MasterCurve master = platen::PolylineMaster(back);
    EXPECT_EQ(Entries(master, 0, 150), std::vector<int>(150, 7));
    EXPECT_EQ(Entries(master, 150, 10), std::vector<int>(10, 2));
    EXPECT_EQ(Entries(master, 160, 96), std::vector<int>(96, 3));
    // Only the last point's tail is drawn over the first point's level.
    const ControlPoints falling = {{{120, 7}, {119, 1}, {118, 2}, {117, 3}, {115.5f, 9}}};
    const MasterCurve bare = platen::PolylineMaster(falling);
    EXPECT_EQ(Entries(bare, 0, 115), std::vector<int>(115, 7));
    EXPECT_EQ(Entries(bare, 115, 141), std::vector<int>(141, 9));
}

TEST(MasterCurve, NoPolylineLeavesTheTable) {
    // The oracle's at() throws outside of the table. Coordinates one step from a whole number and the
    // widest lines are what could get there by rounding.
    platen_test::Random random(17);
    for (int round = 0; round < 50000; ++round) {
        ControlPoints points;
        platen_test::CurvesSetting setting;
        setting.kind = 1;
        for (std::size_t k = 0; k < 5; ++k) {
            const float low = 4.0f * static_cast<float>(k);
            float x = low + static_cast<float>(random.Between(0, 239));
            if (random.OneIn(2)) {
                x = std::nextafter(x, random.OneIn(2) ? 0.0f : 300.0f);
            }
            points[k] = {std::clamp(x, low, low + 239), static_cast<float>(random.Between(0, 1) * 255)};
            setting.points[k] = {points[k].x, points[k].y};
        }
        platen_test::OracleMaster expected;
        ASSERT_NO_THROW(expected = platen_test::OracleCurvesMaster(setting));
        ASSERT_EQ(platen::PolylineMaster(points), expected) << round;
    }
}

}  // namespace
