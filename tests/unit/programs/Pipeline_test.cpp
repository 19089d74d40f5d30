#include <cstring>

#include "Expect.h"
#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_Zoom.h"
#include "programs/page/Pipeline.h"
#include "support/Random.h"

// Pages in memory through the chain of steps, against the library called directly on whole planes.

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Page = std::vector<Bytes>;

class Collector : public Stage {
  public:
    explicit Collector(std::size_t lineBytes) : lineBytes_(lineBytes) {}
    void Take(std::uint8_t* line) override {
        lines.emplace_back(line, line + lineBytes_);
    }
    Page lines;

  private:
    std::size_t lineBytes_;
};

ImageInfo Info(std::uint32_t width, std::uint32_t height, int bits, int samples) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.bitsPerSample = bits;
    info.samplesPerPixel = samples;
    return info;
}

Page RandomPage(const ImageInfo& info, std::uint64_t seed) {
    platen_test::Random random(seed);
    Page page(info.height, Bytes(info.LineBytes()));
    for (Bytes& line : page) {
        for (std::uint8_t& byte : line) {
            byte = random.Byte();
        }
        if (info.bitsPerSample == 1 && info.width % 8 != 0) {
            line.back() = static_cast<std::uint8_t>(line.back() & (0xFF00 >> info.width % 8));
        }
    }
    return page;
}

Page Adjusted(std::vector<std::string> words, const ImageInfo& info, const Page& page) {
    words.insert(words.end(), {"in.png", "-o", "out.png"});
    const PagePlan plan = PlanPage(MakeSettings(ParseArguments(kAdjust, words), {}), info);
    Collector collector(plan.output.LineBytes());
    Pipeline pipeline(plan, collector);
    for (const Bytes& line : page) {
        Bytes copy = line;
        pipeline.Take(copy.data());
    }
    EXPECT_EQ(collector.lines.size(), plan.output.height);
    return collector.lines;
}

// Samples `first` to `first + count` of every pixel, or puts them back.
Page TakeSamples(const Page& page, std::size_t samples, std::size_t first, std::size_t count,
                 std::size_t bytes = 1) {
    Page part;
    for (const Bytes& line : page) {
        Bytes out;
        for (std::size_t at = 0; at < line.size(); at += samples * bytes) {
            const auto* begin = line.data() + at + first * bytes;
            out.insert(out.end(), begin, begin + count * bytes);
        }
        part.push_back(out);
    }
    return part;
}

Page Zoomed(const Page& page, const ImageInfo& in, std::uint32_t width, std::uint32_t height, int format) {
    PX_Zoom zoom;
    EXPECT_EQ(zoom.Open(static_cast<int>(width), static_cast<int>(height), static_cast<int>(in.width),
                        static_cast<int>(in.height), format, 2),
              0);
    Page result;
    for (const Bytes& line : page) {
        Bytes copy = line;
        EXPECT_EQ(zoom.Send(copy.data()), 0);
        while (result.size() < height && zoom.CheckData() > 0) {
            result.emplace_back((width * static_cast<std::size_t>(format) + 7) / 8);
            EXPECT_EQ(zoom.Read(result.back().data()), 0);
        }
    }
    return result;
}

Page Sharpened(const Page& page, std::uint32_t width, int bitsPerPixel, int level) {
    const auto lineBytes = static_cast<std::uint32_t>(page[0].size());
    _SSharpParam param{level, static_cast<std::uint32_t>(bitsPerPixel), width,
                       static_cast<std::uint32_t>(page.size()), lineBytes};
    void* handle = nullptr;
    EXPECT_EQ(SetupSharp(&param, &handle), 0);
    Page result;
    for (const Bytes& line : page) {
        Bytes copy = line;
        EXPECT_EQ(ApplySharpFilterPutLine(&handle, copy.data()), 0);
        while (GetSharpDstLines(handle) != 0) {
            result.emplace_back(lineBytes);
            EXPECT_EQ(ApplySharpFilterGetLine(&handle, result.back().data()), 0);
        }
    }
    DisposeSharpness(handle);
    return result;
}

TEST(Pipeline, ToneChangesColoursByTheTablesAndLeavesAlpha) {
    for (int samples = 1; samples <= 4; ++samples) {
        const ImageInfo info = Info(37, 5, 8, samples);
        const Page page = RandomPage(info, 1);
        const Page result = Adjusted({"--brightness=20", "--gamma=1.7"}, info, page);
        const std::vector<ToneStep> steps = {BrightnessContrastStep{20, {}}, LevelsStep{0, 255, 1.7, 0, 255}};
        const ToneTables tables = FoldToneSteps(steps, info.ColourSamples() == 3 ? 24 : 8);
        for (std::size_t y = 0; y < page.size(); ++y) {
            for (std::size_t i = 0; i < page[y].size(); ++i) {
                const auto sample = static_cast<int>(i % static_cast<std::size_t>(samples));
                const bool alpha = sample >= info.ColourSamples();
                EXPECT_EQ(result[y][i], alpha ? page[y][i] : tables.red[page[y][i]]);
            }
        }
    }
}

TEST(Pipeline, BalanceUsesEachChannelsOwnTable) {
    const ImageInfo info = Info(50, 3, 8, 3);
    const Page page = RandomPage(info, 2);
    const Page result = Adjusted({"--balance-midtones=60,0,-60"}, info, page);
    BalanceStep step;
    step.group = BalanceGroup::kMidtones;
    step.shift = {60, 0, -60};
    const ToneTables tables = FoldToneSteps(std::vector<ToneStep>{step}, 24);
    for (std::size_t y = 0; y < page.size(); ++y) {
        for (std::size_t x = 0; x < info.width; ++x) {
            EXPECT_EQ(result[y][3 * x], tables.red[page[y][3 * x]]);
            EXPECT_EQ(result[y][3 * x + 1], tables.green[page[y][3 * x + 1]]);
            EXPECT_EQ(result[y][3 * x + 2], tables.blue[page[y][3 * x + 2]]);
        }
    }
}

TEST(Pipeline, HsvActsOnColoursAndLeavesAlpha) {
    for (const int samples : {3, 4}) {
        const ImageInfo info = Info(41, 4, 8, samples);
        const Page page = RandomPage(info, 3);
        const Page result = Adjusted({"--saturation=30", "--hue=-40", "--lightness=10"}, info, page);
        Page colours = TakeSamples(page, static_cast<std::size_t>(samples), 0, 3);
        _SHsvParam param{-40, 30, 10, 24, 41, 4, 41 * 3};
        void* handle = nullptr;
        ASSERT_EQ(SetupHsv(&param, &handle), 0);
        for (Bytes& line : colours) {
            ASSERT_EQ(ApplyOneLineHsv(handle, line.data()), 0);
        }
        Disposehsv(handle);
        EXPECT_EQ(TakeSamples(result, static_cast<std::size_t>(samples), 0, 3), colours);
        if (samples == 4) {
            EXPECT_EQ(TakeSamples(result, 4, 3, 1), TakeSamples(page, 4, 3, 1));
        }
    }
}

TEST(Pipeline, SharpnessActsOnColoursAndLeavesAlphaInItsLine) {
    for (int samples = 1; samples <= 4; ++samples) {
        for (const std::uint32_t height : {2u, 3u, 9u}) {
            const ImageInfo info = Info(23, height, 8, samples);
            const auto all = static_cast<std::size_t>(samples);
            const auto colours = static_cast<std::size_t>(info.ColourSamples());
            const Page page = RandomPage(info, 4);
            const Page result = Adjusted({"--sharpness=2"}, info, page);
            EXPECT_EQ(TakeSamples(result, all, 0, colours),
                      Sharpened(TakeSamples(page, all, 0, colours), 23, static_cast<int>(colours) * 8, 2));
            if (info.HasAlpha()) {
                EXPECT_EQ(TakeSamples(result, all, colours, 1), TakeSamples(page, all, colours, 1));
            }
        }
    }
}

// Pages with alpha have a test of their own.
TEST(Pipeline, ScalesFormatsWithoutAlphaAsTheScalerDoes) {
    for (const auto& [bits, samples] : {std::pair{1, 1}, {8, 1}, {8, 3}, {16, 1}, {16, 3}}) {
        const ImageInfo info = Info(50, 20, bits, samples);
        const Page page = RandomPage(info, 5);
        for (const auto& [width, height] : {std::pair{17u, 7u}, {99u, 41u}, {50u, 7u}, {17u, 41u}}) {
            const std::string size = "--size=" + std::to_string(width) + "x" + std::to_string(height);
            EXPECT_EQ(Adjusted({size}, info, page), Zoomed(page, info, width, height, bits * samples)) << size;
        }
    }
}

TEST(Pipeline, APageOnePixelWideKeepsItsColours) {
    const ImageInfo info = Info(1, 9, 8, 3);
    const Page page = RandomPage(info, 7);
    const Page result = Adjusted({"--size=4x9"}, info, page);
    for (std::size_t y = 0; y < page.size(); ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            EXPECT_EQ(Bytes(result[y].begin() + static_cast<long>(3 * x),
                            result[y].begin() + static_cast<long>(3 * x) + 3),
                      page[y]);
        }
    }
}

TEST(Pipeline, SixteenBitsBecomeTheNearestEight) {
    const ImageInfo info = Info(65536, 1, 16, 1);
    Page page(1, Bytes(info.LineBytes()));
    for (std::size_t i = 0; i < 65536; ++i) {
        const auto value = static_cast<std::uint16_t>(i);
        std::memcpy(&page[0][2 * i], &value, 2);
    }
    const Page result = Adjusted({"--depth=8"}, info, page);
    for (std::size_t i = 0; i < 65536; ++i) {
        EXPECT_EQ(result[0][i], static_cast<int>(static_cast<double>(i) * 255.0 / 65535.0 + 0.5));
    }
    const ImageInfo narrow = Info(65536, 1, 8, 1);
    const Page back = Adjusted({"--depth=8"}, info, Adjusted({"--depth=16"}, narrow, result));
    EXPECT_EQ(back, result);
}

TEST(Pipeline, BilevelAndGreyThereAndBack) {
    const ImageInfo info = Info(37, 6, 1, 1);
    const Page page = RandomPage(info, 8);
    const Page grey = Adjusted({"--mode=gray"}, info, page);
    for (std::size_t x = 0; x < 37; ++x) {
        EXPECT_EQ(grey[0][x], (page[0][x / 8] >> (7 - x % 8) & 1) != 0 ? 0 : 255);
    }
    EXPECT_EQ(Adjusted({"--mode=lineart"}, Info(37, 6, 8, 1), grey), page);
}

TEST(Pipeline, ThresholdIsAPercentage) {
    const ImageInfo info = Info(256, 1, 8, 1);
    Page page(1, Bytes(256));
    for (std::size_t i = 0; i < 256; ++i) {
        page[0][i] = static_cast<std::uint8_t>(i);
    }
    const auto black = [&](const std::string& option) {
        int count = 0;
        const Page result = Adjusted({"--mode=lineart", option}, info, page);
        for (std::size_t i = 0; i < 256; ++i) {
            const bool set = (result[0][i / 8] >> (7 - i % 8) & 1) != 0;
            EXPECT_TRUE(!set || static_cast<int>(i) == count);  // only the darkest ones
            count += set;
        }
        return count;
    };
    EXPECT_EQ(black("--threshold=50"), 128);
    EXPECT_EQ(black("--threshold=0"), 0);
    EXPECT_EQ(black("--threshold=100"), 255);
    EXPECT_EQ(black("--threshold=20"), 51);
}

TEST(Pipeline, NegativeSwapsColoursAndLeavesAlphaAndPadding) {
    const ImageInfo rgba = Info(5, 2, 8, 4);
    const Page page = RandomPage(rgba, 9);
    const Page result = Adjusted({"--negative"}, rgba, page);
    for (std::size_t i = 0; i < page[0].size(); ++i) {
        EXPECT_EQ(result[0][i], i % 4 == 3 ? page[0][i] : 255 - page[0][i]);
    }
    const ImageInfo wide = Info(5, 2, 16, 2);
    const Page widePage = RandomPage(wide, 10);
    const Page wideResult = Adjusted({"--negative"}, wide, widePage);
    for (std::size_t i = 0; i < 10; ++i) {
        std::uint16_t before = 0;
        std::uint16_t after = 0;
        std::memcpy(&before, &widePage[1][2 * i], 2);
        std::memcpy(&after, &wideResult[1][2 * i], 2);
        EXPECT_EQ(after, i % 2 == 1 ? before : 65535 - before);
    }
    const ImageInfo bilevel = Info(10, 1, 1, 1);
    EXPECT_EQ(Adjusted({"--negative"}, bilevel, {{0xF0, 0x40}}), (Page{{0x0F, 0x80}}));
}

TEST(Pipeline, ColourBecomesGreyByItsBrightnessAndBack) {
    const ImageInfo info = Info(4, 1, 8, 3);
    const Page page = {{255, 0, 0, 0, 255, 0, 0, 0, 255, 200, 200, 200}};
    EXPECT_EQ(Adjusted({"--mode=gray"}, info, page), (Page{{76, 150, 29, 200}}));
    EXPECT_EQ(Adjusted({"--mode=color"}, Info(2, 1, 8, 2), {{1, 2, 3, 4}}), (Page{{1, 1, 1, 2, 3, 3, 3, 4}}));
    const ImageInfo wide = Info(1, 1, 16, 4);
    Page widePage(1, Bytes(8));
    const std::uint16_t pixel[] = {65535, 65535, 65535, 7};
    std::memcpy(widePage[0].data(), pixel, sizeof pixel);
    std::uint16_t grey[2];
    std::memcpy(grey, Adjusted({"--mode=gray"}, wide, widePage)[0].data(), sizeof grey);
    EXPECT_EQ(grey[0], 65535);
    EXPECT_EQ(grey[1], 7);
}

TEST(Pipeline, LineartShowsAlphaOverWhite) {
    // Opaque black, transparent black, half transparent black, opaque white.
    EXPECT_EQ(Adjusted({"--mode=lineart", "--threshold=60"}, Info(4, 1, 8, 2), {{0, 255, 0, 0, 0, 128, 255, 255}}),
              (Page{{0xA0}}));
}

}  // namespace
}  // namespace platen_tool
