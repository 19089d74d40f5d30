#include <numeric>

#include "Pages.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/Ratios.h"

namespace {

using namespace platen_test;
using platen_tool::Container;
using platen_tool::Ratio;
using platen_tool::Reduced;
using platen_tool::Resolution;

struct Layout {
    int bits;
    int samples;
};
constexpr Layout kLayouts[] = {{1, 1}, {8, 1}, {8, 2}, {8, 3}, {8, 4}, {16, 1}, {16, 2}, {16, 3}, {16, 4}};

void ExpectRoundTrips(const std::string& ending) {
    const Scratch scratch;
    std::uint64_t seed = 1;
    for (const Layout& layout : kLayouts) {
        for (const std::uint32_t width : {1u, 2u, 7u, 8u, 9u, 16u, 33u, 301u}) {
            for (const bool heightKnown : {true, false}) {
                SCOPED_TRACE(std::to_string(layout.bits) + " bits, " + std::to_string(layout.samples) +
                             " samples, width " + std::to_string(width));
                const Page page = RandomPage(width, 1 + width % 5 * 9, layout.bits, layout.samples, ++seed);
                WriteOptions options;
                options.force = true;
                WritePages(scratch / ("page." + ending), {page}, options, heightKnown);
                const auto read = ReadPages(scratch / ("page." + ending));
                ASSERT_EQ(read.size(), 1u);
                ExpectSamePage(read[0], page);
            }
        }
    }
    EXPECT_EQ(scratch.Files(), 1u);
}

TEST(RoundTrip, PngKeepsEveryLayout) {
    ExpectRoundTrips("png");
}

TEST(RoundTrip, TiffKeepsEveryLayout) {
    ExpectRoundTrips("tif");
}

TEST(RoundTrip, PnmKeepsEveryLayout) {
    ExpectRoundTrips("pnm");
}

TEST(RoundTrip, PamKeepsEveryLayout) {
    ExpectRoundTrips("pam");
}

TEST(RoundTrip, TiffKeepsEveryCompression) {
    const Scratch scratch;
    const Page pages[] = {RandomPage(300, 200, 1, 1, 1), RandomPage(301, 200, 8, 3, 2),
                          RandomPage(77, 90, 16, 4, 3)};
    for (const int compression : {1, 2, 3, 4, 5, 8, 32773, 32946}) {
        for (const Page& page : pages) {
            const bool fax = compression >= 2 && compression <= 4;
            SCOPED_TRACE(compression);
            WriteOptions options;
            options.force = true;
            options.tiffCompression = compression;
            WritePages(scratch / "page.tif", {page}, options);
            const auto read = ReadPages(scratch / "page.tif");
            ExpectSamePage(read.at(0), page);
            const int used = platen_tool::OpenReader(scratch / "page.tif", {})->TiffCompression();
            EXPECT_EQ(used, fax && page.info.bitsPerSample != 1 ? 5 : compression);
        }
    }
}

TEST(RoundTrip, ATiffsJpegWantsTheHeight) {
    const Scratch scratch;
    WriteOptions options;
    options.compression = platen_tool::Compression{platen_tool::Compression::Kind::kJpeg, 0, "jpeg"};
    ExpectError([&] { WritePages(scratch / "page.tif", {RandomPage(9, 9, 8, 1, 1)}, options, false); },
                ExitCode::kUnsupported,
                "--compression=jpeg: the page's height must be known before its first line");
    WritePages(scratch / "page.tif", {RandomPage(9, 9, 8, 1, 1)}, options);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.tif", {})->TiffCompression(), 7);
}

TEST(RoundTrip, JpegIsNearAndKeepsSize) {
    const Scratch scratch;
    for (const int samples : {1, 3}) {
        Page page = RandomPage(67, 45, 8, samples, 5);
        for (std::size_t i = 0; i < page.lines.size(); ++i) {  // smooth, since JPEG is made for that
            page.lines[i] = static_cast<std::uint8_t>(40 + i % page.info.LineBytes() / 3);
        }
        for (const char* name : {"page.jpg", "page.tif"}) {
            WriteOptions options;
            options.force = true;
            options.tiffCompression = 7;
            WritePages(scratch / name, {page}, options);
            const auto read = ReadPages(scratch / name);
            ASSERT_EQ(read.at(0).lines.size(), page.lines.size());
            for (std::size_t i = 0; i < page.lines.size(); ++i) {
                EXPECT_NEAR(read[0].lines[i], page.lines[i], 6) << name << " " << i;
            }
        }
        EXPECT_EQ(platen_tool::OpenReader(scratch / "page.tif", {})->TiffCompression(), 7);
    }
}

TEST(RoundTrip, TiffAndPnmHoldSeveralPages) {
    const Scratch scratch;
    const std::vector<Page> pages = {RandomPage(33, 21, 1, 1, 1), RandomPage(40, 20, 8, 3, 2),
                                     RandomPage(5, 7, 16, 2, 3), RandomPage(1, 1, 8, 1, 4)};
    for (const char* name : {"pages.tif", "pages.pnm", "pages.pam"}) {
        WritePages(scratch / name, pages);
        const auto read = ReadPages(scratch / name);
        ASSERT_EQ(read.size(), pages.size());
        for (std::size_t i = 0; i < pages.size(); ++i) {
            ExpectSamePage(read[i], pages[i]);
        }
    }
    EXPECT_EQ(platen_tool::OpenReader(scratch / "pages.tif", {})->PageCount(), 4u);
    EXPECT_EQ(platen_tool::OpenReader(scratch / "pages.pnm", {})->PageCount(), 0u);
}

TEST(RoundTrip, PngAndJpegRefuseASecondPage) {
    const Scratch scratch;
    const Page page = RandomPage(8, 8, 8, 1, 1);
    ExpectError(
        [&] {
            WritePages(scratch / "pages.png", {page, page});
        },
        ExitCode::kUnsupported,
        "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page to its "
        "own file");
    ExpectError(
        [&] {
            WritePages(scratch / "pages.jpg", {page, page});
        },
        ExitCode::kUnsupported,
        "a JPEG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page to "
        "its own file");
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(RoundTrip, JpegRefusesWhatItLacks) {
    const Scratch scratch;
    for (const Layout& layout : kLayouts) {
        if (layout.bits == 8 && layout.samples % 2 == 1) {
            continue;
        }
        const Page page = RandomPage(8, 8, layout.bits, layout.samples, 1);
        ExpectError([&] { WritePages(scratch / "page.jpg", {page}); }, ExitCode::kUnsupported,
                    layout.bits == 8 ? "JPEG has no alpha channel; --flatten blends the page with white, and PNG, "
                                       "TIFF and PAM keep alpha"
                                     : " converts the page, and PNG, TIFF and PNM hold it as it is");
    }
    ExpectError([&] { WritePages(scratch / "page.jpg", {RandomPage(65501, 1, 8, 1, 1)}); }, ExitCode::kUnsupported,
                "JPEG holds at most 65500 pixels on a side; PNG, TIFF and PNM hold more");
    Page labelled = RandomPage(8, 8, 8, 1, 1);
    labelled.info.iccProfile.resize(255 * 65519 + 1);
    ExpectError([&] { WritePages(scratch / "page.jpg", {labelled}); }, ExitCode::kUnsupported,
                "the ICC profile is too large for a JPEG");
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(RoundTrip, LayoutsThatNoFileHoldsAreRefused) {
    const Scratch scratch;
    for (const char* name : {"page.png", "page.tif", "page.jpg", "page.pnm"}) {
        for (const std::uint32_t height : {8u, 0u}) {  // known and unknown
            ImageInfo info = RandomPage(8, 8, 8, 1, 1).info;
            info.height = height;
            info.samplesPerPixel = 5;
            ExpectError(
                [&] { platen_tool::OpenWriter(scratch / name, {})->BeginPage(info); }, ExitCode::kUnsupported,
                "5 samples of 8 bits a pixel can't be written; 1 bit grey and 1 to 4 samples of 8 or 16 bits can");
            info.samplesPerPixel = 1;
            info.width = 0;
            ExpectError([&] { platen_tool::OpenWriter(scratch / name, {})->BeginPage(info); }, ExitCode::kFailed,
                        "a page without columns can't be written");
        }
    }
}

TEST(RoundTrip, APageOfUnknownHeightNeedsALine) {
    const Scratch scratch;
    for (const char* name : {"page.png", "page.jpg", "page.pnm"}) {
        ExpectError([&] { WritePages(scratch / name, {RandomPage(8, 0, 8, 1, 1)}, {}, false); }, ExitCode::kFailed,
                    "a page without lines can't be written");
        const auto writer = platen_tool::OpenWriter(scratch / name, {});
        EXPECT_EQ(writer->Notice(), "");
        writer->BeginPage(RandomPage(8, 0, 8, 1, 1).info);
        EXPECT_EQ(writer->Notice(), "spooled to a temporary file: the height wasn't known at first");
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

TEST(RoundTrip, ReadersHaveNoMoreLinesThanTheirPage) {
    const Scratch scratch;
    for (const char* name : {"page.png", "page.tif", "page.jpg", "page.pnm"}) {
        WritePages(scratch / name, {RandomPage(8, 2, 8, 1, 1)});
        const auto reader = platen_tool::OpenReader(scratch / name, {});
        Bytes line(8);
        reader->ReadLine(line.data());
        reader->ReadLine(line.data());
        ExpectError([&] { reader->ReadLine(line.data()); }, ExitCode::kFailed, "read past the last line");
    }
}

TEST(RoundTrip, TooFewOrTooManyLinesAreErrors) {
    const Scratch scratch;
    for (const char* name : {"page.png", "page.tif", "page.jpg", "page.pnm"}) {
        const Page page = RandomPage(8, 8, 8, 1, 1);
        const auto write = [&](std::uint32_t said) {
            auto writer = platen_tool::OpenWriter(scratch / name, {});
            ImageInfo info = page.info;
            info.height = said;
            writer->BeginPage(info);
            for (std::uint32_t y = 0; y < 8; ++y) {
                writer->WriteLine(page.lines.data());
            }
            writer->EndPage();
        };
        ExpectError([&] { write(9); }, ExitCode::kFailed, "fewer lines than the page's height");
        ExpectError([&] { write(7); }, ExitCode::kFailed, "more lines than the page's height");
    }
    EXPECT_EQ(scratch.Files(), 0u);
}

// Exactly: in TIFF any ratio, in JPEG too (EXIF holds what JFIF rounds).
TEST(RoundTrip, ResolutionIsExactInTiffAndJpeg) {
    const Scratch scratch;
    Page page = RandomPage(8, 8, 8, 1, 1);
    const Ratio ratios[] = {{300, 1},         {600, 1},         {324993, 1000}, {1000, 3}, {2540, 100},
                            {4294967295u, 7}, {1, 4294967295u}, {72, 1},        {1200, 1}};
    for (const Ratio& x : ratios) {
        for (const Ratio& y : ratios) {
            page.info.resolution = Resolution{x, y};
            for (const char* name : {"page.tif", "page.jpg"}) {
                WriteOptions options;
                options.force = true;
                WritePages(scratch / name,
                           {
                               page,
                           },
                           options);
                const auto read = platen_tool::OpenReader(scratch / name, {})->Info().resolution;
                ASSERT_TRUE(read.has_value());
                EXPECT_EQ(read->x.numerator * x.denominator, x.numerator * read->x.denominator) << name;
                EXPECT_EQ(read->y.numerator * y.denominator, y.numerator * read->y.denominator) << name;
            }
        }
    }
}

TEST(RoundTrip, EveryTiffPageKeepsItsResolution) {
    const Scratch scratch;
    std::vector<Page> pages;
    for (std::uint64_t i = 1; i <= 5; ++i) {
        pages.push_back(RandomPage(9, 9, 1, 1, i));
        pages.back().info.resolution = Resolution{{100 * i + 1, 3}, {200 * i + 1, 7}};
    }
    pages[2].info.resolution.reset();
    WritePages(scratch / "pages.tif", pages);
    const auto read = ReadPages(scratch / "pages.tif");
    for (std::size_t i = 0; i < pages.size(); ++i) {
        ASSERT_EQ(read[i].info.resolution.has_value(), i != 2);
        if (i != 2) {
            EXPECT_EQ(read[i].info.resolution->x.Value(), pages[i].info.resolution->x.Value());
            EXPECT_EQ(read[i].info.resolution->y.Value(), pages[i].info.resolution->y.Value());
        }
    }
}

// PNG counts whole pixels per metre: what came from a PNG is exact, the rest is off by half a pixel per metre.
TEST(RoundTrip, ResolutionInPngIsTheNearestPerMetre) {
    const Scratch scratch;
    Page page = RandomPage(8, 8, 8, 1, 1);
    WriteOptions options;
    options.force = true;
    for (std::uint64_t perMetre : {1u, 11811u, 12795u, 23622u, 2147483647u}) {
        page.info.resolution = Resolution{{perMetre * 127, 5000}, {perMetre * 127, 5000}};
        WritePages(scratch / "page.png", {page}, options);
        const auto read = platen_tool::OpenReader(scratch / "page.png", {})->Info().resolution;
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->x.numerator * 5000, perMetre * 127 * read->x.denominator);
    }
    page.info.resolution = Resolution{{300, 1}, {150, 1}};
    WritePages(scratch / "page.png", {page}, options);
    const auto read = platen_tool::OpenReader(scratch / "page.png", {})->Info().resolution;
    EXPECT_EQ(read->x.numerator * 5000, 11811u * 127 * read->x.denominator);
    EXPECT_EQ(read->y.numerator * 5000, 5906u * 127 * read->y.denominator);  // 5905.51
}

TEST(RoundTrip, WithoutResolutionNoneAppears) {
    const Scratch scratch;
    for (const char* name : {"page.png", "page.tif", "page.jpg", "page.pnm"}) {
        WritePages(scratch / name, {RandomPage(8, 8, 8, 1, 1)});
        EXPECT_FALSE(platen_tool::OpenReader(scratch / name, {})->Info().resolution.has_value()) << name;
    }
}

TEST(RoundTrip, ProfileAndOrientationAreKept) {
    const Scratch scratch;
    WriteOptions options;
    options.force = true;
    for (const int samples : {1, 3}) {
        for (int orientation = 1; orientation <= 8; ++orientation) {
            Page page = RandomPage(8, 8, 8, samples, 1);
            page.info.iccProfile = SmallProfile(samples == 3);
            page.info.orientation = orientation;
            for (const char* name : {"page.png", "page.tif", "page.jpg"}) {
                WritePages(scratch / name, {page}, options);
                const ImageInfo info = platen_tool::OpenReader(scratch / name, {})->Info();
                EXPECT_EQ(info.iccProfile, page.info.iccProfile) << name;
                EXPECT_EQ(info.orientation, orientation) << name;
            }
        }
    }
}

TEST(RoundTrip, JpegSplitsALargeProfile) {
    const Scratch scratch;
    Page page = RandomPage(8, 8, 8, 3, 1);
    page.info.iccProfile = SmallProfile(true);
    page.info.iccProfile.resize(200'000, 7);
    WritePages(scratch / "page.jpg", {page});
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.jpg", {})->Info().iccProfile, page.info.iccProfile);
}

TEST(RoundTrip, PngLeavesOutAProfileThatIsNoneAndSaysSo) {
    const Scratch scratch;
    Page page = RandomPage(8, 8, 8, 3, 1);
    page.info.iccProfile = Bytes(200, 1);
    auto writer = platen_tool::OpenWriter(scratch / "page.png", {});
    writer->BeginPage(page.info);
    EXPECT_EQ(writer->Notice(), "the ICC profile doesn't fit a PNG of this layout and was left out");
}

TEST(Ratios, ReducedIsExactOrTheNearestConvergent) {
    const auto check = [](Ratio from, std::uint64_t limit, Ratio expected) {
        const Ratio result = Reduced(from, limit);
        EXPECT_EQ(result.numerator, expected.numerator);
        EXPECT_EQ(result.denominator, expected.denominator);
    };
    check({600, 2}, 1000, {300, 1});
    check({314159265, 100000000}, 400, {355, 113});
    check({1u << 20, 1}, 1000, {1000, 1});
    check({0, 5}, 10, {0, 1});
    Random random(9);
    for (int i = 0; i < 20000; ++i) {
        const Ratio ratio{random.Next() >> random.Between(1, 60), (random.Next() >> random.Between(1, 60)) + 1};
        const Ratio small = Reduced(ratio, 0xFFFFFFFFu);
        ASSERT_LE(small.numerator, 0xFFFFFFFFu);
        ASSERT_LE(small.denominator, 0xFFFFFFFFu);
        ASSERT_NE(small.denominator, 0u);
        if (ratio.Value() > 1e-4 && ratio.Value() < 4e9) {
            ASSERT_NEAR(small.Value() / ratio.Value(), 1.0, 1e-4);
        }
    }
}

}  // namespace
