#include "programs/base/Report.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    EXPECT_NE(text.find(" MB/s\npeak memory  "), std::string::npos) << text;
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

TEST(Statistics, WhatIsFullyTransparentDoesNotCount) {
    const std::uint8_t line[] = {10, 0, 40, 1, 50, 255};
    Statistics statistics;
    statistics.Add(Info(3, 8, 2), line);
    EXPECT_NE(statistics.Text(1.0).find("grey           40    40    40    40    50    50    50\n"),
              std::string::npos)
        << statistics.Text(1.0);
    const std::uint16_t wide[] = {0x1000, 0, 0x2000, 1};
    Statistics deep;
    deep.Add(Info(2, 16, 2), reinterpret_cast<const std::uint8_t*>(wide));
    EXPECT_NE(deep.Text(1.0).find("grey           32    32"), std::string::npos) << deep.Text(1.0);
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

TEST(Progress, AtMostTenTimesASecondAndOnlyWhereItIsOn) {
    testing::internal::CaptureStderr();
    const double begin = Now();
    {
        Progress off(false, "off");
        Progress progress(true, "a");
        progress.Line(1, 1, 9);
        for (const double first = Now(); Now() - first < 0.35;) {
            off.Line(1, 1, 9);
            progress.Line(1, 1, 9);
        }
        progress.Line(1, 1, 9);
    }
    const double seconds = Now() - begin;
    const std::string text = testing::internal::GetCapturedStderr();
    const auto shown = std::count(text.begin(), text.end(), ':');
    EXPECT_GE(shown, 2);
    EXPECT_LE(static_cast<double>(shown), seconds * 10.0 + 1.0);
    EXPECT_EQ(text.find("off"), std::string::npos);
}

TEST(Progress, AMessageGetsALineOfItsOwn) {
    testing::internal::CaptureStderr();
    {
        Progress progress(true, "a");
        progress.Line(2, 50, 100);
        PrintMessage({"hel", "lo"});
        PrintMessage({"again"});
    }
    const std::string line = "a: page 2, line 50 of 100 (50 %)";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\r" + line + "\r" + std::string(line.size(), ' ') + "\rplaten: hello\nplaten: again\n");
}

}  // namespace
}  // namespace platen_tool
