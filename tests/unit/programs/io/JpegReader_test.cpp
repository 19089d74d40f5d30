#include <cstdio>
// jpeglib.h wants the one above first.
#include <jpeglib.h>

#include "Pages.h"

namespace {

using namespace platen_test;

struct Form {
    int samples = 3;
    J_COLOR_SPACE space = JCS_RGB;
    bool progressive = false;
    int densityUnit = 0;
    int density = 1;
    bool jfif = true;
    Bytes exif = {};
};

void WriteJpeg(const std::string& path, const Form& form, unsigned width, unsigned height) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    jpeg_stdio_dest(&codec, file);
    codec.image_width = width;
    codec.image_height = height;
    codec.input_components = form.samples;
    codec.in_color_space = form.space;
    jpeg_set_defaults(&codec);
    if (form.progressive) {
        jpeg_simple_progression(&codec);
    }
    codec.write_JFIF_header = form.jfif && form.space != JCS_CMYK ? TRUE : FALSE;
    codec.density_unit = static_cast<UINT8>(form.densityUnit);
    codec.X_density = codec.Y_density = static_cast<UINT16>(form.density);
    jpeg_start_compress(&codec, TRUE);
    if (!form.exif.empty()) {
        jpeg_write_marker(&codec, JPEG_APP0 + 1, form.exif.data(), static_cast<unsigned>(form.exif.size()));
    }
    for (unsigned y = 0; y < height; ++y) {
        Bytes row(width * static_cast<unsigned>(form.samples), static_cast<std::uint8_t>(y * 3));
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&codec, &pointer, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::fclose(file);
}

TEST(JpegReader, CmykIsRefusedByName) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {.samples = 4, .space = JCS_CMYK}, 20, 20);
    ExpectError([&] { ReadPages(scratch / "page.jpg"); }, ExitCode::kUnsupported, "CMYK");
}

TEST(JpegReader, ProgressiveEqualsBaselineAndIsSaid) {
    const Scratch scratch;
    WriteJpeg(scratch / "plain.jpg", {}, 61, 47);
    WriteJpeg(scratch / "progressive.jpg", {.progressive = true}, 61, 47);
    ExpectSamePage(ReadPages(scratch / "progressive.jpg").at(0), ReadPages(scratch / "plain.jpg").at(0));
    EXPECT_NE(platen_tool::OpenReader(scratch / "progressive.jpg", {})->Notice().find("progressive"),
              std::string::npos);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "plain.jpg", {})->Notice(), "");
    ReadOptions options;
    options.strictStream = true;
    ExpectError([&] { ReadPages(scratch / "progressive.jpg", options); }, ExitCode::kUnsupported,
                "--strict-stream");
}

// A few bytes that promise a large progressive page must not get the memory for it.
TEST(JpegReader, AProgressiveFileThatNeedsTooMuchMemoryIsRefused) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {.progressive = true}, 61, 47);
    Bytes file = FileBytes(scratch / "page.jpg");
    bool found = false;
    for (std::size_t i = 0; !found && i + 9 < file.size(); ++i) {
        if (file[i] == 0xFF && file[i + 1] == 0xC2) {
            found = true;
            file[i + 5] = file[i + 7] = 0x3F;  // 16175 lines and 16189 columns
        }
    }
    ASSERT_TRUE(found);
    PutFile(scratch / "large.jpg", file.data(), file.size());
    ExpectError([&] { ReadPages(scratch / "large.jpg"); }, ExitCode::kUnsupported, "256 MiB");
}

TEST(JpegReader, DensityPerInchAndPerCentimetre) {
    const Scratch scratch;
    const auto resolution = [&](const Form& form) {
        WriteJpeg(scratch / "page.jpg", form, 8, 8);
        return platen_tool::OpenReader(scratch / "page.jpg", {})->Info().resolution;
    };
    EXPECT_FALSE(resolution({}).has_value());
    EXPECT_EQ(resolution({.densityUnit = 1, .density = 300})->x.numerator, 300u);
    EXPECT_EQ(resolution({.densityUnit = 2, .density = 100})->x.numerator, 254u);
    EXPECT_FALSE(resolution({.densityUnit = 1, .density = 0}).has_value());
}

// Big-endian, orientation 6, 200/1 by 400/2 pixels per centimetre.
const Bytes kExif = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0,    42, 0, 0,    0, 8, 0, 4, 1,    0x12, 0,  3, 0,
                     0,   0,   1,   0,   6, 0, 0,   1,   0x1A, 0,  5, 0,    0, 0, 1, 0, 0,    0,    62, 1, 0x1B,
                     0,   5,   0,   0,   0, 1, 0,   0,   0,    70, 1, 0x28, 0, 3, 0, 0, 0,    1,    0,  3, 0,
                     0,   0,   0,   0,   0, 0, 0,   0,   200,  0,  0, 0,    1, 0, 0, 1, 0x90, 0,    0,  0, 2};

TEST(JpegReader, ExifGivesOrientationAndTheResolutionThatJfifLacks) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {.jfif = false, .exif = kExif}, 8, 8);
    const ImageInfo info = platen_tool::OpenReader(scratch / "page.jpg", {})->Info();
    EXPECT_EQ(info.orientation, 6);
    ASSERT_TRUE(info.resolution.has_value());
    EXPECT_EQ(info.resolution->x.numerator, 508u);
    EXPECT_EQ(info.resolution->y.numerator, 508u);
    WriteJpeg(scratch / "page.jpg", {.densityUnit = 1, .density = 300, .exif = kExif}, 8, 8);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.jpg", {})->Info().resolution->x.numerator, 300u);
}

TEST(JpegReader, ExifCutAnywhereIsIgnored) {
    const Scratch scratch;
    for (std::size_t length = 1; length < kExif.size(); ++length) {
        WriteJpeg(scratch / "page.jpg",
                  {.exif = Bytes(kExif.begin(), kExif.begin() + static_cast<std::ptrdiff_t>(length))}, 8, 8);
        EXPECT_NO_THROW(ReadPages(scratch / "page.jpg")) << length;
    }
}

}  // namespace
