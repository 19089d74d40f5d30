#include "programs/page/Geometry.h"

#include "Expect.h"

namespace platen_tool {
namespace {

ImageInfo Page(std::uint32_t width, std::uint32_t height, std::uint64_t dpi) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    if (dpi != 0) {
        info.resolution = Resolution{{dpi, 1}, {dpi, 1}};
    }
    return info;
}

std::string SizeText(const PageSize& size) {
    const std::string text = std::to_string(size.width) + "x" + std::to_string(size.height);
    return size.resolution ? text + " " + std::to_string(size.resolution->x.numerator) + "/" +
                                 std::to_string(size.resolution->x.denominator) + "," +
                                 std::to_string(size.resolution->y.numerator) + "/" +
                                 std::to_string(size.resolution->y.denominator)
                           : text;
}

TEST(Geometry, ScaleRoundsToTheNearestAndKeepsTheExactRatio) {
    SizeSettings half;
    half.scale = 0.5;
    EXPECT_EQ(SizeText(TargetSize(Page(7200, 9600, 400), half, {})), "3600x4800 200/1,200/1");
    EXPECT_EQ(SizeText(TargetSize(Page(5, 7, 300), half, {})), "3x4 180/1,1200/7");
    EXPECT_EQ(SizeText(TargetSize(Page(1, 1, 0), half, {})), "1x1");
    SizeSettings tiny;
    tiny.scale = 0.001;
    EXPECT_EQ(SizeText(TargetSize(Page(10, 10, 0), tiny, {})), "1x1");
}

TEST(Geometry, OneSideKeepsTheProportions) {
    SizeSettings width;
    width.width = 100;
    EXPECT_EQ(SizeText(TargetSize(Page(200, 300, 0), width, {})), "100x150");
    SizeSettings height;
    height.height = 100;
    EXPECT_EQ(SizeText(TargetSize(Page(200, 300, 0), height, {})), "67x100");
    SizeSettings both;
    both.width = 50;
    both.height = 60;
    EXPECT_EQ(SizeText(TargetSize(Page(200, 300, 100), both, {})), "50x60 25/1,20/1");
}

TEST(Geometry, ResolutionIsWhatWasAskedFor) {
    SizeSettings settings;
    settings.resolution = Resolution{{200, 1}, {200, 1}};
    EXPECT_EQ(SizeText(TargetSize(Page(2480, 3508, 300), settings, {})), "1653x2339 200/1,200/1");
    ImageInfo metric = Page(1385, 1698, 0);
    metric.resolution = Resolution{{12795 * 254, 10000}, {12795 * 254, 10000}};
    EXPECT_EQ(SizeText(TargetSize(metric, settings, {})), "852x1045 200/1,200/1");
}

TEST(Geometry, ResolutionNeedsTheInputs) {
    SizeSettings settings;
    settings.resolution = Resolution{{200, 1}, {200, 1}};
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { TargetSize(Page(10, 10, 0), settings, {}); }),
              "--resolution: the file doesn't state its resolution; give --input-resolution");
}

TEST(Geometry, ShrinkOnlyNeverEnlargesASide) {
    SizeSettings settings;
    settings.shrinkOnly = true;
    settings.scale = 2.0;
    EXPECT_EQ(SizeText(TargetSize(Page(10, 20, 300), settings, {})), "10x20 300/1,300/1");
    settings.scale.reset();
    settings.resolution = Resolution{{150, 1}, {600, 1}};
    EXPECT_EQ(SizeText(TargetSize(Page(10, 20, 300), settings, {})), "5x20 150/1,300/1");
}

TEST(Geometry, LimitsHoldForTheResult) {
    SizeSettings settings;
    settings.scale = 1000.0;
    EXPECT_EQ(ErrorText(ExitCode::kUnsupported, [&] { TargetSize(Page(100, 10, 0), settings, {}); }),
              "the result would have 100000 x 10000 pixels; allowed: 65535 a side and 268435456 in all "
              "(--max-side, --max-pixels)");
    EXPECT_THROW(TargetSize(Page(10, 100, 0), settings, {}), Error);  // the other side
    settings.scale = 300.0;
    ErrorText(ExitCode::kUnsupported, [&] { TargetSize(Page(100, 100, 0), settings, {}); });
}

TEST(Geometry, WithoutAWishThePageKeepsItsSize) {
    EXPECT_EQ(SizeText(TargetSize(Page(123, 45, 300), {}, {})), "123x45 300/1,300/1");
}

TEST(Geometry, RatiosCancelBeforeTheyMultiply) {
    const Ratio ratio = ScaleRatio({12795 * 254, 10000}, 65535, 65534);
    EXPECT_EQ(ratio.numerator * 10000 / 2 * 65534, std::uint64_t{12795} * 254 / 2 * 65535 * ratio.denominator);
    const Ratio large = ScaleRatio({0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFE}, 3, 1);
    EXPECT_NEAR(large.Value(), 3.0, 1e-6);
    const Ratio small = ScaleRatio({0xFFFFFFFFFFFFFFFE, 0xFFFFFFFFFFFFFFFF}, 1, 3);
    EXPECT_NEAR(small.Value(), 1.0 / 3.0, 1e-6);
    const Ratio zero = ScaleRatio({0, 0}, 1, 2);
    EXPECT_EQ(zero.numerator, 0u);
}

TEST(Geometry, TextIsShort) {
    EXPECT_EQ(ResolutionText({{300, 1}, {300, 1}}), "300 dpi");
    EXPECT_EQ(ResolutionText({{12795 * 254, 10000}, {150, 1}}), "324.993 x 150 dpi");
}

}  // namespace
}  // namespace platen_tool
