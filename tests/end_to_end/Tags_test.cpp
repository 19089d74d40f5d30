#include <gtest/gtest.h>

#include "Spawn.h"

// The resolution tag of every output format, read back by programs of others.

namespace platen_test {
namespace {

class Tags : public testing::Test {
  protected:
    // What another program prints, or nothing where it isn't installed.
    std::string Other(const std::string& program, const std::vector<std::string>& arguments) const {
        Streams streams;
        streams.folder = folder.Path();
        streams.program = program;
        const Outcome outcome = Spawn(arguments, streams);
        return outcome.code == 0 ? outcome.out : std::string();
    }

    // A page of 600 x 300 dpi, halved by 3:1 and 3:2: 200 dpi both ways.
    std::string Make(const std::string& ending, const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = {
            "-", "-f", "--input-resolution=600x300", "--size=20x20", "-o", folder.File("page." + ending)};
        words.insert(words.end(), options.begin(), options.end());
        Streams streams;
        streams.input = PnmPage(60, 30, true);
        const Outcome outcome = Spawn(words, streams);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return "page." + ending;
    }

    Folder folder;
};

TEST_F(Tags, AreReadByIdentify) {
    if (Other("identify", {"-version"}).empty()) {
        GTEST_SKIP() << "no identify (ImageMagick) here";
    }
    for (const char* ending : {"png", "tif", "jpg"}) {
        const std::string name = Make(ending);
        EXPECT_EQ(Other("identify", {"-units", "PixelsPerInch", "-format",
                                     "%[fx:round(resolution.x)] "
                                     "%[fx:round(resolution.y)] %w %h",
                                     name}),
                  "200 200 20 20")
            << ending;
    }
    const std::string bilevel = Make("tif", {"--mode=lineart", "--set-resolution=204x98"});
    EXPECT_EQ(Other("identify", {"-units", "PixelsPerInch", "-format", "%x %y %C", bilevel}), "204 98 Group4");
}

TEST_F(Tags, AreReadByTiffinfo) {
    const std::string name = Make("tif");
    const std::string text = Other("tiffinfo", {name});
    if (text.empty()) {
        GTEST_SKIP() << "no tiffinfo here";
    }
    EXPECT_NE(text.find("Resolution: 200, 200 pixels/inch"), std::string::npos) << text;
    const std::string fraction = Other("tiffinfo", {Make("tif", {"--set-resolution=199.5x72.25"})});
    EXPECT_NE(fraction.find("Resolution: 199.5, 72.25 pixels/inch"), std::string::npos) << fraction;
}

TEST_F(Tags, AreReadByExiftool) {
    if (Other("exiftool", {"-ver"}).empty()) {
        GTEST_SKIP() << "no exiftool here";
    }
    for (const char* ending : {"jpg", "tif"}) {
        EXPECT_EQ(Other("exiftool", {"-s3", "-XResolution", "-YResolution", "-ResolutionUnit", Make(ending)}),
                  "200\n200\ninches\n")
            << ending;
    }
    // PNG counts whole pixels a metre.
    EXPECT_EQ(Other("exiftool", {"-s3", "-PixelsPerUnitX", "-PixelsPerUnitY", "-PixelUnits", Make("png")}),
              "7874\n7874\nmeters\n");
}

// PNM has no place for it: what comes out of the program again must say so, not guess.
TEST_F(Tags, AreNoneInPnm) {
    for (const char* ending : {"ppm", "pam"}) {
        const std::string info = Spawn({"info", folder.File(Make(ending))}).out;
        EXPECT_NE(info.find("no resolution"), std::string::npos) << info;
    }
}

}  // namespace
}  // namespace platen_test
