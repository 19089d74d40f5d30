#include "programs/page/ScaleStage.h"

#include <algorithm>
#include <cstring>

#include "programs/page/PageZoom.h"
#include "programs/page/Stage.h"

namespace platen_tool {

namespace {

// The scaler for pixels of 1 to 4 samples. Mostly one does; each sample has one of its own in the two cases that
// one can't do:
//   - two samples, grey and alpha: the scaler has no format for them
//   - a source one pixel wide: the scaler gives every sample of a pixel the first one's value, and a colour
//     page would turn grey
// Samples never mix in the scaler, so the planes come out as they would side by side.
class LineZoom {
  public:
    LineZoom(const PlannedStage& stage, int bits, std::size_t samples)
        : samples_(samples),
          sampleBytes_(static_cast<std::size_t>(bits) / 8),
          inWidth_(stage.in.width),
          outWidth_(stage.out.width),
          zooms_(samples == 2 || (samples > 1 && inWidth_ == 1) ? samples : 1) {
        const bool planes = zooms_.size() > 1;
        plane_.resize(planes ? std::max(inWidth_, outWidth_) * sampleBytes_ : 0);
        for (PageZoom& zoom : zooms_) {
            zoom.Open(stage.in, stage.out, bits * static_cast<int>(planes ? 1 : samples));
        }
    }

    void Send(std::uint8_t* line) {
        if (zooms_.size() == 1) {
            zooms_[0].Send(line);
            return;
        }
        for (std::size_t s = 0; s < samples_; ++s) {
            for (std::size_t x = 0; x < inWidth_; ++x) {
                std::memcpy(&plane_[x * sampleBytes_], line + (x * samples_ + s) * sampleBytes_, sampleBytes_);
            }
            zooms_[s].Send(plane_.data());
        }
    }

    bool Ready() {
        return zooms_[0].Ready();
    }

    void Read(std::uint8_t* line) {
        if (zooms_.size() == 1) {
            zooms_[0].Read(line);
            return;
        }
        for (std::size_t s = 0; s < samples_; ++s) {
            zooms_[s].Read(plane_.data());
            for (std::size_t x = 0; x < outWidth_; ++x) {
                std::memcpy(line + (x * samples_ + s) * sampleBytes_, &plane_[x * sampleBytes_], sampleBytes_);
            }
        }
    }

  private:
    const std::size_t samples_;
    const std::size_t sampleBytes_;
    const std::size_t inWidth_;
    const std::size_t outWidth_;
    std::vector<PageZoom> zooms_;
    std::vector<std::uint8_t> plane_;
};

class ScaleStage : public Stage {
  public:
    ScaleStage(const PlannedStage& stage, Stage& next)
        : zoom_(stage, stage.in.bitsPerSample, static_cast<std::size_t>(stage.in.samplesPerPixel)),
          line_(stage.out.LineBytes()),
          linesLeft_(stage.out.height),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        if (linesLeft_ == 0) {
            return;
        }
        zoom_.Send(line);
        while (linesLeft_ > 0 && zoom_.Ready()) {
            zoom_.Read(line_.data());
            --linesLeft_;
            next_.Take(line_.data());
        }
    }

  private:
    LineZoom zoom_;
    std::vector<std::uint8_t> line_;
    std::uint32_t linesLeft_;
    Stage& next_;
};

// A page with alpha: a colour counts as much as its pixel can be seen. The page goes through two scalers:
//
//   multiplied_  at 16 bits, the colours multiplied with alpha, then alpha itself. Divided by the alpha that comes
//                out, they are the colours of the pixels that let something through.
//   plain_       the colours alone, as of a page without alpha. They are taken where the pixel is opaque: there
//   every
//                pixel that it was made from is so, all have the same weight, and the bytes are exactly those of a
//                page without alpha. Where nothing of a pixel can be seen its colour is what was beneath.
template <class Sample>
class AlphaScaleStage : public Stage {
  public:
    AlphaScaleStage(const PlannedStage& stage, Stage& next)
        : samples_(static_cast<std::size_t>(stage.in.samplesPerPixel)),
          inWidth_(stage.in.width),
          outWidth_(stage.out.width),
          plain_(stage, stage.in.bitsPerSample, samples_ - 1),
          multiplied_(stage, 16, samples_),
          colours_(std::max(inWidth_, outWidth_) * (samples_ - 1)),
          wide_(std::max(inWidth_, outWidth_) * samples_),
          line_(outWidth_ * samples_),
          linesLeft_(stage.out.height),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        if (linesLeft_ == 0) {
            return;
        }
        Split(line);
        plain_.Send(reinterpret_cast<std::uint8_t*>(colours_.data()));
        multiplied_.Send(reinterpret_cast<std::uint8_t*>(wide_.data()));
        while (linesLeft_ > 0 && plain_.Ready()) {
            plain_.Read(reinterpret_cast<std::uint8_t*>(colours_.data()));
            multiplied_.Read(reinterpret_cast<std::uint8_t*>(wide_.data()));
            Join();
            --linesLeft_;
            next_.Take(reinterpret_cast<std::uint8_t*>(line_.data()));
        }
    }

  private:
    static constexpr std::uint64_t kMost = static_cast<Sample>(~Sample{0});
    static constexpr std::uint64_t kWide = 65535;

    void Split(const std::uint8_t* line) {
        const std::size_t colours = samples_ - 1;
        for (std::size_t x = 0; x < inWidth_; ++x) {
            Sample pixel[4];
            std::memcpy(pixel, line + x * samples_ * sizeof(Sample), samples_ * sizeof(Sample));
            const std::uint64_t alpha = pixel[colours];
            for (std::size_t s = 0; s < colours; ++s) {
                colours_[x * colours + s] = pixel[s];
                const std::uint64_t full = pixel[s] * alpha * (kWide / kMost);
                wide_[x * samples_ + s] = static_cast<std::uint16_t>((full + kMost / 2) / kMost);
            }
            wide_[x * samples_ + colours] = static_cast<std::uint16_t>(alpha * (kWide / kMost));
        }
    }

    void Join() {
        const std::size_t colours = samples_ - 1;
        for (std::size_t x = 0; x < outWidth_; ++x) {
            const std::uint16_t* from = &wide_[x * samples_];
            Sample* to = &line_[x * samples_];
            const std::uint64_t alpha = from[colours];
            to[colours] = Rounded(alpha);
            for (std::size_t s = 0; s < colours; ++s) {
                const bool plain = alpha == kWide || to[colours] == 0;
                to[s] = plain ? colours_[x * colours + s] : Divided(from[s], alpha);
            }
        }
    }

    // The scaler cuts off what lies beyond the sixteenth bit: half a stage more is what it was on the average.
    static Sample Rounded(std::uint64_t wide) {
        if (kMost == kWide) {
            return static_cast<Sample>(wide);
        }
        constexpr std::uint64_t kStep = kWide / kMost;
        return static_cast<Sample>((2 * wide + 1 + kStep) / (2 * kStep));
    }

    static Sample Divided(std::uint64_t multiplied, std::uint64_t alpha) {
        return static_cast<Sample>(std::min(kMost, (multiplied * kMost + alpha / 2) / alpha));
    }

    const std::size_t samples_;
    const std::size_t inWidth_;
    const std::size_t outWidth_;
    LineZoom plain_;
    LineZoom multiplied_;
    std::vector<Sample> colours_;
    std::vector<std::uint16_t> wide_;
    std::vector<Sample> line_;
    std::uint32_t linesLeft_;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeScaleStage(const PlannedStage& stage, Stage& next) {
    if (!stage.in.HasAlpha()) {
        return std::make_unique<ScaleStage>(stage, next);
    }
    if (stage.in.bitsPerSample == 16) {
        return std::make_unique<AlphaScaleStage<std::uint16_t>>(stage, next);
    }
    return std::make_unique<AlphaScaleStage<std::uint8_t>>(stage, next);
}

}  // namespace platen_tool
