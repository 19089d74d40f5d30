#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "ToneFixture.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/LevelGamma.h"
#include "ToneWorld/MasterCurve.h"
#include "ToneWorld/Spline.h"
#include "ToneWorld/SplineSolve.h"
#include "support/GuardedBuffer.h"

// Settings next to a limit or to a short cut, and operations that lack one property.

namespace {

using tone_test::Curve;
using tone_test::Operation;

TEST(LevelBoundaries, OneStepFromNeutralIsComputed) {
    const plain::Level nearNeutral[] = {
        {1, 1.0, 255, 0, 255}, {0, 1.0, 254, 0, 255}, {0, 1.0, 255, 1, 255}, {0, 1.0, 255, 0, 254}};
    const Operation op(SetupLevelOperation);
    for (const plain::Level& setting : nearNeutral) {
        plain::Tables expected = plain::Tables::Identity();
        ASSERT_EQ(0, plain::Apply(setting, 24, expected));
        op.SetAll(setting);
        Curve curve;
        EXPECT_EQ(0, op.Apply(&curve));
        EXPECT_TRUE(curve.Holds(expected));
        EXPECT_FALSE(curve.IsIdentity());
    }
}

struct Value {
    std::string key;
    double number;
};

// A level operation with some of its properties only.
void AddAllBut(const Operation& op, const std::vector<Value>& values, const std::string& left) {
    op.get()->properties = new std::list<_SPropertyData>;
    op.get()->apply = ApplyLevel;
    for (const Value& value : values) {
        if (value.key == left) {
            continue;
        }
        if (value.key == "iMid") {
            op.Add(value.key.c_str(), value.number);
        } else {
            op.Add(value.key.c_str(), static_cast<std::uint32_t>(value.number));
        }
    }
}

TEST(LevelBoundaries, EachMissingPropertyCountsAs0) {
    const std::vector<Value> values = {{"iMin", 20}, {"iMid", 1.0}, {"iMax", 230}, {"oMin", 30}, {"oMax", 240}};
    for (const Value& value : values) {
        plain::Level setting = {20, 1.0, 230, 30, 240};
        setting.iMin = value.key == "iMin" ? 0 : setting.iMin;
        setting.iMid = value.key == "iMid" ? 0.0 : setting.iMid;
        setting.iMax = value.key == "iMax" ? 0 : setting.iMax;
        setting.oMin = value.key == "oMin" ? 0 : setting.oMin;
        setting.oMax = value.key == "oMax" ? 0 : setting.oMax;
        plain::Tables expected = plain::Tables::Identity();
        const std::int32_t status = plain::Apply(setting, 24, expected);
        const Operation op;
        AddAllBut(op, values, value.key);
        Curve curve;
        EXPECT_EQ(status, op.Apply(&curve)) << value.key;
        EXPECT_TRUE(curve.Holds(expected)) << value.key;
    }
}

double Input248(double midTone) {
    const double gamma = platen::GammaOfEffectiveMidTone(platen::EffectiveMidTone(midTone));
    return std::pow(248.0 / 247.0, 1.0 / gamma) * 255.0;
}

// The mid-tone that takes the entry after the white point from above 256 to 256 is looked for by halving.
TEST(LevelBoundaries, JustAboveTheScaleIs255) {
    double above = 1.01;
    double below = 1.99;
    ASSERT_GT(Input248(above), 256.0);
    ASSERT_LT(Input248(below), 256.0);
    while (std::nextafter(above, below) != below) {
        const double middle = above + (below - above) / 2;
        (Input248(middle) >= 256.0 ? above : below) = middle;
    }
    EXPECT_NEAR(256.0, Input248(above), 1e-12);
    const Operation op(SetupLevelOperation);
    op.SetAll(plain::Level{0, above, 247, 0, 254});
    Curve curve;
    EXPECT_EQ(0, op.Apply(&curve));
    EXPECT_EQ(254, curve.tables[0][248]);
}

TEST(CurvesBoundaries, StrengthsAtTheEndsAreTaken) {
    const Operation op(SetupCurvesOperation);
    op.Set("curS", std::int32_t{2});
    for (const std::int32_t strength : {-100, 100}) {
        op.Set("curV", strength);
        Curve curve;
        EXPECT_EQ(0, op.Apply(&curve)) << strength;
        const platen::MasterCurve master = platen::GammaMaster(strength);
        EXPECT_TRUE(curve.Is([&master](int i) { return master[static_cast<std::size_t>(i)]; })) << strength;
    }
}

TEST(CurvesBoundaries, AMissingStrengthIsNone) {
    const Operation op;
    op.get()->properties = new std::list<_SPropertyData>;
    op.get()->apply = ApplyCurves;
    op.Add("curS", std::int32_t{2});
    Curve curve;
    EXPECT_EQ(0, op.Apply(&curve));
    EXPECT_TRUE(curve.IsIdentity());
}

// Rising knots, some of them past the table, and knots that don't rise.
TEST(SplineLevelsBoundaries, WritesTheTablesEntriesOnly) {
    double y[] = {0, 90, 120, 255};
    for (const std::vector<double>& x : std::vector<std::vector<double>>{{0, 100, 200, 255},
                                                                         {0, 300, 400, 500},
                                                                         {-400, -300, 260, 270},
                                                                         {0, 100, 100, 255},
                                                                         {255, 200, 100, 0}}) {
        double z[4];
        platen::SolveSpline(x.data(), y, z, 4);
        for (const auto side :
             {platen_test::GuardedBuffer::Against::kPageBehind, platen_test::GuardedBuffer::Against::kPageBefore}) {
            const platen_test::GuardedBuffer levels(256, side);
            platen::SplineLevels(x.data(), y, z, 4, levels.data());
            for (int t = 0; t < 256; ++t) {
                std::vector<double> knots = x;
                const long value = GetSpline(4, t, knots.data(), y, z);
                EXPECT_EQ(std::min(value, 255L), levels[static_cast<std::size_t>(t)]) << t;
            }
        }
    }
}

// Half the scale is no more special than any other part of it.
TEST(PolylineMasterBoundaries, FlatInFrontOfPointsThatSpanHalfTheScale) {
    const platen::ControlPoints points = {{{100, 40}, {128, 64}, {160, 128}, {192, 192}, {227.5f, 200}}};
    const platen::MasterCurve master = platen::PolylineMaster(points);
    for (std::size_t i = 0; i <= 100; ++i) {
        EXPECT_EQ(40, master[i]) << i;
    }
}

}  // namespace
