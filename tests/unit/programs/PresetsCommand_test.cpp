#include "programs/commands/PresetsCommand.h"

#include "Expect.h"
#include "io/Pages.h"

namespace platen_tool {
namespace {

class PresetsCommandTest : public testing::Test {
  protected:
    // The folded arguments, as "--name=value" and, where a step of its own begins, "|" before.
    static std::string Expanded(const std::vector<std::string>& words, CommandBit command = kAdjust) {
        ParsedArguments arguments = ParseArguments(command, words);
        ExpandPresets(command, arguments);
        std::string text;
        for (const GivenOption& option : arguments.options) {
            text += (option.newStep ? "|" : "") + option.name + "=" + option.value + " ";
        }
        return text;
    }

    static std::string Shown(const std::vector<std::string>& words, ExitCode code = ExitCode::kDone) {
        testing::internal::CaptureStdout();
        const ExitCode result = RunPresets(ParseArguments(kPresets, words));
        EXPECT_EQ(static_cast<int>(result), static_cast<int>(code));
        return testing::internal::GetCapturedStdout();
    }

    std::string Put(const char* name, const std::string& text) const {
        platen_test::PutFile(scratch_ / name, text);
        return scratch_ / name;
    }

    platen_test::Scratch scratch_;
};

TEST_F(PresetsCommandTest, OptionsBehindAPresetBeginAStepOfTheirOwn) {
    const std::string preset = Put("a.toml", "[[tone]]\nbrightness = 10\n");
    EXPECT_EQ(Expanded({"--preset=" + preset, "--contrast=5", "--brightness=1"}),
              "|brightness=10 |contrast=5 brightness=1 ");
    EXPECT_EQ(Expanded({"--contrast=5", "--preset=" + preset, "--hue=3", "--contrast=6"}),
              "contrast=5 |brightness=10 hue=3 |contrast=6 ");
}

TEST_F(PresetsCommandTest, OfTheWaysToASizeOneIsKept) {
    const std::string half = "--preset=" + Put("half.toml", "scale = 0.5\n");
    const std::string fine = "--preset=" + Put("fine.toml", "resolution = 600\n");
    EXPECT_EQ(Expanded({half, "--width=9", "--height=8"}), "width=9 height=8 ");
    EXPECT_EQ(Expanded({half, fine}), "resolution=600 ");
    EXPECT_EQ(Expanded({"--resolution=300", half}), "resolution=300 ");
}

TEST_F(PresetsCommandTest, AScansResolutionIsKeptBesideASize) {
    const std::string half = "--preset=" + Put("half.toml", "scale = 0.5\n");
    const std::string fine = "--preset=" + Put("fine.toml", "resolution = 600\n");
    const std::string coarse = "--preset=" + Put("coarse.toml", "resolution = 75\nwidth = 9\n");
    EXPECT_EQ(Expanded({"--resolution=300", half}, kScan), "resolution=300 scale=0.5 ");
    EXPECT_EQ(Expanded({fine, "--width=800"}, kScan), "resolution=600 width=800 ");
    EXPECT_EQ(Expanded({"--resolution=300", fine}, kScan), "resolution=300 ");
    EXPECT_EQ(Expanded({half, coarse, fine}, kScan), "width=9 resolution=600 ");
}

TEST_F(PresetsCommandTest, ShowPrintsTheFileAndWithVerboseItsPlace) {
    const std::string text = "[[tone]]\nbrightness = 10\n";
    const std::string preset = Put("a.toml", text);
    EXPECT_EQ(Shown({"show", preset}), text);
    EXPECT_EQ(Shown({"show", preset, "--verbose"}), "# " + preset + "\n" + text);
}

TEST_F(PresetsCommandTest, CheckLooksAtEveryFile) {
    const std::string good = Put("good.toml", "[[tone]]\nbrightness = 10\n");
    const std::string bad = Put("bad.toml", "[[tone]]\nbrightness = 1000\n");
    const std::string odd = Put("odd.toml", "[[tone]\n");
    Shown({"check", good});
    testing::internal::CaptureStderr();
    Shown({"check", odd, good, bad}, ExitCode::kFailed);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find(odd), std::string::npos) << told;
    EXPECT_NE(told.find(bad), std::string::npos) << told;
    EXPECT_EQ(told.find(good), std::string::npos) << told;
}

TEST_F(PresetsCommandTest, OtherWordsAreRefused) {
    const std::vector<std::vector<std::string>> cases = {
        {"show"}, {"show", "a", "b"}, {"check"}, {"list", "a"}, {"delete", "a"}};
    for (const auto& words : cases) {
        EXPECT_EQ(UsageText([&words] { RunPresets(ParseArguments(kPresets, words)); }),
                  "presets: expected list, show NAME or check FILE");
    }
}

TEST_F(PresetsCommandTest, SavingIsAllWhereNothingElseIsAskedFor) {
    const std::string file = scratch_ / "saved.toml";
    const auto onlySaves = [&file](CommandBit command, std::vector<std::string> words) {
        words.insert(words.end(), {"--gamma=2", "--save-preset=" + file, "--force"});
        return SavePreset(command, ParseArguments(command, words));
    };
    EXPECT_TRUE(onlySaves(kCurve, {}));
    EXPECT_FALSE(onlySaves(kCurve, {"--table=c"}));
    EXPECT_FALSE(onlySaves(kCurve, {"--svg=a.svg"}));
    EXPECT_TRUE(onlySaves(kAdjust, {}));
    EXPECT_FALSE(onlySaves(kAdjust, {"a.png"}));
    EXPECT_FALSE(onlySaves(kAdjust, {"-o", "a.png"}));
    EXPECT_TRUE(onlySaves(kScan, {}));
    EXPECT_FALSE(onlySaves(kScan, {"-d", "x"}));
    EXPECT_FALSE(onlySaves(kScan, {"-o", "a.png"}));
    EXPECT_FALSE(onlySaves(kScan, {"-L"}));
    EXPECT_EQ(Expanded({"--preset=" + file}), "|gamma=2 ");
    EXPECT_FALSE(SavePreset(kAdjust, ParseArguments(kAdjust, {"--gamma=2"})));
}

TEST_F(PresetsCommandTest, APresetDoesNotMixWithWhatElseGoesToStandardOutput) {
    const auto mixes = [](CommandBit command, std::vector<std::string> words) {
        words.insert(words.end(), {"--gamma=2", "--save-preset=-"});
        EXPECT_EQ(UsageText([&] { SavePreset(command, ParseArguments(command, words)); }),
                  "--save-preset=-: something else goes to standard output; name a file");
    };
    mixes(kAdjust, {"a.png", "-o", "-"});
    mixes(kAdjust, {"a.png"});
    mixes(kAdjust, {"a.png", "-o", "b.png", "--plot=-"});
    mixes(kScan, {"-d", "x"});
    mixes(kScan, {"-L"});
    mixes(kCurve, {"--table=c"});
    mixes(kCurve, {"--svg=-"});
}

}  // namespace
}  // namespace platen_tool
