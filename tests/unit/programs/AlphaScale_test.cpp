#include <algorithm>
#include <cmath>
#include <cstring>

#include "Expect.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "programs/page/Pipeline.h"
#include "support/Random.h"

// Pages with alpha, scaled, against a computation in doubles that weighs each colour by its alpha.

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A page as numbers from 0 to 1, sample by sample.
struct Plane {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t samples = 0;
    std::vector<double> at;

    double& operator()(std::size_t x, std::size_t y, std::size_t s) {
        return at[(y * width + x) * samples + s];
    }
    double operator()(std::size_t x, std::size_t y, std::size_t s) const {
        return at[(y * width + x) * samples + s];
    }
};

// What each source position counts for a destination position: the scaler's own weights where it reduces, since it
// shapes those of parts; else the two neighbours, the outermost positions lying on each other.
std::vector<std::vector<double>> Weights(std::size_t from, std::size_t to) {
    std::vector<std::vector<double>> weights(to, std::vector<double>(from, 0.0));
    PX_ZoomBilinear zoom;
    EXPECT_EQ(
        zoom.Open(static_cast<int>(to), static_cast<int>(to), static_cast<int>(from), static_cast<int>(from), 8, 2),
        0);
    for (std::size_t i = 0; i < to; ++i) {
        if (to >= from) {
            const double place =
                static_cast<double>(i) * static_cast<double>(from - 1) / static_cast<double>(to - 1);
            const auto left = std::min(static_cast<std::size_t>(place), from - 1);
            const double part = place - static_cast<double>(left);
            weights[i][left] += 1.0 - part;
            weights[i][std::min(left + 1, from - 1)] += part;
            continue;
        }
        const PX_Zoom2_Param& record = zoom.horzParam[i];
        const auto weight = [&](std::int32_t at) -> double& { return weights[i][static_cast<std::size_t>(at)]; };
        weight(record.start) += record.startWeight;
        for (std::int32_t k = record.start + 1; k <= record.wholeEnd; ++k) {
            weight(k) += static_cast<double>(to);
        }
        if (record.endWeight != 0) {
            weight(record.wholeEnd + 1) += record.endWeight;
        }
        for (double& each : weights[i]) {
            each /= record.weightSum;
        }
    }
    return weights;
}

Plane Scaled(const Plane& in, std::size_t width, std::size_t height) {
    const auto across = Weights(in.width, width);
    const auto down = Weights(in.height, height);
    Plane narrow{width, in.height, in.samples, std::vector<double>(width * in.height * in.samples)};
    Plane out{width, height, in.samples, std::vector<double>(width * height * in.samples)};
    for (std::size_t s = 0; s < in.samples; ++s) {
        for (std::size_t x = 0; x < width; ++x) {
            for (std::size_t y = 0; y < in.height; ++y) {
                for (std::size_t k = 0; k < in.width; ++k) {
                    narrow(x, y, s) += across[x][k] * in(k, y, s);
                }
            }
            for (std::size_t y = 0; y < height; ++y) {
                for (std::size_t k = 0; k < in.height; ++k) {
                    out(x, y, s) += down[y][k] * narrow(x, k, s);
                }
            }
        }
    }
    return out;
}

Plane FromLines(const std::vector<Bytes>& lines, const ImageInfo& info) {
    Plane plane{info.width, info.height, static_cast<std::size_t>(info.samplesPerPixel), {}};
    for (const Bytes& line : lines) {
        for (std::size_t i = 0; i < plane.width * plane.samples; ++i) {
            std::uint16_t wide = 0;
            std::memcpy(&wide, line.data() + (info.bitsPerSample == 16 ? 2 * i : 0), sizeof wide);
            plane.at.push_back(info.bitsPerSample == 16 ? wide / 65535.0 : line[i] / 255.0);
        }
    }
    return plane;
}

// Alpha is the last sample. `multiplied`: the colours are multiplied with it already.
Plane Over(const Plane& in, double background, bool multiplied) {
    const std::size_t colours = in.samples - 1;
    Plane out{in.width, in.height, colours, {}};
    for (std::size_t pixel = 0; pixel < in.width * in.height; ++pixel) {
        const double alpha = in.at[pixel * in.samples + colours];
        for (std::size_t s = 0; s < colours; ++s) {
            const double colour = in.at[pixel * in.samples + s];
            out.at.push_back((multiplied ? colour : colour * alpha) + background * (1.0 - alpha));
        }
    }
    return out;
}

Plane Multiplied(Plane plane) {
    for (std::size_t pixel = 0; pixel < plane.width * plane.height; ++pixel) {
        double* samples = &plane.at[pixel * plane.samples];
        std::for_each(samples, samples + plane.samples - 1,
                      [&](double& colour) { colour *= samples[plane.samples - 1]; });
    }
    return plane;
}

class Lines : public Stage {
  public:
    explicit Lines(std::size_t lineBytes) : lineBytes_(lineBytes) {}
    void Take(std::uint8_t* line) override {
        all.emplace_back(line, line + lineBytes_);
    }
    std::vector<Bytes> all;

  private:
    std::size_t lineBytes_;
};

struct Result {
    ImageInfo info;
    std::vector<Bytes> lines;
};

Result Adjusted(std::vector<std::string> words, const ImageInfo& info, const std::vector<Bytes>& page) {
    words.insert(words.end(), {"in.png", "-o", "out.png"});
    const PagePlan plan = PlanPage(MakeSettings(ParseArguments(kAdjust, words), {}), info);
    Lines lines(plan.output.LineBytes());
    Pipeline pipeline(plan, lines);
    for (Bytes line : page) {
        pipeline.Take(line.data());
    }
    return {plan.output, lines.all};
}

ImageInfo Info(std::uint32_t width, std::uint32_t height, int bits, int samples) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.bitsPerSample = bits;
    info.samplesPerPixel = samples;
    return info;
}

// Patches of noise: some opaque, some transparent with colours of their own beneath, some in between.
std::vector<Bytes> Patches(const ImageInfo& info, std::uint64_t seed) {
    platen_test::Random random(seed);
    const auto samples = static_cast<std::size_t>(info.samplesPerPixel);
    const std::size_t bytes = info.bitsPerSample == 16 ? 2 : 1;
    std::vector<Bytes> page(info.height, Bytes(info.LineBytes()));
    for (std::size_t y = 0; y < info.height; ++y) {
        for (std::size_t i = 0; i < page[y].size(); ++i) {
            page[y][i] = random.Byte();
        }
        for (std::size_t x = 0; x < info.width; ++x) {
            const std::size_t kind = (x / 7 + y / 5) % 4;
            std::uint8_t* alpha = &page[y][(x * samples + samples - 1) * bytes];
            if (kind < 2) {
                std::memset(alpha, kind == 0 ? 0xFF : 0x00, bytes);
            } else if (kind == 2) {
                std::memset(alpha, static_cast<int>(x * 11 + y * 3) & 31, bytes);  // hardly to be seen
            }
        }
    }
    return page;
}

double WorstLevels(const Plane& a, const Plane& b) {
    EXPECT_EQ(a.at.size(), b.at.size());
    double worst = 0.0;
    for (std::size_t i = 0; i < a.at.size(); ++i) {
        worst = std::max(worst, std::abs(a.at[i] - b.at[i]) * 255.0);
    }
    return worst;
}

TEST(AlphaScale, ColoursCountByTheirAlpha) {
    const std::pair<const char*, double> scales[] = {{"25%", 0.25}, {"50%", 0.5}, {"75%", 0.75}, {"150%", 1.5}};
    for (const auto& [scale, factor] : scales) {
        for (const auto& [bits, samples] : {std::pair{8, 4}, {8, 2}, {16, 4}, {16, 2}}) {
            const ImageInfo info = Info(84, 60, bits, samples);
            const std::vector<Bytes> page = Patches(info, 7);
            const Result got = Adjusted({std::string("--scale=") + scale}, info, page);
            const Plane wanted = Scaled(Multiplied(FromLines(page, info)), got.info.width, got.info.height);
            EXPECT_EQ(got.info.width, static_cast<std::uint32_t>(84 * factor));
            for (const double background : {0.0, 1.0}) {
                const double worst = WorstLevels(Over(FromLines(got.lines, got.info), background, false),
                                                 Over(wanted, background, true));
                EXPECT_LE(worst, 2.0) << scale << ' ' << bits << " bits, " << samples << " samples, over "
                                      << background;
                RecordProperty("worst_" + std::to_string(bits) + "_" + std::to_string(samples) + "_" + scale +
                                   (background == 0.0 ? "_black" : "_white"),
                               std::to_string(worst));
            }
        }
    }
}

TEST(AlphaScale, OpaqueRedBesideTransparentBlackStaysRed) {
    const ImageInfo info = Info(4, 2, 8, 4);
    const Bytes line = {255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 255};
    const Result half = Adjusted({"--scale=50%"}, info, {line, line});
    ASSERT_EQ(half.lines.size(), 1u);
    EXPECT_EQ(half.lines[0], (Bytes{255, 0, 0, 128, 255, 0, 0, 128}));
}

// Also where the page is one pixel wide, or becomes so.
TEST(AlphaScale, AnOpaquePageIsThePageWithoutAlpha) {
    for (const int bits : {8, 16}) {
        for (const int samples : {2, 4}) {
            for (const std::uint32_t width : {1u, 2u, 53u}) {
                for (const char* size :
                     {"--scale=25%", "--scale=50%", "--scale=75%", "--scale=150%", "--size=1x90", "--size=120x7"}) {
                    const ImageInfo with = Info(width, 31, bits, samples);
                    const ImageInfo without = Info(width, 31, bits, samples - 1);
                    std::vector<Bytes> page = Patches(with, width);
                    std::vector<Bytes> plain;
                    const auto pixel = static_cast<std::size_t>(samples * bits / 8);
                    const auto alpha = static_cast<std::size_t>(bits / 8);
                    for (Bytes& line : page) {
                        Bytes colours;
                        for (std::size_t at = 0; at < line.size(); at += pixel) {
                            std::fill_n(&line[at + pixel - alpha], alpha, 255);
                            colours.insert(colours.end(), &line[at], &line[at] + pixel - alpha);
                        }
                        plain.push_back(colours);
                    }
                    const Result got = Adjusted({size}, with, page);
                    const Result wanted = Adjusted({size}, without, plain);
                    ASSERT_EQ(got.lines.size(), wanted.lines.size());
                    for (std::size_t y = 0; y < got.lines.size(); ++y) {
                        Bytes colours;
                        for (std::size_t at = 0; at < got.lines[y].size(); at += pixel) {
                            const std::uint8_t* begin = &got.lines[y][at];
                            colours.insert(colours.end(), begin, begin + pixel - alpha);
                            EXPECT_EQ(Bytes(begin + pixel - alpha, begin + pixel), Bytes(alpha, 255));
                        }
                        ASSERT_EQ(colours, wanted.lines[y])
                            << bits << ' ' << samples << ' ' << width << ' ' << size;
                    }
                }
            }
        }
    }
}

TEST(AlphaScale, FlatteningLaysAlphaOverAColour) {
    const Bytes colour = {200, 100, 0, 255, 200, 100, 0, 0, 200, 100, 0, 128};
    const ImageInfo rgb = Info(3, 1, 8, 4);
    EXPECT_EQ(Adjusted({"--flatten"}, rgb, {colour}).lines[0], (Bytes{200, 100, 0, 255, 255, 255, 227, 177, 127}));
    EXPECT_EQ(Adjusted({"--flatten=black"}, rgb, {colour}).lines[0], (Bytes{200, 100, 0, 0, 0, 0, 100, 50, 0}));
    EXPECT_EQ(Adjusted({"--flatten=#1020ff"}, rgb, {colour}).lines[0],
              (Bytes{200, 100, 0, 16, 32, 255, 108, 66, 127}));
    EXPECT_EQ(Adjusted({"--flatten"}, rgb, {colour}).info.samplesPerPixel, 3);
    // A grey page gets the colour's grey; one without alpha stays as it is.
    EXPECT_EQ(Adjusted({"--flatten=#ff0000"}, Info(2, 1, 8, 2), {Bytes{9, 0, 9, 255}}).lines[0], (Bytes{76, 9}));
    EXPECT_EQ(Adjusted({"--flatten"}, Info(2, 1, 8, 1), {Bytes{9, 7}}).lines[0], (Bytes{9, 7}));
    const auto wide = [](std::vector<std::uint16_t> samples) {
        Bytes line(2 * samples.size());
        std::memcpy(line.data(), samples.data(), line.size());
        return line;
    };
    EXPECT_EQ(Adjusted({"--flatten=#ff0001"}, Info(1, 2, 16, 4),
                       {wide({1000, 2000, 3000, 0}), wide({1000, 2000, 3000, 32768})})
                  .lines,
              (std::vector<Bytes>{wide({65535, 0, 257}), wide({33267, 1000, 1629})}));
    // For black and white the threshold comes after it.
    EXPECT_EQ(Adjusted({"--flatten=black", "--mode=lineart"}, Info(2, 1, 8, 2), {Bytes{255, 0, 255, 255}}).lines[0],
              (Bytes{0x80}));
    EXPECT_EQ(Adjusted({"--mode=lineart"}, Info(2, 1, 8, 2), {Bytes{0, 0, 0, 255}}).lines[0], (Bytes{0x40}));
}

}  // namespace
}  // namespace platen_tool
