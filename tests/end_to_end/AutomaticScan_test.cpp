#include <gtest/gtest.h>

#include <filesystem>

#include "InFolder.h"
#include "Scans.h"

// Automatic settings of a real scan, beside another program's.

namespace platen_test {
namespace {

class AutomaticScan : public InFolder {
  protected:
    void SetUp() override {
        if (!std::filesystem::exists(scan)) {
            GTEST_SKIP() << "no sample scans at " PLATEN_TEST_DATA " (PLATEN_TEST_DATA)";
        }
        if (!HasImageMagick()) {
            GTEST_SKIP() << "no ImageMagick";
        }
    }

    const std::string scan = Scan("newspaper-1898-gray8.tif");
};

TEST_F(AutomaticScan, LevelsAreAContrastStretch) {
    ASSERT_EQ(Run("", {"--auto-levels=0.5,0.5", scan, "-o", "ours.pgm"}).code, 0);
    ASSERT_EQ(Run("convert", {scan, "-contrast-stretch", "0.5%x0.5%", "-depth", "8", "theirs.pgm"}).code, 0);
    EXPECT_LT(Difference("ours.pgm", "theirs.pgm"), 0.005);
    EXPECT_GT(Difference("theirs.pgm", scan), 0.03);  // they do something
}

// The level that OpenCV's Otsu finds for this scan, 126, is the last one that becomes black.
TEST_F(AutomaticScan, TheThresholdIsOtsus) {
    ASSERT_EQ(Run("", {"--mode=lineart", "--auto-threshold=otsu", scan, "-o", "ours.pbm"}).code, 0);
    ASSERT_EQ(Run("convert", {scan, "-depth", "8", "-threshold", "32382", "theirs.pbm"}).code, 0);  // 126 x 257
    EXPECT_EQ(Difference("ours.pbm", "theirs.pbm"), 0.0);
}

}  // namespace
}  // namespace platen_test
