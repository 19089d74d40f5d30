#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "Spawn.h"

// Peak memory: it depends on a page's width, and at half its size not on its height.

namespace platen_test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kInstrumented = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif
#else
constexpr bool kInstrumented = false;
#endif

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

// The megabytes that --stats reports of a run, from the system's own count for the process.
double PeakMegabytes(std::vector<std::string> arguments) {
    arguments.emplace_back("--stats");
    const Outcome outcome = Spawn(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::size_t at = outcome.err.find("peak memory");
    EXPECT_NE(at, std::string::npos) << outcome.err;
    double megabytes = 0.0;
    std::istringstream(outcome.err.substr(at + 11)) >> megabytes;
    EXPECT_GT(megabytes, 1.0);
    return megabytes;
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

TEST_F(Memory, ABilevelPageAtHalfSizeTakesAtMost8Megabytes) {
    constexpr int kWidth = 7200;
    constexpr int kHeight = 9600;
    WriteBilevel(folder.File("page.pbm"), kWidth, kHeight);
    EXPECT_EQ(Spawn({folder.File("page.pbm"), "-o", folder.File("page.tif")}).code, 0);
    EXPECT_LE(PeakMegabytes({folder.File("page.pbm"), "--scale=50%", "-o", folder.File("half.pbm")}), 8.0);
    EXPECT_LE(PeakMegabytes({folder.File("page.tif"), "--scale=50%", "-o", folder.File("half.tif")}), 8.0);
}

TEST_F(Memory, ATenTimesTallerPageTakesNoMore) {
    constexpr int kWidth = 7200;
    constexpr int kHeight = 6000;  // a PNG of this has more blocks than wait to be compressed
    WriteBilevel(folder.File("short.pbm"), kWidth, kHeight);
    WriteBilevel(folder.File("tall.pbm"), kWidth, 10 * kHeight);
    for (const char* ending : {"pbm", "tif", "png"}) {
        // The least of a few runs: how far the threads' rings and queues fill is chance.
        const auto peak = [&](const std::string& page) {
            double least = 1e9;
            for (int run = 0; run < 4; ++run) {
                least = std::min(least,
                                 PeakMegabytes({folder.File(page + ".pbm"), "--scale=50%", "--max-pixels=999999999",
                                                "--force", "-o", folder.File(page + "2." + ending)}));
            }
            return least;
        };
        EXPECT_LT(peak("tall"), peak("short") * 1.05) << ending;
    }
}

}  // namespace
}  // namespace platen_test
