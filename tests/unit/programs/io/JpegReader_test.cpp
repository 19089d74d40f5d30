#include <cstdio>
// jpeglib.h wants the one above first.
#include <jpeglib.h>

#include "Pages.h"

#include "programs/io/OpenReader.h"

namespace {

using namespace platen_test;

struct Form {
    int samples = 3;
    J_COLOR_SPACE space = JCS_RGB;
    bool progressive = false;
    bool scans = false;  // sequential, one scan for each component
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
    // One scan for each component.
    static constexpr jpeg_scan_info kScans[] = {
        {1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}};
    if (form.scans) {
        codec.scan_info = kScans;
        codec.num_scans = 3;
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

TEST(JpegReader, CmykWithoutAProfileIsRefused) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {.samples = 4, .space = JCS_CMYK}, 20, 20);
    ExpectError([&] { ReadPages(scratch / "page.jpg"); }, ExitCode::kUnsupported,
                "the JPEG is CMYK without a profile; converting it to RGB needs an embedded CMYK profile");
}

TEST(JpegReader, ProgressiveEqualsBaselineAndIsSaid) {
    const Scratch scratch;
    WriteJpeg(scratch / "plain.jpg", {}, 61, 47);
    WriteJpeg(scratch / "progressive.jpg", {.progressive = true}, 61, 47);
    ExpectSamePage(ReadPages(scratch / "progressive.jpg").at(0), ReadPages(scratch / "plain.jpg").at(0));
    EXPECT_EQ(platen_tool::OpenReader(scratch / "progressive.jpg", {})->Notice(),
              "the JPEG is progressive or in several scans: 1 MiB of memory hold it, at most 256 MiB are allowed");
    EXPECT_EQ(platen_tool::OpenReader(scratch / "plain.jpg", {})->Notice(), "");
    ReadOptions options;
    options.strictStream = true;
    ExpectError(
        [&] { ReadPages(scratch / "progressive.jpg", options); }, ExitCode::kUnsupported,
        "the JPEG is progressive or in several scans and needs 1 MiB of memory; --strict-stream forbids it");
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
    ExpectError([&] { ReadPages(scratch / "large.jpg"); }, ExitCode::kUnsupported,
                "the JPEG is progressive or in several scans and needs 750 MiB of memory; allowed: 256 MiB");
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

// Where the marker's segment begins, after its two bytes.
std::size_t SegmentAt(const Bytes& file, std::uint8_t marker) {
    for (std::size_t i = 0; i + 1 < file.size(); ++i) {
        if (file[i] == 0xFF && file[i + 1] == marker) {
            return i + 2;
        }
    }
    ADD_FAILURE() << "no such marker";
    return 2;
}

TEST(JpegReader, OtherKindsOfJpegAreNamed) {
    const Scratch scratch;
    WriteJpeg(scratch / "two.jpg", {.samples = 2, .space = JCS_UNKNOWN, .jfif = false}, 20, 20);
    ExpectError([&] { ReadPages(scratch / "two.jpg"); }, ExitCode::kUnsupported,
                "the JPEG has 2 components of an unknown kind; grey, RGB and CMYK are supported");
    WriteJpeg(scratch / "deep.jpg", {}, 20, 20);
    Bytes file = FileBytes(scratch / "deep.jpg");
    file[SegmentAt(file, 0xC0) + 2] = 12;
    PutFile(scratch / "deep.jpg", file.data(), file.size());
    ExpectError([&] { ReadPages(scratch / "deep.jpg"); }, ExitCode::kUnsupported,
                "this kind of JPEG isn't supported: Unsupported JPEG data precision 12; 8-bit grey and colour are");
}

TEST(JpegReader, CutAndCrowdedFilesAreErrors) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {}, 61, 47);
    const Bytes file = FileBytes(scratch / "page.jpg");
    PutFile(scratch / "cut.jpg", file.data(), file.size() - 30);
    ExpectError([&] { ReadPages(scratch / "cut.jpg"); }, ExitCode::kFailed,
                "the JPEG is damaged: the file ends too early");
    Bytes crowded = {0xFF, 0xD8};
    for (int i = 0; i < 520; ++i) {
        crowded.insert(crowded.end(), {0xFF, 0xFE, 0xFF, 0xFF});  // a comment of 65533 bytes
        crowded.resize(crowded.size() + 65533);
    }
    crowded.insert(crowded.end(), file.begin() + 2, file.end());
    PutFile(scratch / "crowded.jpg", crowded.data(), crowded.size());
    ExpectError([&] { ReadPages(scratch / "crowded.jpg"); }, ExitCode::kFailed,
                "the JPEG is damaged: more than 32 MiB of markers before the image");
}

// Each scan is short and makes the reader go over the whole page again.
TEST(JpegReader, MoreScansThanAnyPageNeedsAreAnError) {
    const Scratch scratch;
    WriteJpeg(scratch / "page.jpg", {.scans = true}, 61, 47);
    const Bytes file = FileBytes(scratch / "page.jpg");
    const auto last = static_cast<std::ptrdiff_t>(SegmentAt(file, 0xDA) - 2);
    for (const auto& [count, fails] : {std::pair{100, false}, {600, true}}) {
        Bytes many(file.begin(), file.end() - 2);
        for (int i = 0; i < count; ++i) {
            many.insert(many.end(), file.begin() + last, file.end() - 2);
        }
        many.insert(many.end(), {0xFF, 0xD9});
        PutFile(scratch / "many.jpg", many.data(), many.size());
        if (fails) {
            ExpectError([&] { ReadPages(scratch / "many.jpg"); }, ExitCode::kFailed,
                        "the JPEG is damaged: more than 500 scans");
        } else {
            ExpectSamePage(ReadPages(scratch / "many.jpg").at(0), ReadPages(scratch / "page.jpg").at(0));
        }
    }
}

}  // namespace
