#include "programs/Report.h"

#include <gtest/gtest.h>

#include <vector>

namespace platen_tool {
namespace {

ImageInfo Info(std::uint32_t width, int bits, int samples) {
    ImageInfo info;
    info.width = width;
    info.height = 1;
    info.bitsPerSample = bits;
    info.samplesPerPixel = samples;
    return info;
}

TEST(Statistics, PercentilesAndLevelsOfAGreyRamp) {
    std::vector<std::uint8_t> ramp;
    for (int i = 0; i < 1000; ++i) {
        ramp.push_back(static_cast<std::uint8_t>(20 + i / 5));
    }
    Statistics statistics;
    statistics.Add(Info(1000, 8, 1), ramp.data());
    statistics.EndPage();
    const std::string text = statistics.Text(1.0);
    EXPECT_NE(text.find("grey           20    29    69   119   169   209   218\n"), std::string::npos) << text;
    EXPECT_NE(text.find("--levels=20,218\n"), std::string::npos) << text;
    EXPECT_NE(text.find("pages        1\nlines        1\n"), std::string::npos) << text;
}

TEST(Statistics, AlphaDoesNotCountAndChannelsAreApart) {
    const std::uint8_t line[] = {10, 20, 30, 255, 10, 20, 30, 255};
    Statistics statistics;
    statistics.Add(Info(2, 8, 4), line);
    const std::string text = statistics.Text(1.0);
    EXPECT_NE(text.find("red            10    10"), std::string::npos) << text;
    EXPECT_NE(text.find("blue           30    30"), std::string::npos) << text;
    EXPECT_NE(text.find("--levels=10,30\n"), std::string::npos) << text;
}

TEST(Statistics, FlatPagesGetLevelsThatTheOptionTakes) {
    const std::pair<std::uint8_t, const char*> cases[] = {{0, "--levels=0,8\n"},
                                                          {255, "--levels=247,255\n"},
                                                          {250, "--levels=247,255\n"},
                                                          {100, "--levels=100,108\n"}};
    for (const auto& [level, expected] : cases) {
        Statistics statistics;
        statistics.Add(Info(1, 8, 1), &level);
        EXPECT_NE(statistics.Text(1.0).find(expected), std::string::npos) << statistics.Text(1.0);
    }
}

TEST(Statistics, WideAndBilevelSamplesCountByTheirLevel) {
    const std::uint16_t wide[] = {0x1234, 0x12FF};
    Statistics statistics;
    statistics.Add(Info(2, 16, 1), reinterpret_cast<const std::uint8_t*>(wide));
    EXPECT_NE(statistics.Text(1.0).find("grey           18    18"), std::string::npos) << statistics.Text(1.0);
    const std::uint8_t bits = 0xC0;  // two black pixels
    Statistics bilevel;
    bilevel.Add(Info(4, 1, 1), &bits);
    EXPECT_NE(bilevel.Text(1.0).find("grey            0     0     0     0   255"), std::string::npos);
}

}  // namespace
}  // namespace platen_tool
