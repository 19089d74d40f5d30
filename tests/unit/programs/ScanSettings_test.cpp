#include "programs/options/ScanSettings.h"
#include "programs/options/Arguments.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "Expect.h"

namespace platen_tool {
namespace {

ScanSettings Make(const std::vector<std::string>& words) {
    unsetenv("SANE_DEFAULT_DEVICE");
    return MakeScanSettings(ParseArguments(kScan, words), {true, false});
}

TEST(ScanSettings, DeviceOptionsKeepTheirOrder) {
    const ScanSettings s = Make(
        {"-d", "x", "--set", "a=b=c", "--mode=gray", "--resolution=300", "--set=go", "--depth=16", "--scale=50%"});
    ASSERT_EQ(s.requests.size(), 5u);
    EXPECT_EQ(s.requests[0].kind, DeviceRequest::kSet);
    EXPECT_EQ(s.requests[0].name, "a");
    EXPECT_EQ(s.requests[0].value, "b=c");
    EXPECT_EQ(s.requests[1].kind, DeviceRequest::kMode);
    EXPECT_EQ(s.requests[2].kind, DeviceRequest::kResolution);
    EXPECT_EQ(s.requests[2].value, "300");
    EXPECT_EQ(s.requests[3].name, "go");
    EXPECT_EQ(s.requests[3].value, "");
    EXPECT_EQ(s.requests[4].kind, DeviceRequest::kDepth);
    // The resolution is the device's alone, mode and depth are the pages' too.
    EXPECT_FALSE(s.page.size.resolution);
    EXPECT_EQ(s.page.size.scale, 0.5);
    EXPECT_EQ(s.page.pixels.mode, PixelMode::kGray);
    EXPECT_EQ(s.page.pixels.depth, 16);
    EXPECT_EQ(s.page.inputs, std::vector<std::string>{"x"});
}

TEST(ScanSettings, AResolutionIsCheckedBeforeTheDeviceGetsIt) {
    EXPECT_EQ(Make({"-d", "x", "--resolution=300x150"}).requests.at(0).value, "300x150");
    EXPECT_EQ(UsageText([] {
                  Make({"-d", "x", "--resolution=1x2x3"});
              }),
              "--resolution: '1x2x3' is not DPI or XxY");
    EXPECT_THROW(Make({"-d", "x", "--resolution=100x0"}), Error);
}

TEST(ScanSettings, PagesAreOneSomeOrAll) {
    EXPECT_EQ(Make({"-d", "x"}).pages, 1ul);
    EXPECT_EQ(Make({"-d", "x", "--pages=7"}).pages, 7ul);
    EXPECT_FALSE(Make({"-d", "x", "--pages=all"}).pages);
}

TEST(ScanSettings, SeveralPagesNeedAnOutputThatHoldsThem) {
    const auto refusal = [](const std::vector<std::string>& words) {
        std::vector<std::string> all = {"-d", "x"};
        all.insert(all.end(), words.begin(), words.end());
        return ErrorText(ExitCode::kUnsupported, [&] { Make(all); });
    };
    EXPECT_EQ(refusal({"--pages=3", "-o", "out.png"}),
              "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_EQ(refusal({"--pages=2", "-o", "out.tif", "--format=jpeg"}),
              "a JPEG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_EQ(refusal({"--pages=2", "--format=png", "-n", "-o", "-"}),
              "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_EQ(refusal({"--pages=all", "-o", "out.png"}),
              "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each page "
              "to its own file");
    EXPECT_NO_THROW(Make({"-d", "x", "--pages=1", "-o", "out.png"}));
    for (const char* output : {"out%d.png", "out.tif", "out.pam", "-"}) {
        EXPECT_NO_THROW(Make({"-d", "x", "--pages=3", "-o", output})) << output;
    }
    EXPECT_NO_THROW(Make({"-d", "x", "--pages=3", "-n"}));
}

TEST(ScanSettings, TheUsualDeviceComesFromTheEnvironment) {
    setenv("SANE_DEFAULT_DEVICE", "usual", 1);
    EXPECT_EQ(MakeScanSettings(ParseArguments(kScan, {}), {true, false}).device, "usual");
    EXPECT_EQ(MakeScanSettings(ParseArguments(kScan, {"-d", "x"}), {true, false}).device, "x");
    unsetenv("SANE_DEFAULT_DEVICE");
    EXPECT_THROW(Make({}), Error);
    EXPECT_TRUE(Make({"-L"}).listDevices);
}

TEST(ScanSettings, TakeWhatAdjustingTakesButItsFiles) {
    for (const char* word : {"--gamma=2", "--hue=3", "--sharpness=1", "--width=3", "--strip", "--stats", "-v"}) {
        EXPECT_NO_THROW(Make({"-d", "x", word})) << word;
    }
    for (const char* word : {"--jobs=2", "--page=1", "--keep-going", "--json", "--table=c"}) {
        EXPECT_THROW(Make({"-d", "x", word}), Error) << word;
    }
}

}  // namespace
}  // namespace platen_tool
