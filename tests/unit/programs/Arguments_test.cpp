#include <algorithm>

#include "Expect.h"
#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/options/Arguments.h"
#include "programs/options/OptionTable.h"
#include "programs/options/Settings.h"

namespace platen_tool {
namespace {

std::string Parsed(const std::vector<std::string>& words, CommandBit command = kAdjust) {
    const ParsedArguments arguments = ParseArguments(command, words);
    std::string text;
    for (const GivenOption& option : arguments.options) {
        text += option.name + "=" + option.value + " ";
    }
    for (const std::string& operand : arguments.operands) {
        text += "[" + operand + "]";
    }
    return text;
}

TEST(Arguments, OptionsKeepTheOrderOfTheCommandLine) {
    EXPECT_EQ(Parsed({"--contrast=1", "--brightness", "2", "--contrast=3", "in.png", "-o", "out.png", "-v"}),
              "contrast=1 brightness=2 contrast=3 output=out.png verbose= [in.png]");
}

TEST(Arguments, TheLastOccurrenceCounts) {
    const ParsedArguments arguments = ParseArguments(kAdjust, {"--hue=1", "-f", "--hue=2", "a"});
    EXPECT_EQ(arguments.Last("hue")->value, "2");
    EXPECT_TRUE(arguments.Given("force"));
    EXPECT_FALSE(arguments.Given("a"));
    EXPECT_EQ(arguments.Last("strip"), nullptr);
}

TEST(Arguments, NegativeNumbersAreValues) {
    EXPECT_EQ(Parsed({"--brightness", "-20", "--balance-shadows", "-1,-2,-3", "a"}),
              "brightness=-20 balance-shadows=-1,-2,-3 [a]");
}

TEST(Arguments, ADashIsAFileAndTwoDashesEndTheOptions) {
    EXPECT_EQ(Parsed({"-", "-o", "-"}), "output=- [-]");
    EXPECT_EQ(Parsed({"-v", "--", "-x.png", "--y.png"}), "verbose= [-x.png][--y.png]");
}

TEST(Arguments, OptionsMayStandBetweenAndAfterInputs) {
    EXPECT_EQ(Parsed({"a", "--scale=2", "b", "-f", "c"}), "scale=2 force= [a][b][c]");
}

TEST(Arguments, UnknownOptionsAndMissingValuesAreErrors) {
    EXPECT_EQ(UsageText([] { Parsed({"--sharpen=1", "a"}); }), "unknown option '--sharpen=1'; see platen --help");
    EXPECT_EQ(UsageText([] { Parsed({"-x"}); }), "unknown option '-x'; see platen --help");
    EXPECT_EQ(UsageText([] { Parsed({"a", "--scale"}); }), "--scale: needs a value");
    EXPECT_EQ(UsageText([] { Parsed({"a", "-o"}); }), "--output: needs a value");
    EXPECT_EQ(UsageText([] { Parsed({"--force=1", "a"}); }), "--force: takes no value");
    EXPECT_EQ(UsageText([] { Parsed({"--force=", "a"}); }), "--force: takes no value");
    EXPECT_EQ(UsageText([] { Parsed({"--output=", "a"}); }), "--output: needs a value");
    EXPECT_EQ(UsageText([] { Parsed({"a", "--scale="}); }), "--scale: needs a value");
    EXPECT_EQ(Parsed({"--scale=2", "--", "--scale="}), "scale=2 [--scale=]");
}

TEST(Arguments, SubCommandsHaveTheirOwnOptions) {
    EXPECT_EQ(Parsed({"--gamma=2", "--svg=a.svg"}, kCurve), "gamma=2 svg=a.svg ");
    EXPECT_EQ(UsageText([] { Parsed({"--scale=2"}, kCurve); }), "unknown option '--scale=2'; see platen --help");
    EXPECT_EQ(UsageText([] { Parsed({"--svg=a"}); }), "unknown option '--svg=a'; see platen --help");
}

TEST(Arguments, HelpNamesEveryOptionInEightyColumns) {
    std::string all;
    for (const CommandBit command : {kAdjust, kCurve, kInfo, kPresets, kScan}) {
        const std::string common = HelpText(command, HelpExtent::kCommonOptions);
        EXPECT_LT(std::count(common.begin(), common.end(), '\n'), 60);
        EXPECT_NE(common.find("--help[=all]"), std::string::npos);
        all += HelpText(command, HelpExtent::kEveryOption);
    }
    for (const OptionSpec& spec : OptionTable()) {
        EXPECT_NE(all.find(std::string("--") + spec.name), std::string::npos) << spec.name;
    }
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = all.find('\n', begin);
        EXPECT_LE(end - begin, 80u) << all.substr(begin, end - begin);
        begin = end + 1;
    }
}

TEST(Arguments, NoOptionIsListedTwice) {
    for (const OptionSpec& a : OptionTable()) {
        for (const OptionSpec& b : OptionTable()) {
            EXPECT_TRUE(&a == &b || std::string(a.name) != b.name) << a.name;
            EXPECT_TRUE(&a == &b || a.letter == 0 || a.letter != b.letter) << a.name;
        }
    }
}

}  // namespace
TEST(OptionTable, EachRowIsTakenBySomebody) {
    std::string byCommands;
    for (const OptionSpec& spec : OptionTable()) {
        EXPECT_TRUE(spec.take != nullptr || spec.takeForDevice != nullptr) << spec.name;
        EXPECT_TRUE(spec.take != nullptr || spec.commands == kScan) << spec.name;
        byCommands += ReadByCommand(spec) ? spec.name + std::string(" ") : "";
    }
    // Sub-commands look at these themselves. One that nobody looks at would be accepted without effect.
    EXPECT_EQ(byCommands, "preset no-defaults version help svg table check ");
}

TEST(OptionTable, NumbersKeepToTheRangeThatTheHelpShows) {
    int count = 0;
    for (const OptionSpec& spec : OptionTable()) {
        if (spec.take == nullptr || spec.argument == nullptr || std::string_view(spec.argument).size() != 1 ||
            (spec.range.low == 0.0 && spec.range.high == 0.0)) {
            continue;
        }
        ++count;
        const auto allowed = [&](double value) {
            try {
                CheckOption({spec.name, NumberText(value)});
                return true;
            } catch (const Error&) {
                return false;
            }
        };
        EXPECT_TRUE(allowed(spec.range.low)) << spec.name;
        EXPECT_TRUE(allowed(spec.range.high)) << spec.name;
        EXPECT_FALSE(allowed(spec.range.low - 1)) << spec.name;
        EXPECT_FALSE(allowed(spec.range.high + 1)) << spec.name;
        const std::string help = spec.help != nullptr ? spec.help : "";
        EXPECT_EQ(help.find(".."), std::string::npos) << spec.name << ": a range belongs in the row's range";
    }
    EXPECT_GE(count, 12);
}

TEST(OptionTable, WhatIsUsualIsTheSettingsOwn) {
    const Settings usual;
    for (const OptionSpec& spec : OptionTable()) {
        if (spec.usual == nullptr || spec.take == nullptr) {
            continue;
        }
        Settings settings;
        settings.pixels.threshold = -1;
        settings.quality = settings.jobs = settings.automatic.margin = -1;
        settings.firstPageNumber = 77;
        ToneStepList tone;
        unsigned missing = 0;
        OptionTarget target{settings, tone, missing};
        spec.take(spec, spec.usual, target);
        const bool same = settings.pixels.threshold == usual.pixels.threshold ||
                          settings.quality == usual.quality || settings.jobs == usual.jobs ||
                          settings.firstPageNumber == usual.firstPageNumber ||
                          settings.automatic.margin == usual.automatic.margin;
        EXPECT_TRUE(same) << spec.name;
    }
}

}  // namespace platen_tool
