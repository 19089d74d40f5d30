#include "programs/options/ToneSteps.h"

#include "Expect.h"
#include "ToneWorld/BrightnessContrast.h"
#include "programs/page/ToneTables.h"

namespace platen_tool {
namespace {

using Given = std::vector<std::pair<const char*, const char*>>;

std::vector<ToneStep> Steps(const Given& options) {
    ToneStepList list;
    for (const auto& [name, value] : options) {
        EXPECT_TRUE(list.Take(name, value)) << name;
    }
    return list.Finish();
}

std::vector<std::string> Texts(const Given& options) {
    std::vector<std::string> texts;
    for (const ToneStep& step : Steps(options)) {
        texts.push_back(StepText(step));
    }
    return texts;
}

using Strings = std::vector<std::string>;

TEST(ToneSteps, BrightnessAndContrastSideBySideMakeOneStep) {
    EXPECT_EQ(Texts({{"brightness", "10"}, {"contrast", "-5"}}), (Strings{"brightness 10, contrast -5"}));
    EXPECT_EQ(Texts({{"contrast", "-5"}, {"brightness", "10"}}), (Strings{"brightness 10, contrast -5"}));
}

TEST(ToneSteps, ARepeatedOptionBeginsAnotherStep) {
    EXPECT_EQ(Texts({{"brightness", "10"}, {"contrast", "1"}, {"brightness", "20"}}),
              (Strings{"brightness 10, contrast 1", "brightness 20"}));
    EXPECT_EQ(Texts({{"gamma", "2"}, {"gamma", "2"}}).size(), 2u);
}

TEST(ToneSteps, AStepBetweenKeepsBrightnessAndContrastApart) {
    EXPECT_EQ(Texts({{"brightness", "10"}, {"gamma", "2"}, {"contrast", "5"}}),
              (Strings{"brightness 10", "levels 0 to 255, gamma 2", "contrast 5"}));
}

TEST(ToneSteps, LevelsTakeTwoThreeOrFiveParts) {
    EXPECT_EQ(Texts({{"levels", "10,240"}}), (Strings{"levels 10 to 240, gamma 1"}));
    EXPECT_EQ(Texts({{"levels", "10,240,1.5"}}), (Strings{"levels 10 to 240, gamma 1.5"}));
    EXPECT_EQ(Texts({{"levels", "10,240,1.5,5,250"}}), (Strings{"levels 10 to 240, gamma 1.5, output 5 to 250"}));
    for (const char* text : {"10", "10,240,1,5", "10,240,1,5,250,6"}) {
        EXPECT_EQ(UsageText([text] {
                      Steps({{"levels", text}});
                  }),
                  std::string("--levels: '") + text + "' is not BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]");
    }
}

TEST(ToneSteps, LevelsErrorsNameThePartAndItsRange) {
    const auto text = [](const char* value) { return UsageText([value] { Steps({{"levels", value}}); }); };
    EXPECT_EQ(text("248,255"), "--levels: BLACK: '248' is out of range; allowed: 0 to 247");
    EXPECT_EQ(text("0,7"), "--levels: WHITE: '7' is out of range; allowed: 8 to 255");
    EXPECT_EQ(text("0,255,0.05"), "--levels: GAMMA: '0.05' is out of range; allowed: 0.1 to 9.99");
    EXPECT_EQ(text("0,255,1,-1,255"), "--levels: OUTBLACK: '-1' is out of range; allowed: 0 to 247");
    EXPECT_EQ(text("0,255,1,0,256"), "--levels: OUTWHITE: '256' is out of range; allowed: 8 to 255");
    EXPECT_EQ(text("10,17"), "--levels: input white must be at least 8 above input black, not 10,17");
    EXPECT_EQ(text("0,255,1,10,17"), "--levels: output white must be at least 8 above output black, not 10,17");
    EXPECT_EQ(Texts({{"levels", "10,18"}}).size(), 1u);
}

TEST(ToneSteps, LevelsOfOneChannel) {
    EXPECT_EQ(Texts({{"levels", "R:10,240"}, {"levels", "G:0,200,2"}, {"levels", "B:0,255,1,5,250"}}),
              (Strings{"levels of red 10 to 240, gamma 1", "levels of green 0 to 200, gamma 2",
                       "levels of blue 0 to 255, gamma 1, output 5 to 250"}));
    const auto text = [](const char* value) { return UsageText([value] { Steps({{"levels", value}}); }); };
    EXPECT_EQ(text("X:1,9"), "--levels: 'X:' is not one of the channels R:, G: and B:");
    EXPECT_EQ(text("RG:1,9"), "--levels: 'RG:' is not one of the channels R:, G: and B:");
    EXPECT_EQ(text(":1,9"), "--levels: ':' is not one of the channels R:, G: and B:");
    EXPECT_EQ(text("R:10"), "--levels: '10' is not BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]");
    for (const char* value : {"R:10,240", "G:0,200,2", "B:0,255,0.5,5,250", "3,99", "0,255,1,5,250"}) {
        const std::string again = LevelsText(std::get<LevelsStep>(Steps({{"levels", value}}).front()));
        EXPECT_EQ(again, value);
    }
    EXPECT_TRUE(NeedsColour(Steps({{"levels", "B:0,9"}}).front()));
    EXPECT_FALSE(NeedsColour(Steps({{"levels", "0,9"}}).front()));
}

// A channel's table is the one that the same levels give all three.
TEST(ToneTables, LevelsOfOneChannelLeaveTheOthers) {
    const ToneTables identity = FoldToneSteps({}, 24);
    const ToneTables all = FoldToneSteps(Steps({{"gamma", "2"}, {"levels", "20,200,1.5"}, {"contrast", "20"}}), 24);
    const ToneTables without = FoldToneSteps(Steps({{"gamma", "2"}, {"contrast", "20"}}), 24);
    const ToneTables green =
        FoldToneSteps(Steps({{"gamma", "2"}, {"levels", "G:20,200,1.5"}, {"contrast", "20"}}), 24);
    EXPECT_EQ(green.green, all.green);
    EXPECT_EQ(green.red, without.red);
    EXPECT_EQ(green.blue, without.blue);
    const ToneTables three = FoldToneSteps(Steps({{"levels", "R:20,200"},
                                                  {"levels", "G:20,200"},
                                                  {"levels", "B:20,200"},
                                                  {"balance-shadows", "9,0,-9"}}),
                                           24);
    EXPECT_TRUE(three == FoldToneSteps(Steps({{"levels", "20,200"}, {"balance-shadows", "9,0,-9"}}), 24));
    EXPECT_TRUE(FoldToneSteps(Steps({{"levels", "R:20,200"}}), 8) == identity) << "a grey page has no red";
    EXPECT_TRUE(FoldToneSteps(Steps({{"auto-levels", "0.5,0.5"}, {"auto-white", ""}}), 24) == identity);
}

TEST(ToneSteps, AutomaticStepsKeepTheirPlaces) {
    EXPECT_EQ(Texts({{"auto-white", ""}, {"gamma", "2"}, {"auto-levels", "1,0.25"}}),
              (Strings{"automatic white", "levels 0 to 255, gamma 2", "automatic levels, 1 and 0.25 % cut"}));
    EXPECT_EQ(UsageText([] { Steps({{"auto-levels", "1"}}); }), "--auto-levels: '1' is not LOW,HIGH");
    EXPECT_EQ(UsageText([] {
                  Steps({{"auto-levels", "50,1"}});
              }),
              "--auto-levels: LOW: '50' is out of range; allowed: 0 to 49");
    EXPECT_EQ(UsageText([] {
                  Steps({{"auto-levels", "1,-1"}});
              }),
              "--auto-levels: HIGH: '-1' is out of range; allowed: 0 to 49");
}

TEST(ToneSteps, CurveKindBelongsToTheCurveBesideIt) {
    const char* points = "0,0:64,70:128,140:192,200:255,255";
    const std::string tail = " 0,0 64,70 128,140 192,200 255,255";
    EXPECT_EQ(Texts({{"curve", points}}), (Strings{"spline" + tail}));
    EXPECT_EQ(Texts({{"curve", points}, {"curve-kind", "polyline"}}), (Strings{"polyline" + tail}));
    EXPECT_EQ(Texts({{"curve-kind", "polyline"}, {"curve", points}}), (Strings{"polyline" + tail}));
    EXPECT_EQ(Texts({{"curve", points}, {"curve-kind", "polyline"}, {"curve-kind", "spline"}, {"curve", points}}),
              (Strings{"polyline" + tail, "spline" + tail}));
    EXPECT_EQ(UsageText([] { Steps({{"curve-kind", "spline"}}); }), "--curve-kind: needs a --curve");
    EXPECT_EQ(UsageText([] {
                  Steps({{"curve-kind", "round"}});
              }),
              "--curve-kind: 'round' is not spline or polyline");
}

TEST(ToneSteps, CurvePointsAreFivePairsInIncreasingOrder) {
    const auto text = [](const char* value) { return UsageText([value] { Steps({{"curve", value}}); }); };
    EXPECT_EQ(text("0,0:255,255"), "--curve: '0,0:255,255' has 2 points; five are needed: x,y:x,y:x,y:x,y:x,y");
    EXPECT_EQ(text("0,0:64:128,128:192,192:255,255"), "--curve: '64' is not a point x,y");
    EXPECT_EQ(text("240,0:241,0:242,0:243,0:244,0"),
              "--curve: point 1 x: '240' is out of range; allowed: 0 to 239");
    EXPECT_EQ(text("0,0:3,0:128,0:192,0:255,0"), "--curve: point 2 x: '3' is out of range; allowed: 4 to 243");
    EXPECT_EQ(text("0,0:64,256:128,0:192,0:255,0"), "--curve: point 2 y: '256' is out of range; allowed: 0 to 255");
    EXPECT_EQ(text("0,0:64,0:64,0:192,0:255,0"),
              "--curve: point 3: x must be greater than that of the point before");
    EXPECT_EQ(text("0,0:64,0:128,0:192,0:15.5,0"),
              "--curve: point 5 x: '15.5' is out of range; allowed: 16 to 255");
}

TEST(ToneSteps, BalanceTakesThreeNumbersAndNeedsColour) {
    const auto steps = Steps({{"balance-shadows", "-10,0,5"}, {"balance-midtones", "1,2,3"}});
    EXPECT_EQ(StepText(steps[0]), "balance shadows -10,0,5");
    EXPECT_EQ(StepText(steps[1]), "balance midtones 1,2,3");
    EXPECT_TRUE(NeedsColour(steps[0]));
    EXPECT_FALSE(NeedsColour(BrightnessContrastStep{}));
    EXPECT_EQ(UsageText([] {
                  Steps({{"balance-highlights", "1,2"}});
              }),
              "--balance-highlights: '1,2' is not R,G,B");
    EXPECT_EQ(UsageText([] {
                  Steps({{"balance-highlights", "1,2,101"}});
              }),
              "--balance-highlights: '101' is out of range; allowed: -100 to 100");
}

TEST(ToneSteps, OtherOptionsAreLeftAlone) {
    ToneStepList list;
    EXPECT_FALSE(list.Take("saturation", "5"));
    EXPECT_TRUE(list.Finish().empty());
}

TEST(ToneTables, NoStepIsTheIdentity) {
    const ToneTables tables = FoldToneSteps({}, 24);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.red[i], i);
        EXPECT_EQ(tables.green[i], i);
        EXPECT_EQ(tables.blue[i], i);
    }
}

// Every kind of step at its least must change the curve: a value that did not reach its property, or that the
// library drops as out of range, would not.
TEST(ToneTables, EveryStepReachesTheCurveAtBothEndsOfItsRange) {
    const ToneTables identity = FoldToneSteps({}, 24);
    const Given options[] = {
        {{"brightness", "-100"}},
        {{"brightness", "100"}},
        {{"contrast", "-100"}},
        {{"contrast", "100"}},
        {{"levels", "247,255,0.1,0,8"}},
        {{"levels", "0,8,9.99,247,255"}},
        {{"gamma", "0.1"}},
        {{"gamma", "9.99"}},
        {{"curve", "239,255:243,0:247,255:251,0:255,255"}},
        {{"curve", "0,255:4,0:8,255:12,0:16,255"}, {"curve-kind", "polyline"}},
        {{"curve-gamma", "-100"}},
        {{"curve-gamma", "100"}},
        {{"balance-shadows", "100,-100,1"}},
        {{"balance-midtones", "100,-100,5"}},
        {{"balance-highlights", "100,-100,5"}},
    };
    for (const Given& given : options) {
        EXPECT_FALSE(FoldToneSteps(Steps(given), 24) == identity) << given[0].first << " " << given[0].second;
    }
}

TEST(ToneTables, StepsActInTheirOrder) {
    const ToneTables both = FoldToneSteps(Steps({{"brightness", "50"}, {"gamma", "0.5"}}), 24);
    const ToneTables first = FoldToneSteps(Steps({{"brightness", "50"}}), 24);
    const ToneTables second = FoldToneSteps(Steps({{"gamma", "0.5"}}), 24);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(both.red[i], second.red[first.red[i]]);
    }
}

TEST(ToneTables, CurvePassesThroughItsPoints) {
    const ToneTables tables =
        FoldToneSteps(Steps({{"curve", "0,10:60,80:120,130:200,180:255,240"}, {"curve-kind", "polyline"}}), 24);
    EXPECT_EQ(tables.red[0], 10);
    EXPECT_EQ(tables.green[60], 80);
    EXPECT_EQ(tables.blue[120], 130);
    EXPECT_EQ(tables.red[200], 180);
}

TEST(ToneTables, BalanceActsOnItsChannelOnlyAndOnColourOnly) {
    const auto steps = Steps({{"balance-midtones", "0,40,0"}});
    const ToneTables identity = FoldToneSteps({}, 24);
    const ToneTables colour = FoldToneSteps(steps, 24);
    EXPECT_EQ(colour.red, identity.red);
    EXPECT_EQ(colour.blue, identity.blue);
    EXPECT_GT(colour.green[127], 127);
    EXPECT_TRUE(FoldToneSteps(steps, 8) == identity);
}

}  // namespace
}  // namespace platen_tool
