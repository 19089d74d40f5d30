#include "ToneWorld/Curves.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "oracles/CurvesOracle.h"
#include "support/Random.h"
#include "support/ToneTables.h"

namespace {

using platen_test::CurvesSetting;
using platen_test::GetProperty;
using platen_test::IdentityTable;
using platen_test::OperationPtr;
using platen_test::SetProperty;
using platen_test::Tables;
using platen_test::ToneTable;

using Point = std::array<float, 2>;
using Points = std::array<Point, 5>;

constexpr std::array<const char*, 5> kPointKeys = {"cuP1", "cuP2", "cuP3", "cuP4", "cuP5"};
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

OperationPtr MakeCurves(const CurvesSetting& setting = {}) {
    OperationPtr op = platen_test::MakeOperation(SetupCurvesOperation);
    SetProperty(op, "curV", setting.strength);
    SetProperty(op, "curS", setting.kind);
    for (std::size_t k = 0; k < 5; ++k) {
        SetProperty(op, kPointKeys[k], setting.points[k]);
    }
    return op;
}

// What the identity becomes, the same in the three tables.
ToneTable MasterOf(const CurvesSetting& setting) {
    const OperationPtr op = MakeCurves(setting);
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
    EXPECT_EQ(tables.green, tables.red);
    EXPECT_EQ(tables.blue, tables.red);
    return tables.red;
}

// The status, with a check that tables, copy and kind stay as they were.
std::int32_t RefusedStatus(const CurvesSetting& setting, std::int32_t depth = 24) {
    const OperationPtr op = MakeCurves(setting);
    Tables tables;
    ToneTable copy;
    copy.fill(77);
    _SToneCurve curve = tables.Curve(depth);
    curve.copyCurve = 1;
    curve.curveCopy = copy.data();
    const std::int32_t status = ApplyCurves(op.get(), &curve);
    EXPECT_EQ(tables, Tables());
    ToneTable untouched;
    untouched.fill(77);
    EXPECT_EQ(copy, untouched);
    EXPECT_EQ(GetProperty<std::int32_t>(op, "curS"), setting.kind);
    return status;
}

CurvesSetting WithPoint(std::size_t k, Point point) {
    CurvesSetting setting;
    setting.points[k] = point;
    return setting;
}

constexpr Points kBent = {{{20, 40}, {64, 64}, {128, 128}, {192, 192}, {230, 200}}};

TEST(Curves, DefaultsAreTheIdentity) {
    const OperationPtr op = platen_test::MakeOperation(SetupCurvesOperation);
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
    EXPECT_EQ(tables, Tables());
}

TEST(Curves, Kind0BecomesKind3) {
    for (const Points& points : {CurvesSetting().points, kBent}) {
        const OperationPtr op = MakeCurves({0, 0, points});
        Tables tables;
        _SToneCurve curve = tables.Curve(8);
        EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
        EXPECT_EQ(tables.red, MasterOf({0, 3, points}));
        EXPECT_EQ(GetProperty<std::int32_t>(op, "curS"), 3);
    }
}

TEST(Curves, Kind0StaysWhereNothingIsApplied) {
    CurvesSetting setting;
    setting.kind = 0;
    EXPECT_EQ(RefusedStatus(setting, 16), 0);  // looks at the stored kind as well
    setting.strength = 101;
    EXPECT_EQ(RefusedStatus(setting), 3);
    setting.strength = 0;
    setting.points[4] = {15.5f, 0};
    EXPECT_EQ(RefusedStatus(setting), 3);
}

TEST(Curves, OtherKindsStay) {
    for (const std::int32_t kind : {1, 2, 3}) {
        for (const std::int32_t strength : {0, 10}) {
            const OperationPtr op = MakeCurves({strength, kind, kBent});
            Tables tables;
            _SToneCurve curve = tables.Curve(24);
            EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
            EXPECT_EQ(GetProperty<std::int32_t>(op, "curS"), kind);
        }
    }
}

TEST(Curves, DuplicateCarriesTheRewrittenKind) {
    OperationPtr op = MakeCurves({0, 0, kBent});
    __OpaqeToneWorld* world = nullptr;
    ASSERT_EQ(NewToneWorld(&world), 0);
    AddOperation(world, op.release());
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(MakeToneCurve(world, &curve), 0);
    __OpaqeToneWorld* copy = nullptr;
    ASSERT_EQ(DuplicateToneWorld(world, &copy), 0);
    std::int32_t kind = -1;
    GetOperationProperty(GetOperation(copy, platen_test::Code("CuRv")), platen_test::Code("curS"), 4, &kind);
    EXPECT_EQ(kind, 3);
    DisposeToneWorld(copy, 1);
    DisposeToneWorld(world, 1);
}

TEST(Curves, RewritingAShortKindStaysWithinItsBlock) {
    _SToneOperation* made = nullptr;
    ASSERT_EQ(NewOperation(&made), 0);
    const OperationPtr op(made);
    ASSERT_EQ(SetupCurvesOperation(made), 0);
    for (int i = 0; i < 2; ++i) {  // away with "curV" and "curS"
        std::free(made->properties->front().data);
        made->properties->pop_front();
    }
    // Two bytes of a four-byte value whose default is 3: the kind read is 0 where they are the low half, and the
    // default where they are the high one.
    const std::uint16_t zero = 0;
    AddOperationProperty(made, platen_test::Code("curS"), sizeof zero, &zero);
    const bool lowHalf = std::endian::native == std::endian::little;
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyCurves(made, &curve), 0);
    std::uint16_t kind = 7;
    GetOperationProperty(made, platen_test::Code("curS"), sizeof kind, &kind);
    EXPECT_EQ(kind, lowHalf ? 3 : 0);
}

TEST(Curves, Kind2WithoutStrengthIsTheIdentity) {
    const OperationPtr op = MakeCurves({0, 2, kBent});
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
    EXPECT_EQ(tables, Tables());
    for (std::size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(GetProperty<Point>(op, kPointKeys[k]), kBent[k]);
    }
}

TEST(Curves, CoordinatesOutOfRangeAreRefused) {
    EXPECT_EQ(RefusedStatus(WithPoint(0, {240, 0})), 3);
    EXPECT_EQ(RefusedStatus(WithPoint(4, {15.5f, 255})), 3);
    for (std::size_t k = 0; k < 5; ++k) {
        const float low = 4.0f * static_cast<float>(k);
        const float high = low + 239.0f;
        for (const float x :
             {std::nextafter(low, -1.0f), std::nextafter(high, 999.0f), kNotANumber, kInfinity, -kInfinity}) {
            EXPECT_EQ(RefusedStatus(WithPoint(k, {x, 100})), 3) << k << " " << x;
        }
        for (const float y :
             {std::nextafter(0.0f, -1.0f), std::nextafter(255.0f, 999.0f), kNotANumber, kInfinity, -kInfinity}) {
            EXPECT_EQ(RefusedStatus(WithPoint(k, {(low + high) / 2, y})), 3) << k << " " << y;
        }
    }
}

TEST(Curves, CoordinatesAtTheEndsAreAccepted) {
    for (std::size_t k = 0; k < 5; ++k) {
        const float low = 4.0f * static_cast<float>(k);
        for (const Point point : {Point{low, 0}, Point{low, 255}, Point{low + 239, 0}, Point{low + 239, 255}}) {
            for (const std::int32_t kind : {0, 1, 2, 3}) {
                CurvesSetting setting = WithPoint(k, point);
                setting.kind = kind;
                EXPECT_EQ(MasterOf(setting), OracleCurvesMaster(setting)) << k << " " << kind;
            }
        }
    }
}

TEST(Curves, KindAndStrengthOutOfRangeAreRefused) {
    for (const std::int32_t kind : {4, -1, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(RefusedStatus({0, kind, CurvesSetting().points}), 3) << kind;
    }
    for (const std::int32_t strength : {101, -101, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(RefusedStatus({strength, 2, CurvesSetting().points}), 3) << strength;
    }
}

TEST(Curves, UnusedValuesAreCheckedToo) {
    CurvesSetting gamma = WithPoint(2, {128, 256});
    gamma.kind = 2;
    gamma.strength = 50;
    EXPECT_EQ(RefusedStatus(gamma), 3);
    for (const std::int32_t kind : {0, 1, 3}) {
        EXPECT_EQ(RefusedStatus({101, kind, CurvesSetting().points}), 3) << kind;
    }
}

TEST(Curves, OtherDepthsAreLeftAlone) {
    for (const std::int32_t depth : {16, 0, 1, 32, -8}) {
        EXPECT_EQ(RefusedStatus({0, 3, kBent}, depth), 0);
        EXPECT_EQ(RefusedStatus({101, 4, kBent}, depth), 0);
    }
}

TEST(Curves, CopyReceivesTheMasterCurveItself) {
    const CurvesSetting setting{0, 1, kBent};
    const OperationPtr op = MakeCurves(setting);
    Tables tables;
    for (std::uint8_t& entry : tables.red) {
        entry = static_cast<std::uint8_t>(255 - entry);
    }
    ToneTable copy{};
    _SToneCurve curve = tables.Curve(24);
    curve.copyCurve = 1;
    curve.curveCopy = copy.data();
    EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
    const ToneTable master = OracleCurvesMaster(setting);
    EXPECT_EQ(copy, master);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.red[i], master[255 - i]);
    }
    EXPECT_EQ(tables.green, master);
}

TEST(Curves, CopyNeedsAFlagOfExactly1) {
    for (const int flag : {0, 2, 3, 255}) {
        const OperationPtr op = MakeCurves({0, 1, kBent});
        Tables tables;
        _SToneCurve curve = tables.Curve(24);
        curve.copyCurve = static_cast<std::uint8_t>(flag);
        curve.curveCopy = nullptr;  // would end the test if it were written
        EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
        EXPECT_NE(tables, Tables());
    }
}

TEST(Curves, OneBufferAsThreeTablesIsMappedThreeTimes) {
    for (const std::int32_t kind : {0, 1, 2, 3}) {
        const CurvesSetting setting{40, kind, kBent};
        const OperationPtr op = MakeCurves(setting);
        ToneTable shared = IdentityTable();
        _SToneCurve curve = {0, 0, 8, shared.data(), shared.data(), shared.data(), 0, nullptr};
        EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
        const ToneTable master = OracleCurvesMaster(setting);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(shared[i], master[master[master[i]]]) << kind << " " << i;
        }
    }
}

// Whole numbers, fractions, and the ends of the range.
float RandomCoordinate(platen_test::Random& random, float low, float high) {
    switch (random.Between(0, 3)) {
        case 0:
            return random.OneIn(2) ? low : high;
        case 1:
            return std::min(low + static_cast<float>(random.Fraction()) * (high - low), high);
        default:
            return static_cast<float>(
                random.Between(static_cast<std::int64_t>(low), static_cast<std::int64_t>(high)));
    }
}

// Mostly valid, mostly in order of x.
CurvesSetting RandomSetting(platen_test::Random& random) {
    CurvesSetting setting;
    setting.kind = static_cast<std::int32_t>(random.OneIn(40) ? random.Between(-2, 5) : random.Between(0, 3));
    setting.strength =
        static_cast<std::int32_t>(random.OneIn(40) ? random.Between(-103, 103) : random.Between(-100, 100));
    for (std::size_t k = 0; k < 5; ++k) {
        const float low = 4.0f * static_cast<float>(k);
        setting.points[k] = {RandomCoordinate(random, low, low + 239), RandomCoordinate(random, 0, 255)};
    }
    if (!random.OneIn(4)) {
        std::sort(setting.points.begin(), setting.points.end());  // the ranges overlap, so most stay valid
    }
    if (random.OneIn(20)) {
        float& coordinate =
            setting
                .points[static_cast<std::size_t>(random.Next() % 5u)][static_cast<std::size_t>(random.Next() % 2u)];
        coordinate = random.OneIn(2) ? kNotANumber : coordinate + (random.OneIn(2) ? 256.0f : -256.0f);
    }
    return setting;
}

TEST(Curves, RandomSettingsEqualTheOracle) {
    platen_test::Random random(16);
    const OperationPtr op = MakeCurves();
    int refused = 0;
    for (int round = 0; round < 100000; ++round) {
        const CurvesSetting setting = RandomSetting(random);
        SetProperty(op, "curV", setting.strength);
        SetProperty(op, "curS", setting.kind);
        for (std::size_t k = 0; k < 5; ++k) {
            SetProperty(op, kPointKeys[k], setting.points[k]);
        }
        const std::int32_t depth = random.OneIn(20) ? 16 : random.OneIn(2) ? 8 : 24;
        Tables tables;
        for (ToneTable* table : {&tables.red, &tables.green, &tables.blue}) {
            for (std::uint8_t& entry : *table) {
                entry = random.Byte();
            }
        }
        Tables expected = tables;
        _SToneCurve curve = tables.Curve(depth);
        const std::int32_t status = ApplyCurves(op.get(), &curve);
        ASSERT_EQ(status, OracleCurves(setting, depth, expected.red, expected.green, expected.blue)) << round;
        ASSERT_EQ(tables, expected) << "round " << round << " kind " << setting.kind;
        const bool rewritten = setting.kind == 0 && status == 0 && depth != 16;
        ASSERT_EQ(GetProperty<std::int32_t>(op, "curS"), rewritten ? 3 : setting.kind) << round;
        refused += status == 3 ? 1 : 0;
    }
    EXPECT_GT(refused, 5000);
    EXPECT_LT(refused, 50000);
    RecordProperty("refused", refused);
}

}  // namespace
