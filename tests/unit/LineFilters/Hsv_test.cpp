#include "LineFilters/Hsv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "HsvFilter.h"
#include "oracles/HsvOracle.h"

namespace {

using platen_test::Adjusted;
using platen_test::Bytes;
using platen_test::GreyLine;
using platen_test::HsvFilter;
using platen_test::HsvOracle;
using platen_test::HsvSettings;
using platen_test::Random;
using platen_test::RandomLine;

// What SetupHsv says to a changed record; it must write a handle only on 0.
std::int32_t SetupStatus(_SHsvParam param) {
    int untouched = 0;
    void* handle = &untouched;
    const std::int32_t status = SetupHsv(&param, &handle);
    if (status == 0) {
        EXPECT_NE(static_cast<void*>(&untouched), handle);
        Disposehsv(handle);
    } else {
        EXPECT_EQ(static_cast<void*>(&untouched), handle);
    }
    return status;
}

TEST(Hsv, AllThreeChangesZeroIsRefused) {
    EXPECT_EQ(3, SetupStatus(HsvSettings(0, 0, 0, 5)));
    EXPECT_EQ(0, SetupStatus(HsvSettings(1, 0, 0, 5)));
    EXPECT_EQ(0, SetupStatus(HsvSettings(0, 1, 0, 5)));
    EXPECT_EQ(0, SetupStatus(HsvSettings(0, 0, 1, 5)));
}

TEST(Hsv, FieldsOutOfRangeAreRefused) {
    const auto changed = [](auto field, auto value) {
        _SHsvParam param = HsvSettings(10, 20, 30, 5);
        param.*field = static_cast<std::remove_reference_t<decltype(param.*field)>>(value);
        return SetupStatus(param);
    };
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t hue : {-181, 181, kLowest, kHighest}) {
        EXPECT_EQ(3, changed(&_SHsvParam::hue, hue));
    }
    for (const std::int32_t percent : {-101, 101, kLowest, kHighest}) {
        EXPECT_EQ(3, changed(&_SHsvParam::saturation, percent));
        EXPECT_EQ(3, changed(&_SHsvParam::lightness, percent));
    }
    for (const std::int32_t bits : {0, 1, 8, 16, 23, 25, 32, 48}) {
        EXPECT_EQ(3, changed(&_SHsvParam::bitsPerPixel, bits));
    }
    EXPECT_EQ(3, changed(&_SHsvParam::width, 0));
    EXPECT_EQ(3, changed(&_SHsvParam::height, 0));
    EXPECT_EQ(3, changed(&_SHsvParam::rowBytes, 0));
}

TEST(Hsv, FieldsAtTheEndsOfTheirRangesAreTaken) {
    for (const std::int32_t hue : {-180, 180}) {
        for (const std::int32_t percent : {-100, 100}) {
            EXPECT_EQ(0, SetupStatus(HsvSettings(hue, percent, percent, 1)));
        }
    }
    EXPECT_EQ(0, SetupStatus(HsvSettings(1, 0, 0, -1)));
    _SHsvParam shortRow = HsvSettings(1, 0, 0, 1000);
    shortRow.rowBytes = 1;  // not compared with the width
    EXPECT_EQ(0, SetupStatus(shortRow));
}

TEST(Hsv, NullPointersAreRefused) {
    _SHsvParam param = HsvSettings(1, 0, 0, 1);
    void* handle = nullptr;
    EXPECT_EQ(3, SetupHsv(nullptr, &handle));
    EXPECT_EQ(3, SetupHsv(&param, nullptr));
    std::uint8_t line[3] = {1, 2, 3};
    EXPECT_EQ(3, ApplyOneLineHsv(nullptr, line));
    const HsvFilter filter(1, 0, 0, 1);
    EXPECT_EQ(3, filter.Apply(nullptr));
    Disposehsv(nullptr);
}

TEST(Hsv, ApplyChecksTheContextAgain) {
    const auto refused = [](auto field, auto value) {
        const HsvFilter filter(0, 0, 50, 2);
        filter.Words().*field = value;
        Bytes line = {1, 2, 3, 4, 5, 6};
        EXPECT_EQ(3, filter.Apply(line.data()));
        EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6}), line);
    };
    refused(&_SHsvParam::lightness, 0);  // now all three are 0
    refused(&_SHsvParam::lightness, 101);
    refused(&_SHsvParam::hue, -181);
    refused(&_SHsvParam::saturation, -101);
    refused(&_SHsvParam::bitsPerPixel, 32u);
    refused(&_SHsvParam::width, 0);
    refused(&_SHsvParam::height, 0u);
    refused(&_SHsvParam::rowBytes, 0u);
}

TEST(Hsv, ApplyWorksFromTheContextAsItIs) {
    const HsvFilter filter(0, 0, 1, 1);
    filter.Words().lightness = 0;
    filter.Words().hue = 120;
    filter.Words().width = 2;
    for (std::uint32_t i = 0; i < 256; ++i) {
        gStorage[i] = i;
    }
    Bytes line = {255, 0, 0, 255, 0, 0};
    EXPECT_EQ(0, filter.Apply(line.data()));
    EXPECT_EQ((Bytes{0, 255, 0, 0, 255, 0}), line);
}

TEST(Hsv, NegativeWidthTouchesNothing) {
    for (const std::int32_t width : {-1, -300, std::numeric_limits<std::int32_t>::min()}) {
        const HsvFilter filter(120, 0, 0, width);
        Bytes line = {255, 0, 0};
        EXPECT_EQ(0, filter.Apply(line.data()));
        EXPECT_EQ((Bytes{255, 0, 0}), line);
    }
}

TEST(Hsv, HueLeavesGreysAlone) {
    for (const std::int32_t hue : {-180, -1, 1, 60, 180}) {
        EXPECT_EQ(GreyLine(), Adjusted(hue, 0, 0, GreyLine()));
    }
}

TEST(Hsv, GreysSkipTheHueStageOnly) {
    const Bytes lightened = Adjusted(0, 0, 40, GreyLine());
    EXPECT_NE(GreyLine(), lightened);
    EXPECT_EQ(lightened, Adjusted(90, 0, 40, GreyLine()));
}

TEST(Hsv, SaturationLeavesGreysAlone) {
    for (const std::int32_t saturation : {-100, -1, 1, 100}) {
        EXPECT_EQ(GreyLine(), Adjusted(0, saturation, 0, GreyLine()));
    }
}

TEST(Hsv, SaturationMinus100MakesEveryPixelGrey) {
    Random random(21);
    const Bytes line = RandomLine(random, 4000);
    const Bytes grey = Adjusted(0, -100, 0, line);
    for (std::size_t i = 0; i < line.size(); i += 3) {
        const double max = std::max({line[i], line[i + 1], line[i + 2]});
        const double min = std::min({line[i], line[i + 1], line[i + 2]});
        const auto expected = static_cast<std::uint8_t>((((max + min) / 2.0) / 255.0) * 255.0);
        ASSERT_EQ((Bytes{expected, expected, expected}), Bytes(&grey[i], &grey[i] + 3));
    }
}

TEST(Hsv, SaturationPlus100DoublesTheChroma) {
    // l = 96 / 255, s = 64 / 192, doubled 2 / 3: q and p are 160 / 255 and 32 / 255, but the double product falls
    // just short of 160 and is truncated.
    EXPECT_EQ((Bytes{159, 32, 96}), Adjusted(0, 100, 0, {128, 64, 96}));
}

TEST(Hsv, LightnessMinus100IsBlack) {
    Random random(22);
    EXPECT_EQ(Bytes(300, 0), Adjusted(0, 0, -100, RandomLine(random, 100)));
}

TEST(Hsv, LightnessPlus100GivesOnly254ToTheDarkHalf) {
    const Bytes line = Adjusted(0, 0, 100, GreyLine());
    for (std::size_t i = 0; i < 256; ++i) {
        ASSERT_EQ(i < 128 ? 254 : 255, line[3 * i]) << i;
        ASSERT_EQ(i < 128 ? 254u : 255u, gStorage[i]) << i;
    }
}

TEST(Hsv, All201LightnessTables) {
    for (std::int32_t lightness = -100; lightness <= 100; ++lightness) {
        const HsvFilter filter(1, 0, lightness, 1);
        const HsvOracle oracle(1, 0, lightness);
        for (int i = 0; i < 256; ++i) {
            ASSERT_EQ(static_cast<std::uint32_t>(oracle.Entry(i)), gStorage[i]) << lightness << " " << i;
        }
    }
}

TEST(Hsv, LightnessTablesBySomeNumbers) {
    const auto entry = [](std::int32_t lightness, int i) {
        const HsvFilter filter(1, 0, lightness, 1);
        return gStorage[i];
    };
    EXPECT_EQ(200u, entry(0, 200));
    EXPECT_EQ(127u, entry(-50, 255));  // 255 x 0.5
    EXPECT_EQ(50u, entry(-50, 100));
    EXPECT_EQ(127u, entry(50, 0));    // 127.5
    EXPECT_EQ(177u, entry(50, 100));  // 50 + 127.5
    EXPECT_EQ(255u, entry(50, 255));
    EXPECT_EQ(2u, entry(1, 0));  // 2.55
}

TEST(Hsv, PureRedTurnsToGreenAndToBlue) {
    EXPECT_EQ((Bytes{0, 255, 0}), Adjusted(120, 0, 0, {255, 0, 0}));
    EXPECT_EQ((Bytes{0, 0, 255}), Adjusted(-120, 0, 0, {255, 0, 0}));
    EXPECT_EQ((Bytes{0, 255, 255}), Adjusted(180, 0, 0, {255, 0, 0}));
    EXPECT_EQ((Bytes{255, 255, 0}), Adjusted(60, 0, 0, {255, 0, 0}));
}

// Each row: a pixel in one sector and how its moving channel changes for +10 and -10 degrees, a step being
// (240 - 0) / 60 = 4.
TEST(Hsv, RotationInsideASectorMovesTheThirdChannel) {
    EXPECT_EQ((Bytes{240, 160, 0}), Adjusted(10, 0, 0, {240, 120, 0}));
    EXPECT_EQ((Bytes{240, 80, 0}), Adjusted(-10, 0, 0, {240, 120, 0}));
    EXPECT_EQ((Bytes{80, 240, 0}), Adjusted(10, 0, 0, {120, 240, 0}));
    EXPECT_EQ((Bytes{160, 240, 0}), Adjusted(-10, 0, 0, {120, 240, 0}));
    EXPECT_EQ((Bytes{0, 240, 160}), Adjusted(10, 0, 0, {0, 240, 120}));
    EXPECT_EQ((Bytes{0, 80, 240}), Adjusted(10, 0, 0, {0, 120, 240}));
    EXPECT_EQ((Bytes{160, 0, 240}), Adjusted(10, 0, 0, {120, 0, 240}));
    EXPECT_EQ((Bytes{240, 0, 80}), Adjusted(10, 0, 0, {240, 0, 120}));
    // From its own place, not from the whole degree: 61 lies at 15.25 degrees.
    EXPECT_EQ((Bytes{240, 65, 0}), Adjusted(1, 0, 0, {240, 61, 0}));
}

TEST(Hsv, RotationIntoAnotherSectorRebuildsFromWholeDegrees) {
    // 61 lies at 15.25 degrees, 15 in whole ones; every 60 degrees on, the pixel is made from 15.
    EXPECT_EQ((Bytes{180, 240, 0}), Adjusted(60, 0, 0, {240, 61, 0}));
    EXPECT_EQ((Bytes{0, 240, 60}), Adjusted(120, 0, 0, {240, 61, 0}));
    EXPECT_EQ((Bytes{0, 180, 240}), Adjusted(180, 0, 0, {240, 61, 0}));
    EXPECT_EQ((Bytes{60, 0, 240}), Adjusted(-120, 0, 0, {240, 61, 0}));
    EXPECT_EQ((Bytes{240, 0, 180}), Adjusted(-60, 0, 0, {240, 61, 0}));
    EXPECT_EQ((Bytes{240, 60, 0}), Adjusted(120, 0, 0, {61, 0, 240}));  // 255 to 375, back to 15 in sector 0
}

TEST(Hsv, RotationEndingOn360StaysInSector5) {
    // (255, 0, 10) lies at 357.6 degrees, 357 in whole ones; at 360 the blue channel moves on by 3 x 4.25 to -2.75.
    // Sector 0 would have made it 0.
    EXPECT_EQ((Bytes{255, 0, 2}), Adjusted(3, 0, 0, {255, 0, 10}));
    // From another sector, (1, 1, 32) at 240 degrees: 60 x (31 / 60.0) is a little more than 31 in double, and blue
    // comes to a little less than 1. Sector 0 would have made it 1.
    EXPECT_EQ((Bytes{32, 1, 0}), Adjusted(120, 0, 0, {1, 1, 32}));
}

TEST(Hsv, NegativeChannelGivesItsMagnitude) {
    // (255, 0, 20) lies at 355.3 degrees, 355 in whole ones; 5 more take its blue to 20 - 21.25.
    EXPECT_EQ((Bytes{255, 0, 1}), Adjusted(5, 0, 0, {255, 0, 20}));
}

TEST(Hsv, ContextsShareTheLatestTable) {
    const HsvFilter first(0, 0, -100, 1);
    const HsvFilter second(0, 0, 100, 1);
    Bytes line = {200, 200, 200};
    EXPECT_EQ(0, first.Apply(line.data()));
    EXPECT_EQ((Bytes{255, 255, 255}), line);
    line = {100, 100, 100};
    EXPECT_EQ(0, second.Apply(line.data()));
    EXPECT_EQ((Bytes{254, 254, 254}), line);
}

TEST(Hsv, DisposeLeavesTheTable) {
    { const HsvFilter filter(0, 0, -50, 1); }
    EXPECT_EQ(50u, gStorage[100]);
}

TEST(Hsv, HostsMayWriteTheTable) {
    const HsvFilter filter(0, 0, 1, 1);
    gStorage[7] = 99;
    Bytes line = {7, 7, 7};
    EXPECT_EQ(0, filter.Apply(line.data()));
    EXPECT_EQ((Bytes{99, 99, 99}), line);
    gStorage[99] = 3;  // the next line sees the next change
    EXPECT_EQ(0, filter.Apply(line.data()));
    EXPECT_EQ((Bytes{3, 3, 3}), line);
}

TEST(Hsv, OnlyTheLowByteOfATableEntryCounts) {
    const HsvFilter filter(0, 0, 1, 1);
    gStorage[7] = 0xABCDEF12;
    Bytes line = {7, 7, 7};
    EXPECT_EQ(0, filter.Apply(line.data()));
    EXPECT_EQ((Bytes{0x12, 0x12, 0x12}), line);
}

TEST(Hsv, GetHSLValueFollowsItsRamp) {
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, 0.0));
    EXPECT_EQ(0.5, GetHSLValue(0.25, 0.75, 0.5));
    EXPECT_EQ(0.75, GetHSLValue(0.25, 0.75, 1.0));
    EXPECT_EQ(0.75, GetHSLValue(0.25, 0.75, 2.9));
    EXPECT_EQ(0.75, GetHSLValue(0.25, 0.75, 3.0));
    EXPECT_EQ(0.5, GetHSLValue(0.25, 0.75, 3.5));
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, 4.0));
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, 5.9));
}

// At the ends of a ramp its expression or the flat part's is what is computed: they round differently, and a
// negative zero is kept or not.
TEST(Hsv, GetHSLValueComputesTheEndsOfItsRampsByTheirOwnExpressions) {
    EXPECT_EQ(1e-20, GetHSLValue(1.0, 1e-20, 1.0));
    EXPECT_EQ(0.0, GetHSLValue(1.0, 1e-20, 3.0));
    EXPECT_FALSE(std::signbit(GetHSLValue(-0.0, 1.0, 0.0)));
    EXPECT_TRUE(std::signbit(GetHSLValue(-0.0, 1.0, 4.0)));
    EXPECT_FALSE(std::signbit(GetHSLValue(-0.0, 1.0, 6.0))) << "is taken for 0";
}

TEST(Hsv, GetHSLValueWrapsOnce) {
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, 6.0));
    EXPECT_EQ(0.5, GetHSLValue(0.25, 0.75, 6.5));
    EXPECT_EQ(0.5, GetHSLValue(0.25, 0.75, -2.5));
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, -2.0));
    EXPECT_EQ(0.75, GetHSLValue(0.25, 0.75, 8.0));
    EXPECT_EQ(0.25, GetHSLValue(0.25, 0.75, 12.5));        // 6.5, not 0.5
    EXPECT_EQ(0.25 - 0.5, GetHSLValue(0.25, 0.75, -7.0));  // -1, not 5: below the span
}

TEST(Hsv, NowDegreeStateBySixties) {
    for (long angle = 0; angle < 360; ++angle) {
        ASSERT_EQ(angle / 60, nowDegreeState(angle)) << angle;
    }
    EXPECT_EQ(5, nowDegreeState(360));
    EXPECT_EQ(5, nowDegreeState(std::numeric_limits<long>::max()));
}

TEST(Hsv, NowDegreeStateNegativeIsFive) {
    EXPECT_EQ(5, nowDegreeState(-1));
    EXPECT_EQ(5, nowDegreeState(-300));
    EXPECT_EQ(5, nowDegreeState(std::numeric_limits<long>::min()));
}

TEST(Hsv, AfterDegreeStateTakesMagnitude) {
    for (long angle = 0; angle < 360; ++angle) {
        ASSERT_EQ(angle / 60, afterDegreeState(angle)) << angle;
        ASSERT_EQ(angle / 60, afterDegreeState(-angle)) << angle;
    }
    EXPECT_EQ(5, afterDegreeState(360));
    EXPECT_EQ(0, afterDegreeState(-30));
    EXPECT_EQ(5, afterDegreeState(std::numeric_limits<long>::max()));
    EXPECT_EQ(5, afterDegreeState(std::numeric_limits<long>::min()));
}

TEST(Hsv, RefusedSetupLeavesTheTable) {
    { const HsvFilter filter(0, 0, -50, 1); }
    EXPECT_EQ(3, SetupStatus(HsvSettings(0, 0, 101, 1)));
    EXPECT_EQ(3, SetupStatus(HsvSettings(0, 0, 0, 1)));
    EXPECT_EQ(50u, gStorage[100]);
}

}  // namespace
