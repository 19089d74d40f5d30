#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "Spawn.h"

// Presets by name and by file, saved and found again; the manual pages and completions that come with the program.

namespace platen_test {
namespace {

constexpr const char* kShipped[] = {"archive-150", "auto-document", "auto-photo",    "book-yellowed",
                                    "fax-200",     "newspaper",     "photo-neutral", "text-clean"};

const std::string kUnknown = "'; presets hold options about the picture (see platen-presets(5))\n";

// Keeps the machine's own presets out of the tests.
class Presets : public testing::Test {
  protected:
    Presets() {
        setenv("HOME", folder.Path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", folder.File("config").c_str(), 1);
        setenv("XDG_DATA_HOME", folder.File("data").c_str(), 1);
        setenv("XDG_DATA_DIRS", (folder.File("one") + ":" + folder.File("two")).c_str(), 1);
        WriteFile(folder.File("grey.pgm"), PnmPage(40, 30, false));
        WriteFile(folder.File("colour.ppm"), PnmPage(40, 30, true));
    }

    Outcome Run(const std::vector<std::string>& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    void Put(const std::string& place, const std::string& name, const std::string& text) const {
        const std::string path = folder.File(place + "/platen/presets");
        std::filesystem::create_directories(path);
        WriteFile(path + "/" + name + ".toml", text);
    }

    // What a page becomes with these options.
    std::string Result(std::vector<std::string> words, const std::string& input = "colour.ppm") const {
        words.insert(words.end(), {input, "--format=pnm", "-o", "-"});
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }

    Folder folder;
};

TEST_F(Presets, ThoseThatComeWithTheProgramAreListedWhole) {
    const Outcome list = Run({"presets"});
    EXPECT_EQ(list.code, 0);
    EXPECT_EQ(list.err, "");
    EXPECT_EQ(Run({"presets", "list"}).out, list.out);
    std::size_t at = 0;
    for (const char* name : kShipped) {
        at = list.out.find(std::string(name) + "  ", at);
        ASSERT_NE(at, std::string::npos) << name << "\n" << list.out;
        const Outcome shown = Run({"presets", "show", name});
        EXPECT_EQ(shown.code, 0);
        EXPECT_EQ(shown.out.find("description = \""), 0u);
        WriteFile(folder.File("copy.toml"), shown.out);
        const Outcome checked = Run({"presets", "check", "copy.toml"});
        EXPECT_EQ(checked.code, 0) << checked.err;
        EXPECT_EQ(checked.out + checked.err, "");
    }
}

TEST_F(Presets, ThoseThatComeWithTheProgramWorkOnAPage) {
    WriteFile(folder.File("colour.ppm"), "P6 40 30 255\n" + std::string(1800, '\x28') + std::string(1800, '\xC8'));
    const std::string before = Result({});
    for (const char* name : kShipped) {
        const std::string after = Result({"--input-resolution=300", std::string("--preset=") + name});
        // A grey page is neutral already.
        EXPECT_NE(after, before) << name;
    }
}

// The README's batch: colour, grey and bilevel pages in one folder.
TEST_F(Presets, WhatDoesNotFitAPageIsLeftOutWithOneNoteAFile) {
    WriteFile(folder.File("grey.pgm"), PnmPage(40, 30, false) + PnmPage(20, 10, false));
    WriteFile(folder.File("bilevel.pbm"), "P4 16 2\nabcd");
    for (const char* jobs : {"--jobs=1", "--jobs=2"}) {
        const Outcome outcome = Run(
            {"--preset=book-yellowed", jobs, "-f", "bilevel.pbm", "colour.ppm", "grey.pgm", "-o", "out-%s.tif"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        const std::string grey =
            "platen: grey.pgm: left out of the preset: --balance-midtones works on colours, and the page is grey\n";
        const std::string bilevel =
            "platen: bilevel.pbm: left out of the preset: --balance-midtones, --levels and --sharpness work on "
            "tones, "
            "and the page is bilevel\n";
        EXPECT_NE(outcome.err.find(grey), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find(bilevel), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.size(), grey.size() + bilevel.size()) << outcome.err;
        EXPECT_EQ(Run({"out-bilevel.tif", "--format=pnm", "-o", "-"}).out, "P4\n16 2\nabcd");
        EXPECT_EQ(Result({}, "out-grey.tif"), Result({"--levels=28,200,0.9", "--sharpness=1"}, "grey.pgm"));
    }
    EXPECT_NE(
        Run({"-n", "--preset=book-yellowed", "grey.pgm"}).out.find("note      left out of the preset: --balance"),
        std::string::npos);
    // What stands on the command line itself is meant.
    const Outcome typed = Run({"--preset=photo-neutral", "--hue=3", "grey.pgm", "-o", "never.png"});
    EXPECT_EQ(typed.code, 3);
    EXPECT_EQ(typed.err, "platen: grey.pgm: --hue needs a colour page; this one is grey\n");
    EXPECT_EQ(Run({"--saturation=0", "--preset=photo-neutral", "grey.pgm", "-o", "fine.tif"}).code, 0);
    EXPECT_EQ(Run({"--preset=photo-neutral", "--saturation=1", "grey.pgm", "-o", "never.png"}).code, 3);
    EXPECT_EQ(
        Run({"--preset=photo-neutral", "--mode=gray", "colour.ppm", "-o", "gray.png"}).err,
        "platen: colour.ppm: left out of the preset: --balance-midtones and --saturation work on colours, and the "
        "page is grey\n");
}

TEST_F(Presets, PhotoNeutralClipsNoTone) {
    std::istringstream table(Run({"curve", "--preset=photo-neutral"}).out);
    int input = 0;
    for (int red = 0, green = 0, blue = 0; table >> input >> red >> green >> blue;) {
        for (const int output : {red, green, blue}) {
            EXPECT_TRUE(input == 255 || output < 255) << input;
            EXPECT_TRUE(input < 4 || output > 0) << input;
        }
    }
    EXPECT_EQ(input, 255);
}

TEST_F(Presets, APresetDoesWhatItsOptionsDo) {
    WriteFile(folder.File("a.toml"),
              "saturation = 20\n[[tone]]\nlevels = [20, 200, 1.2]\n[[tone]]\nbrightness = 9\n");
    const std::string expected = Result({"--levels=20,200,1.2", "--brightness=9", "--saturation=20"});
    EXPECT_EQ(Result({"--preset=a.toml"}), expected);
    EXPECT_EQ(Result({"--preset=./a.toml"}), expected);
    EXPECT_EQ(Result({"--preset", folder.File("a.toml")}), expected);
    EXPECT_EQ(Run({"curve", "--preset=a.toml"}).out, Run({"curve", "--levels=20,200,1.2", "--brightness=9"}).out);
}

TEST_F(Presets, APresetActsAtItsPlaceAndLaterValuesWin) {
    WriteFile(folder.File("gamma.toml"), "sharpness = 2\n[[tone]]\ngamma = 2\n");
    WriteFile(folder.File("bright.toml"), "[[tone]]\nbrightness = 60\n");
    EXPECT_EQ(Result({"--contrast=50", "--preset=gamma.toml", "--levels=9,99"}),
              Result({"--contrast=50", "--gamma=2", "--levels=9,99", "--sharpness=2"}));
    EXPECT_EQ(Result({"--preset=gamma.toml", "--preset=bright.toml"}),
              Result({"--gamma=2", "--brightness=60", "--sharpness=2"}));
    EXPECT_NE(Result({"--preset=gamma.toml", "--preset=bright.toml"}),
              Result({"--preset=bright.toml", "--preset=gamma.toml"}));
    EXPECT_EQ(Result({"--preset=gamma.toml", "--sharpness=0"}), Result({"--gamma=2"}));
    EXPECT_EQ(Result({"--sharpness=0", "--preset=gamma.toml"}), Result({"--gamma=2", "--sharpness=2"}));
}

TEST_F(Presets, StepsOfAPresetAndItsSurroundingsStayApart) {
    WriteFile(folder.File("bright.toml"), "[[tone]]\nbrightness = 60\n[[tone]]\ncontrast = 50\n");
    const std::string plan = Run({"-n", "--contrast=9", "--preset=bright.toml", "--brightness=3", "grey.pgm"}).out;
    EXPECT_EQ(plan.find("brightness 60, contrast"), std::string::npos) << plan;
    EXPECT_EQ(plan.find("contrast 9, brightness"), std::string::npos) << plan;
    EXPECT_NE(plan.find("contrast 9"), std::string::npos) << plan;
    EXPECT_NE(plan.find("brightness 3"), std::string::npos) << plan;
}

TEST_F(Presets, OnlyOneSayAboutTheSizeCounts) {
    WriteFile(folder.File("half.toml"), "scale = 0.5\n");
    WriteFile(folder.File("wide.toml"), "width = 10\nheight = 10\n");
    const std::string ten = "P5\n10 10\n";
    EXPECT_EQ(Result({"--preset=half.toml"}, "grey.pgm").substr(0, 9), "P5\n20 15\n");
    EXPECT_EQ(Result({"--size=10x10", "--preset=half.toml"}, "grey.pgm").substr(0, 9), ten);
    EXPECT_EQ(Result({"--preset=half.toml", "--preset=wide.toml"}, "grey.pgm").substr(0, 9), ten);
    EXPECT_EQ(Result({"--preset=wide.toml", "--preset=half.toml"}, "grey.pgm").substr(0, 9), "P5\n20 15\n");
}

TEST_F(Presets, ShrinkOnlyInAPresetIsForASizeThatMayBeGivenBesideIt) {
    WriteFile(folder.File("shrink.toml"), "shrink-only = true\n");
    EXPECT_EQ(Run({"presets", "check", "shrink.toml"}).err, "");
    EXPECT_EQ(Result({"--preset=shrink.toml"}), Result({}));
    EXPECT_EQ(Result({"--preset=shrink.toml", "--scale=2"}), Result({}));
    EXPECT_EQ(Result({"--preset=shrink.toml", "--scale=50%"}), Result({"--scale=50%"}));
}

TEST_F(Presets, FoldersAreSearchedInTheirOrder) {
    const char* places[] = {"two", "one", "data", "config"};
    int brightness = 10;
    for (const char* place : places) {
        Put(place, "mine",
            "description = \"from " + std::string(place) +
                "\"\n[[tone]]\nbrightness = " + std::to_string(brightness) + "\n");
        EXPECT_EQ(Result({"--preset=mine"}), Result({"--brightness=" + std::to_string(brightness)})) << place;
        EXPECT_NE(Run({"presets"}).out.find("mine              from " + std::string(place)), std::string::npos);
        brightness += 10;
    }
    const std::string path = folder.File("config/platen/presets/mine.toml");
    EXPECT_NE(Run({"presets", "-v"}).out.find("    " + path + "\n"), std::string::npos);
    Put("config", "fax-200", "quality = 5\n");  // the user's own goes before the program's
    EXPECT_EQ(Run({"presets", "show", "fax-200"}).out, "quality = 5\n");
}

TEST_F(Presets, SavedCommandLinesRunAgain) {
    const std::vector<std::string> words = {"--levels=20,210,0.9", "--curve-kind=polyline",
                                            "--brightness=5",      "--curve=0,0:50,40.5:128,128:200,215:255,255",
                                            "--sharpness=1",       "--scale=50%",
                                            "--negative",          "--balance-midtones=1,-2,30"};
    std::vector<std::string> saving = words;
    saving.emplace_back("--save-preset=saved.toml");
    EXPECT_EQ(Run(saving).code, 0);
    EXPECT_EQ(Result({"--preset=saved.toml"}), Result(words));
    EXPECT_EQ(Run({"--preset=saved.toml", "--save-preset=again.toml"}).code, 0);
    EXPECT_EQ(ReadFile(folder.File("again.toml")), ReadFile(folder.File("saved.toml")));
    EXPECT_EQ(Run({"presets", "check", "saved.toml", "again.toml"}).code, 0);
    EXPECT_EQ(Run({"--gamma=2", "--save-preset=-"}).out, "[[tone]]\ngamma = 2\n");
}

TEST_F(Presets, AScansResolutionAndSizeAreSavedTogether) {
    WriteFile(folder.File("half.toml"), "scale = \"50%\"\n");
    const std::string both = "resolution = 300\nscale = \"50%\"\n";
    const auto saved = [this](std::vector<std::string> words) {
        words.insert(words.begin(), "scan");
        words.emplace_back("--save-preset=-");
        return Run(words).out;
    };
    EXPECT_EQ(saved({"--resolution=300", "--preset=half.toml"}), both);
    EXPECT_EQ(saved({"--resolution=300", "--scale=50%"}), both);
    EXPECT_EQ(saved({"--resolution=many"}), "");
    WriteFile(folder.File("both.toml"), both);
    EXPECT_EQ(saved({"--preset=both.toml"}), both);
    EXPECT_EQ(Run({"presets", "check", "both.toml"}).code, 0);
    EXPECT_EQ(Run({"--preset=both.toml", "grey.pgm", "-o", "x.pgm"}).code, 2);
}

TEST_F(Presets, SavingGoesWithTheWork) {
    const Outcome outcome = Run({"--gamma=2", "--save-preset=saved.toml", "grey.pgm", "-o", "x.pgm"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(ReadFile(folder.File("saved.toml")), "[[tone]]\ngamma = 2\n");
    EXPECT_EQ(ReadFile(folder.File("x.pgm")), Result({"--gamma=2"}, "grey.pgm"));
    EXPECT_EQ(Run({"--gamma=3", "--save-preset=saved.toml"}).code, 1);  // it exists
    EXPECT_EQ(ReadFile(folder.File("saved.toml")), "[[tone]]\ngamma = 2\n");
    EXPECT_EQ(Run({"--gamma=3", "-f", "--save-preset=saved.toml"}).code, 0);
    EXPECT_EQ(Run({"--shrink-only", "--save-preset=wrong.toml"}).code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder.File("wrong.toml")));
}

TEST_F(Presets, ADryRunSavesNothing) {
    const std::string before = folder.Listing();
    const Outcome outcome = Run({"-n", "--scale=50%", "--save-preset=z.toml", "grey.pgm"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("20 x 15"), std::string::npos) << outcome.out;
    EXPECT_EQ(Run({"-n", "--scale=50%", "--width=3", "--save-preset=z.toml", "grey.pgm"}).code, 2);
    EXPECT_EQ(folder.Listing(), before);
}

TEST_F(Presets, SavingAScansOptionsNeedsNoScanner) {
    const Outcome outcome = Run({"scan", "--gamma=2", "--save-preset=saved.toml"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(ReadFile(folder.File("saved.toml")), "[[tone]]\ngamma = 2\n");
}

TEST_F(Presets, SavingToStandardOutputDoesNotMixWithThePage) {
    const Outcome outcome = Run({"--scale=50%", "--save-preset=-", "grey.pgm", "-o", "-"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    const std::string text = "[[tone]]\ngamma = 2\n";
    EXPECT_EQ(Run({"--gamma=2", "--save-preset=-", "grey.pgm", "-o", "x.pgm"}).out, text);
    EXPECT_EQ(Run({"curve", "--gamma=2", "--save-preset=-", "--svg=x.svg"}).out, text);
    // A dry run refuses what the run would refuse.
    EXPECT_EQ(Run({"-n", "--gamma=2", "--save-preset=-", "grey.pgm", "-o", "-"}).code, 2);
    EXPECT_EQ(Run({"-n", "--gamma=2", "--save-preset=-", "grey.pgm"}).out.find("grey.pgm"), 0u);
}

TEST_F(Presets, WhatIsWrongIsSaidWithFileAndLine) {
    WriteFile(folder.File("bad.toml"), "mode = \"gray\"\nbrightnes = 3\n");
    WriteFile(folder.File("size.toml"), "scale = 2\nwidth = 3\n");
    const Outcome use = Run({"--preset=bad.toml", "grey.pgm", "-o", "x.pgm"});
    EXPECT_EQ(use.code, 2);
    EXPECT_EQ(use.err, "platen: bad.toml:2: unknown key 'brightnes" + kUnknown);
    const Outcome check = Run({"presets", "check", "size.toml", "bad.toml"});
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(
        check.err,
        "platen: size.toml: only one of --scale, --size, --width with --height, and --resolution can be given\n"
        "platen: bad.toml:2: unknown key 'brightnes" +
            kUnknown);
    EXPECT_EQ(Run({"--preset=absent.toml", "grey.pgm", "-o", "x.pgm"}).err,
              "platen: absent.toml: No such file or directory\n");
    const Outcome unknown = Run({"--preset=nonsense", "grey.pgm", "-o", "x.pgm"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err,
              "platen: --preset: there is no 'nonsense'; there are archive-150, auto-document, auto-photo, "
              "book-yellowed, "
              "fax-200, newspaper, photo-neutral, text-clean (a file's name has a slash or ends in .toml)\n");
    EXPECT_EQ(Run({"presets", "nonsense"}).err, "platen: presets: expected list, show NAME or check FILE\n");
    EXPECT_EQ(Run({"presets", "nonsense"}).code, 2);
}

TEST_F(Presets, ABrokenFileDoesNotHideTheOthersOfAList) {
    Put("config", "bad", "x = 1\n");
    const Outcome list = Run({"presets"});
    EXPECT_EQ(list.code, 1);
    EXPECT_EQ(list.err,
              "platen: " + folder.File("config/platen/presets/bad.toml") + ":1: unknown key 'x" + kUnknown);
    EXPECT_NE(list.out.find("text-clean"), std::string::npos);
}

// Whole: "page" isn't there because "pages" is.
bool NamesOption(const std::string& page, const std::string& name) {
    const std::string flag = "Fl -" + name;
    for (std::size_t at = 0; (at = page.find(flag, at)) != std::string::npos;) {
        at += flag.size();
        const char next = page.at(at);
        if (next != '-' && std::isalnum(static_cast<unsigned char>(next)) == 0) {
            return true;
        }
    }
    return false;
}

TEST(Manual, NamesEveryOptionAndPreset) {
    const std::string page = ReadFile(PLATEN_MANUAL "/platen.1");
    const std::string presets = ReadFile(PLATEN_MANUAL "/platen-presets.5");
    const std::string fish = Spawn({"--completion=fish"}).out;
    std::size_t options = 0;
    for (std::size_t at = 0; (at = fish.find(" -l ", at)) != std::string::npos; ++options) {
        at += 4;
        const std::string name = fish.substr(at, fish.find(' ', at) - at);
        EXPECT_TRUE(NamesOption(page, name)) << name << " is missing in platen.1";
    }
    EXPECT_GT(options, 40u);
    for (const char* name : kShipped) {
        EXPECT_NE(presets.find(std::string(".It ") + name + "\n"), std::string::npos) << name;
    }
}

// The manual's words about an option: from its heading to the next one. Minus signs as the manual's reader sees
// them.
std::string ManualEntry(const std::string& page, const std::string& option) {
    std::smatch heading;
    if (!std::regex_search(page, heading, std::regex("\n\\.It [^\n]*Fl " + option.substr(1) + "[ \n]"))) {
        return "";
    }
    const std::size_t begin = static_cast<std::size_t>(heading.position()) + 1;
    // Several headings may share the words below the last of them.
    std::size_t end = begin;
    do {
        end = page.find("\n.It ", end + 1);
    } while (end != std::string::npos && page.rfind("\n.It ", end - 1) == page.rfind('\n', end - 1));
    std::string entry = page.substr(begin, end - begin);
    for (std::size_t at = 0; (at = entry.find("\\-", at)) != std::string::npos;) {
        entry.erase(at, 1);
    }
    return entry;
}

// What the help says of numbers the manual says too.
TEST(Manual, HasTheRangesAndDefaultsOfTheHelp) {
    const std::string page = ReadFile(PLATEN_MANUAL "/platen.1");
    std::istringstream help(Spawn({"--help=all"}).out + Spawn({"scan", "--help=all"}).out);
    int checked = 0;
    for (std::string line; std::getline(help, line);) {
        const std::size_t name = line.find("--");
        const std::regex range("(-?[0-9.]+)\\.\\.(-?[0-9.]+[0-9])");
        const std::regex usual("\\(([0-9]+)\\)");
        std::smatch numbers;
        if (!line.starts_with("  ") || name == std::string::npos) {
            continue;
        }
        const std::string option = line.substr(name, line.find_first_of("=[ ", name) - name);
        const std::string entry = ManualEntry(page, option);
        const std::string words = line.substr(std::min<std::size_t>(line.size(), 30));
        if (std::regex_search(words, numbers, range)) {
            ++checked;
            EXPECT_NE(entry.find(numbers[1]), std::string::npos) << option << "\n" << entry;
            EXPECT_NE(entry.find(numbers[2]), std::string::npos) << option << "\n" << entry;
        }
        if (std::regex_search(words, numbers, usual)) {
            ++checked;
            EXPECT_NE(entry.find(numbers[1]), std::string::npos) << option << "\n" << entry;
        }
    }
    EXPECT_GT(checked, 14);
}

bool Lacks(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null").c_str()) != 0;
}

// The curve that the manual and docs/tool.md describe, computed here, is the one that --gamma makes; and help and
// manual tell its formula, since it isn't the plain power.
TEST(Manual, TheFormulaOfGammaIsTheCurveThatItMakes) {
    EXPECT_NE(Spawn({"--help"}).out.find("255 (i/255)^(1/tan(.779 G))"), std::string::npos);
    EXPECT_NE(ReadFile(PLATEN_MANUAL "/platen.1").find("255\\ (i/255)^(1/tan(0.779\\ m))"), std::string::npos);
    for (const char* gamma : {"0.1", "0.5", "0.8", "0.99", "1.3", "1.9", "2", "2.5", "3"}) {
        const double g = std::atof(gamma);
        const double m = g <= 1 ? g : g <= 2 ? 1 + 0.44 * (g - 1) : 1.44 + 0.22 * (g - 2);
        const double exponent = 1 / std::tan(m * 127 / 256 * 3.141592 / 2);
        std::istringstream table(Spawn({"curve", std::string("--gamma=") + gamma}).out);
        int input = -1;
        for (int red = 0, green = 0, blue = 0; table >> input >> red >> green >> blue;) {
            EXPECT_NEAR(red, std::floor(255 * std::pow(input / 255.0, exponent)), 1) << gamma << ": " << input;
        }
        EXPECT_EQ(input, 255);
    }
    std::istringstream plain(Spawn({"curve", "--gamma=1"}).out);
    for (int input = 0, red = 0, green = 0, blue = 0; plain >> input >> red >> green >> blue;) {
        EXPECT_EQ(red, input);
    }
}

TEST(Manual, IsWithoutWarnings) {
    if (Lacks("mandoc")) {
        GTEST_SKIP() << "no mandoc";
    }
    EXPECT_EQ(std::system("mandoc -T lint -W warning " PLATEN_MANUAL "/platen.1 " PLATEN_MANUAL
                          "/platen-presets.5 " PLATEN_MANUAL "/sane-platen.5 " PLATEN_MANUAL "/platen-batch.1"),
              0);
}

// The shell only reads it.
void ExpectGoodScript(const std::string& shell) {
    const Outcome script = Spawn({"--completion=" + shell});
    EXPECT_EQ(script.code, 0) << script.err;
    EXPECT_NE(script.out.find("sharpness"), std::string::npos) << script.out;
    if (Lacks(shell)) {
        GTEST_SKIP() << "no " << shell;
    }
    Folder folder;
    WriteFile(folder.File("script"), script.out);
    EXPECT_EQ(std::system((shell + " -n '" + folder.File("script") + "'").c_str()), 0);
}

TEST(Completions, AreRightBash) {
    ExpectGoodScript("bash");
}

TEST(Completions, AreRightZsh) {
    ExpectGoodScript("zsh");
}

TEST(Completions, AreRightFish) {
    ExpectGoodScript("fish");
}

// What bash offers for a command line, sorted by it.
std::string Offered(const std::string& words, int index) {
    Folder folder;
    const std::string script = folder.File("c");
    WriteFile(folder.File("picture.png"), "");
    WriteFile(script, Spawn({"--completion=bash"}).out + "\ncompopt() { :; }\nCOMP_WORDS=(" + words +
                          ")\nCOMP_CWORD=" + std::to_string(index) + "\n_platen\necho \"${COMPREPLY[*]}\" >out\n");
    EXPECT_EQ(std::system(("cd '" + folder.Path() + "' && bash c").c_str()), 0);
    return ReadFile(folder.File("out"));
}

TEST(Completions, BashOffersOptionsValuesAndSubCommands) {
    EXPECT_EQ(Offered("platen --sharp", 1), "--sharpness=\n");
    EXPECT_EQ(Offered("platen --mode = g", 3), "gray\n");
    EXPECT_EQ(Offered("platen --mode =", 2), "lineart gray color\n");
    EXPECT_EQ(Offered("platen pres", 1), "presets\n");
    EXPECT_EQ(Offered("platen presets c", 2), "check\n");
    EXPECT_EQ(Offered("platen curve --tab", 2), "--table=\n");
    EXPECT_EQ(Offered("platen --table", 1), "\n");
    EXPECT_EQ(Offered("platen -o pi", 2), "picture.png\n");
}

TEST(Help, EachTextIsUnderSixtyLines) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--help"},
                                                  {"curve", "--help"},
                                                  {"info", "--help"},
                                                  {"presets", "--help"},
                                                  {"scan", "--help"}}) {
        const std::string text = Spawn(words).out;
        EXPECT_LT(std::count(text.begin(), text.end(), '\n'), 60) << words.front();
        EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 5) << words.front();
    }
}

// An option that shares the next one's line must have it in each command: --json once took that of --verbose.
TEST(Help, OptionsShareLinesWithTheSameOnesEverywhere) {
    const std::string info = Spawn({"info", "--help"}).out;
    EXPECT_NE(info.find("\n  --json                      print it as JSON, for programs\n"), std::string::npos)
        << info;
    EXPECT_NE(info.find("\n  -v --verbose                print more\n"), std::string::npos) << info;
    std::set<std::string> lines;
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--help=all"}, {"scan", "--help=all"}}) {
        std::istringstream text(Spawn(words).out);
        for (std::string line; std::getline(text, line);) {
            lines.insert(line);
        }
    }
    for (const char* command : {"curve", "info", "presets"}) {
        std::istringstream text(Spawn({command, "--help=all"}).out);
        bool own = false;
        for (std::string line; std::getline(text, line);) {
            own = own || line.starts_with("platen " + std::string(command) + ":");
            EXPECT_TRUE(own || lines.contains(line)) << command << ": " << line;
        }
    }
}

}  // namespace
}  // namespace platen_test
