#include "programs/base/Report.h"
#include "programs/base/Progress.h"

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
    EXPECT_NE(text.find("grey           20    29    69   119   169   209   218   119.5     0.0      0.0\n"),
              std::string::npos)
        << text;
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

TEST(Statistics, TellsOfEachChannel) {
    std::vector<std::uint8_t> line;
    for (int i = 0; i < 200; ++i) {
        const auto level = static_cast<std::uint8_t>(i);
        line.insert(line.end(), {level, static_cast<std::uint8_t>(i < 50 ? 0 : 100),
                                 static_cast<std::uint8_t>(i < 150 ? 255 : 7)});
    }
    Statistics statistics;
    statistics.Add(Info(200, 8, 3), line.data());
    const std::string text = statistics.Text(1.0);
    EXPECT_EQ(text.find("percentiles  0.5%    5%   25%   50%   75%   95% 99.5%    mean  % at 0 % at 255\n"), 0u)
        << text;
    EXPECT_NE(text.find("red             0     9    49    99   149   189   198    99.5     0.5      0.0\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("green           0     0     0   100   100   100   100    75.0    25.0      0.0\n"),
              std::string::npos);
    EXPECT_NE(text.find("   193.0     0.0     75.0\n"), std::string::npos);
    EXPECT_NE(text.find("by channel   --levels=R:0,198 --levels=G:0,100 --levels=B:7,255\n"), std::string::npos)
        << text;
    const std::string json = statistics.Json("a", 1.0);
    EXPECT_NE(json.find("\"channels\": {\"red\": {\"mean\": 99.5, \"percentBlack\": 0.5, \"percentWhite\": 0.0, "
                        "\"levels\": [0, 198]}, \"green\": {"),
              std::string::npos)
        << json;
}

TEST(Statistics, WhatIsFullyTransparentDoesNotCount) {
    const std::uint8_t line[] = {10, 0, 40, 1, 50, 255};
    Statistics statistics;
    statistics.Add(Info(3, 8, 2), line);
    EXPECT_NE(statistics.Text(1.0).find(
                  "grey           40    40    40    40    50    50    50    45.0     0.0      0.0\n"),
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
        Progress off(false, {1});
        off.BeginFile(0, "off", 1);
        Progress progress(true, {1});
        progress.BeginFile(0, "a", 1);
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
        Progress progress(true, {1, 1});
        progress.BeginFile(0, "a", 2);
        progress.Line(2, 50, 100);
        PrintMessage({"hel", "lo"});
        PrintMessage({"again"});
    }
    const std::string line = "file 1 of 2, 37 %: a, page 2, line 50 of 100";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\r" + line + "\r" + std::string(line.size(), ' ') + "\rplaten: hello\nplaten: again\n");
}

TEST(Progress, TellsTheFileTheShareAndTheTimeLeft) {
    ProgressState state;
    state.name = "scan.tif";
    state.line = 7;
    EXPECT_EQ(ProgressText(state, 79), "scan.tif, page 1, line 7");
    state.height = 90;
    state.share = 0.25;
    EXPECT_EQ(ProgressText(state, 79), "25 %: scan.tif, page 1, line 7 of 90");
    state.seconds = 65.0;
    EXPECT_EQ(ProgressText(state, 79), "25 %, 3:15 left: scan.tif, page 1, line 7 of 90");
    state.files = 120;
    state.filesDone = 2;
    state.seconds = 6000.0;
    EXPECT_EQ(ProgressText(state, 79), "file 3 of 120, 25 %, 5:00:00 left: scan.tif, page 1, line 7 of 90");
    state.parallel = true;
    EXPECT_EQ(ProgressText(state, 79), "2 of 120 files, 25 %, 5:00:00 left");
}

TEST(Progress, IsCutToTheTerminal) {
    ProgressState state;
    state.name = "\x1B[2Jna\xC3\xAFve-\xE6\x96\x87\xE6\x9B\xB8-\xFF\xC2\x85.tif";
    EXPECT_EQ(ProgressText(state, 100), "?[2Jna\xC3\xAFve-\xE6\x96\x87\xE6\x9B\xB8-??.tif, page 1, line 0");
    EXPECT_EQ(ProgressText(state, 12), "?[2Jna\xC3\xAFve-\xE6\x96\x87");
    EXPECT_EQ(ProgressText(state, 11), "?[2Jna\xC3\xAFve-");
    for (std::size_t columns = 1; columns < 60; ++columns) {
        EXPECT_LE(ProgressText(ProgressState{}, columns).size(), columns);
    }
}

TEST(Progress, FilesCountByTheirWeight) {
    testing::internal::CaptureStderr();
    {
        Progress progress(true, {300, 100});
        progress.EndFile(0);
        progress.BeginFile(1, "b", 1);
        progress.Line(1, 1, 2);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("\rfile 2 of 2, 87 %: b, page 1, line 1 of 2"), 0u);
}

}  // namespace
}  // namespace platen_tool
