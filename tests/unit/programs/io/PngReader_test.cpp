#include <png.h>

#include "Pages.h"

#include "programs/io/OpenReader.h"

namespace {

using namespace platen_test;

struct Form {
    int bits = 8;
    int colour = PNG_COLOR_TYPE_GRAY;
    int interlace = PNG_INTERLACE_NONE;
    bool transparency = false;
};

// Made with the codec library, row by row as given.
void WritePng(const std::string& path, const Form& form, std::uint32_t width, std::uint32_t height,
              const Bytes& rows) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, form.bits, form.colour, form.interlace, PNG_COMPRESSION_TYPE_BASE,
                 PNG_FILTER_TYPE_BASE);
    png_color palette[4] = {{1, 2, 3}, {40, 50, 60}, {70, 80, 90}, {255, 254, 253}};
    const png_byte alpha[4] = {0, 100, 200, 255};
    const png_color_16 key = {0, 1, 1, 1, 1};
    if (form.colour == PNG_COLOR_TYPE_PALETTE) {
        png_set_PLTE(png, info, palette, form.bits == 1 ? 2 : 4);
    }
    if (form.transparency) {
        png_set_tRNS(png, info, alpha, form.bits == 1 ? 2 : 4, &key);
    }
    png_write_info(png, info);
    const std::size_t rowBytes = rows.size() / height;
    std::vector<png_bytep> pointers;
    for (std::uint32_t y = 0; y < height; ++y) {
        pointers.push_back(const_cast<png_bytep>(rows.data() + y * rowBytes));
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

Page Read(const Form& form, std::uint32_t width, std::uint32_t height, const Bytes& rows) {
    const Scratch scratch;
    WritePng(scratch / "page.png", form, width, height, rows);
    return ReadPages(scratch / "page.png").at(0);
}

TEST(PngReader, OneBitGreyIsBilevelWithBlackAs1) {
    const Page page = Read({.bits = 1}, 10, 1, {0x0F, 0x40});
    EXPECT_EQ(page.info.bitsPerSample, 1);
    EXPECT_EQ(page.lines, (Bytes{0xF0, 0x80}));
}

TEST(PngReader, FewBitsAreExpanded) {
    EXPECT_EQ(Read({.bits = 2}, 4, 1, {0x1B}).lines, (Bytes{0, 85, 170, 255}));
    EXPECT_EQ(Read({.bits = 4}, 2, 1, {0x1F}).lines, (Bytes{17, 255}));
}

TEST(PngReader, PalettesAreExpandedWithTheirAlpha) {
    EXPECT_EQ(Read({.bits = 2, .colour = PNG_COLOR_TYPE_PALETTE}, 2, 1, {0x70}).lines,
              (Bytes{40, 50, 60, 255, 254, 253}));
    EXPECT_EQ(Read({.bits = 1, .colour = PNG_COLOR_TYPE_PALETTE}, 2, 1, {0x40}).lines,
              (Bytes{1, 2, 3, 40, 50, 60}));
    EXPECT_EQ(Read({.bits = 8, .colour = PNG_COLOR_TYPE_PALETTE, .transparency = true}, 2, 1, {1, 2}).lines,
              (Bytes{40, 50, 60, 100, 70, 80, 90, 200}));
}

TEST(PngReader, ATransparentColourBecomesAlpha) {
    EXPECT_EQ(Read({.transparency = true}, 3, 1, {0, 1, 2}).lines, (Bytes{0, 255, 1, 0, 2, 255}));
    EXPECT_EQ(Read({.bits = 1, .transparency = true}, 2, 1, {0x40}).lines, (Bytes{0, 255, 255, 0}));
    EXPECT_EQ(Read({.colour = PNG_COLOR_TYPE_RGB, .transparency = true}, 2, 1, {1, 1, 1, 1, 1, 2}).lines,
              (Bytes{1, 1, 1, 0, 1, 1, 2, 255}));
}

TEST(PngReader, SixteenBitsComeInTheMachinesOrder) {
    const Page page = Read({.bits = 16}, 2, 1, {0x12, 0x34, 0xFF, 0x01});
    std::uint16_t samples[2];
    std::memcpy(samples, page.lines.data(), 4);
    EXPECT_EQ(samples[0], 0x1234);
    EXPECT_EQ(samples[1], 0xFF01);
}

TEST(PngReader, InterlacedEqualsPlain) {
    const struct {
        int bits, colour, samples;
    } kinds[] = {{1, PNG_COLOR_TYPE_GRAY, 1}, {2, PNG_COLOR_TYPE_GRAY, 1},       {4, PNG_COLOR_TYPE_PALETTE, 1},
                 {8, PNG_COLOR_TYPE_GRAY, 1}, {8, PNG_COLOR_TYPE_RGB, 3},        {8, PNG_COLOR_TYPE_RGB_ALPHA, 4},
                 {16, PNG_COLOR_TYPE_RGB, 3}, {16, PNG_COLOR_TYPE_GRAY_ALPHA, 2}};
    for (const auto& kind : kinds) {
        for (std::uint32_t width = 1; width <= 18; ++width) {
            for (const std::uint32_t height : {1u, 2u, 3u, 4u, 5u, 9u, 17u}) {
                Random random(width * 100 + height);
                Bytes rows((width * static_cast<unsigned>(kind.bits * kind.samples) + 7) / 8 * height);
                for (std::uint8_t& byte : rows) {
                    byte = static_cast<std::uint8_t>(random.Byte() &
                                                     (kind.colour == PNG_COLOR_TYPE_PALETTE ? 0x33 : 0xFF));
                }
                const Form plain{.bits = kind.bits, .colour = kind.colour};
                Form interlaced = plain;
                interlaced.interlace = PNG_INTERLACE_ADAM7;
                SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
                ExpectSamePage(Read(interlaced, width, height, rows), Read(plain, width, height, rows));
            }
        }
    }
}

TEST(PngReader, InterlacedIsSaidOrRefused) {
    const Scratch scratch;
    WritePng(scratch / "page.png", {.interlace = PNG_INTERLACE_ADAM7}, 9, 9, Bytes(81, 3));
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.png", {})->Notice(),
              "spooled to a temporary file: the PNG is interlaced");
    ReadOptions options;
    options.strictStream = true;
    ExpectError([&] { ReadPages(scratch / "page.png", options); }, ExitCode::kUnsupported,
                "the PNG is interlaced; --strict-stream forbids spooling it; save it without interlacing");
    WritePng(scratch / "page.png", {}, 9, 9, Bytes(81, 3));
    EXPECT_NO_THROW(ReadPages(scratch / "page.png", options));
}

TEST(PngReader, AnInterlacedFileCutAnywhereIsAnError) {
    const Scratch scratch;
    Random random(1);
    Bytes rows(40 * 40);
    for (std::uint8_t& byte : rows) {
        byte = random.Byte();
    }
    WritePng(scratch / "page.png", {.interlace = PNG_INTERLACE_ADAM7}, 40, 40, rows);
    const Bytes whole = FileBytes(scratch / "page.png");
    for (std::size_t length = 8; length < whole.size(); length += 11) {
        PutFile(scratch / "cut.png", whole.data(), length);
        EXPECT_THROW(ReadPages(scratch / "cut.png"), Error) << length;
    }
}

}  // namespace
