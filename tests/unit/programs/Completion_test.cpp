#include "programs/Completion.h"

#include "Expect.h"
#include "programs/OptionTable.h"

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
        EXPECT_TRUE(Has(zsh, "'*--" + name + (spec.argument != nullptr ? "=[" : "["))) << name;
        EXPECT_TRUE(Has(fish, " -l " + name + " ")) << name;
    }
}

TEST(Completion, ValuesOutOfAListAreOffered) {
    EXPECT_TRUE(Has(CompletionText("bash"), "--mode) mapfile -t COMPREPLY < <(compgen -W 'lineart gray color'"));
    EXPECT_TRUE(Has(CompletionText("zsh"), "(lineart gray color)"));
    EXPECT_TRUE(Has(CompletionText("fish"), "-x -a 'lineart gray color'"));
}

TEST(Completion, OtherShellsAreRefused) {
    EXPECT_EQ(UsageText([] { CompletionText("csh"); }), "--completion: 'csh' is none of bash, zsh, fish");
}

}  // namespace
}  // namespace platen_tool
