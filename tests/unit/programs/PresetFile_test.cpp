#include "programs/options/PresetFile.h"

#include "Expect.h"
#include "programs/base/Numbers.h"
#include "programs/options/Arguments.h"
#include "programs/options/Settings.h"
#include "programs/page/ToneTables.h"

namespace platen_tool {
namespace {

std::string Text(const std::vector<GivenOption>& options) {
    std::string text;
    for (const GivenOption& option : options) {
        text += (option.newStep ? "|" : "") + option.name + "=" + option.value + " ";
    }
    return text;
}

std::string Parsed(const std::string& text) {
    return Text(ParsePreset(text, "p.toml").options);
}

std::string Refusal(const std::string& text) {
    return UsageText([&] { ParsePreset(text, "p.toml"); });
}

TEST(PresetFile, KeysKeepTheFilesOrderNotTheAlphabets) {
    EXPECT_EQ(Parsed("sharpness = 1\nmode = \"gray\"\nnegative = true\nhue = -5\n"),
              "sharpness=1 mode=gray negative= hue=-5 ");
    EXPECT_EQ(
        Parsed("[[tone]]\nlevels = [1, 200]\n[[tone]]\nbrightness = 4\n[[tone]]\nbalance-midtones = [1, 2, -3]\n"),
        "|levels=1,200 |brightness=4 |balance-midtones=1,2,-3 ");
    EXPECT_EQ(Parsed("[[tone]]\ncontrast = 4\nbrightness = 3\n"), "|contrast=4 brightness=3 ");
    EXPECT_EQ(Parsed("tone = [{gamma = 2}, {curve-gamma = 7}]"), "|gamma=2 |curve-gamma=7 ");
}

TEST(PresetFile, ValuesComeAsTheCommandLineWouldGiveThem) {
    EXPECT_EQ(Parsed("[[tone]]\nlevels = [30, 220, 0.9]\n"), "|levels=30,220,0.9 ");
    EXPECT_EQ(Parsed("[[tone]]\nlevels = \"30,220\"\n"), "|levels=30,220 ");
    EXPECT_EQ(Parsed("[[tone]]\ncurve = [[0, 0], [50, 40.5], [128, 128], [200, 215], [255, 255]]\n"
                     "curve-kind = \"polyline\"\n"),
              "|curve=0,0:50,40.5:128,128:200,215:255,255 curve-kind=polyline ");
    EXPECT_EQ(Parsed("order = [\"scale\", \"tone\"]"), "order=scale,tone ");
    EXPECT_EQ(Parsed("resolution = 199.5\nthreshold = 1e1\n"), "resolution=199.5 threshold=10 ");
    EXPECT_EQ(ParsePreset("description = \"a b\"", "p").description, "a b");
    EXPECT_EQ(Parsed(""), "");
}

// What an unknown key's message ends with.
const std::string kUnknown = "'; presets hold options about the picture (see platen-presets(5))";

TEST(PresetFile, WhatIsWrongIsNamedWithItsLine) {
    EXPECT_EQ(Refusal("\nfoo = 3\n"), "p.toml:2: unknown key 'foo" + kUnknown);
    EXPECT_EQ(Refusal("\"f\\u001bo\" = 3\n"), "p.toml:1: unknown key 'f?o" + kUnknown);
    EXPECT_EQ(Refusal("mode = \"gray\"\n\noutput = \"x\"\n"), "p.toml:3: unknown key 'output" + kUnknown);
    EXPECT_EQ(Refusal("force = true"), "p.toml:1: unknown key 'force" + kUnknown);
    EXPECT_EQ(Refusal("[[tone]]\ngamma = 2\n[[tone]]\nbar = 1\n"), "p.toml:4: unknown key 'bar" + kUnknown);
    EXPECT_EQ(Refusal("\n\nhue = 300"), "p.toml:3: --hue: '300' is out of range; allowed: -180 to 180");
    EXPECT_EQ(Refusal("[[tone]]\n\nlevels = [9, 10]"),
              "p.toml:3: --levels: input white must be at least 8 above input black, not 9,10");
    EXPECT_EQ(Refusal("[[tone]]\ngamma = nan"), "p.toml:2: --gamma: 'nan' is not a number from 0.1 to 9.99");
    EXPECT_EQ(Refusal("gamma = 2"), "p.toml:1: gamma: is a tone step and must be under [[tone]]");
    EXPECT_EQ(Refusal("[[tone]]\nhue = 2"),
              "p.toml:2: hue: is not a tone step and must be above the first [[tone]]");
    EXPECT_EQ(Refusal("[[tone]]\ngamma = 2\ndescription = \"a\""),
              "p.toml:3: description: is not a tone step and must be above the first [[tone]]");
    EXPECT_EQ(Refusal("[[tone]]\ngamma = 2\nbrightness = 3\n"),
              "p.toml:3: brightness: a [[tone]] holds one step; this starts another");
    EXPECT_EQ(Refusal("mode = \"gray\"\n[[tone]]\n"), "p.toml:2: tone: has no step");
    EXPECT_EQ(Refusal("[[tone]]\ncurve-kind = \"spline\"\n"), "p.toml:2: --curve-kind: needs a --curve");
    EXPECT_EQ(Refusal("mode = \"gray\"\ntone = []"), "p.toml:2: tone: has no step");
    EXPECT_EQ(Refusal("[[tone]]\ncurve = [[0, 0], [9, 9]]"),
              "p.toml:2: --curve: '0,0:9,9' has 2 points; five are needed: x,y:x,y:x,y:x,y:x,y");
    EXPECT_EQ(Refusal("tone = 3"), "p.toml:1: tone: must be tables, [[tone]]");
    EXPECT_EQ(Refusal("tone = [3]"), "p.toml:1: tone: must be tables, [[tone]]");
    EXPECT_EQ(Refusal("negative = false"), "p.toml:1: negative: can only be true; leave it out otherwise");
    EXPECT_EQ(Refusal("negative = 2"), "p.toml:1: negative: can only be true; leave it out otherwise");
    EXPECT_EQ(Refusal("mode = 1979-05-27"), "p.toml:1: mode: must be a number, a string or a list of them");
    EXPECT_EQ(Refusal("order = [true]"), "p.toml:1: order: must be a number, a string or a list of them");
    EXPECT_EQ(Refusal("description = 3"), "p.toml:1: description: must be one line of text");
    EXPECT_EQ(Refusal("description = \"a\\nb\""), "p.toml:1: description: must be one line of text");
    EXPECT_EQ(Refusal("a = 1\nhue = = 2\n").find("p.toml:2: "), 0u);
    EXPECT_EQ(Refusal("hue = 1\nhue = 2\n").find("p.toml:2: "), 0u);
    EXPECT_EQ(Refusal("description = \"\xff\"").find("p.toml:1: "), 0u);
}

TEST(PresetFile, OnlyStringsAndCommentsHoldMoreThanAscii) {
    for (const std::string text :
         {"\xC3\xA9 = 1\n", "sharpness = \xC3\xA9\n", "sharpness = 1 \xEF\xB1\xBF\n", "\xE3\x81\x82 = 1", "\x80",
          "\"\" = '' \xC3\xA9", "[\xC3\xA9tone]", "[[\xC3\xA9tone]]", "tone.\xC3\xA9 = 1", "[tone.\xC3\xA9]",
          "a = {\xC3\xA9 = 1}"}) {
        EXPECT_TRUE(Refusal(text).starts_with("p.toml:1: ")) << text;
    }
    for (const std::string text :
         {"description = \"\xC3\xA9 \xEF\xB1\xBF\"", "description = '\xC3\xA9\\'",
          "description = \"\"\"\\\n \xC3\xA9\"\"\"", "description = \"\" # \xC3\xA9", "\xEF\xBB\xBF# \xC3\xA9"}) {
        EXPECT_EQ(Parsed(text + "\nsharpness = 1\n"), "sharpness=1 ") << text;
    }
}

TEST(PresetFile, EveryMemberOfAListCounts) {
    EXPECT_EQ(Refusal("[[tone]]\nlevels = [\"\", 30, 220]"),
              "p.toml:2: --levels: BLACK: '' is not a whole number from 0 to 247");
    EXPECT_EQ(Refusal("[[tone]]\nlevels = [[30, 220]]"),
              "p.toml:2: levels: must be a number, a string or a list of them");
    EXPECT_EQ(Refusal("[[tone]]\ncurve = [[0, 0], [[50, 50]], [128, 128], [200, 200], [255, 255]]"),
              "p.toml:2: curve: must be a number, a string or a list of them");
    EXPECT_EQ(Refusal("[[tone]]\ncurve = [[0, 0], [], [128, 128], [200, 200], [255, 255]]"),
              "p.toml:2: --curve: '' is not a point x,y");
}

TEST(PresetFile, PictureOptionsBelongInOthersDoNot) {
    std::size_t count = 0;
    for (const OptionSpec& spec : OptionTable()) {
        const std::string name = spec.name;
        count += IsPresetOption(name);
        const bool toneGroup = std::string(spec.group).starts_with("Tone");
        EXPECT_EQ(ToneStepList::Knows(name), toneGroup) << name;
    }
    EXPECT_EQ(count, 40u);
    for (const char* name :
         {"output", "force", "plot", "stats", "jobs", "page", "preset", "save-preset", "nonsense"}) {
        EXPECT_FALSE(IsPresetOption(name)) << name;
    }
}

// Settings of a command line, and of the preset that it would save.
void ExpectRoundTrip(const std::vector<std::string>& words) {
    ParsedArguments first = ParseArguments(kAdjust, words);
    first.operands = {"-"};
    const std::string text = PresetText(first.options);
    ParsedArguments second;
    second.options = ParsePreset(text, "p").options;
    second.operands = {"-"};
    const Settings a = MakeSettings(first, {false, false});
    const Settings b = MakeSettings(second, {false, false});
    ASSERT_EQ(a.tone.size(), b.tone.size()) << text;
    for (std::size_t i = 0; i < a.tone.size(); ++i) {
        EXPECT_EQ(StepText(a.tone[i]), StepText(b.tone[i])) << text;
    }
    EXPECT_TRUE(FoldToneSteps(a.tone, 24) == FoldToneSteps(b.tone, 24)) << text;
    EXPECT_EQ(a.hsv.hue, b.hsv.hue);
    EXPECT_EQ(a.hsv.saturation, b.hsv.saturation);
    EXPECT_EQ(a.hsv.lightness, b.hsv.lightness);
    EXPECT_EQ(a.sharpness, b.sharpness);
    EXPECT_EQ(a.order, b.order);
    EXPECT_EQ(a.size.scale, b.size.scale);
    EXPECT_EQ(a.size.width, b.size.width);
    EXPECT_EQ(a.size.height, b.size.height);
    EXPECT_EQ(a.size.shrinkOnly, b.size.shrinkOnly);
    EXPECT_EQ(a.pixels.mode, b.pixels.mode);
    EXPECT_EQ(a.pixels.depth, b.pixels.depth);
    EXPECT_EQ(a.pixels.threshold, b.pixels.threshold);
    EXPECT_EQ(a.pixels.negative, b.pixels.negative);
    EXPECT_EQ(a.format, b.format);
    EXPECT_EQ(a.quality, b.quality);
    EXPECT_EQ(a.strip, b.strip);
    const std::pair<const std::optional<Resolution>&, const std::optional<Resolution>&> resolutions[] = {
        {a.size.resolution, b.size.resolution},
        {a.inputResolution, b.inputResolution},
        {a.setResolution, b.setResolution}};
    for (const auto& [x, y] : resolutions) {
        ASSERT_EQ(x.has_value(), y.has_value());
        EXPECT_TRUE(!x || (x->x.numerator == y->x.numerator && x->x.denominator == y->x.denominator &&
                           x->y.numerator == y->y.numerator && x->y.denominator == y->y.denominator))
            << text;
    }
    EXPECT_EQ(PresetText(second.options), text);
}

TEST(PresetFile, SavingAndReadingGivesTheSameSettings) {
    ExpectRoundTrip({});
    ExpectRoundTrip({"--gamma=1.1"});
    ExpectRoundTrip({"--levels=20,210,0.90", "--curve-kind=polyline", "--brightness=5", "--contrast=+7",
                     "--curve=0,0:50,40.1:128,128:200,215:255,255", "--curve=0,9:50,40:128,128:200,215:255,255",
                     "--curve-kind=spline", "--brightness=1", "--brightness=2", "--balance-shadows=-1,+2,3",
                     "--balance-highlights=0,0,9", "--curve-gamma=-100", "--gamma=1e0"});
    ExpectRoundTrip({"--scale=50%", "--saturation=+1", "--hue=-180", "--lightness=0", "--sharpness=-2", "--strip",
                     "--order=scale,tone,hsv,sharpen", "--mode=color", "--depth=8", "--threshold=33.25",
                     "--negative", "--format=jpeg", "--quality=7", "--quality=8", "--input-resolution=123456.789",
                     "--set-resolution=0.00000001x7", "--shrink-only"});
    ExpectRoundTrip({"--resolution=199.5x200"});
    ExpectRoundTrip({"--size=100x200"});
    ExpectRoundTrip({"--width=00100", "--mode=lineart"});
    ExpectRoundTrip({"--scale=.5"});
    ExpectRoundTrip({"--levels=R:20,210", "--levels=B:0,200,0.90,5,250"});
    ExpectRoundTrip({"--crop=100x80+1+2mm", "--rotate=auto", "--dither", "--mode=lineart"});
    ExpectRoundTrip({"--auto-white", "--brightness=1", "--auto-levels", "--auto-levels=0.25,2", "--auto-margin=7",
                     "--mode=lineart", "--auto-threshold"});
}

TEST(PresetFile, FilesAndReportsAreNotSaved) {
    const ParsedArguments given = ParseArguments(
        kAdjust, {"--hue=3", "-o", "x", "--plot=a.svg", "--stats", "-f", "--sharpness=2", "--hue=4"});
    EXPECT_EQ(PresetText(given.options), "sharpness = 2\nhue = 4\n");
    EXPECT_EQ(PresetText({}), "# no settings\n");
    EXPECT_EQ(Parsed("# no settings\n"), "");
}

TEST(PresetFile, FilesThatCannotBeReadAreErrors) {
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [] { ReadPresetFile("/nowhere/a.toml"); }),
              "/nowhere/a.toml: No such file or directory");
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [] { ReadPresetFile("/"); }), "/: Is a directory");
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [] { ReadPresetFile("/dev/zero"); }),
              "/dev/zero: is too large for a preset");
}

}  // namespace
}  // namespace platen_tool
