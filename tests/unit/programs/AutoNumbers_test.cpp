#include "programs/page/AutoNumbers.h"

#include <cmath>

#include "Expect.h"
#include "programs/options/Arguments.h"
#include "programs/page/Pipeline.h"

namespace platen_tool {
namespace {

using Strings = std::vector<std::string>;

ImageInfo Info(std::uint32_t width, std::uint32_t height, int samples) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.samplesPerPixel = samples;
    return info;
}

Settings Given(const Strings& words) {
    ParsedArguments arguments = ParseArguments(kAdjust, words);
    arguments.operands = {"-"};
    return MakeSettings(arguments, {false, false});
}

// One pixel of each colour, as often as is said.
struct Patch {
    std::array<std::uint8_t, 4> pixel;
    int count;
};

PageCounts CountsOf(int samples, const std::vector<Patch>& patches) {
    std::vector<std::uint8_t> line;
    for (const Patch& patch : patches) {
        for (int i = 0; i < patch.count; ++i) {
            line.insert(line.end(), patch.pixel.begin(), patch.pixel.begin() + samples);
        }
    }
    const auto width = static_cast<std::uint32_t>(line.size() / static_cast<std::size_t>(samples));
    PageCounts counts(Info(width, 1, samples), 0);
    counts.Take(line.data());
    return counts;
}

Strings Found(const Strings& words, const PageCounts& counts) {
    return NumberOptions(FindNumbers(Given(words), counts));
}

Strings Messages(const Strings& words, const PageCounts& counts) {
    const AutoNumbers numbers = FindNumbers(Given(words), counts);
    EXPECT_EQ(NumberOptions(numbers), Strings{});
    return numbers.messages;
}

TEST(PageCounts, LeavesOutTheMarginAndWhatIsTransparent) {
    PageCounts counts(Info(10, 10, 2), 20);
    for (std::uint8_t y = 0; y < 10; ++y) {
        std::vector<std::uint8_t> line(20, 255);
        for (std::size_t x = 0; x < 10; ++x) {
            line[2 * x] = static_cast<std::uint8_t>(10 * y + x);
        }
        line[2 * 5 + 1] = 0;
        counts.Take(line.data());
    }
    EXPECT_EQ(counts.Pixels(), 6u * 5u);
    for (std::size_t level = 0; level < 100; ++level) {
        const std::size_t x = level % 10;
        const bool inside = x >= 2 && x < 8 && x != 5 && level >= 20 && level < 80;
        EXPECT_EQ(counts.Channel(0)[level], inside ? 1u : 0u) << level;
    }
}

TEST(AutoNumbers, LevelsAreThoseThatTheStatisticsSuggest) {
    std::vector<Patch> ramp;
    for (int level = 20; level < 220; ++level) {
        ramp.push_back({{static_cast<std::uint8_t>(level)}, 5});
    }
    const PageCounts counts = CountsOf(1, ramp);
    EXPECT_EQ(Found({"--auto-levels"}, counts), Strings{"--levels=20,218"});
    EXPECT_EQ(Found({"--auto-levels=10,20"}, counts), Strings{"--levels=39,179"});
    EXPECT_EQ(Found({"--auto-levels=0,0"}, counts), Strings{"--levels=20,219"});
}

// What comes before an automatic step acts on what it sees.
TEST(AutoNumbers, EachStepSeesTheStepsBeforeIt) {
    const PageCounts counts = CountsOf(1, {{{50}, 100}, {{200}, 300}});
    EXPECT_EQ(Found({"--auto-levels"}, counts), Strings{"--levels=50,200"});
    EXPECT_EQ(Found({"--negative", "--levels=0,255,1,55,255", "--auto-levels"}, counts),
              Strings{"--levels=94,210"});
    EXPECT_EQ(Found({"--auto-white", "--auto-levels"}, counts), (Strings{"--levels=0,199", "--levels=64,254"}));
    EXPECT_EQ(Found({"--auto-levels", "--auto-white"}, counts), (Strings{"--levels=50,200"}));
}

TEST(AutoNumbers, PaperBecomesWhiteChannelByChannel) {
    const PageCounts counts =
        CountsOf(3, {{{206, 193, 177}, 500}, {{205, 193, 177}, 100}, {{20, 30, 40}, 300}, {{250, 250, 250}, 20}});
    EXPECT_EQ(Found({"--auto-white"}, counts),
              (Strings{"--levels=R:0,205", "--levels=G:0,193", "--levels=B:0,177"}));
    const Settings own = WithNumbers(Given({"--auto-white"}), FindNumbers(Given({"--auto-white"}), counts));
    EXPECT_FALSE(own.AnyAutomatic());
    const ToneTables tables = FoldToneSteps(own.tone, 24);
    EXPECT_EQ(tables.red[206], 255);
    EXPECT_EQ(tables.green[193], 255);
    EXPECT_EQ(tables.blue[177], 255);
    EXPECT_LT(tables.red[193], 255);
}

TEST(AutoNumbers, PaperOfEveryLevelBecomesWhite) {
    for (int level = 96; level < 256; ++level) {
        const PageCounts counts = CountsOf(1, {{{static_cast<std::uint8_t>(level)}, 100}});
        const Settings own = WithNumbers(Given({"--auto-white"}), FindNumbers(Given({"--auto-white"}), counts));
        const ToneTables tables = FoldToneSteps(own.tone, 8);
        EXPECT_EQ(tables.red[static_cast<std::size_t>(level)], 255) << level;
        EXPECT_LT(level < 255 ? tables.red[static_cast<std::size_t>(level) - 2] : 0, 255) << level;
    }
}

TEST(AutoNumbers, PagesThatHaveNothingToFindAreLeftAlone) {
    EXPECT_EQ(Messages({"--auto-levels"}, CountsOf(1, {{{0}, 1}, {{255}, 1}})),
              Strings{"automatic settings left out: 2 pixels are too few to measure"});
    EXPECT_EQ(Messages({"--auto-white", "--auto-levels"}, CountsOf(1, {{{0}, 1}})),
              Strings{"automatic settings left out: 1 pixel is too few to measure"});
    for (const int level : {0, 17, 60, 128, 255}) {
        const std::string text = std::to_string(level);
        EXPECT_EQ(Messages({"--auto-levels"}, CountsOf(1, {{{static_cast<std::uint8_t>(level)}, 1000}})),
                  Strings{"--auto-levels left out: the tones lie between " + text + " and " + text +
                          ", too close for a page that isn't blank"});
    }
    // One colour, and paper of a colour with its grain: the channels lie apart, the tones of each don't.
    EXPECT_EQ(
        Messages({"--auto-levels"}, CountsOf(3, {{{64, 144, 96}, 1000}})),
        Strings{"--auto-levels left out: the tones of each channel lie at most 0 levels apart, too close for a "
                "page that isn't blank"});
    const PageCounts grainy =
        CountsOf(3, {{{238, 231, 214}, 1000}, {{230, 223, 206}, 900}, {{242, 235, 199}, 900}});
    EXPECT_EQ(
        Messages({"--auto-levels=0.1,0.1"}, grainy),
        Strings{"--auto-levels left out: the tones of each channel lie at most 15 levels apart, too close for a "
                "page that isn't blank"});
    const PageCounts spread = CountsOf(3, {{{10, 144, 96}, 1000}, {{42, 144, 96}, 1000}});
    EXPECT_EQ(NumberOptions(FindNumbers(Given({"--auto-levels"}), spread)), Strings{"--levels=10,144"});
    const Strings noPaper = {"--auto-white left out: no light colour covers enough of the page to be its paper"};
    EXPECT_EQ(Messages({"--auto-white"}, CountsOf(1, {{{0}, 1000}})), noPaper);
    EXPECT_EQ(Messages({"--auto-white"}, CountsOf(3, {{{10, 20, 90}, 1000}, {{255, 255, 255}, 30}})), noPaper);
    EXPECT_EQ(Messages({"--auto-white"}, CountsOf(1, {{{255}, 1000}})), Strings{}) << "white already";
    const auto threshold = [](const PageCounts& counts) {
        return Messages({"--mode=lineart", "--auto-threshold"}, counts);
    };
    const Strings oneTone = {
        "--auto-threshold left out: the page has one tone only, or tones too close for print and paper; 50 percent "
        "is used"};
    EXPECT_EQ(threshold(CountsOf(1, {{{255}, 1000}})), oneTone);
    EXPECT_EQ(threshold(CountsOf(1, {{{0}, 1000}})), oneTone);
    EXPECT_EQ(threshold(CountsOf(1, {{{240}, 1000}, {{250}, 1000}})), oneTone);
}

// The definition, level by level, in whole numbers.
int OtsuLevel(const Histogram& histogram) {
    using Wide = unsigned __int128;
    std::uint64_t total = 0;
    std::uint64_t weighted = 0;
    for (std::uint64_t level = 0; level < 256; ++level) {
        total += histogram[level];
        weighted += histogram[level] * level;
    }
    double best = -1.0;
    int first = 0;
    int last = 0;
    for (int level = 1; level < 256; ++level) {
        std::uint64_t dark = 0;
        std::uint64_t sum = 0;
        for (std::uint64_t below = 0; below < static_cast<std::uint64_t>(level); ++below) {
            dark += histogram[below];
            sum += histogram[below] * below;
        }
        if (dark == 0 || dark == total) {
            continue;
        }
        const std::uint64_t a = sum * total;
        const std::uint64_t b = dark * weighted;
        const auto difference = static_cast<double>(a > b ? a - b : b - a);
        const double variance =
            difference * difference / static_cast<double>(static_cast<Wide>(dark) * (total - dark));
        if (variance > best * (1 + 1e-12)) {
            best = variance;
            first = level;
            last = level;
        } else if (variance >= best * (1 - 1e-12)) {
            last = level;
        }
    }
    return (first + last + 1) / 2;
}

TEST(AutoNumbers, ThresholdsPartTheTonesAsOtsuDoes) {
    std::uint32_t seed = 7;
    const auto next = [&seed] { return (seed = seed * 1664525 + 1013904223) >> 16; };
    for (int round = 0; round < 50; ++round) {
        std::vector<Patch> patches;
        const std::uint32_t dark = next() % 60;
        const std::uint32_t light = 160 + next() % 60;
        for (std::uint32_t i = 0; i < 30; ++i) {
            patches.push_back({{static_cast<std::uint8_t>(dark + next() % 30)}, static_cast<int>(next() % 20 + 1)});
            patches.push_back(
                {{static_cast<std::uint8_t>(light + next() % 30)}, static_cast<int>(next() % 90 + 1)});
        }
        const PageCounts counts = CountsOf(1, patches);
        const AutoNumbers numbers = FindNumbers(Given({"--mode=lineart", "--auto-threshold"}), counts);
        ASSERT_TRUE(numbers.threshold);
        // As the page's threshold stage compares.
        const int level = static_cast<int>(std::ceil(*numbers.threshold * 2.55));
        EXPECT_EQ(level, OtsuLevel(counts.Channel(0))) << round;
    }
}

TEST(AutoNumbers, EveryLevelHasAThresholdOfItsOwn) {
    for (int level = 1; level < 224; ++level) {
        const auto light = static_cast<std::uint8_t>(level + 31);
        const PageCounts counts = CountsOf(1, {{{static_cast<std::uint8_t>(level - 1)}, 100}, {{light}, 100}});
        const AutoNumbers numbers = FindNumbers(Given({"--mode=lineart", "--auto-threshold=otsu"}), counts);
        ASSERT_TRUE(numbers.threshold) << level;
        EXPECT_EQ(std::ceil(*numbers.threshold * 2.55), (level + light + 1) / 2) << level;
    }
}

TEST(AutoNumbers, StandInTheCommandLineAndThePresetWhereTheAutomaticOnesStood) {
    const Strings words = {"--brightness=5",  "--auto-white",   "--contrast=9",    "--auto-levels",
                           "--auto-margin=3", "--mode=lineart", "--auto-threshold"};
    const PageCounts counts = CountsOf(3, {{{200, 190, 180}, 900}, {{20, 30, 40}, 300}});
    ParsedArguments typed = ParseArguments(kAdjust, words);
    AutoNumbers numbers = FindNumbers(Given(words), counts);
    ASSERT_EQ(numbers.steps.size(), 2u);
    numbers.threshold = 41.5;
    Strings after;
    typed.options = WithNumbers(typed.options, numbers);
    for (const GivenOption& option : typed.options) {
        after.push_back(option.name);
    }
    Strings expected = {"brightness", "levels", "levels", "levels", "contrast"};
    expected.insert(expected.end(), numbers.steps[1].size(), "levels");
    expected.insert(expected.end(), {"mode", "threshold"});
    EXPECT_EQ(after, expected);
    typed.operands = {"-"};
    const Settings settings = WithNumbers(Given(words), numbers);
    EXPECT_TRUE(FoldToneSteps(settings.tone, 24) == FoldToneSteps(MakeSettings(typed, {false, false}).tone, 24));
    EXPECT_EQ(settings.toneOrigins.size(), settings.tone.size());
    EXPECT_EQ(settings.pixels.threshold, 41.5);

    // A step that comes to nothing still keeps those around it apart.
    numbers.steps = {{}, {}};
    typed = ParseArguments(kAdjust, words);
    typed.options = WithNumbers(typed.options, numbers);
    typed.operands = {"-"};
    EXPECT_EQ(MakeSettings(typed, {false, false}).tone.size(), 2u);
}

}  // namespace
}  // namespace platen_tool
