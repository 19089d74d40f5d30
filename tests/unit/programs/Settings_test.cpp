#include "programs/options/Settings.h"
#include "programs/options/Arguments.h"

#include "Expect.h"

namespace platen_tool {
namespace {

constexpr Terminals kPipes{false, false};

Settings Make(std::vector<std::string> words, const Terminals& terminals = {}) {
    return MakeSettings(ParseArguments(kAdjust, words), terminals);
}

// Settings with an input and an output.
Settings MakeWith(std::vector<std::string> words) {
    words.insert(words.end(), {"in.png", "-o", "out.png"});
    return Make(words);
}

std::string Refusal(const std::vector<std::string>& words) {
    return UsageText([&] { MakeWith(words); });
}

TEST(Settings, EveryValueArrives) {
    const Settings s = MakeWith({"--saturation=-100",
                                 "--hue=180",
                                 "--lightness=5",
                                 "--sharpness=-2",
                                 "--mode=gray",
                                 "--depth=8",
                                 "--threshold=40.5",
                                 "--negative",
                                 "--quality=50",
                                 "--page=2-5",
                                 "--jobs=3",
                                 "--threads=1",
                                 "-k",
                                 "-f",
                                 "--strip",
                                 "--strict-stream",
                                 "--max-side=9",
                                 "--max-pixels=99",
                                 "-n",
                                 "--stats",
                                 "--plot=a.svg",
                                 "--no-progress",
                                 "-v",
                                 "--input-resolution=150",
                                 "--set-resolution=1x2",
                                 "--format=tiff"});
    EXPECT_EQ(s.hsv.saturation, -100);
    EXPECT_EQ(s.hsv.hue, 180);
    EXPECT_EQ(s.hsv.lightness, 5);
    EXPECT_EQ(s.sharpness, -2);
    EXPECT_EQ(s.pixels.mode, PixelMode::kGray);
    EXPECT_EQ(s.pixels.depth, 8);
    EXPECT_EQ(s.pixels.threshold, 40.5);
    EXPECT_TRUE(s.pixels.negative);
    EXPECT_EQ(s.quality, 50);
    EXPECT_EQ(s.pages->first, 2u);
    EXPECT_EQ(s.pages->last, 5u);
    EXPECT_EQ(s.jobs, 3);
    EXPECT_EQ(s.threads, 1);
    EXPECT_TRUE(s.keepGoing && s.force && s.strip && s.read.strictStream && s.dryRun && s.stats && s.verbose);
    EXPECT_EQ(s.read.limits.maxSide, 9u);
    EXPECT_EQ(s.read.limits.maxPixels, 99u);
    EXPECT_EQ(s.plot, "a.svg");
    EXPECT_EQ(s.progress, false);
    EXPECT_EQ(s.inputResolution->x.numerator, 150u);
    EXPECT_EQ(s.setResolution->y.numerator, 2u);
    EXPECT_EQ(s.format, Container::kTiff);
}

TEST(Settings, SizeHasFourWays) {
    EXPECT_EQ(MakeWith({"--scale=50%"}).size.scale, 0.5);
    EXPECT_EQ(MakeWith({"--scale=0.5"}).size.scale, 0.5);
    EXPECT_EQ(MakeWith({"--size=10x20"}).size.height, 20u);
    EXPECT_EQ(MakeWith({"--width=10", "--height=30"}).size.height, 30u);
    EXPECT_EQ(MakeWith({"--resolution=300x150"}).size.resolution->y.numerator, 150u);
}

TEST(Settings, OnlyOneWayAtATime) {
    const char* message = "only one of --scale, --size, --width with --height, and --resolution can be given";
    EXPECT_EQ(Refusal({"--scale=2", "--width=5"}), message);
    EXPECT_EQ(Refusal({"--size=2x2", "--resolution=5"}), message);
    EXPECT_EQ(Refusal({"--shrink-only"}), "--shrink-only: no option scales the page");
}

TEST(Settings, OnlyTheCommandLinesShrinkOnlyNeedsASize) {
    ParsedArguments arguments = ParseArguments(kAdjust, {"--shrink-only", "in.png", "-o", "out.png"});
    EXPECT_THROW(MakeSettings(arguments, {}), Error);
    arguments.options.front().presetNo = 1;
    EXPECT_TRUE(MakeSettings(arguments, {}).size.shrinkOnly);
}

TEST(Settings, WrongValuesAreNamed) {
    EXPECT_EQ(Refusal({"--saturation=101"}), "--saturation: '101' is out of range; allowed: -100 to 100");
    EXPECT_EQ(Refusal({"--hue=-181"}), "--hue: '-181' is out of range; allowed: -180 to 180");
    EXPECT_EQ(Refusal({"--lightness=x"}), "--lightness: 'x' is not a whole number from -100 to 100");
    EXPECT_EQ(Refusal({"--sharpness=4"}), "--sharpness: '4' is out of range; allowed: -2 to 3");
    EXPECT_EQ(Refusal({"--scale=0"}), "--scale: '0' is out of range; allowed: 0.0001 to 1000");
    EXPECT_EQ(Refusal({"--scale=0%"}), "--scale: '0' is out of range; allowed: 0.01 to 100000");
    EXPECT_EQ(Refusal({"--size=10"}), "--size: '10' is not WxH");
    EXPECT_EQ(Refusal({"--width=0"}), "--width: '0' is out of range; allowed: 1 to 2147483647");
    EXPECT_EQ(Refusal({"--resolution=1x2x3"}), "--resolution: '1x2x3' is not DPI or XxY");
    EXPECT_EQ(Refusal({"--page=1-2-3"}), "--page: '1-2-3' is not N, N-M or N-");
    EXPECT_EQ(Refusal({"--page=3-2"}), "--page: '2' is out of range; allowed: 3 to 4294967295");
    EXPECT_EQ(Refusal({"--mode=rgb"}), "--mode: 'rgb' is not one of lineart, gray, color");
    EXPECT_EQ(Refusal({"--depth=4"}), "--depth: '4' is not one of 1, 8, 16");
    EXPECT_EQ(Refusal({"--format=gif"}), "--format: 'gif' is not one of png, tiff, jpeg, pdf, pnm");
    EXPECT_EQ(Refusal({"--threshold=101"}), "--threshold: '101' is out of range; allowed: 0 to 100");
    EXPECT_EQ(Refusal({"--quality=0"}), "--quality: '0' is out of range; allowed: 1 to 100");
    EXPECT_EQ(Refusal({"--jobs=0"}), "--jobs: '0' is out of range; allowed: 1 to 256");
    EXPECT_EQ(Refusal({"--threads=65"}), "--threads: '65' is out of range; allowed: 1 to 64");
}

TEST(Settings, OrderNamesTheStagesInUse) {
    const Settings s = MakeWith({"--order=sharpen,scale", "--sharpness=1", "--scale=2"});
    EXPECT_EQ(s.order[0], Adjustment::kSharpen);
    EXPECT_EQ(s.order[1], Adjustment::kScale);
    EXPECT_EQ(Refusal({"--order=scale", "--gamma=2"}), "--order: 'tone' is missing, but other options need it");
    EXPECT_EQ(Refusal({"--order=scale,scale"}), "--order: 'scale' is given twice");
    EXPECT_EQ(Refusal({"--order=scale,blur"}), "--order: 'blur' is not one of tone, hsv, scale, sharpen");
}

TEST(Settings, DepthsThatCannotBe) {
    EXPECT_EQ(Refusal({"--depth=16", "--gamma=2"}),
              "--depth=16: tone, colour and sharpness options work on 8 bits");
    EXPECT_EQ(Refusal({"--mode=lineart", "--depth=8"}), "--mode=lineart: has 1 bit, so --depth must be 1");
    EXPECT_EQ(Refusal({"--mode=color", "--depth=1"}), "--depth=1: colour at 1 bit is not supported");
}

TEST(Settings, StandardInputAndOutputStandInWhereTheyAreNoTerminals) {
    const Settings s = Make({"--gamma=2"}, kPipes);
    EXPECT_EQ(s.inputs, (std::vector<std::string>{"-"}));
    EXPECT_EQ(s.output, "-");
    EXPECT_EQ(UsageText([] { Make({}); }), "no input; see platen --help");
    EXPECT_EQ(UsageText([] { Make({"a.png"}); }), "no output; give -o FILE");
    EXPECT_EQ(UsageText([] {
                  Make({"a.png", "-o", "-", "--plot=-"});
              }),
              "--plot=-: the page goes to standard output; name a file");
    EXPECT_EQ(Make({"a.png", "-o", "b.png", "--plot=-"}).plot, "-");
    EXPECT_EQ(Make({"a.png", "-n", "--plot=-"}).plot, "-");
    EXPECT_EQ(UsageText([] { Make({"-", "-"}, kPipes); }), "standard input can be named only once");
    EXPECT_EQ(Make({"-n", "a.png"}).output, "");
}

}  // namespace
}  // namespace platen_tool
