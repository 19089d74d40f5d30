#include <filesystem>

#include "SaneTest.h"

// What people do with the program, start to end, with real files and SANE's test device.

namespace platen_test {
namespace {

std::string Sample(const std::string& name) {
    return std::string(PLATEN_TEST_DATA) + "/" + name;
}

class Examples : public SaneTest {
  protected:
    // These don't all need a scanner.
    void SetUp() override {}

    static bool NoSamples() {
        return !std::filesystem::exists(Sample("README.md"));
    }
    void Do(const std::vector<std::string>& words) const {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }
};

class ScanExamples : public Examples {
  protected:
    void SetUp() override {
        SaneTest::SetUp();
    }
};

constexpr const char* kNoSamples = "no sample scans at " PLATEN_TEST_DATA;

TEST_F(ScanExamples, AScanBecomesACleanedPng) {
    Do({"scan", "-d", "test", "--set", "test-picture=Color pattern", "--mode=color", "--resolution=300",
        "--levels=12,240,1.1", "--sharpness=1", "-o", "page.png"});
    EXPECT_EQ(Info("page.png"), "page.png: PNG\n  page 1: 944 x 1181, 8-bit RGB, 299.999 dpi\n");
}

TEST_F(Examples, APipeFromScanimageIsToldItsResolution) {
    Streams streams;
    streams.program = "scanimage";
    const Outcome scan =
        Run({"-d", "test", "--resolution=600", "--test-picture=Grid", "-x", "20", "-y", "10"}, streams);
    if (scan.code != 0) {
        GTEST_SKIP() << "no scanimage with the test device: " << scan.err;
    }
    Streams pipe;
    pipe.input = scan.out;
    pipe.outputFile = folder.File("page.png");
    const Outcome outcome = Run({"--input-resolution=600", "--resolution=300", "--format=png"}, pipe);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(Info("page.png"), "page.png: PNG\n  page 1: 236 x 118, 8-bit grey, 299.999 dpi\n");
}

TEST_F(Examples, ABilevelTiffIsReducedPageByPage) {
    if (NoSamples()) {
        GTEST_SKIP() << kNoSamples;
    }
    Do({Sample("newspaper-1856-bilevel-g4-400dpi-2pages.tif"), "--resolution=200", "-o", "small.tif"});
    const std::string info = Info("small.tif");
    EXPECT_NE(info.find("page 1: "), std::string::npos);
    EXPECT_NE(info.find("page 2: "), std::string::npos);
    EXPECT_EQ(info.find("page 3: "), std::string::npos);
    const std::string end = ", bilevel, 200 dpi, CCITT G4\n";
    EXPECT_EQ(info.substr(info.size() - end.size()), end);
}

TEST_F(Examples, AYellowedPlateIsNeutralisedWithAPlot) {
    if (NoSamples()) {
        GTEST_SKIP() << kNoSamples;
    }
    Do({Sample("balloon-plate-1786-rgb8.jpg"), "--balance-highlights=-10,0,30", "--levels=20,235",
        "--plot=curve.svg", "-o", "plate.jpg"});
    EXPECT_TRUE(ReadFile(folder.File("curve.svg")).ends_with("</svg>\n"));
    EXPECT_NE(Info("plate.jpg").find("8-bit RGB"), std::string::npos);
    EXPECT_EQ(folder.Listing(), "curve.svg plate.jpg");
}

TEST_F(Examples, AFolderGoesThroughAPresetInTwoProcesses) {
    std::filesystem::create_directory(folder.File("out"));
    std::vector<std::string> words = {"--preset=text-clean", "--jobs=2", "-o", "out/%s.png"};
    for (const char* name : {"a.ppm", "b.ppm", "c.ppm"}) {
        WriteFile(folder.File(name), PnmPage(60, 40, true, name[0]));
        words.emplace_back(name);
    }
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    for (const char* name : {"out/a.png", "out/b.png", "out/c.png"}) {
        EXPECT_NE(Info(name).find("page 1: "), std::string::npos) << name;
    }
}

TEST_F(ScanExamples, AFeederBecomesNumberedFiles) {
    Do({"scan", "-d", "test", "--set", "source=Automatic Document Feeder", "--pages=all", "--mode=lineart",
        "--resolution=100", "-o", "page%03d.tif"});
    EXPECT_EQ(Info("page001.tif"), "page001.tif: TIFF\n  page 1: 314 x 393, bilevel, 100 dpi, CCITT G4\n");
    EXPECT_EQ(folder.Listing().substr(folder.Listing().size() - 11), "page010.tif");
}

TEST_F(ScanExamples, ACurveIsGivenToTheDevice) {
    const Outcome curve = Run({"curve", "--gamma=1.8", "--contrast=10", "--table=sane"});
    WriteFile(folder.File("gamma.txt"), curve.out);
    std::string list = curve.out;
    list.pop_back();
    Do({"scan", "-d", "test", "--set", "mode=Color", "--set", "red-gamma-table=@gamma.txt", "--set",
        "gamma-table=@gamma.txt", "--set", "blue-gamma-table=" + list, "-o", "page.png"});
    Streams pipe;
    pipe.input = curve.out;
    EXPECT_EQ(Run({"scan", "-d", "test", "--set", "gamma-table=@-", "-f", "-o", "page.png"}, pipe).code, 0);
    // A list that the device can't take is refused, so the one above did get there.
    WriteFile(folder.File("short.txt"), list.substr(0, list.rfind(',')));
    const Outcome wrong = Run({"scan", "-d", "test", "--set", "red-gamma-table=@short.txt", "-o", "x.png"});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_EQ(wrong.err, "platen: --set red-gamma-table: has 255 values; the device wants 256, each 0 to 255\n");
}

TEST_F(Examples, ADryRunTellsAllAndWritesNothing) {
    WriteFile(folder.File("a.ppm"), PnmPage(60, 40, true));
    const Outcome outcome = Run(
        {"--dry-run", "-v", "a.ppm", "--levels=12,240", "--scale=50%", "--input-resolution=600", "-o", "b.png"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("output    30 x 20, 8-bit RGB, 300 dpi"), std::string::npos) << outcome.out;
    EXPECT_EQ(folder.Listing(), "a.ppm");
}

}  // namespace
}  // namespace platen_test
