#include "ToneWorld/Level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "ToneFixture.h"
#include "ToneWorld/LevelGamma.h"
#include "support/AllocationLedger.h"
#include "support/OverwrittenList.h"
#include "support/Random.h"

namespace {

using platen::EffectiveMidTone;
using platen::GammaOfEffectiveMidTone;
using tone_test::Code;
using tone_test::Curve;
using tone_test::Operation;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::uint32_t kMinus1 = 0xFFFFFFFF;
constexpr plain::Level kNeutral = {0, 1.0, 255, 0, 255};

struct Level : testing::Test {
    Operation op{SetupLevelOperation};
    Curve curve;

    std::int32_t Apply(const plain::Level& settings, std::int32_t depth = 24) {
        op.SetAll(settings);
        curve.depth = depth;
        curve.SetIdentity();
        return op.Apply(&curve);
    }
    // Refused, and nothing changed.
    bool IsRefused(const plain::Level& settings) {
        return Apply(settings) == 3 && curve.IsIdentity() && Apply(settings, 8) == 3 && curve.IsIdentity();
    }
    // The status and the tables equal those of the plain rules.
    testing::AssertionResult EqualsPlain(const plain::Level& s, std::int32_t depth = 24) {
        plain::Tables expected = plain::Tables::Identity();
        const int status = plain::Apply(s, depth, expected);
        if (Apply(s, depth) == status && curve.Holds(expected)) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << s.iMin << ' ' << s.iMid << ' ' << s.iMax << ' ' << s.oMin << ' '
                                           << s.oMax << " at " << depth << ", expected status " << status;
    }
};

TEST_F(Level, SetupStampsAndAddsTheDefaults) {
    EXPECT_EQ(Code("LeVe"), op.get()->type);
    EXPECT_EQ(&ApplyLevel, op.get()->apply);
    const std::uint32_t keys[] = {Code("iMin"), Code("iMid"), Code("iMax"), Code("oMin"), Code("oMax")};
    const std::uint32_t sizes[] = {4, 8, 4, 4, 4};
    const double zero = 0.0;
    ASSERT_EQ(5u, op.get()->properties->size());
    std::size_t i = 0;
    for (const _SPropertyData& property : *op.get()->properties) {
        EXPECT_EQ(keys[i], property.key);
        ASSERT_EQ(sizes[i], property.size);
        EXPECT_EQ(0, std::memcmp(&zero, property.data, property.size));
        ++i;
    }
}

TEST_F(Level, SetupRefusesANullOperation) {
    EXPECT_EQ(2, SetupLevelOperation(nullptr));
}

TEST_F(Level, SetupOverwritesTheList) {
    platen_test::ExpectSetupOverwritesTheList(op.get(), SetupLevelOperation, 5);
}

TEST_F(Level, DefaultsAreOutOfRange) {
    for (const std::int32_t depth : {8, 24}) {
        curve.depth = depth;
        EXPECT_EQ(3, op.Apply(&curve));
        EXPECT_TRUE(curve.IsIdentity());
    }
}

TEST_F(Level, MissingPropertiesCountAsTheirDefaults) {
    _SToneOperation bare{};
    EXPECT_EQ(3, ApplyLevel(&bare, &curve));
    EXPECT_TRUE(curve.IsIdentity());
}

TEST_F(Level, NeutralSettingChangesNothing) {
    EXPECT_EQ(0, Apply(kNeutral));
    EXPECT_TRUE(curve.IsIdentity());
    EXPECT_EQ(0, Apply(kNeutral, 8));
    EXPECT_TRUE(curve.IsIdentity());
}

TEST_F(Level, NeutralSettingLeavesTheTablesAlone) {
    op.SetAll(kNeutral);
    _SToneCurve withoutTables{};
    withoutTables.depth = 24;
    EXPECT_EQ(0, op.get()->apply(op.get(), &withoutTables));
}

TEST_F(Level, OutputMaximumScales) {
    EXPECT_EQ(0, Apply({0, 1.0, 255, 0, 200}));
    EXPECT_TRUE(curve.Is([](int i) { return i * 200 / 255; }));
}

TEST_F(Level, InputRangeIsStretched) {
    EXPECT_EQ(0, Apply({50, 1.0, 200, 0, 255}));
    for (int i = 0; i <= 50; ++i) {
        EXPECT_EQ(0, curve.redTable[i]) << i;
    }
    for (int i = 200; i <= 255; ++i) {
        EXPECT_EQ(255, curve.redTable[i]) << i;
    }
    EXPECT_EQ(127, curve.redTable[125]);
}

TEST_F(Level, SpansMustExceed7) {
    EXPECT_TRUE(IsRefused({10, 1.0, 17, 0, 255}));
    EXPECT_EQ(0, Apply({10, 1.0, 18, 0, 255}));
    EXPECT_FALSE(curve.IsIdentity());
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 10, 17}));
    EXPECT_EQ(0, Apply({0, 1.0, 255, 10, 18}));
    EXPECT_TRUE(IsRefused({200, 1.0, 100, 0, 255}));  // negative spans
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 200, 100}));
}

TEST_F(Level, IntegersAreUnsigned) {
    EXPECT_TRUE(IsRefused({kMinus1, 1.0, 255, 0, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, kMinus1, 0, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, 255, kMinus1, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 0, kMinus1}));
}

TEST_F(Level, EveryRangeEndsWhereItShould) {
    EXPECT_EQ(0, Apply({247, 1.0, 255, 0, 255}));
    EXPECT_TRUE(IsRefused({248, 1.0, 255, 0, 255}));
    EXPECT_EQ(0, Apply({0, 1.0, 8, 0, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, 7, 0, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, 256, 0, 255}));
    EXPECT_EQ(0, Apply({0, 1.0, 255, 247, 255}));
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 248, 255}));
    EXPECT_EQ(0, Apply({0, 1.0, 255, 0, 8}));
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 0, 7}));
    EXPECT_TRUE(IsRefused({0, 1.0, 255, 0, 256}));
}

TEST_F(Level, MidToneRangeEndsAreIncluded) {
    for (const double invalid :
         {0.09, 10.0, 0.0, -1.0, kInfinity, -kInfinity, std::nextafter(0.1, 0.0), std::nextafter(9.99, 10.0)}) {
        EXPECT_TRUE(IsRefused({0, invalid, 255, 0, 255})) << invalid;
    }
    for (const double valid : {0.1, 9.99}) {
        EXPECT_EQ(0, Apply({0, valid, 255, 0, 255})) << valid;
        EXPECT_FALSE(curve.IsIdentity());
    }
}

TEST_F(Level, MidToneThatIsNotANumberIsOutOfRange) {
    EXPECT_TRUE(IsRefused({0, kNotANumber, 255, 0, 255}));
    EXPECT_TRUE(IsRefused({0, -kNotANumber, 255, 0, 200}));
}

TEST_F(Level, OtherDepthsChangeNothingAndGive0) {
    for (const std::int32_t depth : {16, 0, 1, 32, -24}) {
        EXPECT_EQ(0, Apply({50, 2.0, 200, 10, 240}, depth));
        EXPECT_TRUE(curve.IsIdentity());
        EXPECT_EQ(0, Apply({300, kNotANumber, 0, 0, 0}, depth));
        EXPECT_TRUE(curve.IsIdentity());
    }
}

TEST_F(Level, GammaHasTheKnownValues) {
    EXPECT_NEAR(0.98780, GammaOfEffectiveMidTone(1.0), 0.000005);
    EXPECT_EQ(0.1, EffectiveMidTone(0.1));
    EXPECT_NEAR(0.07808, GammaOfEffectiveMidTone(EffectiveMidTone(0.1)), 0.000005);
    EXPECT_NEAR(12.8, 1.0 / GammaOfEffectiveMidTone(EffectiveMidTone(0.1)), 0.05);
    EXPECT_DOUBLE_EQ(1.44, EffectiveMidTone(2.0));
    EXPECT_NEAR(2.0773, GammaOfEffectiveMidTone(EffectiveMidTone(2.0)), 0.00005);
    EXPECT_NEAR(9.4156, GammaOfEffectiveMidTone(EffectiveMidTone(9.99)), 0.00005);
    EXPECT_NEAR(0.106, 1.0 / GammaOfEffectiveMidTone(EffectiveMidTone(9.99)), 0.0005);
}

TEST_F(Level, MidToneStepsBackAt9) {
    EXPECT_NEAR(1.880, EffectiveMidTone(std::nextafter(9.0, 0.0)), 0.0005);
    EXPECT_EQ(1.8765625, EffectiveMidTone(9.0));
    ASSERT_EQ(0, Apply({0, 8.99, 255, 0, 255}));
    const Curve before9;
    std::copy_n(curve.redTable, 256, before9.redTable);
    ASSERT_EQ(0, Apply({0, 9.0, 255, 0, 255}));
    int lighterBefore = 0;
    for (int i = 0; i < 256; ++i) {
        EXPECT_GE(before9.redTable[i], curve.redTable[i]);
        lighterBefore += before9.redTable[i] > curve.redTable[i] ? 1 : 0;
    }
    EXPECT_GT(lighterBefore, 0);
}

TEST_F(Level, MidToneNextToNeutralDarkens) {
    ASSERT_EQ(0, Apply({0, std::nextafter(1.0, 0.0), 255, 0, 255}));
    int darker = 0;
    for (int i = 0; i < 256; ++i) {
        EXPECT_LE(curve.redTable[i], i);
        darker += curve.redTable[i] < i ? 1 : 0;
    }
    EXPECT_GT(darker, 0);
}

TEST_F(Level, SegmentOffsetsAreSumsInDouble) {
    EXPECT_EQ(1.0 + 0.8250000000000001, EffectiveMidTone(5.0));
    EXPECT_EQ(1.0 + 0.8662500000000001, EffectiveMidTone(7.0));
    EXPECT_EQ(1.0 + 0.44, EffectiveMidTone(2.0));
    EXPECT_EQ(1.0 + 0.66, EffectiveMidTone(3.0));
    EXPECT_EQ(1.0 + 0.77, EffectiveMidTone(4.0));
    EXPECT_EQ(1.0 + 0.8525, EffectiveMidTone(6.0));
    EXPECT_EQ(1.0 + 0.873125, EffectiveMidTone(8.0));
}

TEST_F(Level, ExtremeGammaAboveTheWhitePointIs255) {
    ASSERT_EQ(0, Apply({0, 0.1, 8, 0, 255}));  // (255 / 8) to the power 12.8 is far above every integer
    for (int i = 8; i < 256; ++i) {
        ASSERT_EQ(255, curve.redTable[i]) << i;
    }
    EXPECT_EQ(0, curve.redTable[0]);
}

TEST_F(Level, InputIsMappedBeforeOutput) {
    ASSERT_EQ(0, Apply({50, 1.0, 200, 100, 200}));
    EXPECT_EQ(100, curve.redTable[50]);
    EXPECT_EQ(200, curve.redTable[200]);
    EXPECT_EQ(100 + 127 * 100 / 255, curve.redTable[125]);
}

TEST_F(Level, EveryMidToneEqualsThePlainRules) {
    for (int hundredths = 5; hundredths <= 1005; ++hundredths) {
        const double midTone = hundredths / 100.0;
        if (hundredths >= 10 && hundredths <= 999 && hundredths != 100) {
            ASSERT_EQ(plain::EffectiveMidTone(midTone), EffectiveMidTone(midTone)) << midTone;
            ASSERT_EQ(plain::Gamma(EffectiveMidTone(midTone)), GammaOfEffectiveMidTone(EffectiveMidTone(midTone)));
        }
        ASSERT_TRUE(EqualsPlain({0, midTone, 255, 0, 255}));
        ASSERT_TRUE(EqualsPlain({13, midTone, 201, 20, 230}, 8));
        ASSERT_TRUE(EqualsPlain({100, midTone, 108, 247, 255}));
    }
}

TEST_F(Level, EveryInputRangeEqualsThePlainRules) {
    for (std::uint32_t low = 0; low < 250; ++low) {
        for (std::uint32_t high = 5; high <= 257; ++high) {
            ASSERT_TRUE(EqualsPlain({low, 1.0, high, 0, 255}));
            ASSERT_TRUE(EqualsPlain({0, 1.0, 255, low, high}));
        }
    }
}

TEST_F(Level, SegmentEndsEqualThePlainRules) {
    for (int whole = 1; whole <= 9; ++whole) {
        for (const double midTone : {std::nextafter(whole, 0.0), double(whole), std::nextafter(whole, 10.0)}) {
            ASSERT_TRUE(EqualsPlain({0, midTone, 255, 0, 255})) << whole;
        }
    }
}

// Valid and invalid in every field, and at every depth.
plain::Level RandomSettings(platen_test::Random& random) {
    const auto end = [&random](std::int64_t low, std::int64_t high) {
        if (random.OneIn(60)) {
            return static_cast<std::uint32_t>(random.Next());
        }
        return static_cast<std::uint32_t>(random.Between(low, high));
    };
    plain::Level s;
    s.iMin = end(0, random.OneIn(2) ? 100 : 249);
    s.iMax = random.OneIn(4) ? s.iMin + end(5, 10) : end(4, 257);
    s.oMin = end(0, random.OneIn(2) ? 100 : 249);
    s.oMax = random.OneIn(4) ? s.oMin + end(5, 10) : end(4, 257);
    s.iMid = static_cast<double>(random.Between(5, 1005)) / 100.0;
    if (random.OneIn(3)) {
        s.iMid = random.Fraction() * 10.2;
    }
    if (random.OneIn(5)) {
        s.iMid = 1.0;
    }
    if (random.OneIn(50)) {
        const std::uint64_t bits = random.Next();
        std::memcpy(&s.iMid, &bits, sizeof bits);
    }
    return s;
}

TEST_F(Level, RandomSettingsEqualThePlainRules) {
    platen_test::Random random(20);
    int done = 0;
    int refused = 0;
    for (int i = 0; i < 100000; ++i) {
        const plain::Level settings = RandomSettings(random);
        const std::int32_t depth = random.OneIn(20) ? 16 : random.OneIn(2) ? 8 : 24;
        ASSERT_TRUE(EqualsPlain(settings, depth)) << "case " << i;
        const int status = op.Apply(&curve);
        ++(status == 0 ? done : refused);
    }
    EXPECT_GT(done, 30000);
    EXPECT_GT(refused, 20000);
}

TEST_F(Level, ApplyTakesNoMemory) {
    op.SetAll(plain::Level{3, 2.5, 250, 1, 240});
    platen_test::AllocationLedger ledger;
    op.Apply(&curve);
    EXPECT_EQ(0u, ledger.Mallocs() + ledger.News());
}

}  // namespace
