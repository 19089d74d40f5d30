#include "programs/commands/InfoCommand.h"

#include <tiffio.h>

#include "Expect.h"
#include "io/Pages.h"

namespace platen_tool {
namespace {

using platen_test::RandomPage;
using platen_test::Scratch;
using platen_test::WritePages;

struct Told {
    ExitCode code;
    std::string out;
    std::string err;
};

Told Info(const std::vector<std::string>& words) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Told told{ExitCode::kDone, {}, {}};
    told.code = RunInfo(ParseArguments(kInfo, words));
    told.out = testing::internal::GetCapturedStdout();
    told.err = testing::internal::GetCapturedStderr();
    return told;
}

// A grey page of 16 x 16; bilevel where the compression takes nothing else.
void WriteTiff(const std::string& path, std::uint16_t compression, bool bilevel) {
    TIFF* tiff = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 16);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 16);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bilevel ? 1 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    std::uint8_t line[16] = {};
    for (std::uint32_t y = 0; y < 16; ++y) {
        ASSERT_EQ(TIFFWriteScanline(tiff, line, y), 1);
    }
    TIFFClose(tiff);
}

TEST(InfoCommand, NamesTheCompressionOfATiff) {
    const Scratch scratch;
    const struct {
        std::uint16_t tag;
        const char* name;
        bool bilevel;
    } cases[] = {{COMPRESSION_NONE, "none", false},
                 {COMPRESSION_CCITTRLE, "CCITT RLE", true},
                 {COMPRESSION_CCITTFAX3, "CCITT G3", true},
                 {COMPRESSION_CCITTFAX4, "CCITT G4", true},
                 {COMPRESSION_LZW, "LZW", false},
                 {COMPRESSION_JPEG, "JPEG", false},
                 {COMPRESSION_ADOBE_DEFLATE, "Deflate", false},
                 {COMPRESSION_DEFLATE, "Deflate", false},
                 {COMPRESSION_PACKBITS, "PackBits", false},
                 {COMPRESSION_CCITTRLEW, "TIFF compression 32771", true}};
    for (const auto& test : cases) {
        const std::string path = scratch / "a.tif";
        WriteTiff(path, test.tag, test.bilevel);
        const Told plain = Info({path});
        EXPECT_EQ(plain.code, ExitCode::kDone) << test.name << plain.err;
        const std::string page = std::string("16 x 16, ") + (test.bilevel ? "bilevel" : "8-bit grey");
        EXPECT_EQ(plain.out, path + ": TIFF\n  page 1: " + page + ", no resolution, " + test.name + "\n");
        const Told json = Info({"--json", path});
        EXPECT_NE(json.out.find(std::string("\"compression\": \"") + test.name + "\"}]}]\n"), std::string::npos)
            << json.out;
    }
}

TEST(InfoCommand, TellsEverythingAboutAPage) {
    const Scratch scratch;
    auto page = RandomPage(5, 4, 8, 4, 1);
    page.info.resolution = Resolution{{300, 1}, {150, 1}};
    page.info.iccProfile = platen_test::SmallProfile(true);
    page.info.orientation = 6;
    const std::string path = scratch / "a.tif";
    WritePages(path, {page});
    const std::string plain = Info({path}).out;
    EXPECT_NE(plain.find("5 x 4, 8-bit RGB and alpha, 300 x 150 dpi"), std::string::npos) << plain;
    EXPECT_NE(plain.find(", ICC profile of 744 bytes, orientation 6\n"), std::string::npos) << plain;
    const std::string json = Info({"--json", path}).out;
    EXPECT_NE(json.find("{\"width\": 5, \"height\": 4, \"bits\": 8, \"samples\": 4, \"alpha\": true, "
                        "\"resolution\": {\"x\": [300, 1], \"y\": [150, 1]}, \"icc\": 744, \"orientation\": 6"),
              std::string::npos)
        << json;
}

TEST(InfoCommand, ListsFilesAndPages) {
    const Scratch scratch;
    WritePages(scratch / "a.pgm", {RandomPage(5, 4, 8, 1, 1), RandomPage(6, 7, 8, 1, 2)});
    WritePages(scratch / "b.png", {RandomPage(3, 2, 8, 3, 3)});
    WritePages(scratch / "c.jpg", {RandomPage(3, 2, 8, 3, 3)});
    const Told json = Info({"--json", scratch / "a.pgm", scratch / "b.png", scratch / "c.jpg"});
    const std::string tail = ", \"alpha\": false, \"icc\": 0, \"orientation\": 1}";
    EXPECT_EQ(json.out, "[{\"file\": \"" + (scratch / "a.pgm") + "\", \"container\": \"PNM\", \"pages\": [" +
                            "{\"width\": 5, \"height\": 4, \"bits\": 8, \"samples\": 1" + tail + ", " +
                            "{\"width\": 6, \"height\": 7, \"bits\": 8, \"samples\": 1" + tail + "]},\n " +
                            "{\"file\": \"" + (scratch / "b.png") + "\", \"container\": \"PNG\", \"pages\": [" +
                            "{\"width\": 3, \"height\": 2, \"bits\": 8, \"samples\": 3" + tail + "]},\n " +
                            "{\"file\": \"" + (scratch / "c.jpg") + "\", \"container\": \"JPEG\", \"pages\": [" +
                            "{\"width\": 3, \"height\": 2, \"bits\": 8, \"samples\": 3" + tail + "]}]\n");
}

TEST(InfoCommand, EscapesANameInJson) {
    const Scratch scratch;
    const std::string path = scratch / "a\"b\\c\x1F.pgm";
    WritePages(path, {RandomPage(5, 4, 8, 1, 1)});
    const std::string json = Info({"--json", path}).out;
    EXPECT_NE(json.find("a\\\"b\\\\c\\u001f.pgm\", \"container\""), std::string::npos) << json;
}

TEST(InfoCommand, GoesOnAfterAnErrorAndGivesTheFirst) {
    const Scratch scratch;
    WritePages(scratch / "good.pgm", {RandomPage(5, 4, 8, 1, 1)});
    platen_test::PutFile(scratch / "bad.pgm", "P5 5 4 255\nshort");
    platen_test::PutFile(scratch / "unknown.pgm", "P7\nWIDTH 5\nHEIGHT 4\nDEPTH 5\nMAXVAL 255\nENDHDR\n");
    const Told told =
        Info({scratch / "bad.pgm", scratch / "good.pgm", scratch / "unknown.pgm", scratch / "none.pgm"});
    EXPECT_EQ(static_cast<int>(told.code), static_cast<int>(ExitCode::kFailed));
    EXPECT_NE(told.out.find("page 1: 5 x 4"), std::string::npos) << told.out;
    for (const char* name : {"bad.pgm: ", "unknown.pgm: ", "none.pgm: "}) {
        EXPECT_NE(told.err.find(name), std::string::npos) << told.err;
    }
    const Told turned = Info({scratch / "unknown.pgm", scratch / "bad.pgm"});
    EXPECT_EQ(static_cast<int>(turned.code), static_cast<int>(ExitCode::kUnsupported)) << turned.err;
    EXPECT_EQ(turned.out, "");
}

TEST(InfoCommand, NeedsAFile) {
    EXPECT_EQ(UsageText([] { RunInfo(ParseArguments(kInfo, {})); }), "info: no file; see platen --help");
}

}  // namespace
}  // namespace platen_tool
