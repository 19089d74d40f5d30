#include <gtest/gtest.h>

#include <algorithm>

#include "Spawn.h"

namespace platen_test {
namespace {

class Files : public testing::Test {
  protected:
    Outcome Run(const std::vector<std::string>& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    // Runs and expects it to be done without a word.
    void Do(const std::vector<std::string>& words) const {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    std::string Info(const std::string& file) const {
        return Run({"info", file}).out;
    }

    // The pixels of a P5 or P6 file: everything after the header's last number.
    std::string Pixels(const std::string& file, std::size_t count) const {
        const std::string bytes = ReadFile(folder.File(file));
        EXPECT_GE(bytes.size(), count);
        return bytes.substr(bytes.size() - count);
    }

    Folder folder;
};

TEST_F(Files, EveryContainerKeepsThePixelsThroughTheOthers) {
    WriteFile(folder.File("a.ppm"), PnmPage(33, 21, true));
    Do({"a.ppm", "-o", "b.png"});
    Do({"b.png", "-o", "c.tif"});
    Do({"c.tif", "-o", "d.pam"});
    Do({"d.pam", "-o", "e.ppm"});
    EXPECT_EQ(Pixels("e.ppm", 33 * 21 * 3), PnmPage(33, 21, true).substr(13));
}

TEST_F(Files, FormatCountsMoreThanTheEnding) {
    WriteFile(folder.File("a.pgm"), PnmPage(9, 9, false));
    Do({"a.pgm", "-o", "x.dat", "--format=tiff"});
    EXPECT_EQ(Info("x.dat").find("x.dat: TIFF\n"), 0u);
}

TEST_F(Files, ResolutionTagsFollowTheSize) {
    WriteFile(folder.File("a.pgm"), PnmPage(60, 30, false));
    Do({"a.pgm", "-o", "a.tif", "--input-resolution=600"});
    EXPECT_EQ(Info("a.tif"), "a.tif: TIFF\n  page 1: 60 x 30, 8-bit grey, 600 dpi, LZW\n");
    Do({"a.tif", "-o", "b.tif", "--scale=50%"});
    EXPECT_EQ(Info("b.tif"), "b.tif: TIFF\n  page 1: 30 x 15, 8-bit grey, 300 dpi, LZW\n");
    Do({"a.tif", "-o", "c.tif", "--resolution=200x100"});
    EXPECT_EQ(Info("c.tif"), "c.tif: TIFF\n  page 1: 20 x 5, 8-bit grey, 200 x 100 dpi, LZW\n");
    Do({"a.tif", "-o", "d.tif", "--set-resolution=72"});
    EXPECT_EQ(Info("d.tif"), "d.tif: TIFF\n  page 1: 60 x 30, 8-bit grey, 72 dpi, LZW\n");
}

TEST_F(Files, TemplatesNameTheOutputs) {
    WriteFile(folder.File("a.pgm"), PnmPage(9, 9, false, 1));
    WriteFile(folder.File("b.pgm"), PnmPage(9, 9, false, 2));
    Do({"a.pgm", "b.pgm", "-o", "%s-x.pgm"});
    Do({"a.pgm", "b.pgm", "-o", "n%03d.pgm"});
    EXPECT_EQ(folder.Listing(), "a-x.pgm a.pgm b-x.pgm b.pgm n001.pgm n002.pgm");
    EXPECT_EQ(Pixels("n002.pgm", 81), Pixels("b.pgm", 81));
}

TEST_F(Files, PagesGoTogetherApartOrInPart) {
    WriteFile(folder.File("a.pgm"), PnmPage(9, 9, false, 1) + PnmPage(5, 6, false, 2) + PnmPage(7, 4, false, 3));
    Do({"a.pgm", "-o", "all.tif"});
    EXPECT_EQ(Info("all.tif"),
              "all.tif: TIFF\n  page 1: 9 x 9, 8-bit grey, no resolution, LZW\n"
              "  page 2: 5 x 6, 8-bit grey, no resolution, LZW\n"
              "  page 3: 7 x 4, 8-bit grey, no resolution, LZW\n");
    Do({"all.tif", "-o", "p%d.pgm"});
    EXPECT_EQ(Pixels("p3.pgm", 28), PnmPage(7, 4, false, 3).substr(11));
    Do({"all.tif", "--page=2-3", "-o", "q%d.pgm"});
    EXPECT_EQ(Pixels("q1.pgm", 30), PnmPage(5, 6, false, 2).substr(11));
    Do({"all.tif", "--page=2", "-o", "two.tif"});
    EXPECT_EQ(Info("two.tif"), "two.tif: TIFF\n  page 1: 5 x 6, 8-bit grey, no resolution, LZW\n");
    EXPECT_EQ(folder.Listing(), "a.pgm all.tif p1.pgm p2.pgm p3.pgm q1.pgm q2.pgm two.tif");
    const Outcome png = Run({"all.tif", "-o", "one.png"});
    EXPECT_EQ(png.code, 3) << png.err;
    EXPECT_EQ(folder.Listing().find("one.png"), std::string::npos);
}

TEST_F(Files, ThreadsGiveTheSameFilesAsOneThread) {
    WriteFile(folder.File("a.ppm"), PnmPage(301, 211, true));
    Do({"a.ppm", "-o", "a.png"});
    Do({"a.ppm", "--depth=16", "-o", "a.tif"});
    Do({"a.ppm", "-o", "a.jpg"});
    Do({"a.ppm", "--mode=lineart", "-o", "a.pbm"});
    for (const std::string from : {"a.ppm", "a.png", "a.tif", "a.jpg", "a.pbm"}) {
        for (const std::string to : {"png", "tif", "jpg", "pnm"}) {
            for (const std::string scale : {"--scale=50%", "--scale=2.5"}) {
                if (from == "a.pbm" && to == "jpg") {
                    continue;  // JPEG has no bilevel pages
                }
                const bool wide = from == "a.tif" && to == "jpg";  // nor 16-bit ones
                const std::string depth = wide ? "--depth=8" : "--strip";
                Do({from, scale, depth, "--threads=1", "-f", "-o", "one." + to});
                Do({from, scale, depth, "--threads=3", "-f", "-o", "three." + to});
                EXPECT_TRUE(ReadFile(folder.File("one." + to)) == ReadFile(folder.File("three." + to)))
                    << from << to << scale;
            }
        }
    }
}

TEST_F(Files, ThreadsChangeNoErrorOfADamagedFile) {
    WriteFile(folder.File("a.ppm"), PnmPage(301, 211, true));
    for (const std::string kind : {"png", "tif", "jpg", "ppm"}) {
        Do({"a.ppm", "-f", "-o", "whole." + kind});
        const std::string bytes = ReadFile(folder.File("whole." + kind));
        for (const std::size_t tenths : {3u, 6u, 9u}) {
            // A TIFF's directory is at its end, so there the samples are damaged instead.
            const std::size_t at = bytes.size() * tenths / 10;
            const std::string end = kind == "tif" ? std::string(500, '\xFF') + bytes.substr(at + 500) : "";
            WriteFile(folder.File("cut." + kind), bytes.substr(0, at) + end);
            const Outcome one = Run({"cut." + kind, "--scale=50%", "--threads=1", "-o", "out.png"});
            const Outcome three = Run({"cut." + kind, "--scale=50%", "--threads=3", "-o", "out.png"});
            EXPECT_EQ(one.code, 1) << kind << tenths;
            EXPECT_EQ(three.code, 1) << kind << tenths;
            EXPECT_EQ(one.err, three.err);
            EXPECT_EQ(folder.Listing().find("out.png"), std::string::npos) << folder.Listing();
            // What couldn't be written came before what couldn't be read.
            const Outcome full =
                Run({"cut." + kind, "--threads=3", "--scale=5", "-o", "/dev/full", "--format=pnm"});
            EXPECT_NE(full.err.find("No space left on device"), std::string::npos) << kind << full.err;
        }
    }
}

TEST_F(Files, JobsGiveTheSameFilesAsOneProcess) {
    std::vector<std::string> words = {"--gamma=1.5", "--saturation=20", "--sharpness=1", "-o", "one-%s.ppm"};
    for (int i = 0; i < 6; ++i) {
        const std::string name = "in" + std::to_string(i) + ".ppm";
        WriteFile(folder.File(name), PnmPage(40, 30, true, i));
        words.push_back(name);
    }
    Do(words);
    words[4] = "many-%s.ppm";
    words.emplace_back("--jobs=3");
    Do(words);
    for (int i = 0; i < 6; ++i) {
        const std::string tail = "-in" + std::to_string(i) + ".ppm";
        EXPECT_EQ(ReadFile(folder.File("one" + tail)), ReadFile(folder.File("many" + tail)));
    }
}

TEST_F(Files, AnErrorKeepsNoOtherInputFromBeingDone) {
    WriteFile(folder.File("a.pgm"), "P5 9 9 255\nshort");
    WriteFile(folder.File("b.pgm"), PnmPage(9, 9, false));
    EXPECT_EQ(Run({"a.pgm", "b.pgm", "-o", "x-%s.pgm", "--stop-on-error"}).code, 1);
    EXPECT_EQ(folder.Listing(), "a.pgm b.pgm");
    EXPECT_EQ(Run({"a.pgm", "b.pgm", "-o", "x-%s.pgm"}).code, 1);
    EXPECT_EQ(folder.Listing(), "a.pgm b.pgm x-b.pgm");
    EXPECT_EQ(Run({"a.pgm", "b.pgm", "-o", "y-%s.pgm", "--jobs=2"}).code, 1);
    EXPECT_EQ(folder.Listing(), "a.pgm b.pgm x-b.pgm y-b.pgm");
}

TEST_F(Files, DryRunsSayWhatWouldHappenAndWriteNothing) {
    WriteFile(folder.File("a.ppm"), PnmPage(60, 40, true));
    const Outcome outcome = Run({"-n", "a.ppm", "--brightness=10", "--saturation=5", "--scale=50%", "--sharpness=1",
                                 "--input-resolution=300", "-o", "x.png"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(folder.Listing(), "a.ppm");
    std::size_t at = 0;
    for (const char* part :
         {"a.ppm, page 1, to x.png\n", "input     60 x 40, 8-bit RGB, 300 dpi\n", "tone      brightness 10\n",
          "0:12 32:44", "hsv       saturation 5, hue 0, lightness 0\n", "scale     60 x 40 to 30 x 20\n",
          "sharpen   1\n", "output    30 x 20, 8-bit RGB, 150 dpi\n", "memory    about ", " MB at most\n"}) {
        at = outcome.out.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << "\n" << outcome.out;
    }
}

TEST_F(Files, ReductionTo8BitsIsSaidOnce) {
    const std::string page = std::string("P5 2 1 65535\n") + std::string("\x12\x34\xFF\xFF", 4);
    WriteFile(folder.File("a.pgm"), page + page);
    const Outcome outcome = Run({"a.pgm", "--gamma=2", "-o", "x%d.pgm"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "platen: a.pgm: 16-bit samples are reduced to 8 bits\n");
}

TEST_F(Files, VerboseTellsOfSmallPagesAndStatsOfThePage) {
    WriteFile(folder.File("a.pgm"), PnmPage(2, 9, false));
    Do({"a.pgm", "--sharpness=2", "-o", "x.pgm"});
    EXPECT_EQ(Pixels("x.pgm", 18), PnmPage(2, 9, false).substr(11));
    const Outcome outcome = Run({"-v", "a.pgm", "--sharpness=2", "-o", "y.pgm", "--stats"});
    EXPECT_NE(outcome.err.find("a.pgm: the page is narrower than three pixels or shorter than two lines"),
              std::string::npos);
    EXPECT_NE(outcome.err.find("--levels="), std::string::npos);
    EXPECT_NE(outcome.err.find("lines        9\n"), std::string::npos);
}

TEST_F(Files, ProgressIsOneLineThatIsClearedAgain) {
    WriteFile(folder.File("a.pgm"), PnmPage(9, 90, false));
    const Outcome outcome = Run({"--progress", "a.pgm", "-o", "x.pgm"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("1 %: a.pgm, page 1, line 1 of 90"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), std::string::npos);
    EXPECT_EQ(outcome.err.back(), '\r');
}

TEST_F(Files, PlotsAndTablesOfTheCurve) {
    WriteFile(folder.File("a.ppm"), PnmPage(9, 9, true));
    Do({"a.ppm", "--brightness=10", "-o", "x.ppm", "--plot=plot.svg"});
    Do({"curve", "--brightness=10", "--svg=curve.svg"});
    EXPECT_EQ(ReadFile(folder.File("plot.svg")), ReadFile(folder.File("curve.svg")));
    EXPECT_EQ(Run({"curve", "--brightness=10", "--svg=-"}).out, ReadFile(folder.File("curve.svg")));
    const std::string table = Run({"curve", "--brightness=10"}).out;
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 256);
    EXPECT_EQ(table.find("0 12 12 12\n1 13 13 13\n"), 0u);
    EXPECT_EQ(Run({"curve", "--brightness=10", "--svg=curve.svg"}).code, 1);  // it exists
    Do({"curve", "--brightness=10", "--svg=curve.svg", "--force"});
}

TEST_F(Files, InfoSpeaksJson) {
    WriteFile(folder.File("a\"b.ppm"), PnmPage(9, 8, true));
    EXPECT_EQ(Run({"info", "--json", "a\"b.ppm"}).out,
              "[{\"file\": \"a\\\"b.ppm\", \"container\": \"PNM\", \"pages\": [{\"width\": 9, \"height\": 8, "
              "\"bits\": 8, \"samples\": 3, \"alpha\": false, \"icc\": 0, \"orientation\": 1}]}]\n");
    WriteFile(folder.File("bad.ppm"), "P6 9");
    const Outcome outcome = Run({"info", "bad.ppm", "a\"b.ppm"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.out.find("9 x 8"), std::string::npos);
}

}  // namespace
}  // namespace platen_test
