#include <gtest/gtest.h>

#include "InFolder.h"

// The tags of every output format, read back by other programs.

namespace platen_test {
namespace {

class Tags : public InFolder {
  protected:
    bool Lacks(const std::string& program) const {
        return Run(program, {}).code == 127;
    }

    // What another program prints.
    std::string Other(const std::string& program, const std::vector<std::string>& arguments) const {
        const Outcome outcome = Run(program, arguments);
        EXPECT_EQ(outcome.code, 0) << program << ": " << outcome.err;
        return outcome.out;
    }

    // A page of 600 x 300 dpi, halved by 3:1 and 3:2: 200 dpi in both directions.
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
};

TEST_F(Tags, AreReadByIdentify) {
    if (Lacks("identify")) {
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
    if (Lacks("tiffinfo")) {
        GTEST_SKIP() << "no tiffinfo here";
    }
    const std::string text = Other("tiffinfo", {Make("tif")});
    EXPECT_NE(text.find("Resolution: 200, 200 pixels/inch"), std::string::npos) << text;
    const std::string fraction = Other("tiffinfo", {Make("tif", {"--set-resolution=199.5x72.25"})});
    EXPECT_NE(fraction.find("Resolution: 199.5, 72.25 pixels/inch"), std::string::npos) << fraction;
    // A page that lies on its side stays so.
    const std::string upright("\x12\x01\x03\0\x01\0\0\0\x01", 9);
    std::string bytes = ReadFile(folder.File("page.tif"));
    ASSERT_NE(bytes.find(upright), std::string::npos);
    bytes[bytes.find(upright) + 8] = '\x06';
    WriteFile(folder.File("side.tif"), bytes);
    EXPECT_EQ(Run(PLATEN_PROGRAM, {"side.tif", "-o", "turned.tif"}).code, 0);
    const std::string turned = Other("tiffinfo", {"turned.tif"});
    EXPECT_NE(turned.find("Orientation: row 0 rhs, col 0 top"), std::string::npos) << turned;
}

TEST_F(Tags, AreReadByExiftool) {
    if (Lacks("exiftool")) {
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
