#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "PeakMemory.h"
#include "Spawn.h"

// Peak memory: it depends on a page's width, and at half its size not on its height.

namespace platen_test {
namespace {

// A bilevel page with text-like strokes.
void WriteBilevel(const std::string& path, int width, int height) {
    std::ofstream stream(path, std::ios::binary);
    stream << "P4\n" << width << " " << height << "\n";
    std::string line(static_cast<std::size_t>(width + 7) / 8, '\0');
    for (int y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const bool stroke =
                y % 60 < 40 && i % 6 < 4 && (i * 7 + static_cast<std::size_t>(y / 60) * 13) % 11 < 6;
            line[i] = static_cast<char>(stroke ? 0x3C ^ (y & 3) : 0);
        }
        stream << line;
    }
    EXPECT_TRUE(stream.good());
}

// Runs the program with these arguments.
double PeakMegabytes(std::vector<std::string> arguments) {
    arguments.emplace_back("--stats");
    const Outcome outcome = Spawn(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return PeakMegabytes(outcome);
}

class Memory : public testing::Test {
  protected:
    void SetUp() override {
        if (kInstrumented) {
            GTEST_SKIP() << "sanitizers have memory of their own";
        }
    }
    Folder folder;
};

TEST_F(Memory, ABilevelPageAtHalfSizeTakesLittleMoreThanASmallOne) {
    constexpr int kWidth = 7200;
    constexpr int kHeight = 9600;
    WriteBilevel(folder.File("page.pbm"), kWidth, kHeight);
    EXPECT_EQ(Spawn({folder.File("page.pbm"), "-o", folder.File("page.tif")}).code, 0);
    for (const std::string ending : {"pbm", "tif"}) {
        EXPECT_LE(
            PeakMegabytes({folder.File("page." + ending), "--scale=50%", "-o", folder.File("half." + ending)}),
            PeakMegabytesOfASmallPage(folder, ending) + 2.0)
            << ending;
    }
}

// Turning keeps a few blocks of the page, not the page.
TEST_F(Memory, ATurnedPageTakesAtMost24Megabytes) {
    std::ofstream stream(folder.File("page.ppm"), std::ios::binary);
    stream << "P6\n4000 12000\n255\n";
    const std::string line(12000, 'x');
    for (int y = 0; y < 12000; ++y) {
        stream << line;
    }
    stream.close();
    for (const char* angle : {"90", "180", "270"}) {
        EXPECT_LE(PeakMegabytes({folder.File("page.ppm"), std::string("--rotate=") + angle, "-f", "-o",
                                 folder.File("turned.ppm")}),
                  24.0)
            << angle;
    }
}

TEST_F(Memory, AThreeTimesTallerPageTakesNoMore) {
    constexpr int kWidth = 7200;
    constexpr int kHeight = 20000;  // a PNG of this has more blocks than wait to be compressed, with two threads
    WriteBilevel(folder.File("short.pbm"), kWidth, kHeight);
    WriteBilevel(folder.File("tall.pbm"), kWidth, 3 * kHeight);
    for (const char* ending : {"pbm", "tif", "png"}) {
        // The least of a few runs: how far the threads' rings and queues fill is chance.
        const auto peak = [&](const std::string& page) {
            double least = 1e9;
            for (int run = 0; run < 3; ++run) {
                least = std::min(least, PeakMegabytes({folder.File(page + ".pbm"), "--scale=50%", "--threads=2",
                                                       "--max-pixels=999999999", "--force", "-o",
                                                       folder.File(page + "2." + ending)}));
            }
            return least;
        };
        EXPECT_LT(peak("tall"), peak("short") + 1.0) << ending;  // its lines are 36 MB more
    }
}

// What SECURITY.md promises for files that are small and pages that are large.
TEST_F(Memory, ABlankPageOf65MegapixelsTakesTheMemoryOfItsLines) {
    constexpr int kWidth = 65000;
    constexpr int kHeight = 1000;
    const std::string page = folder.File("page.pgm");
    {
        std::ofstream stream(page, std::ios::binary);
        stream << "P5 " << kWidth << " " << kHeight << " 255\n";
        const std::string line(kWidth, '\0');
        for (int y = 0; y < kHeight; ++y) {
            stream << line;
        }
        EXPECT_TRUE(stream.good());
    }
    const std::vector<std::vector<std::string>> formats = {{"a.png"},
                                                           {"a.jpg"},
                                                           {"a.tif"},
                                                           {"b.tif", "--compression=deflate"},
                                                           {"c.tif", "--compression=packbits"},
                                                           {"e.tif", "--mode=lineart", "--compression=g4"}};
    for (const auto& format : formats) {
        std::vector<std::string> words = {page, "-o", folder.File(format[0])};
        words.insert(words.end(), format.begin() + 1, format.end());
        ASSERT_EQ(Spawn(words).code, 0) << format[0];
        EXPECT_LT(std::filesystem::file_size(folder.File(format[0])), 8u << 20) << format[0];
        EXPECT_LE(PeakMegabytes({folder.File(format[0]), "--format=pnm", "-f", "-o", "/dev/null"}), 16.0)
            << format[0];
    }
}

TEST_F(Memory, SizesThatAFileOnlyClaimsTakeNone) {
    const auto limited = [&](const std::string& name) {  // in a quarter of a gigabyte, all libraries included
        Streams streams;
        streams.program = "sh";
        return Spawn({"-c", "ulimit -v 262144; exec " PLATEN_PROGRAM " '" + folder.File(name) +
                                "' -o /dev/null --format=pnm"},
                     streams);
    };
    const std::string tiff(
        "II*\0\x08\0\0\0\x05\0"
        "\0\1\4\0\1\0\0\0\xFF\xFF\0\0"
        "\1\1\4\0\1\0\0\0\xA0\x0F\0\0"
        "\x06\1\3\0\1\0\0\0\1\0\0\0"
        "\x11\1\4\0\1\0\0\0\x08\0\0\0"
        "\x17\1\4\0\1\0\0\0\xFF\xFF\xFF\x7F\0\0\0\0",
        74);
    const std::vector<std::pair<std::string, std::string>> files = {
        {"a.pgm", "P5 65535 4000 255\n"},
        {"b.pam", "P7\nWIDTH 65535\nHEIGHT 4000\nDEPTH 4\nMAXVAL 65535\nTUPLTYPE RGB_ALPHA\nENDHDR\n"},
        {"c.ppm", "P6 2000000000 2000000000 65535\n"},
        {"d.tif", tiff}};
    for (const auto& [name, bytes] : files) {
        WriteFile(folder.File(name), bytes);
        const Outcome outcome = limited(name);
        EXPECT_EQ(outcome.code, 1) << name << outcome.err;
        EXPECT_NE(outcome.err.find("platen: "), std::string::npos) << name;
        EXPECT_EQ(outcome.err.find("out of memory"), std::string::npos) << name << outcome.err;
    }
}

}  // namespace
}  // namespace platen_test
