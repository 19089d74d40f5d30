#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <sstream>

#include "DecodePage.h"
#include "PeakMemory.h"
#include "Scans.h"
#include "Spawn.h"

// Real scans through the whole program.

namespace platen_test {
namespace {

bool Absent() {
    return !std::filesystem::exists(Scan("README.md"));
}

constexpr const char* kAbsent = "no sample scans at " PLATEN_TEST_DATA " (PLATEN_TEST_DATA)";

using Tables = std::array<std::array<std::uint8_t, 256>, 3>;

Tables ReadTables(const std::vector<std::string>& options) {
    std::vector<std::string> words = {"curve", "--table=plain"};
    words.insert(words.end(), options.begin(), options.end());
    std::istringstream stream(Spawn(words).out);
    Tables tables{};
    for (int line = 0; line < 256; ++line) {
        int level = -1;
        std::array<int, 3> out{-1, -1, -1};
        stream >> level >> out[0] >> out[1] >> out[2];
        EXPECT_EQ(level, line);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            tables[channel][static_cast<std::size_t>(line)] = static_cast<std::uint8_t>(out[channel]);
        }
    }
    return tables;
}

// Adjusts a scan and compares every sample with the printed table's entry for the input's sample.
void ExpectTablesApplied(const std::string& name, const std::string& ending, std::vector<std::string> options) {
    Folder folder;
    const Tables tables = ReadTables(options);
    const DecodedPage before = DecodePage(Scan(name));
    ASSERT_FALSE(before.pixels.empty()) << name;
    const std::string output = folder.File("out." + ending);
    options.insert(options.end(), {Scan(name), "-o", output});
    const Outcome outcome = Spawn(options);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const DecodedPage after = DecodePage(output);
    ASSERT_EQ(after.width, before.width);
    ASSERT_EQ(after.height, before.height);
    ASSERT_EQ(after.samples, before.samples);
    std::size_t wrong = 0;
    std::size_t changed = 0;
    for (std::size_t i = 0; i < before.pixels.size(); ++i) {
        const std::size_t sample = i % before.samples;
        const std::uint8_t level = before.pixels[i];
        const bool alpha = before.samples == 4 && sample == 3;
        const std::uint8_t expected = alpha ? level : tables[sample % 3][level];
        wrong += after.pixels[i] != expected;
        changed += expected != level;
    }
    EXPECT_EQ(wrong, 0u) << name;
    EXPECT_GT(changed, before.pixels.size() / 4) << "the setting hardly changes " << name;
}

const std::vector<std::string> kGreySetting = {"--brightness=15", "--contrast=20", "--gamma=1.3"};
const std::vector<std::string> kColourSetting = {"--levels=10,240,1.2", "--balance-midtones=-10,5,20",
                                                 "--brightness=-5"};

TEST(RealPages, GreyTiffGetsTheTables) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    ExpectTablesApplied("newspaper-1898-gray8.tif", "tif", kGreySetting);
}

TEST(RealPages, GreyJpegGetsTheTables) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    ExpectTablesApplied("book-page-gray8-300dpi.jpg", "pgm", kGreySetting);
}

TEST(RealPages, ColourJpegsGetTheTables) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    ExpectTablesApplied("watercolour-plate-rgb8-189dpi.jpg", "png", kColourSetting);
    ExpectTablesApplied("balloon-plate-1786-rgb8.jpg", "ppm", kColourSetting);
}

TEST(RealPages, PngWithAlphaGetsTheTables) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    ExpectTablesApplied("postcard-back-rgba8-325dpi.png", "png", kColourSetting);
}

TEST(RealPages, LargePagesTakeLittleMemory) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    if (kInstrumented) {
        GTEST_SKIP() << "a sanitizer's memory would be counted";
    }
    Folder folder;
    const Outcome colour = Spawn({"--stats", "--levels=10,240", "--saturation=10", "--sharpness=1",
                                  Scan("balloon-plate-1786-rgb8.jpg"), "-o", folder.File("a.jpg")});
    EXPECT_EQ(colour.code, 0) << colour.err;
    EXPECT_LE(PeakMegabytes(colour), 16.0);
    const Outcome bilevel = Spawn({"--stats", "--scale=50%", Scan("newspaper-1856-bilevel-g4-400dpi-2pages.tif"),
                                   "-o", folder.File("b.tif")});
    EXPECT_EQ(bilevel.code, 0) << bilevel.err;
    EXPECT_LE(PeakMegabytes(bilevel), PeakMegabytesOfASmallPage(folder, "tif") + 2.0);
    EXPECT_EQ(Spawn({"info", folder.File("b.tif")}).out,
              folder.File("b.tif") +
                  ": TIFF\n  page 1: 3600 x 4800, bilevel, 200 dpi, CCITT G4\n"
                  "  page 2: 3600 x 4800, bilevel, 200 dpi, CCITT G4\n");
}

TEST(RealPages, SixteenBitPagesScaleAtSixteenBits) {
    if (Absent()) {
        GTEST_SKIP() << kAbsent;
    }
    Folder folder;
    const Outcome outcome = Spawn({"--width=258", Scan("map-detail-rgb16-300dpi.tif"), "-o", folder.File("a.tif")});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(Spawn({"info", folder.File("a.tif")}).out,
              folder.File("a.tif") + ": TIFF\n  page 1: 258 x 180, 16-bit RGB, 600 dpi, Deflate\n");
}

}  // namespace
}  // namespace platen_test
