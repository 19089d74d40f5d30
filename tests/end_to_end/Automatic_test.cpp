#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "Scans.h"
#include "Spawn.h"

// Automatic settings: what they find is said everywhere, and typing it gives the same bytes.

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

constexpr const char* kAbsent = "no sample scans at " PLATEN_TEST_DATA " (PLATEN_TEST_DATA)";

// The options that a run told of: all that look like "--levels=..." or "--threshold=..." after `before`.
Words Told(const std::string& text, const std::string& before) {
    Words options;
    const std::size_t at = text.find(before);
    const std::size_t end = text.find('\n', at);
    if (at == std::string::npos) {
        return options;
    }
    const std::string line = text.substr(at, end - at);
    const std::regex option("--(levels|threshold)=[RGB:0-9.,]+");
    for (std::sregex_iterator i(line.begin(), line.end(), option), none; i != none; ++i) {
        options.push_back(i->str());
    }
    return options;
}

// A page of one colour, but for a grain of some levels.
std::string OneColour(const std::string& colour) {
    std::string page = "P6 40 40 255\n";
    for (int i = 0; i < 1600; ++i) {
        for (const char level : colour) {
            page += static_cast<char>(level + i % 7);
        }
    }
    return page;
}

// A page whose paper is yellow, with strokes: `paper` is its level.
std::string PaperPage(int width, int height, bool colour, int paper, int ink) {
    std::string page =
        (colour ? "P6\n" : "P5\n") + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool stroke = y % 10 < 2 && x % 7 < 5;
            const int level = stroke ? ink + x % 3 : paper - (x * 7 + y * 3) % 4;
            page += static_cast<char>(level);
            if (colour) {
                page += static_cast<char>(stroke ? level : level - 12);
                page += static_cast<char>(stroke ? level : level - 40);
            }
        }
    }
    return page;
}

class Automatic : public testing::Test {
  protected:
    Automatic() {
        WriteFile(folder.File("grey.pgm"), PaperPage(90, 70, false, 210, 40));
        WriteFile(folder.File("colour.ppm"), PaperPage(90, 70, true, 220, 30));
        WriteFile(folder.File("two.pgm"), PaperPage(90, 70, false, 210, 40) + PaperPage(60, 80, false, 180, 90));
        WriteFile(folder.File("bits.pbm"), "P4 16 2\nabcd");
    }

    Outcome Run(Words words, const std::string& input = "") const {
        Streams streams;
        streams.folder = folder.Path();
        streams.input = input;
        return Spawn(words, streams);
    }

    // Runs the options on the input, and the numbers that -v told on it again. Both outputs must be the same bytes.
    void ExpectTypedIsTheSame(const std::string& input, Words options, const Words& others,
                              const char* ending = "png") {
        const std::string automatic = std::string("automatic.") + ending;
        const std::string typed = std::string("typed.") + ending;
        options.insert(options.end(), others.begin(), others.end());
        options.insert(options.end(), {"-v", "-f", input, "-o", automatic});
        const Outcome outcome = Run(options);
        ASSERT_EQ(outcome.code, 0) << outcome.err;
        Words words = Told(outcome.err, ": page 1: found --");
        EXPECT_FALSE(words.empty()) << outcome.err;
        words.insert(words.end(), others.begin(), others.end());
        words.insert(words.end(), {"-f", input, "-o", typed});
        ASSERT_EQ(Run(words).code, 0);
        EXPECT_TRUE(ReadFile(folder.File(automatic)) == ReadFile(folder.File(typed))) << outcome.err;
        EXPECT_FALSE(ReadFile(folder.File(typed)) == ReadFile(folder.File("plain"))) << "nothing was done";
    }

    void Plain(const std::string& input, const Words& others, const char* ending) {
        Words words = {"-f", input, std::string("--format=") + ending, "-o", "plain"};
        words.insert(words.begin(), others.begin(), others.end());
        ASSERT_EQ(Run(words).code, 0);
    }

    Folder folder;
};

TEST_F(Automatic, TypingTheNumbersGivesTheSameBytes) {
    for (const char* input : {"grey.pgm", "colour.ppm"}) {
        Plain(input, {}, "png");
        ExpectTypedIsTheSame(input, {"--auto-levels"}, {});
        ExpectTypedIsTheSame(input, {"--auto-white"}, {});
        ExpectTypedIsTheSame(input, {"--auto-white", "--auto-levels=2,1"}, {"--mode=gray", "--scale=50%"});
        ExpectTypedIsTheSame(input, {"--auto-threshold"}, {"--mode=lineart"});
        ExpectTypedIsTheSame(input, {"--auto-levels", "--auto-threshold"}, {"--mode=lineart", "--sharpness=1"});
        ExpectTypedIsTheSame(input, {"--auto-levels", "--auto-margin=10"}, {"--order=scale,tone", "--width=50"});
    }
}

// The page can be had from a pipe too, and then has to be kept.
TEST_F(Automatic, APipeGivesWhatAFileGives) {
    const std::string page = ReadFile(folder.File("colour.ppm"));
    ASSERT_EQ(Run({"--auto-white", "colour.ppm", "-o", "file.ppm"}).code, 0);
    const Outcome piped = Run({"--auto-white", "-v", "-", "-o", "pipe.ppm"}, page);
    EXPECT_EQ(piped.code, 0);
    EXPECT_TRUE(piped.err.starts_with(
        "platen: -: spooled to a temporary file: automatic settings need the whole page first\n"
        "platen: -: page 1: found --levels=R:"))
        << piped.err;
    EXPECT_TRUE(ReadFile(folder.File("file.ppm")) == ReadFile(folder.File("pipe.ppm")));
    EXPECT_TRUE(
        Run({"--auto-white", "-v", "-f", "colour.ppm", "-o", "file.ppm"})
            .err.starts_with("platen: colour.ppm: read twice: automatic settings need the whole page first\n"));
    const Outcome strict = Run({"--auto-white", "--strict-stream", "-", "-o", "no.ppm"}, page);
    EXPECT_EQ(strict.code, 3);
    EXPECT_EQ(strict.err,
              "platen: -: automatic settings need the whole page first; --strict-stream forbids spooling an input "
              "that can't be read twice\n");
    EXPECT_EQ(Run({"--auto-white", "--strict-stream", "-f", "colour.ppm", "-o", "file.ppm"}).code, 0);
    // Of a damaged one nothing is left.
    EXPECT_EQ(Run({"--auto-white", "-", "-o", "no.ppm"}, page.substr(0, page.size() - 9)).code, 1);
    WriteFile(folder.File("cut.ppm"), page.substr(0, page.size() - 9));
    EXPECT_EQ(Run({"--auto-white", "cut.ppm", "-o", "no.ppm"}).code, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.File("no.ppm")));
}

TEST_F(Automatic, TheNumbersAreShownWhereverTheyCount) {
    const Words numbers =
        Told(Run({"--auto-white", "--auto-levels", "--stats", "colour.ppm"}).out, "found        page 1: ");
    ASSERT_EQ(numbers.size(), 4u);
    const auto with = [&](Words words) {
        words.insert(words.begin(), numbers.begin(), numbers.end());
        return words;
    };
    std::string list;
    for (const std::string& number : numbers) {
        list += (list.empty() ? "\"" : ", \"") + number + "\"";
    }
    EXPECT_NE(Run({"--auto-white", "--auto-levels", "--stats", "--json", "colour.ppm"})
                  .out.find("\"found\": [{\"page\": 1, \"options\": [" + list + "]}]}"),
              std::string::npos);
    EXPECT_EQ(Run({"--auto-white", "--auto-levels", "-n", "colour.ppm"}).out, Run(with({"-n", "colour.ppm"})).out);
    // The plot and the preset get the first page's.
    EXPECT_EQ(
        Run({"--auto-white", "--auto-levels", "--plot=a.svg", "--save-preset=a.toml", "colour.ppm", "-o", "a.ppm"})
            .code,
        0);
    EXPECT_EQ(Run(with({"--plot=b.svg", "--save-preset=b.toml", "colour.ppm", "-o", "b.ppm"})).code, 0);
    EXPECT_EQ(ReadFile(folder.File("a.svg")), ReadFile(folder.File("b.svg")));
    EXPECT_EQ(ReadFile(folder.File("a.toml")), ReadFile(folder.File("b.toml")));
    EXPECT_EQ(Run({"--preset=./a.toml", "colour.ppm", "-o", "c.ppm"}).code, 0);
    EXPECT_TRUE(ReadFile(folder.File("a.ppm")) == ReadFile(folder.File("c.ppm")));
    // Without a page there are no numbers yet.
    EXPECT_EQ(Run({"--auto-white", "--auto-levels=1,0.5", "--auto-margin=4", "--save-preset=open.toml"}).code, 0);
    EXPECT_EQ(ReadFile(folder.File("open.toml")),
              "auto-margin = 4\n\n[[tone]]\nauto-white = true\n\n[[tone]]\nauto-levels = [1, 0.5]\n");
    EXPECT_EQ(Run({"presets", "check", "open.toml"}).code, 0);
    EXPECT_EQ(Run({"--preset=./open.toml", "colour.ppm", "-o", "d.ppm"}).code, 0);
    EXPECT_NE(Run({"-n", "--plot=x.svg", "--auto-white", "colour.ppm"})
                  .out.find("plot, to x.svg\n  tone      automatic white\n            with the first page's "
                            "automatic settings\n"),
              std::string::npos);
}

TEST_F(Automatic, FilesInTheirPlaceAreFoundBeforeThePages) {
    WriteFile(folder.File("there.svg"), "mine");
    const Outcome outcome = Run({"--auto-white", "--plot=there.svg", "colour.ppm", "-o", "out.ppm"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("there.svg"), std::string::npos) << outcome.err;
    EXPECT_EQ(ReadFile(folder.File("there.svg")), "mine");
    EXPECT_FALSE(std::filesystem::exists(folder.File("out.ppm")));
    EXPECT_EQ(Run({"curve", "--preset=auto-document"}).err,
              "platen: curve: --auto-levels and --auto-white measure a page, and curve reads none\n");
}

TEST_F(Automatic, EachPageHasItsOwnNumbersOrAllHaveTheFirsts) {
    const std::string own = Run({"--auto-white", "--auto-levels", "--stats", "two.pgm"}).out;
    const Words first = Told(own, "page 1: ");
    const Words second = Told(own, "page 2: ");
    EXPECT_FALSE(first == second) << own;
    const std::string same = Run({"--auto-white", "--auto-levels", "--same-for-all", "--stats", "two.pgm"}).out;
    EXPECT_EQ(Told(same, "page 1: "), first);
    EXPECT_EQ(Told(same, "page 2: "), first);
    EXPECT_EQ(Told(Run({"--auto-white", "--auto-levels", "--page=2", "--stats", "two.pgm"}).out, "page 2: "),
              second);
    ASSERT_EQ(Run({"two.pgm", "--format=tiff", "-o", "two.tif"}).code, 0);
    EXPECT_EQ(Told(Run({"--auto-white", "--auto-levels", "--page=2", "--stats", "two.tif"}).out, "page 2: "),
              second);
    // Over several inputs, one after the other and at the same time.
    WriteFile(folder.File("bad.pgm"), "P5 nonsense");
    WriteFile(folder.File("other.pgm"), PaperPage(50, 50, false, 150, 20));
    const Words run = {"--auto-white", "--same-for-all", "-k",           "bad.pgm",
                       "grey.pgm",     "other.pgm",      "--plot=p.svg", "-f"};
    const auto with = [&](Words more) {
        more.insert(more.begin(), run.begin(), run.end());
        return more;
    };
    EXPECT_EQ(Run(with({"-o", "one-%s.png"})).code, 1);
    const std::string plot = ReadFile(folder.File("p.svg"));
    EXPECT_EQ(Run(with({"-j2", "-o", "two-%s.png"})).code, 1);
    EXPECT_EQ(ReadFile(folder.File("p.svg")), plot);
    EXPECT_NE(plot.find("1. levels 0 to 2"), std::string::npos) << plot;
    for (const char* name : {"grey.png", "other.png"}) {
        EXPECT_TRUE(ReadFile(folder.File(std::string("one-") + name)) ==
                    ReadFile(folder.File(std::string("two-") + name)));
    }
    const Outcome pipe =
        Run({"--auto-white", "--same-for-all", "-j2", "-", "grey.pgm", "-o", "%s.png"}, "P5 1 1 255\nx");
    EXPECT_EQ(pipe.code, 2);
    EXPECT_EQ(pipe.err,
              "platen: --jobs: the first page's automatic settings are needed before the others start, and '-' can "
              "be read only once\n");
}

// The first page's numbers may not fit the others.
TEST_F(Automatic, OtherPagesTakeOfTheFirstsNumbersWhatFits) {
    const Outcome outcome = Run(
        {"--auto-white", "--same-for-all", "colour.ppm", "grey.pgm", "bits.pbm", "--mode=gray", "-o", "%s.png"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const Outcome mixed = Run({"--auto-white", "--same-for-all", "-f", "colour.ppm", "grey.pgm", "-o", "%s.png"});
    EXPECT_EQ(mixed.code, 0);
    EXPECT_EQ(
        mixed.err,
        "platen: grey.pgm: left out of the automatic settings: --levels works on colours, and the page is grey\n");
    const Outcome bits = Run({"--auto-white", "bits.pbm", "-o", "b.png"});
    EXPECT_EQ(bits.code, 3);
    EXPECT_EQ(
        bits.err,
        "platen: bits.pbm: --auto-white needs a page with tones; this one is bilevel, and --mode=gray makes it "
        "grey\n");
}

TEST_F(Automatic, PagesWithoutAnythingToFindAreLeftAsTheyAre) {
    const std::pair<const char*, std::string> pages[] = {
        {"black.pgm", "P5 20 20 255\n" + std::string(400, '\0')},
        {"white.pgm", "P5 20 20 255\n" + std::string(400, '\xFF')},
        {"dull.ppm", "P6 20 20 255\n" + std::string(1200, '\x50')},
        {"blank.pgm", PaperPage(40, 40, false, 240, 238)},
        {"pair.pgm", std::string("P5 2 1 255\n\x10\xE0", 13)},
        {"green.ppm", OneColour("\x40\x90\x60")},
        {"yellow.ppm", OneColour("\xEE\xE7\xD6")},
    };
    for (const auto& [name, bytes] : pages) {
        WriteFile(folder.File(name), bytes);
        const Outcome outcome = Run({"--auto-levels", name, "-f", "-o", "out.pam"});
        EXPECT_EQ(outcome.code, 0);
        EXPECT_NE(outcome.err.find(" left out: "), std::string::npos) << name << ": " << outcome.err;
        ASSERT_EQ(Run({name, "-f", "-o", "same.pam"}).code, 0);
        EXPECT_TRUE(ReadFile(folder.File("out.pam")) == ReadFile(folder.File("same.pam"))) << name;
        const Outcome lineart = Run({"--mode=lineart", "--auto-threshold", name, "-f", "-o", "out.pbm"});
        EXPECT_EQ(lineart.code, 0);
        EXPECT_NE(lineart.err.find(" left out: "), std::string::npos) << name << ": " << lineart.err;
        ASSERT_EQ(Run({"--mode=lineart", name, "-f", "-o", "same.pbm"}).code, 0);
        EXPECT_TRUE(ReadFile(folder.File("out.pbm")) == ReadFile(folder.File("same.pbm"))) << name;
    }
    EXPECT_NE(
        Run({"--auto-levels", "-n", "black.pgm"}).out.find("  note      --auto-levels left out: the tones lie"),
        std::string::npos);
    const Outcome white = Run({"--auto-white", "-v", "white.pgm", "-f", "-o", "out.pam"});
    EXPECT_NE(white.err.find("white.pgm: page 1: no automatic setting changes it\n"), std::string::npos)
        << white.err;
    EXPECT_NE(Run({"--auto-white", "--stats", "white.pgm"}).out.find("  found        page 1: nothing\n"),
              std::string::npos);
    // A blank page's paper does become white.
    EXPECT_EQ(Run({"--auto-white", "blank.pgm", "-f", "-o", "out.pgm"}).err, "");
    const std::string out = ReadFile(folder.File("out.pgm"));
    EXPECT_GT(std::count(out.begin(), out.end(), '\xFF'), 500);
}

TEST_F(Automatic, OptionsThatDoNotGoTogetherAreRefused) {
    EXPECT_EQ(Run({"--auto-threshold", "grey.pgm", "-o", "x.png"}).err,
              "platen: --auto-threshold: needs --mode=lineart\n");
    EXPECT_EQ(Run({"--same-for-all", "grey.pgm", "-o", "x.png"}).err,
              "platen: --same-for-all: needs an automatic setting\n");
    EXPECT_EQ(Run({"--auto-levels", "--depth=16", "grey.pgm", "-o", "x.png"}).code, 2);
    // Of two thresholds the later counts.
    const Outcome later =
        Run({"--mode=lineart", "--auto-threshold", "--threshold=40", "-v", "grey.pgm", "-o", "x.png"});
    EXPECT_EQ(later.err, "");
}

TEST_F(Automatic, RealScansComeOutAsTypedOnes) {
    if (!std::filesystem::exists(Scan("README.md"))) {
        GTEST_SKIP() << kAbsent;
    }
    const std::string colour = Scan("watercolour-plate-rgb8-189dpi.jpg");
    Plain(colour, {}, "png");
    ExpectTypedIsTheSame(colour, {"--auto-white"}, {});
    ExpectTypedIsTheSame(colour, {"--auto-white", "--auto-levels"}, {"--scale=50%"}, "jpg");
    ExpectTypedIsTheSame(Scan("newspaper-1898-gray8.tif"), {"--auto-threshold", "--auto-margin=6"},
                         {"--mode=lineart"}, "tif");
    ExpectTypedIsTheSame(Scan("postcard-back-rgba8-325dpi.png"), {"--auto-white", "--auto-levels"}, {}, "tif");
    ExpectTypedIsTheSame(Scan("map-detail-rgb16-300dpi.tif"), {"--auto-levels"}, {}, "tif");
}

// The watercolour's paper, as another program sees it.
TEST_F(Automatic, AnotherProgramFindsThePaperWhite) {
    if (!std::filesystem::exists(Scan("README.md"))) {
        GTEST_SKIP() << kAbsent;
    }
    const auto meanBelowThePlate = [&](const std::string& file) {
        Streams streams;
        streams.program = "convert";
        const Outcome outcome =
            Spawn({file, "-crop", "200x60+60+1800", "+repage", "-format",
                   "%[fx:round(255*mean.r)] %[fx:round(255*mean.g)] %[fx:round(255*mean.b)]", "info:"},
                  streams);
        return outcome.code == 0 ? outcome.out : "";
    };
    const std::string before = meanBelowThePlate(Scan("watercolour-plate-rgb8-189dpi.jpg"));
    if (before.empty()) {
        GTEST_SKIP() << "no ImageMagick";
    }
    ASSERT_EQ(Run({"--auto-white", Scan("watercolour-plate-rgb8-189dpi.jpg"), "-o", "white.png"}).code, 0);
    int was[3] = {};
    int is[3] = {};
    ASSERT_EQ(std::sscanf(before.c_str(), "%d %d %d", &was[0], &was[1], &was[2]), 3) << before;
    const std::string after = meanBelowThePlate(folder.File("white.png"));
    ASSERT_EQ(std::sscanf(after.c_str(), "%d %d %d", &is[0], &is[1], &is[2]), 3) << after;
    EXPECT_GT(was[0] - was[2], 20) << "the cast";
    for (const int level : is) {
        EXPECT_GE(level, 245) << before << " became " << after;
    }
}

}  // namespace
}  // namespace platen_test
