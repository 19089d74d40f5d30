#include <lcms2.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include <jpeglib.h>

#include "InFolder.h"
#include "Scans.h"
#include "support/CmykProfile.h"

// A real scan in inks, as CMYK and YCCK JPEG and as another program's CMYK TIFF: the program's colours are those of
// the scan, and those that ImageMagick makes of the same file.

namespace platen_test {
namespace {

// The scan in the profile's inks, which take from white what is missing in a colour.
struct InkPage {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> inks;  // as Adobe writes them: 255 is no ink
};

InkPage InInks(const std::string& ppm) {
    InkPage page;
    std::string magic;
    unsigned most = 0;
    std::istringstream header(ppm);
    header >> magic >> page.width >> page.height >> most;
    std::size_t at = static_cast<std::size_t>(header.tellg()) + 1;
    for (; at + 3 <= ppm.size(); at += 3) {
        unsigned char rgb[3];
        std::copy_n(ppm.begin() + static_cast<std::ptrdiff_t>(at), 3, rgb);
        const unsigned lightest = std::max({rgb[0], rgb[1], rgb[2], static_cast<unsigned char>(1)});
        for (const unsigned char level : rgb) {
            page.inks.push_back(static_cast<unsigned char>((level * 255u + lightest / 2) / lightest));
        }
        page.inks.push_back(static_cast<unsigned char>(lightest));
    }
    return page;
}

void WriteJpeg(const std::string& path, const InkPage& page, J_COLOR_SPACE space) {
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    jpeg_stdio_dest(&codec, file);
    codec.image_width = page.width;
    codec.image_height = page.height;
    codec.input_components = 4;
    codec.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&codec);
    jpeg_set_colorspace(&codec, space);
    jpeg_set_quality(&codec, 97, TRUE);
    jpeg_start_compress(&codec, TRUE);
    const std::vector<std::uint8_t> profile = CmykProfile();
    jpeg_write_icc_profile(&codec, profile.data(), static_cast<unsigned>(profile.size()));
    for (std::size_t y = 0; y < page.height; ++y) {
        auto* row = const_cast<JSAMPROW>(&page.inks[y * page.width * 4]);  // only read
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::fclose(file);
}

class Inks : public InFolder {
  protected:
    void SetUp() override {
        if (!std::filesystem::exists(Scan("README.md"))) {
            GTEST_SKIP() << "no sample scans at " PLATEN_TEST_DATA " (PLATEN_TEST_DATA)";
        }
        if (!HasImageMagick()) {
            GTEST_SKIP() << "no ImageMagick";
        }
        cmsHPROFILE srgb = cmsCreate_sRGBProfile();
        cmsSaveProfileToFile(srgb, folder.File("srgb.icc").c_str());
        cmsCloseProfile(srgb);
        ASSERT_EQ(
            Run("", {Scan("watercolour-plate-rgb8-189dpi.jpg"), "--width=400", "--strip", "-o", "scan.ppm"}).code,
            0);
        page = InInks(ReadFile(folder.File("scan.ppm")));
    }

    void ExpectTheScan(const std::string& file) const {
        const Outcome outcome = Run("", {"-v", "-f", file, "-o", "ours.ppm"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_NE(outcome.err.find(file + ": CMYK is converted to sRGB by the profile 'plain inks'\n"),
                  std::string::npos)
            << outcome.err;
        ASSERT_EQ(Run("convert", {file, "-profile", "srgb.icc", "-depth", "8", "theirs.ppm"}).code, 0);
        EXPECT_LT(Difference("ours.ppm", "theirs.ppm"), 0.004) << file;
        EXPECT_LT(Difference("ours.ppm", "scan.ppm"), 0.012) << file;
    }

    InkPage page;
};

TEST_F(Inks, JpegsInCmykAndYcckComeOutAsTheScan) {
    for (const auto& [name, space] : {std::pair("cmyk.jpg", JCS_CMYK), {"ycck.jpg", JCS_YCCK}}) {
        WriteJpeg(folder.File(name), page, space);
        ExpectTheScan(name);
        const Outcome told = Run("exiftool", {"-s3", "-ColorTransform", name});
        if (told.code == 0) {
            EXPECT_EQ(told.out, space == JCS_YCCK ? "YCCK\n" : "Unknown (RGB or CMYK)\n");
        }
    }
}

TEST_F(Inks, AnotherProgramsTiffComesOutAsTheScan) {
    WriteJpeg(folder.File("cmyk.jpg"), page, JCS_CMYK);
    ASSERT_EQ(Run("convert", {"cmyk.jpg", "-compress", "LZW", "cmyk.tif"}).code, 0);
    ExpectTheScan("cmyk.tif");
    // What is made of it is an RGB page with sRGB's profile or none, not the inks'.
    ASSERT_EQ(Run("", {"cmyk.tif", "-o", "rgb.tif"}).code, 0);
    const Outcome identified = Run("identify", {"-format", "%[colorspace] %[icc:description]", "rgb.tif"});
    if (identified.code == 0) {
        EXPECT_EQ(identified.out.find("sRGB "), 0u) << identified.out;
        EXPECT_EQ(identified.out.find("plain inks"), std::string::npos) << identified.out;
    }
}

}  // namespace
}  // namespace platen_test
