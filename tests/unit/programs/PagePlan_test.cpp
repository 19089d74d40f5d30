#include "programs/page/PagePlan.h"

#include "Expect.h"

namespace platen_tool {
namespace {

Settings With(std::vector<std::string> words) {
    words.insert(words.end(), {"in.png", "-o", "out.png"});
    return MakeSettings(ParseArguments(kAdjust, words), {});
}

ImageInfo Page(int bits, int samples) {
    ImageInfo info;
    info.width = 100;
    info.height = 50;
    info.bitsPerSample = bits;
    info.samplesPerPixel = samples;
    info.resolution = Resolution{{300, 1}, {300, 1}};
    info.iccProfile = {1, 2, 3};
    info.orientation = 6;
    return info;
}

std::string StepNames(const PagePlan& plan) {
    static constexpr const char* kNames[] = {"1to8",     "16to8",   "8to16",     "grey", "colour",
                                             "negative", "flatten", "threshold", "tone", "hsv",
                                             "scale",    "sharpen", "crop",      "turn", "dither"};
    std::string text;
    for (const PlannedStage& stage : plan.stages) {
        text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(stage.kind)]);
    }
    return text;
}

std::string Steps(const std::vector<std::string>& words, int bits, int samples) {
    const PagePlan plan = PlanPage(With(words), Page(bits, samples));
    return StepNames(plan) + " -> " + std::to_string(plan.output.bitsPerSample) + "x" +
           std::to_string(plan.output.samplesPerPixel);
}

std::string Refusal(const std::vector<std::string>& words, int bits, int samples) {
    return ErrorText(ExitCode::kUnsupported, [&] { Steps(words, bits, samples); });
}

TEST(PagePlan, StagesRunInTheirUsualOrder) {
    EXPECT_EQ(Steps({"--sharpness=1", "--scale=2", "--hue=5", "--gamma=2"}, 8, 3), "tone hsv scale sharpen -> 8x3");
}

TEST(PagePlan, OrderChangesThem) {
    EXPECT_EQ(Steps({"--sharpness=1", "--scale=2", "--hue=5", "--gamma=2", "--order=sharpen,scale,hsv,tone"}, 8, 3),
              "sharpen scale hsv tone -> 8x3");
}

std::string CountingSteps(const std::vector<std::string>& words, int bits, int samples) {
    return StepNames(PlanCounting(With(words), Page(bits, samples)));
}

// The page isn't turned for counting, but where the stages before the tones look at neighbours.
TEST(PagePlan, CountingTakesTheStagesBeforeTheTones) {
    EXPECT_EQ(CountingSteps({"--auto-levels", "--sharpness=1", "--scale=2", "--mode=gray"}, 16, 3), "16to8 grey");
    EXPECT_EQ(CountingSteps({"--auto-levels"}, 8, 3), "");
    EXPECT_EQ(CountingSteps({"--auto-levels", "--rotate=90", "--crop=9x8+1+1", "--scale=2"}, 8, 3), "crop");
    EXPECT_EQ(CountingSteps({"--auto-levels", "--rotate=180", "--hue=5", "--order=hsv,tone"}, 8, 3), "hsv");
    EXPECT_EQ(CountingSteps({"--auto-levels", "--rotate=90", "--sharpness=1", "--order=sharpen,tone"}, 8, 3),
              "turn sharpen");
    EXPECT_EQ(CountingSteps({"--auto-levels", "--rotate=90", "--scale=2", "--order=scale,tone"}, 8, 3),
              "turn scale");
}

TEST(PagePlan, NothingAskedIsNothingDone) {
    for (const auto& [bits, samples] : {std::pair{1, 1}, {8, 1}, {8, 2}, {8, 3}, {8, 4}, {16, 1}, {16, 4}}) {
        EXPECT_EQ(Steps({}, bits, samples), " -> " + std::to_string(bits) + "x" + std::to_string(samples));
    }
}

TEST(PagePlan, ScaleKeepsEveryLayout) {
    for (const auto& [bits, samples] :
         {std::pair{1, 1}, {8, 1}, {8, 2}, {8, 3}, {8, 4}, {16, 1}, {16, 2}, {16, 3}}) {
        EXPECT_EQ(Steps({"--scale=50%"}, bits, samples),
                  "scale -> " + std::to_string(bits) + "x" + std::to_string(samples));
    }
}

TEST(PagePlan, SixteenBitsAreReducedForEightBitStagesAndThatIsToldUnlessAsked) {
    const auto plan = [](const std::vector<std::string>& words) { return PlanPage(With(words), Page(16, 3)); };
    EXPECT_EQ(StepNames(plan({"--gamma=2"})), "16to8 tone");
    EXPECT_TRUE(plan({"--gamma=2"}).reducedTo8);
    EXPECT_FALSE(plan({"--gamma=2", "--depth=8"}).reducedTo8);
    EXPECT_FALSE(plan({"--scale=2"}).reducedTo8);
    EXPECT_EQ(Steps({"--sharpness=1"}, 16, 1), "16to8 sharpen -> 8x1");
    EXPECT_EQ(Steps({"--depth=16", "--scale=2"}, 8, 3), "8to16 scale -> 16x3");
}

TEST(PagePlan, BilevelPagesNeedAModeForTone) {
    EXPECT_EQ(Refusal({"--gamma=2"}, 1, 1),
              "--gamma needs a page with tones; this one is bilevel, and --mode=gray makes it grey");
    EXPECT_EQ(Refusal({"--sharpness=1", "--levels=0,99", "--contrast=1", "--hue=1"}, 1, 1),
              "--levels, --contrast, --hue and --sharpness need a page with tones; this one is bilevel, and "
              "--mode=gray makes it grey");
    EXPECT_EQ(Steps({"--gamma=2", "--mode=gray"}, 1, 1), "1to8 tone -> 8x1");
    EXPECT_EQ(Steps({"--hue=2", "--mode=color"}, 1, 1), "1to8 colour hsv -> 8x3");
    EXPECT_EQ(Steps({"--depth=16"}, 1, 1), "1to8 8to16 -> 16x1");
    EXPECT_EQ(Steps({"--mode=lineart", "--scale=2"}, 1, 1), "scale -> 1x1");
    EXPECT_EQ(Steps({"--negative"}, 1, 1), "negative -> 1x1");
}

TEST(PagePlan, ModesConvertFirstAndLineartLast) {
    EXPECT_EQ(Steps({"--mode=gray", "--gamma=2"}, 8, 4), "grey tone -> 8x2");
    EXPECT_EQ(Steps({"--mode=gray"}, 8, 1), " -> 8x1");
    EXPECT_EQ(Steps({"--mode=color"}, 16, 2), "colour -> 16x4");
    EXPECT_EQ(Steps({"--mode=lineart", "--gamma=2", "--scale=50%"}, 8, 3), "grey tone scale threshold -> 1x1");
    EXPECT_EQ(Steps({"--depth=1", "--negative"}, 16, 4), "16to8 grey negative flatten threshold -> 1x1");
}

TEST(PagePlan, ColourOptionsNeedColour) {
    EXPECT_EQ(Refusal({"--hue=2"}, 8, 1), "--hue needs a colour page; this one is grey");
    EXPECT_EQ(Refusal({"--lightness=2"}, 8, 2), "--lightness needs a colour page; this one is grey");
    EXPECT_EQ(Refusal({"--lightness=2", "--mode=gray"}, 8, 4),
              "--lightness needs colours, which --mode=gray removes first");
    EXPECT_EQ(Refusal({"--balance-midtones=0,0,1"}, 8, 1),
              "--balance-midtones needs a colour page; this one is grey");
}

TEST(PagePlan, SmallPagesAreNotSharpenedButNoted) {
    ImageInfo narrow = Page(8, 1);
    narrow.width = 2;
    ImageInfo flat = Page(8, 1);
    flat.height = 1;
    for (const ImageInfo& info : {narrow, flat}) {
        const PagePlan plan = PlanPage(With({"--sharpness=2"}), info);
        EXPECT_TRUE(plan.stages.empty());
        ASSERT_EQ(plan.notices.size(), 1u);
        EXPECT_EQ(
            plan.notices[0],
            "the page is narrower than three pixels or shorter than two lines; it is not sharpened or softened");
    }
}

TEST(PagePlan, TheSameSizeIsNotScaled) {
    const PagePlan plan = PlanPage(With({"--scale=100%"}), Page(8, 3));
    EXPECT_TRUE(plan.stages.empty());
    ASSERT_EQ(plan.notices.size(), 1u);
    EXPECT_EQ(plan.notices[0], "the page already has this size; it is not scaled");
}

TEST(PagePlan, UnknownHeightIsRefusedWhereStreamingIsStrict) {
    ImageInfo info = Page(8, 3);
    info.height = 0;
    for (const char* option : {"--scale=2", "--sharpness=2"}) {
        EXPECT_EQ(ErrorText(ExitCode::kUnsupported,
                            [&] {
                                PlanPage(With({option, "--strict-stream"}), info);
                            }),
                  "the page's height isn't known, and scaling, turning and sharpness need it; --strict-stream "
                  "forbids spooling");
    }
    EXPECT_EQ(StepNames(PlanPage(With({"--gamma=2", "--strict-stream"}), info)), "tone");
}

TEST(PagePlan, ConversionsAreNamed) {
    const auto texts = [](const std::vector<std::string>& words, int bits, int samples) {
        std::string text;
        for (const PlannedStage& stage : PlanPage(With(words), Page(bits, samples)).stages) {
            text += (text.empty() ? "" : "; ") + stage.text;
        }
        return text;
    };
    EXPECT_EQ(texts({"--mode=gray"}, 1, 1), "1 bit to 8 bits");
    EXPECT_EQ(texts({"--depth=8"}, 16, 1), "16 bits to 8 bits");
    EXPECT_EQ(texts({"--depth=16"}, 8, 1), "8 bits to 16 bits");
    EXPECT_EQ(texts({"--mode=gray", "--negative"}, 8, 3), "colour to grey; negative");
    EXPECT_EQ(texts({"--mode=color"}, 8, 1), "grey to colour");
    EXPECT_EQ(texts({"--mode=lineart"}, 8, 2), "alpha blended with white; threshold 50 %");
}

TEST(PagePlan, UnknownHeightsArePlannedAsFarAsTheyGo) {
    ImageInfo info = Page(8, 3);
    info.height = 0;
    const auto result = [&](const std::vector<std::string>& words) {
        const PagePlan plan = PlanPage(With(words), info);
        EXPECT_EQ(plan.notices.size(), 1u);
        EXPECT_GT(ExpectedMemory(plan), 0u);
        return plan.stages.back().text + ": " + PageText(plan.output);
    };
    EXPECT_EQ(result({"--scale=50%"}), "100 x ? to 50 x ?: 50 x ?, 8-bit RGB, 150 dpi");
    EXPECT_EQ(result({"--resolution=600"}), "100 x ? to 200 x ?: 200 x ?, 8-bit RGB, 600 dpi");
    EXPECT_EQ(result({"--width=25"}), "100 x ? to 25 x ?: 25 x ?, 8-bit RGB, 75 dpi");
    EXPECT_EQ(result({"--height=25"}), "100 x ? to ? x 25: ? x 25, 8-bit RGB, no resolution");
    EXPECT_EQ(result({"--size=30x25"}), "100 x ? to 30 x 25: 30 x 25, 8-bit RGB, no resolution");
    EXPECT_EQ(result({"--size=30x25", "--shrink-only"}), "100 x ? to 30 x ?: 30 x ?, 8-bit RGB, no resolution");
    EXPECT_EQ(result({"--scale=100%"}), "100 x ? to 100 x ?: 100 x ?, 8-bit RGB, 300 dpi");
    EXPECT_EQ(result({"--height=25", "--sharpness=2"}), "2: ? x 25, 8-bit RGB, no resolution");
    EXPECT_EQ(PlanPage(With({"--gamma=2"}), info).notices.size(), 0u);
    constexpr const char* kAllowed =
        " pixels; allowed: 65535 a side and 268435456 in all (--max-side, --max-pixels)";
    const std::pair<const char*, const char*> tooLarge[] = {{"--width=100000", "100000 x ?"},
                                                            {"--height=100000", "? x 100000"},
                                                            {"--scale=1000", "100000 x ?"},
                                                            {"--size=65535x65535", "65535 x 65535"}};
    for (const auto& [option, size] : tooLarge) {
        EXPECT_EQ(ErrorText(ExitCode::kUnsupported, [&, word = option] { PlanPage(With({word}), info); }),
                  std::string("the result would have ") + size + kAllowed);
    }
    // A height that may not come to pass is no reason.
    for (const char* word : {"--width=65535", "--height=65535", "--scale=655"}) {
        EXPECT_EQ(PlanPage(With({word}), info).stages.size(), 1u) << word;
    }
    info.samplesPerPixel = 1;
    EXPECT_EQ(ErrorText(ExitCode::kUnsupported,
                        [&] {
                            PlanPage(With({"--scale=50%", "--saturation=10"}), info);
                        }),
              "--saturation needs a colour page; this one is grey");
}

TEST(PagePlan, MetadataIsKeptUnlessItNoLongerFits) {
    const PagePlan kept = PlanPage(With({"--gamma=2"}), Page(8, 3));
    EXPECT_EQ(kept.output.iccProfile.size(), 3u);
    EXPECT_EQ(kept.output.orientation, 6);
    const PagePlan grey = PlanPage(With({"--mode=gray"}), Page(8, 3));
    EXPECT_TRUE(grey.output.iccProfile.empty());
    const PagePlan stripped = PlanPage(With({"--strip"}), Page(8, 3));
    EXPECT_TRUE(stripped.output.iccProfile.empty());
    EXPECT_EQ(stripped.output.orientation, 1);
    EXPECT_EQ(stripped.output.resolution->x.numerator, 300u);
}

TEST(PagePlan, ResolutionsFollowTheirOptions) {
    const PagePlan scaled = PlanPage(With({"--input-resolution=600", "--scale=50%"}), Page(8, 3));
    EXPECT_EQ(scaled.output.resolution->x.numerator, 300u);
    const PagePlan set = PlanPage(With({"--set-resolution=72", "--scale=50%"}), Page(8, 3));
    EXPECT_EQ(set.output.resolution->x.numerator, 72u);
    EXPECT_EQ(set.output.width, 50u);
}

TEST(PagePlan, ChainedStepsFitTogether) {
    const PagePlan plan =
        PlanPage(With({"--mode=lineart", "--gamma=2", "--scale=50%", "--sharpness=1"}), Page(16, 4));
    ASSERT_FALSE(plan.stages.empty());
    EXPECT_EQ(plan.stages.front().in.LineBytes(), plan.input.LineBytes());
    for (std::size_t i = 1; i < plan.stages.size(); ++i) {
        EXPECT_EQ(plan.stages[i].in.LineBytes(), plan.stages[i - 1].out.LineBytes());
    }
    EXPECT_EQ(plan.stages.back().out.LineBytes(), plan.output.LineBytes());
    EXPECT_GT(ExpectedMemory(plan), plan.stages[0].memory);
}

TEST(PagePlan, TextNamesSizeLayoutAndResolution) {
    EXPECT_EQ(PageText(Page(8, 4)), "100 x 50, 8-bit RGB and alpha, 300 dpi");
    EXPECT_EQ(PageText(Page(16, 2)), "100 x 50, 16-bit grey and alpha, 300 dpi");
    ImageInfo info = Page(1, 1);
    info.resolution.reset();
    EXPECT_EQ(PageText(info), "100 x 50, bilevel, no resolution");
}

}  // namespace
}  // namespace platen_tool
