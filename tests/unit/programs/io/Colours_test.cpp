#include <cstddef>
#include <cstdio>
// jpeglib.h wants the two above first.
#include <jpeglib.h>
#include <tiffio.h>

#include <cstring>

#include "Pages.h"
#include "programs/io/OpenReader.h"
#include "support/CmykProfile.h"

// Colours that the program doesn't work on, and that become RGB while they are read.

namespace {

using namespace platen_test;

struct Inks {
    std::uint8_t c, m, y, k;
};
constexpr Inks kInks[] = {{0, 0, 0, 0},   {255, 0, 0, 0},     {0, 255, 0, 0},    {0, 0, 255, 0},
                          {0, 0, 0, 255}, {255, 255, 0, 0},   {128, 64, 192, 0}, {0, 0, 0, 128},
                          {64, 0, 0, 64}, {255, 255, 255, 0}, {0, 191, 191, 64}, {10, 20, 30, 40}};
constexpr std::size_t kCount = std::size(kInks);

// A page of stripes, 8 columns an ink, so that JPEG's blocks keep them whole.
constexpr std::uint32_t kWidth = 8 * kCount;
constexpr std::uint32_t kHeight = 16;

Bytes InkRow(bool inverted) {
    Bytes row;
    for (std::uint32_t x = 0; x < kWidth; ++x) {
        const Inks& ink = kInks[x / 8];
        for (const std::uint8_t sample : {ink.c, ink.m, ink.y, ink.k}) {
            row.push_back(inverted ? static_cast<std::uint8_t>(255 - sample) : sample);
        }
    }
    return row;
}

void ExpectInks(const std::string& path, int tolerance) {
    const auto pages = ReadPages(path);
    ASSERT_EQ(pages.size(), 1u);
    const ImageInfo& info = pages[0].info;
    EXPECT_EQ(info.samplesPerPixel, 3);
    EXPECT_TRUE(info.iccProfile.empty());
    for (std::uint32_t y = 0; y < kHeight; y += 5) {
        for (std::size_t i = 0; i < kCount; ++i) {
            const Inks& ink = kInks[i];
            const std::uint8_t colours[] = {ink.c, ink.m, ink.y};
            for (std::size_t c = 0; c < 3; ++c) {
                const double expected = (255 - colours[c]) * (255 - ink.k) / 255.0;
                const std::size_t at = y * std::size_t{kWidth} * 3 + (i * 8 + 4) * 3 + c;
                const int value = info.bitsPerSample == 16
                                      ? pages[0].lines[2 * at + 1]  // the high byte, on a little-endian machine
                                      : pages[0].lines[at];
                EXPECT_NEAR(value, expected, tolerance) << path << ", ink " << i << ", colour " << c;
            }
        }
    }
}

struct JpegForm {
    bool ycck = false;
    bool adobe = true;
    bool progressive = false;
};

void WriteInkJpeg(const std::string& path, const JpegForm& form, const Bytes& profile) {
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    jpeg_stdio_dest(&codec, file);
    codec.image_width = kWidth;
    codec.image_height = kHeight;
    codec.input_components = 4;
    codec.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&codec);
    jpeg_set_colorspace(&codec, form.ycck ? JCS_YCCK : JCS_CMYK);
    jpeg_set_quality(&codec, 100, TRUE);
    for (int i = 0; i < 4; ++i) {
        codec.comp_info[i].h_samp_factor = codec.comp_info[i].v_samp_factor = 1;
    }
    if (form.progressive) {
        jpeg_simple_progression(&codec);
    }
    codec.write_Adobe_marker = form.adobe ? TRUE : FALSE;
    jpeg_start_compress(&codec, TRUE);
    if (!profile.empty()) {
        jpeg_write_icc_profile(&codec, profile.data(), static_cast<unsigned>(profile.size()));
    }
    Bytes row = InkRow(form.adobe);
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&codec, &pointer, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::fclose(file);
}

TEST(Colours, InksOfAJpegBecomeRgb) {
    const Scratch scratch;
    const Bytes profile = CmykProfile();
    for (const JpegForm& form :
         {JpegForm{}, JpegForm{.ycck = true}, JpegForm{.adobe = false}, JpegForm{.progressive = true}}) {
        WriteInkJpeg(scratch / "inks.jpg", form, profile);
        ExpectInks(scratch / "inks.jpg", 8);
    }
    WriteInkJpeg(scratch / "inks.jpg", {}, profile);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "inks.jpg", {})->Notice(),
              "CMYK is converted to sRGB by the profile 'plain inks'");
    WriteInkJpeg(scratch / "inks.jpg", {.progressive = true}, profile);
    EXPECT_NE(
        platen_tool::OpenReader(scratch / "inks.jpg", {})->Notice().find("'plain inks'; the JPEG is progressive"),
        std::string::npos);
}

TEST(Colours, InksWithoutTheirProfileAreRefused) {
    const Scratch scratch;
    const auto refused = [&](const Bytes& profile, const char* text) {
        WriteInkJpeg(scratch / "inks.jpg", {}, profile);
        ExpectError([&] { ReadPages(scratch / "inks.jpg"); }, ExitCode::kUnsupported, text);
    };
    refused({}, "the JPEG is CMYK without a profile; converting it to RGB needs an embedded CMYK profile");
    refused(Bytes(300, 7),
            "the JPEG is CMYK and its profile is damaged; converting it to RGB needs an embedded CMYK profile");
    const cmsHPROFILE rgb = cmsCreate_sRGBProfile();
    cmsUInt32Number bytes = 0;
    cmsSaveProfileToMem(rgb, nullptr, &bytes);
    Bytes wrong(bytes);
    cmsSaveProfileToMem(rgb, wrong.data(), &bytes);
    cmsCloseProfile(rgb);
    refused(wrong, "the JPEG is CMYK and its profile 'sRGB built-in' is of RGB; converting it to RGB needs");
    // A profile that lacks its table, and one that is cut off anywhere.
    Bytes damaged = CmykProfile();
    for (std::size_t i = 0; i + 4 <= 300; ++i) {
        if (std::memcmp(damaged.data() + i, "A2B0", 4) == 0) {
            damaged[i] = 'X';
        }
    }
    refused(damaged, "the JPEG is CMYK and its profile 'plain inks' can't convert it to RGB");
    for (std::size_t length = 1; length < damaged.size(); length += 37) {
        refused({damaged.begin(), damaged.begin() + static_cast<std::ptrdiff_t>(length)}, "the JPEG is CMYK");
    }
}

struct TiffForm {
    int photometric = PHOTOMETRIC_SEPARATED;
    int bits = 8;
    int planar = PLANARCONFIG_CONTIG;
    int compression = COMPRESSION_LZW;
    int samples = 4;
};

TIFF* BeginTiff(const std::string& path, const TiffForm& form, std::uint32_t width = kWidth) {
    TIFF* tiff = TIFFOpen(path.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.planar);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 6);
    if (form.samples == 5) {
        const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    return tiff;
}

void WriteInkTiff(const std::string& path, const TiffForm& form, const Bytes& profile) {
    TIFF* tiff = BeginTiff(path, form);
    if (!profile.empty()) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()), profile.data());
    }
    const Bytes inks = InkRow(false);
    const bool separate = form.planar == PLANARCONFIG_SEPARATE;
    const auto samples = static_cast<std::size_t>(form.samples);
    for (std::size_t plane = 0; plane < (separate ? samples : 1); ++plane) {
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            Bytes row;
            for (std::size_t i = 0; i < kWidth * samples; ++i) {
                const std::size_t c = i % samples;
                if (separate && c != plane) {
                    continue;
                }
                const std::uint8_t sample = c < 4 ? inks[i / samples * 4 + c] : 77;
                row.insert(row.end(), form.bits == 16 ? 2u : 1u, sample);  // 16 bits: times 257
            }
            TIFFWriteScanline(tiff, row.data(), y, static_cast<std::uint16_t>(plane));
        }
    }
    TIFFClose(tiff);
}

TEST(Colours, InksOfATiffBecomeRgb) {
    const Scratch scratch;
    const Bytes profile = CmykProfile();
    for (const TiffForm& form :
         {TiffForm{}, TiffForm{.bits = 16}, TiffForm{.planar = PLANARCONFIG_SEPARATE},
          TiffForm{.bits = 16, .planar = PLANARCONFIG_SEPARATE}, TiffForm{.compression = COMPRESSION_NONE},
          TiffForm{.compression = COMPRESSION_ADOBE_DEFLATE}, TiffForm{.samples = 5}}) {
        WriteInkTiff(scratch / "inks.tif", form, profile);
        ExpectInks(scratch / "inks.tif", 7);
        EXPECT_EQ(ReadPages(scratch / "inks.tif")[0].info.bitsPerSample, form.bits);
    }
    WriteInkTiff(scratch / "inks.tif", {}, {});
    ExpectError([&] { ReadPages(scratch / "inks.tif"); }, ExitCode::kUnsupported,
                "the TIFF is CMYK without a profile; converting it to RGB needs an embedded CMYK profile");
}

TEST(Colours, LabBecomesRgb) {
    const Scratch scratch;
    // Lab of D50, and the sRGB that it is.
    const struct {
        int l, a, b;
        int red, green, blue;
    } colours[] = {{100, 0, 0, 255, 255, 255}, {0, 0, 0, 0, 0, 0},          {50, 0, 0, 119, 119, 119},
                   {54, 38, 46, 200, 100, 50}, {49, -5, -38, 60, 120, 180}, {62, -24, 32, 120, 160, 90}};
    for (const int bits : {8, 16}) {
        TIFF* tiff = BeginTiff(scratch / "lab.tif", {.photometric = PHOTOMETRIC_CIELAB, .bits = bits, .samples = 3},
                               std::size(colours));
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            Bytes row;
            for (const auto& colour : colours) {
                const double scale = bits == 16 ? 65535.0 : 255.0;
                const double step = bits == 16 ? 256.0 : 1.0;
                for (const int sample : {static_cast<int>(colour.l * scale / 100 + 0.5),
                                         static_cast<int>(colour.a * step), static_cast<int>(colour.b * step)}) {
                    const auto number = static_cast<std::uint16_t>(sample);
                    row.push_back(static_cast<std::uint8_t>(number));
                    if (bits == 16) {
                        row.push_back(static_cast<std::uint8_t>(number >> 8));
                    }
                }
            }
            TIFFWriteScanline(tiff, row.data(), y, 0);
        }
        TIFFClose(tiff);
        const auto page = ReadPages(scratch / "lab.tif").at(0);
        ASSERT_EQ(page.info.bitsPerSample, bits);
        for (std::size_t i = 0; i < std::size(colours); ++i) {
            const int expected[] = {colours[i].red, colours[i].green, colours[i].blue};
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t at = 3 * i + c;
                EXPECT_NEAR(bits == 16 ? page.lines[2 * at + 1] : page.lines[at], expected[c], 4)
                    << bits << " " << i;
            }
        }
        EXPECT_EQ(platen_tool::OpenReader(scratch / "lab.tif", {})->Notice(), "CIE L*a*b* is converted to sRGB");
    }
}

TEST(Colours, YcbcrInHugeStripsIsRefused) {
    const Scratch scratch;
    TIFF* tiff = BeginTiff(scratch / "page.tif",
                           {.photometric = PHOTOMETRIC_YCBCR, .compression = COMPRESSION_LZW, .samples = 3}, 3000);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 3000);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 3000);
    Bytes bytes(100);
    TIFFWriteRawStrip(tiff, 0, bytes.data(), 100);
    TIFFClose(tiff);
    ExpectError([&] { ReadPages(scratch / "page.tif"); }, ExitCode::kUnsupported,
                "the TIFF is YCbCr in strips of more than 4 million pixels");
}

// YCbCr with and without coarser colours, and with an orientation, which stays a tag.
TEST(Colours, YcbcrOfATiffBecomesRgb) {
    const Scratch scratch;
    for (const int factor : {1, 2}) {
        for (const int orientation : {1, 3, 4}) {
            TIFF* tiff =
                BeginTiff(scratch / "page.tif",
                          {.photometric = PHOTOMETRIC_YCBCR, .compression = COMPRESSION_NONE, .samples = 3}, 20);
            TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, factor, factor);
            TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
            float range[] = {0, 255, 128, 255, 128, 255};
            TIFFSetField(tiff, TIFFTAG_REFERENCEBLACKWHITE, range);
            for (std::uint32_t strip = 0; strip < 3; ++strip) {
                // Units of factor x factor lights, one Cb and one Cr. Light falls with each pair of rows.
                Bytes bytes;
                const std::uint32_t rows = strip < 2 ? 6 : 4;
                for (std::uint32_t y = 0; y < rows; y += static_cast<std::uint32_t>(factor)) {
                    for (int x = 0; x < 20; x += factor) {
                        const auto light = static_cast<std::uint8_t>(200 - (strip * 6 + y) / 2 * 10);
                        bytes.insert(bytes.end(), static_cast<std::size_t>(factor * factor), light);
                        bytes.push_back(128);
                        bytes.push_back(x < 10 ? 128 : 168);  // redder
                    }
                }
                TIFFWriteRawStrip(tiff, strip, bytes.data(), static_cast<tmsize_t>(bytes.size()));
            }
            TIFFClose(tiff);
            const auto page = ReadPages(scratch / "page.tif").at(0);
            EXPECT_EQ(page.info.orientation, orientation);
            for (std::uint32_t y = 0; y < kHeight; ++y) {
                const int light = 200 - static_cast<int>(y / 2 * 10);
                const std::uint8_t* line = page.lines.data() + y * std::size_t{60};
                EXPECT_NEAR(line[0], light, 1) << y;
                EXPECT_NEAR(line[1], light, 1) << y;
                EXPECT_NEAR(line[57], std::min(255.0, light + 1.402 * 40), 2) << y;
                EXPECT_NEAR(line[58], light - 0.714 * 40, 2) << y;
                EXPECT_NEAR(line[59], light, 1) << y;
            }
        }
    }
}

}  // namespace
