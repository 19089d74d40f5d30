#include "ToneWorld/BrightnessContrast.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "ToneFixture.h"
#include "support/AllocationLedger.h"
#include "support/OverwrittenList.h"
#include "support/Random.h"

namespace {

using tone_test::Code;
using tone_test::Curve;
using tone_test::Operation;

struct BrightnessContrast : testing::Test {
    Operation op{SetupBrightnessContrastOperation};
    Curve curve;

    std::int32_t Apply(std::int32_t brightness, std::int32_t contrast, std::int32_t depth = 24) {
        op.SetAll(plain::BrightnessContrast{brightness, contrast});
        curve.depth = depth;
        curve.SetIdentity();
        return op.Apply(&curve);
    }
};

TEST_F(BrightnessContrast, SetupStampsAndAddsTheDefaults) {
    EXPECT_EQ(Code("BrCn"), op.get()->type);
    EXPECT_EQ(&ApplyBrightnessContrast, op.get()->apply);
    ASSERT_EQ(2u, op.get()->properties->size());
    EXPECT_EQ(Code("briT"), op.get()->properties->front().key);
    EXPECT_EQ(Code("conT"), op.get()->properties->back().key);
    for (const _SPropertyData& property : *op.get()->properties) {
        ASSERT_EQ(4u, property.size);
        EXPECT_EQ(0, *static_cast<const std::int32_t*>(property.data));
    }
}

TEST_F(BrightnessContrast, SetupRefusesANullOperation) {
    EXPECT_EQ(2, SetupBrightnessContrastOperation(nullptr));
}

TEST_F(BrightnessContrast, SetupReturns0AndNeedsNoZeroedRecord) {
    _SToneOperation record = {1, nullptr, nullptr};
    EXPECT_EQ(0, SetupBrightnessContrastOperation(&record));
    EXPECT_EQ(Code("BrCn"), record.type);
    for (const _SPropertyData& property : *record.properties) {
        std::free(property.data);
    }
    delete record.properties;
}

TEST_F(BrightnessContrast, SetupOverwritesTheList) {
    platen_test::ExpectSetupOverwritesTheList(op.get(), SetupBrightnessContrastOperation, 2);
}

TEST_F(BrightnessContrast, ZeroAndZeroChangeNothing) {
    EXPECT_EQ(0, Apply(0, 0));
    EXPECT_TRUE(curve.IsIdentity());
}

TEST_F(BrightnessContrast, FullBrightnessShiftsBy127) {
    EXPECT_EQ(0, Apply(100, 0));
    EXPECT_TRUE(curve.Is([](int i) { return std::min(i + 127, 255); }));
    EXPECT_EQ(0, Apply(-100, 0));
    EXPECT_TRUE(curve.Is([](int i) { return std::max(i - 127, 0); }));
}

TEST_F(BrightnessContrast, OutOfRangeGives3AndChangesNothing) {
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t invalid : {101, -101, kLowest, kHighest}) {
        for (const std::int32_t other : {0, 50, -100, 100, 101}) {
            for (const std::int32_t depth : {24, 8, 16}) {
                EXPECT_EQ(3, Apply(invalid, other, depth)) << invalid << ' ' << other;
                EXPECT_TRUE(curve.IsIdentity());
                EXPECT_EQ(3, Apply(other, invalid, depth)) << other << ' ' << invalid;
                EXPECT_TRUE(curve.IsIdentity());
            }
        }
    }
}

TEST_F(BrightnessContrast, ContrastNeedsDepth8Or24) {
    for (const std::int32_t depth : {16, 0, 1, -8, 32, 48}) {
        EXPECT_EQ(0, Apply(50, 50, depth));
        EXPECT_TRUE(curve.Is([](int i) { return std::min(i + 63, 255); })) << depth;
    }
    for (const std::int32_t depth : {8, 24}) {
        EXPECT_EQ(0, Apply(50, 50, depth));
        EXPECT_FALSE(curve.Is([](int i) { return std::min(i + 63, 255); })) << depth;
    }
}

TEST_F(BrightnessContrast, FullContrastIsAStep) {
    EXPECT_EQ(0, Apply(0, 100));
    EXPECT_TRUE(curve.Is([](int i) { return i <= 127 ? 0 : 255; }));
}

TEST_F(BrightnessContrast, LowestContrastIsAlmostFlat) {
    EXPECT_EQ(0, Apply(0, -100));
    EXPECT_TRUE(curve.Is([](int i) { return i <= 254 ? 127 : 128; }));
}

TEST_F(BrightnessContrast, ContrastOf50SpreadsFrom63) {
    EXPECT_EQ(0, Apply(0, 50));
    EXPECT_EQ(0, curve.redTable[63]);
    EXPECT_EQ(1, curve.redTable[64]);
    EXPECT_TRUE(
        curve.Is([](int i) { return i <= 63 ? 0 : std::min(255, static_cast<int>((i - 63) * (255.0 / 129))); }));
}

TEST_F(BrightnessContrast, StepsAreTheAmountsShareOf127) {
    for (std::int32_t amount = 1; amount <= 100; ++amount) {
        EXPECT_EQ(0, Apply(amount, 0));
        EXPECT_EQ(127 * amount / 100, curve.redTable[0]) << amount;
        EXPECT_EQ(0, Apply(-amount, 0));
        EXPECT_EQ(255 - 127 * amount / 100, curve.redTable[255]) << amount;
    }
}

TEST_F(BrightnessContrast, MissingPropertiesCountAsTheirDefaults) {
    std::list<_SPropertyData> none;
    _SToneOperation bare = {0, nullptr, nullptr};
    EXPECT_EQ(0, ApplyBrightnessContrast(&bare, &curve));
    EXPECT_TRUE(curve.IsIdentity());
    bare.properties = &none;
    EXPECT_EQ(0, ApplyBrightnessContrast(&bare, &curve));
    EXPECT_TRUE(curve.IsIdentity());
}

// A host may add a property of any size itself; reading it must stay inside both the value and the local.
TEST_F(BrightnessContrast, OddlySizedPropertiesAreReadInBounds) {
    for (const std::uint32_t size : {1u, 3u, 4u, 64u}) {
        _SToneOperation record{};
        std::list<_SPropertyData> list;
        record.properties = &list;
        const std::array<std::uint8_t, 64> zeros{};
        AddOperationProperty(&record, Code("briT"), size, zeros.data());
        AddOperationProperty(&record, Code("conT"), size, zeros.data());
        EXPECT_EQ(0, ApplyBrightnessContrast(&record, &curve)) << size;
        EXPECT_TRUE(curve.IsIdentity());
        for (const _SPropertyData& property : list) {
            std::free(property.data);
        }
    }
}

TEST_F(BrightnessContrast, EveryPairEqualsThePlainRules) {
    for (const std::int32_t depth : {8, 24, 16}) {
        for (std::int32_t brightness = -100; brightness <= 100; ++brightness) {
            for (std::int32_t contrast = -100; contrast <= 100; ++contrast) {
                plain::Tables expected = plain::Tables::Identity();
                ASSERT_EQ(0, plain::Apply(plain::BrightnessContrast{brightness, contrast}, depth, expected));
                ASSERT_EQ(0, Apply(brightness, contrast, depth));
                ASSERT_TRUE(curve.Holds(expected)) << brightness << ' ' << contrast << " at " << depth;
            }
        }
    }
}

TEST_F(BrightnessContrast, ActsOnWhatTheTablesHold) {
    platen_test::Random random(1);
    for (int round = 0; round < 2000; ++round) {
        const plain::BrightnessContrast settings{static_cast<std::int32_t>(random.Between(-104, 104)),
                                                 static_cast<std::int32_t>(random.Between(-104, 104))};
        curve.depth = random.OneIn(4) ? 16 : random.OneIn(2) ? 8 : 24;
        plain::Tables expected;
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < 256; ++i) {
                expected.t[c][i] = curve.tables[c][i] = random.Byte();
            }
        }
        op.SetAll(settings);
        ASSERT_EQ(plain::Apply(settings, curve.depth, expected), op.Apply(&curve));
        ASSERT_TRUE(curve.Holds(expected)) << settings.brightness << ' ' << settings.contrast;
    }
}

TEST_F(BrightnessContrast, ApplyTakesNoMemory) {
    op.SetAll(plain::BrightnessContrast{30, -40});
    platen_test::AllocationLedger ledger;
    op.Apply(&curve);
    EXPECT_EQ(0u, ledger.Mallocs() + ledger.News());
}

}  // namespace
