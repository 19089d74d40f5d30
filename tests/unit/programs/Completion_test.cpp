#include "programs/options/Completion.h"

#include <sstream>

#include "Expect.h"
#include "programs/commands/CurveCommand.h"
#include "programs/options/Arguments.h"
#include "programs/options/OptionTable.h"
#include "programs/options/Settings.h"

namespace platen_tool {
namespace {

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Completion, EveryOptionIsInEveryShellsScript) {
    const std::string bash = CompletionText("bash");
    const std::string zsh = CompletionText("zsh");
    const std::string fish = CompletionText("fish");
    for (const OptionSpec& spec : OptionTable()) {
        const std::string name = spec.name;
        EXPECT_TRUE(Has(bash, "--" + name + (spec.argument != nullptr ? "=" : ""))) << name;
        const std::string value = spec.argument == nullptr ? "[" : spec.bare != nullptr ? "=-[" : "=[";
        EXPECT_TRUE(Has(zsh, "'*--" + name + value)) << name;
        EXPECT_TRUE(Has(fish, " -l " + name + " ")) << name;
    }
}

TEST(Completion, ValuesOutOfAListAreOffered) {
    EXPECT_TRUE(Has(CompletionText("bash"), "--mode) mapfile -t COMPREPLY < <(compgen -W 'lineart gray color'"));
    EXPECT_TRUE(Has(CompletionText("zsh"), "(lineart gray color)"));
    EXPECT_TRUE(Has(CompletionText("fish"), "-x -a 'lineart gray color'"));
}

// What is said about a value that the option doesn't take.
std::string RefusalOf(const OptionSpec& spec) {
    const std::string value = "other";
    return UsageText([&] {
        if (spec.commands == kCurve) {
            RunCurve(ParseArguments(kCurve, {std::string("--") + spec.name + "=" + value}));
        } else {
            CheckOption({spec.name, value});
        }
    });
}

TEST(Completion, WhatIsOfferedIsWhatTheOptionsTake) {
    std::string others;
    for (const OptionSpec& spec : OptionTable()) {
        if (spec.choices == nullptr) {
            continue;
        }
        std::string list;
        std::istringstream words(spec.choices);
        for (std::string word; words >> word; list += (list.empty() ? "" : ", ") + word) {
            EXPECT_NO_THROW(CheckOption({spec.name, word})) << spec.name << " " << word;
        }
        const std::string refusal = RefusalOf(spec);
        if (!refusal.ends_with(": 'other' is not one of " + list)) {
            others += refusal + "\n";
        }
    }
    EXPECT_EQ(others,
              "--curve-kind: 'other' is not spline or polyline\n"
              "--sharpness: 'other' is not a whole number from -2 to 3\n"
              "--flatten: 'other' is not white, black or #RRGGBB\n");
}

TEST(Completion, OtherShellsAreRefused) {
    EXPECT_EQ(UsageText([] { CompletionText("csh"); }), "--completion: 'csh' is not one of bash, zsh, fish");
}

}  // namespace
}  // namespace platen_tool
