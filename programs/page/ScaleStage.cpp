#include <algorithm>
#include <cstring>

#include "programs/page/LineSink.h"
#include "programs/page/PageZoom.h"

namespace platen_tool {

namespace {

// All samples of a pixel in one scaler.
class ScaleSink : public LineSink {
  public:
    ScaleSink(const PlannedStep& step, LineSink& next)
        : line_(step.out.LineBytes()), linesLeft_(step.out.height), next_(next) {
        zoom_.Open(step.in, step.out, step.in.bitsPerSample * step.in.samplesPerPixel);
    }

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
    PageZoom zoom_;
    std::vector<std::uint8_t> line_;
    std::uint32_t linesLeft_;
    LineSink& next_;
};

// One scaler for each sample of a pixel, for the two cases that one scaler can't do:
//   - grey and alpha: there is no format of two samples
//   - a source one pixel wide: the scaler gives every sample of a pixel the first one's value, and a colour
//     page would turn grey
// Samples never mix in the scaler, so the planes come out as they would side by side.
class PlanesScaleSink : public LineSink {
  public:
    PlanesScaleSink(const PlannedStep& step, LineSink& next)
        : samples_(static_cast<std::size_t>(step.in.samplesPerPixel)),
          sampleBytes_(static_cast<std::size_t>(step.in.bitsPerSample) / 8),
          inWidth_(step.in.width),
          outWidth_(step.out.width),
          zooms_(samples_),
          plane_(std::max(inWidth_, outWidth_) * sampleBytes_),
          line_(step.out.LineBytes()),
          linesLeft_(step.out.height),
          next_(next) {
        for (PageZoom& zoom : zooms_) {
            zoom.Open(step.in, step.out, step.in.bitsPerSample);
        }
    }

    void Take(std::uint8_t* line) override {
        if (linesLeft_ == 0) {
            return;
        }
        for (std::size_t s = 0; s < samples_; ++s) {
            for (std::size_t x = 0; x < inWidth_; ++x) {
                std::memcpy(&plane_[x * sampleBytes_], line + (x * samples_ + s) * sampleBytes_, sampleBytes_);
            }
            zooms_[s].Send(plane_.data());
        }
        while (linesLeft_ > 0 && zooms_[0].Ready()) {
            ReadPlanes();
            --linesLeft_;
            next_.Take(line_.data());
        }
    }

  private:
    void ReadPlanes() {
        for (std::size_t s = 0; s < samples_; ++s) {
            zooms_[s].Read(plane_.data());
            for (std::size_t x = 0; x < outWidth_; ++x) {
                std::memcpy(&line_[(x * samples_ + s) * sampleBytes_], &plane_[x * sampleBytes_], sampleBytes_);
            }
        }
    }

    const std::size_t samples_;
    const std::size_t sampleBytes_;
    const std::size_t inWidth_;
    const std::size_t outWidth_;
    std::vector<PageZoom> zooms_;
    std::vector<std::uint8_t> plane_;
    std::vector<std::uint8_t> line_;
    std::uint32_t linesLeft_;
    LineSink& next_;
};

}  // namespace

std::unique_ptr<LineSink> MakeScaleStep(const PlannedStep& step, LineSink& next) {
    const int samples = step.in.samplesPerPixel;
    if (samples == 2 || (samples > 1 && step.in.width == 1)) {
        return std::make_unique<PlanesScaleSink>(step, next);
    }
    return std::make_unique<ScaleSink>(step, next);
}

}  // namespace platen_tool
