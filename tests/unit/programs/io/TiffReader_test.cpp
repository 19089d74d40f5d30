#include <tiffio.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Pages.h"

#include "programs/io/OpenReader.h"

namespace {

using namespace platen_test;

// What a test TIFF is like; made with the codec library, read with ours.
struct Form {
    int bits = 8;
    int samples = 1;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int planar = PLANARCONFIG_CONTIG;
    int compression = COMPRESSION_LZW;
    std::uint32_t tile = 0;  // 0: strips
    std::uint32_t rowsPerStrip = 5;
    int fillOrder = FILLORDER_MSB2LSB;
    int extra = -1;
    int sampleFormat = SAMPLEFORMAT_UINT;
    const char* mode = "wl";
};

std::size_t RowBytes(const Form& form, std::uint32_t width) {
    const int samples = form.planar == PLANARCONFIG_SEPARATE ? 1 : form.samples;
    return (width * static_cast<std::size_t>(form.bits * samples) + 7) / 8;
}

void SetTags(TIFF* tiff, const Form& form, std::uint32_t width, std::uint32_t height) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.planar);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, form.fillOrder);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, form.sampleFormat);
    if (form.extra >= 0) {
        const auto kind = static_cast<std::uint16_t>(form.extra);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    if (form.tile != 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, form.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, form.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, form.rowsPerStrip);
    }
}

// rows: as stored, plane after plane.
void WriteTiff(const std::string& path, const Form& form, std::uint32_t width, std::uint32_t height, Bytes rows) {
    TIFF* tiff = TIFFOpen(path.c_str(), form.mode);
    ASSERT_NE(tiff, nullptr);
    SetTags(tiff, form, width, height);
    if (form.photometric == PHOTOMETRIC_PALETTE) {
        std::uint16_t maps[3][256];
        for (unsigned i = 0; i < 256; ++i) {
            maps[0][i] = static_cast<std::uint16_t>(i * 257);
            maps[1][i] = static_cast<std::uint16_t>((255 - i) * 257);
            maps[2][i] = static_cast<std::uint16_t>((i * 7 % 256) * 257);
        }
        TIFFSetField(tiff, TIFFTAG_COLORMAP, maps[0], maps[1], maps[2]);
    }
    const std::size_t rowBytes = RowBytes(form, width);
    const unsigned planes = form.planar == PLANARCONFIG_SEPARATE ? static_cast<unsigned>(form.samples) : 1;
    for (unsigned plane = 0; plane < planes; ++plane) {
        std::uint8_t* from = rows.data() + plane * rowBytes * height;
        for (std::uint32_t y = 0; form.tile == 0 && y < height; ++y) {
            ASSERT_EQ(TIFFWriteScanline(tiff, from + y * rowBytes, y, static_cast<std::uint16_t>(plane)), 1);
        }
        for (std::uint32_t y = 0; form.tile != 0 && y < height; y += form.tile) {
            for (std::uint32_t x = 0; x < width; x += form.tile) {
                const std::size_t tileRow = RowBytes(form, form.tile), at = RowBytes(form, x);
                Bytes tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
                for (std::uint32_t i = 0; i < form.tile && y + i < height; ++i) {
                    std::memcpy(tile.data() + i * tileRow, from + (y + i) * rowBytes + at,
                                std::min(tileRow, rowBytes - at));
                }
                TIFFWriteTile(tiff, tile.data(), x, y, 0, static_cast<std::uint16_t>(plane));
            }
        }
    }
    TIFFClose(tiff);
}

Bytes RandomRows(std::size_t count, std::uint64_t seed) {
    Random random(seed);
    Bytes rows(count);
    for (std::uint8_t& byte : rows) {
        byte = random.Byte();
    }
    return rows;
}

// Sample c of pixel x, from rows of 1 to 16 bits.
unsigned Stored(const Bytes& rows, const Form& form, std::uint32_t width, std::uint32_t height, std::uint32_t x,
                std::uint32_t y, int c) {
    const bool separate = form.planar == PLANARCONFIG_SEPARATE;
    const std::size_t rowAt = RowBytes(form, width) * (y + (separate ? static_cast<std::size_t>(c) * height : 0));
    const std::size_t index =
        separate ? x : static_cast<std::size_t>(x) * static_cast<unsigned>(form.samples) + static_cast<unsigned>(c);
    if (form.bits == 16) {
        std::uint16_t sample;
        std::memcpy(&sample, rows.data() + rowAt + 2 * index, 2);
        return sample;
    }
    const std::size_t bit = index * static_cast<unsigned>(form.bits);
    return static_cast<unsigned>(rows[rowAt + bit / 8]) >> (8 - static_cast<unsigned>(form.bits) - bit % 8) &
           ((1u << form.bits) - 1);
}

unsigned Sample(const Page& page, std::uint32_t x, std::uint32_t y, int c) {
    const std::uint8_t* line = page.lines.data() + y * page.info.LineBytes();
    const std::size_t index =
        static_cast<std::size_t>(x) * static_cast<unsigned>(page.info.samplesPerPixel) + static_cast<unsigned>(c);
    if (page.info.bitsPerSample == 16) {
        std::uint16_t sample;
        std::memcpy(&sample, line + 2 * index, 2);
        return sample;
    }
    if (page.info.bitsPerSample == 1) {
        return line[x / 8] >> (7 - x % 8) & 1u;
    }
    return line[index];
}

// What a stored grey or RGB sample must become.
unsigned Expected(const Form& form, unsigned stored, bool bilevel) {
    const bool inverted = form.photometric == PHOTOMETRIC_MINISWHITE;
    if (bilevel) {
        return inverted ? stored : 1 - stored;
    }
    const unsigned most = (1u << form.bits) - 1;
    const unsigned value = inverted ? most - stored : stored;
    return form.bits < 8 ? value * 255 / most : value;
}

void ExpectReads(const Form& form, std::uint32_t width, std::uint32_t height) {
    SCOPED_TRACE(std::to_string(form.bits) + " bits " + std::to_string(form.samples) + " samples photometric " +
                 std::to_string(form.photometric) + " planar " + std::to_string(form.planar) + " compression " +
                 std::to_string(form.compression) + " tile " + std::to_string(form.tile) + " " + form.mode);
    const Scratch scratch;
    const std::size_t planes = form.planar == PLANARCONFIG_SEPARATE ? static_cast<unsigned>(form.samples) : 1;
    const Bytes rows = RandomRows(RowBytes(form, width) * height * planes, width + 31 * height);
    WriteTiff(scratch / "page.tif", form, width, height, rows);
    const auto pages = ReadPages(scratch / "page.tif");
    ASSERT_EQ(pages.size(), 1u);
    const bool bilevel = form.bits == 1 && form.samples == 1;
    ASSERT_EQ(pages[0].info.bitsPerSample, bilevel ? 1 : form.bits == 16 ? 16 : 8);
    ASSERT_EQ(pages[0].info.samplesPerPixel, form.samples);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            for (int c = 0; c < form.samples; ++c) {
                ASSERT_EQ(Sample(pages[0], x, y, c),
                          Expected(form, Stored(rows, form, width, height, x, y, c), bilevel))
                    << x << " " << y << " " << c;
            }
        }
    }
}

TEST(TiffReader, StripsOfEveryDepthAndCodec) {
    for (const int compression :
         {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        for (const int bits : {1, 2, 4, 8, 16}) {
            for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_MINISWHITE}) {
                ExpectReads({.bits = bits, .photometric = photometric, .compression = compression}, 37, 23);
            }
            for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
                ExpectReads({.bits = bits,
                             .samples = 3,
                             .photometric = PHOTOMETRIC_RGB,
                             .planar = planar,
                             .compression = compression},
                            29, 17);
            }
        }
    }
}

TEST(TiffReader, FaxCodecsInBothPolarities) {
    for (const int compression : {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
        for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_MINISWHITE}) {
            for (const std::uint32_t width : {1u, 8u, 37u, 640u}) {
                ExpectReads({.bits = 1, .photometric = photometric, .compression = compression}, width, 23);
            }
        }
    }
}

TEST(TiffReader, BothByteOrdersAndBigFiles) {
    for (const char* mode : {"wl", "wb", "w8l", "w8b"}) {
        for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW}) {
            ExpectReads({.bits = 16,
                         .samples = 3,
                         .photometric = PHOTOMETRIC_RGB,
                         .compression = compression,
                         .mode = mode},
                        19, 11);
        }
    }
}

TEST(TiffReader, BothFillOrders) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_CCITTFAX4, COMPRESSION_PACKBITS}) {
        ExpectReads({.bits = 1, .compression = compression, .fillOrder = FILLORDER_LSB2MSB}, 77, 13);
    }
}

TEST(TiffReader, TilesOfEveryDepthTogetherAndByPlane) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW}) {
        for (const int bits : {1, 2, 4, 8, 16}) {
            for (const std::uint32_t width : {5u, 16u, 33u, 70u}) {
                ExpectReads({.bits = bits, .compression = compression, .tile = 16}, width, 37);
                for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
                    ExpectReads({.bits = bits,
                                 .samples = 3,
                                 .photometric = PHOTOMETRIC_RGB,
                                 .planar = planar,
                                 .compression = compression,
                                 .tile = 16},
                                width, 37);
                }
            }
        }
    }
}

TEST(TiffReader, UnassociatedAlphaIsKept) {
    for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
        for (const int bits : {8, 16}) {
            ExpectReads({.bits = bits,
                         .samples = 4,
                         .photometric = PHOTOMETRIC_RGB,
                         .planar = planar,
                         .extra = EXTRASAMPLE_UNASSALPHA},
                        19, 11);
            ExpectReads({.bits = bits, .samples = 2, .planar = planar, .extra = EXTRASAMPLE_UNASSALPHA}, 19, 11);
        }
    }
}

TEST(TiffReader, AssociatedAlphaIsDividedOutAndSaid) {
    const Scratch scratch;
    const Bytes rows = {50, 100, 0, 100, 255, 1, 2, 255, 9, 9, 9, 0, 200, 10, 10, 100};
    WriteTiff(scratch / "page.tif", {.samples = 4, .photometric = PHOTOMETRIC_RGB, .extra = EXTRASAMPLE_ASSOCALPHA},
              4, 1, rows);
    const Bytes expected = {128, 255, 0, 100, 255, 1, 2, 255, 0, 0, 0, 0, 255, 26, 26, 100};
    EXPECT_EQ(ReadPages(scratch / "page.tif").at(0).lines, expected);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.tif", {})->Notice(),
              "the colours are stored premultiplied by alpha and are divided by it");
}

TEST(TiffReader, UnspecifiedExtraSamplesAreLeftOutAndSaid) {
    for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
        const Scratch scratch;
        const bool separate = planar == PLANARCONFIG_SEPARATE;
        const Bytes rows = separate ? Bytes{1, 4, 2, 5, 3, 6, 9, 9} : Bytes{1, 2, 3, 9, 4, 5, 6, 9};
        WriteTiff(
            scratch / "page.tif",
            {.samples = 4, .photometric = PHOTOMETRIC_RGB, .planar = planar, .extra = EXTRASAMPLE_UNSPECIFIED}, 2,
            1, rows);
        EXPECT_EQ(ReadPages(scratch / "page.tif").at(0).lines, (Bytes{1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(platen_tool::OpenReader(scratch / "page.tif", {})->Notice(),
                  "samples that are neither colour nor alpha are left out");
    }
}

TEST(TiffReader, PalettesAreExpanded) {
    for (const int bits : {1, 2, 4, 8}) {
        for (const std::uint32_t tile : {0u, 16u}) {
            const Scratch scratch;
            const Form form{.bits = bits, .photometric = PHOTOMETRIC_PALETTE, .tile = tile};
            const Bytes rows = RandomRows(RowBytes(form, 35) * 20, 3);
            WriteTiff(scratch / "page.tif", form, 35, 20, rows);
            const Page page = ReadPages(scratch / "page.tif").at(0);
            ASSERT_EQ(page.info.samplesPerPixel, 3);
            ASSERT_EQ(page.info.bitsPerSample, 8);
            // With few bits the test's map holds small numbers only, so it counts as one of 8-bit values or not.
            for (std::uint32_t i = 0; i < 35 * 20; ++i) {
                const unsigned index = Stored(rows, form, 35, 20, i % 35, i / 35, 0);
                ASSERT_EQ(Sample(page, i % 35, i / 35, 0), index);
                ASSERT_EQ(Sample(page, i % 35, i / 35, 1), 255 - index);
                ASSERT_EQ(Sample(page, i % 35, i / 35, 2), index * 7 % 256);
            }
        }
    }
}

TEST(TiffReader, UnsupportedLayoutsAreNamed) {
    const Scratch scratch;
    const auto expect = [&](const Form& form, const char* part) {
        const std::size_t planes = form.planar == PLANARCONFIG_SEPARATE ? static_cast<unsigned>(form.samples) : 1;
        WriteTiff(scratch / "page.tif", form, 16, 16, RandomRows(RowBytes(form, 16) * 16 * planes, 1));
        ExpectError([&] { ReadPages(scratch / "page.tif"); }, ExitCode::kUnsupported, part);
    };
    expect({.samples = 4, .photometric = PHOTOMETRIC_SEPARATED},
           "the TIFF is CMYK without a profile; converting it to RGB needs an embedded CMYK profile");
    expect({.bits = 32, .sampleFormat = SAMPLEFORMAT_IEEEFP},
           "the TIFF has floating-point samples; whole numbers of 1, 2, 4, 8 and 16 bits are supported");
    expect({.bits = 32}, "the TIFF has 32 bits a sample; 1, 2, 4, 8 and 16 are supported");
    expect({.bits = 12}, "12 bits");
    expect({.bits = 16, .sampleFormat = SAMPLEFORMAT_INT},
           "the TIFF has signed or complex samples; unsigned ones of 1, 2, 4, 8 and 16 bits are supported");
    expect(
        {.bits = 4, .samples = 4, .photometric = PHOTOMETRIC_SEPARATED},
        "the TIFF is in inks other than CMYK, or CMYK with fewer than 8 bits; bilevel, grey, RGB, palette, CMYK, "
        "YCbCr and CIE L*a*b* are supported");
    expect({.bits = 16, .samples = 3, .photometric = PHOTOMETRIC_YCBCR},
           "the TIFF is YCbCr in tiles, in planes or not of 8 bits; bilevel");
    expect({.bits = 4, .samples = 3, .photometric = PHOTOMETRIC_CIELAB},
           "the TIFF is CIE L*a*b* with fewer than 8 bits; bilevel");
    expect({.samples = 3, .photometric = PHOTOMETRIC_ICCLAB}, "the TIFF is ICC's or ITU's L*a*b*; bilevel");
    expect({.samples = 2, .photometric = PHOTOMETRIC_PALETTE},
           "a palette TIFF of this layout isn't supported; one sample of up to 8 bits is");
    expect({.photometric = PHOTOMETRIC_MASK}, "the TIFF is a transparency mask; bilevel");
    expect({.photometric = 99}, "the TIFF is photometric interpretation 99; bilevel");
    expect({.samples = 17}, "the TIFF has 17 samples a pixel; 1 to 16 are supported");
}

TEST(TiffReader, JpegStripsComeAsRgb) {
    const Scratch scratch;
    TIFF* tiff = TIFFOpen((scratch / "page.tif").c_str(), "w");
    SetTags(tiff,
            {.samples = 3, .photometric = PHOTOMETRIC_YCBCR, .compression = COMPRESSION_JPEG, .rowsPerStrip = 16},
            50, 40);
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    for (std::uint32_t y = 0; y < 40; ++y) {
        Bytes row(150);
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = i % 3 == 0 ? 200 : i % 3 == 1 ? 100 : 30;
        }
        TIFFWriteScanline(tiff, row.data(), y, 0);
    }
    TIFFClose(tiff);
    const Page page = ReadPages(scratch / "page.tif").at(0);
    ASSERT_EQ(page.info.samplesPerPixel, 3);
    EXPECT_NEAR(page.lines[0], 200, 3);
    EXPECT_NEAR(page.lines[1], 100, 3);
    EXPECT_NEAR(page.lines[2], 30, 3);
}

TEST(TiffReader, ResolutionUnits) {
    const Scratch scratch;
    const auto resolution = [&](int unit, double value) {
        TIFF* tiff = TIFFOpen((scratch / "page.tif").c_str(), "w");
        SetTags(tiff, {}, 1, 1);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, unit);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, value);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, value / 2);
        std::uint8_t sample = 0;
        TIFFWriteScanline(tiff, &sample, 0, 0);
        TIFFClose(tiff);
        return platen_tool::OpenReader(scratch / "page.tif", {})->Info().resolution;
    };
    EXPECT_EQ(resolution(RESUNIT_INCH, 400)->x.Value(), 400);
    EXPECT_EQ(resolution(RESUNIT_INCH, 400)->y.Value(), 200);
    EXPECT_EQ(resolution(RESUNIT_CENTIMETER, 100)->x.numerator, 254u);
    EXPECT_EQ(resolution(RESUNIT_CENTIMETER, 100)->x.denominator, 1u);
    EXPECT_FALSE(resolution(RESUNIT_NONE, 1).has_value());
    EXPECT_FALSE(resolution(RESUNIT_INCH, 0).has_value());
}

TEST(TiffReader, ReducedCopiesArePassedOver) {
    const Scratch scratch;
    TIFF* tiff = TIFFOpen((scratch / "page.tif").c_str(), "w");
    for (const int type : {0, FILETYPE_REDUCEDIMAGE, FILETYPE_PAGE}) {
        SetTags(tiff, {}, 3, 1);
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, type);
        std::uint8_t row[3] = {static_cast<std::uint8_t>(type), 0, 0};
        TIFFWriteScanline(tiff, row, 0, 0);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    const auto pages = ReadPages(scratch / "page.tif");
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].lines[0], 0);
    EXPECT_EQ(pages[1].lines[0], FILETYPE_PAGE);
}

TEST(TiffReader, ACircleOfDirectoriesIsAnError) {
    const Scratch scratch;
    WritePages(scratch / "page.tif", {RandomPage(8, 8, 8, 1, 1)});
    Bytes file = FileBytes(scratch / "page.tif");
    const std::size_t at = file[4] | static_cast<std::size_t>(file[5]) << 8;
    const std::size_t next = at + 2 + 12u * file[at];
    std::memcpy(file.data() + next, file.data() + 4, 4);
    PutFile(scratch / "circle.tif", file.data(), file.size());
    ExpectError([&] { ReadPages(scratch / "circle.tif"); }, ExitCode::kFailed,
                "the TIFF is damaged: directory 1 is cut off, loops or is too long");
}

// Many large fields, all with the same bytes of the file: the reader, its codec library included, may not take
// memory for each.
TEST(TiffReader, FieldsThatAreNotNeededAreNotRead) {
    for (const bool bigEndian : {false, true}) {
        constexpr std::uint32_t kFieldBytes = 8 << 20;
        constexpr std::uint32_t kFields = 60;
        Bytes file = bigEndian ? Bytes{'M', 'M', 0, 42} : Bytes{'I', 'I', 42, 0};
        const auto put = [&](std::uint32_t value, unsigned bytes) {
            for (unsigned i = 0; i < bytes; ++i) {
                file.push_back(static_cast<std::uint8_t>(value >> 8 * (bigEndian ? bytes - 1 - i : i)));
            }
        };
        const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t count, std::uint32_t value) {
            put(tag, 2);
            put(type, 2);
            put(count, 4);
            put(value, 4);
        };
        put(16 + kFieldBytes, 4);
        file.resize(16 + kFieldBytes, 7);
        put(8 + kFields, 2);
        for (const auto& [tag, value] : {std::pair{256u, 4u},
                                         {257u, 2u},
                                         {258u, 8u},
                                         {259u, 1u},
                                         {262u, 1u},
                                         {273u, 8u},
                                         {278u, 2u},
                                         {279u, 8u}}) {
            entry(tag, 4, 1, value);
        }
        for (std::uint32_t i = 0; i < kFields; ++i) {
            entry(40000 + i, 7, kFieldBytes, 16);
        }
        put(0, 4);
        const Scratch scratch;
        PutFile(scratch / "page.tif", file.data(), file.size());
        const pid_t child = fork();
        if (child == 0) {
            Bytes lines;
            try {
                lines = ReadPages(scratch / "page.tif").at(0).lines;
            } catch (...) {
                _exit(1);
            }
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            _exit(lines != Bytes(8, 7) ? 2 : usage.ru_maxrss > kFields * kFieldBytes / 1024 / 2 ? 3 : 0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << bigEndian;
    }
}

TEST(TiffReader, APipeIsSpooledOrRefused) {
    const Scratch scratch;
    const Page page = RandomPage(300, 200, 8, 3, 1);
    WritePages(scratch / "page.tif", {page, page});
    for (const bool strict : {false, true}) {
        const std::string command = "cat '" + (scratch / "page.tif") + "'";
        std::FILE* pipe = popen(command.c_str(), "r");
        const std::string path = "/proc/self/fd/" + std::to_string(fileno(pipe));
        ReadOptions options;
        options.strictStream = strict;
        if (strict) {
            ExpectError([&] { ReadPages(path, options); }, ExitCode::kUnsupported,
                        "a TIFF from a pipe must be spooled, which --strict-stream forbids; give it as a file");
        } else {
            const auto pages = ReadPages(path, options);
            ASSERT_EQ(pages.size(), 2u);
            ExpectSamePage(pages[1], page);
        }
        pclose(pipe);
    }
}

}  // namespace
