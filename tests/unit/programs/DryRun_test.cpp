#include "programs/commands/DryRun.h"
#include "Expect.h"
#include "io/Pages.h"
#include "programs/commands/AdjustInput.h"

// What --dry-run prints.

namespace platen_tool {
namespace {

Settings SettingsOf(std::vector<std::string> words) {
    words.insert(words.end(), {"in.png", "-o", "out.png"});
    return MakeSettings(ParseArguments(kAdjust, words), {});
}

ImageInfo Info(std::uint32_t width, std::uint32_t height, int samples) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.samplesPerPixel = samples;
    return info;
}

// The part after the heading of one row, or nothing.
std::string RowOf(const std::string& text, const std::string& heading) {
    const std::size_t at = text.find("  " + heading + " ");
    return at == std::string::npos ? "" : text.substr(at, text.find('\n', at) - at);
}

TEST(DryRun, NamesEveryStageInItsOrder) {
    const std::string text = DescribePage(
        PlanPage(SettingsOf({"--gamma=1.5", "--scale=50%", "--sharpness=2", "--mode=gray"}), Info(40, 30, 3)));
    std::size_t last = 0;
    for (const char* name : {"input ", "pixels ", "tone ", "scale ", "sharpen ", "output ", "memory "}) {
        const std::size_t at = text.find(std::string("  ") + name);
        ASSERT_NE(at, std::string::npos) << name << text;
        EXPECT_GE(at, last) << name;
        last = at;
    }
    EXPECT_EQ(RowOf(DescribePage(PlanPage(SettingsOf({"--hue=5"}), Info(4, 3, 3))), "hsv").substr(0, 5), "  hsv");
}

TEST(DryRun, ShowsOneRowOfPointsWhereTheChannelsAgree) {
    const std::string text = DescribePage(PlanPage(SettingsOf({"--brightness=100"}), Info(4, 3, 3)));
    EXPECT_NE(text.find("            0:127 32:159 64:191 96:223 128:255 160:255 192:255 224:255 255:255\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("green"), std::string::npos);
}

TEST(DryRun, ShowsThreeRowsOfPointsWhereAChannelDiffers) {
    const std::pair<const char*, bool> cases[] = {{"--balance-midtones=0,0,40", true},
                                                  {"--balance-midtones=0,40,0", true},
                                                  {"--balance-midtones=40,0,0", true},
                                                  {"--balance-midtones=0,0,0", false}};
    for (const auto& [option, differs] : cases) {
        const std::string text = DescribePage(PlanPage(SettingsOf({option}), Info(4, 3, 3)));
        for (const char* name : {"red   0:", "green 0:", "blue  0:"}) {
            EXPECT_EQ(text.find(name) != std::string::npos, differs) << option << text;
        }
    }
}

TEST(DryRun, NotesWhatHasNoEffect) {
    EXPECT_EQ(RowOf(DescribePage(PlanPage(SettingsOf({"--scale=100%"}), Info(4, 3, 3))), "note"),
              "  note      the page already has this size; it is not scaled");
    EXPECT_EQ(
        RowOf(DescribePage(PlanPage(SettingsOf({"--sharpness=1"}), Info(2, 3, 3))), "note"),
        "  note      the page is narrower than three pixels or shorter than two lines; it is not sharpened or "
        "softened");
}

class DryRunOfFiles : public testing::Test {
  protected:
    // A file of so many pages, 10, 11, 12... pixels wide.
    std::string File(const char* name, std::uint32_t pages) {
        std::vector<platen_test::Page> content;
        for (std::uint32_t i = 0; i < pages; ++i) {
            content.push_back(platen_test::RandomPage(10 + i, 4, 8, 1, i));
        }
        platen_test::WritePages(scratch_ / name, content);
        return scratch_ / name;
    }

    static std::string Describe(const std::string& path, const std::vector<std::string>& words, const char* output,
                                unsigned long& next) {
        Settings settings = SettingsOf(words);
        settings.inputs = {path};
        const OutputName name(output);
        RunFiles files(settings.inputs);
        RunNumbers numbers(settings);
        return DescribeInput({settings, name, files, numbers}, 0, next);
    }

    platen_test::Scratch scratch_;
};

TEST_F(DryRunOfFiles, EveryPageHasItsHeading) {
    for (const char* name : {"pages.tif", "pages.pgm"}) {
        const std::string path = File(name, 3);
        unsigned long next = 7;
        const std::string text = Describe(path, {}, "%03d.png", next);
        EXPECT_EQ(next, 10u);
        for (const char* page : {"1, to 007.png\n  input     10 x 4", "2, to 008.png\n  input     11 x 4",
                                 "3, to 009.png\n  input     12 x 4"}) {
            EXPECT_NE(text.find(path + ", page " + page), std::string::npos) << page << "\n" << text;
        }
    }
}

TEST_F(DryRunOfFiles, OnePageIsNotReadToItsEnd) {
    const std::string path = File("one.png", 1);
    platen_test::Bytes bytes = platen_test::FileBytes(path);
    bytes.resize(bytes.size() - 20);  // what follows the header is of no interest
    platen_test::PutFile(path, bytes.data(), bytes.size());
    unsigned long next = 1;
    EXPECT_EQ(Describe(path, {}, "", next).substr(0, path.size() + 9), path + ", page 1\n");
}

TEST_F(DryRunOfFiles, TakesThePagesThatAreWanted) {
    const std::string path = File("pages.tif", 4);
    unsigned long next = 1;
    const std::string text = Describe(path, {"--page=2-3"}, "%d.png", next);
    EXPECT_EQ(next, 3u);
    EXPECT_EQ(text.find("page 1,"), std::string::npos) << text;
    EXPECT_NE(text.find("page 2, to 1.png"), std::string::npos) << text;
    EXPECT_NE(text.find("page 3, to 2.png"), std::string::npos) << text;
    EXPECT_EQ(text.find("page 4,"), std::string::npos) << text;
}

TEST_F(DryRunOfFiles, AnOutputThatCannotHoldThePagesIsAnError) {
    const std::string path = File("pages.tif", 3);
    const auto refusal = [&](ExitCode code, const std::vector<std::string>& words, const char* output) {
        unsigned long next = 1;
        return ErrorText(code, [&] { Describe(path, words, output, next); });
    };
    EXPECT_EQ(refusal(ExitCode::kUnsupported, {}, "two.png"),
              "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_EQ(refusal(ExitCode::kUnsupported, {"--page=2-3", "--format=jpeg"}, "two.tif"),
              "a JPEG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_EQ(refusal(ExitCode::kUsage, {}, "foo"),
              "-o: 'foo' has no ending that names a format; .png, .tif, .jpg, .pdf, .pbm, .pgm, .ppm, .pnm and "
              ".pam do, or "
              "--format");
    EXPECT_EQ(refusal(ExitCode::kUnsupported, {"--page=1", "--depth=16"}, "one.jpg"),
              "JPEG can't hold 16-bit grey; --depth=8 converts the page, and PNG, TIFF and PNM hold it as it is");
    unsigned long next = 1;
    EXPECT_NE(Describe(path, {"--page=2"}, "one.png", next), "");
    for (const char* output : {"%d.png", "all.tif", "all.pnm", "-", ""}) {
        EXPECT_NE(Describe(path, {}, output, next).find(", page 3"), std::string::npos) << output;
    }
    EXPECT_NE(Describe(path, {"--format=pnm"}, "foo", next), "");
}

TEST_F(DryRunOfFiles, AnOutputThatIsThereAlreadyNeedsForce) {
    const std::string path = File("page.png", 1);
    const std::string there = File("there.png", 1);
    const platen_test::Bytes before = platen_test::FileBytes(there);
    unsigned long next = 1;
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { Describe(path, {}, there.c_str(), next); }),
              there + ": exists already; --force overwrites it");
    EXPECT_NE(Describe(path, {"--force"}, there.c_str(), next), "");
    EXPECT_EQ(ErrorText(ExitCode::kUnsupported, [&] { Describe(path, {"--hue=1"}, there.c_str(), next); }),
              "--hue needs a colour page; this one is grey");
    EXPECT_EQ(platen_test::FileBytes(there), before);
}

TEST_F(DryRunOfFiles, APageThatIsNotThereIsAnError) {
    unsigned long next = 1;
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { Describe(File("one.png", 1), {"--page=2"}, "o.png", next); }),
              "--page: there is only 1 page");
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { Describe(File("two.tif", 2), {"--page=3-4"}, "o.tif", next); }),
              "--page: there are only 2 pages");
    EXPECT_EQ(next, 1u);
}

}  // namespace
}  // namespace platen_tool
