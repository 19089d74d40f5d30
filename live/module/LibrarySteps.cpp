#include <algorithm>
#include <array>
#include <cstring>

#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_Zoom.h"
#include "live/module/Steps.h"

// The steps that the library does. The filters know no alpha: its pixels go through them without it and get it
// back.

namespace platen_live {

namespace {

void TakeColours(const std::uint8_t* line, const Layout& layout, std::uint8_t* out) {
    const std::size_t colours = layout.Colours();
    for (std::size_t x = 0; x < layout.width; ++x, line += colours + 1) {
        for (std::size_t s = 0; s < colours; ++s) {
            *out++ = line[s];
        }
    }
}

void PutColours(const std::uint8_t* in, const Layout& layout, std::uint8_t* line) {
    const std::size_t colours = layout.Colours();
    for (std::size_t x = 0; x < layout.width; ++x, line += colours + 1) {
        for (std::size_t s = 0; s < colours; ++s) {
            line[s] = *in++;
        }
    }
}

class ToneSink : public LineSink {
  public:
    ToneSink(const Step& step, LineSink& next) : layout_(step.in), next_(next) {
        std::copy_n(step.tables, tables_.size(), tables_.begin());
    }

    void Take(std::uint8_t* line) override {
        const std::uint8_t* red = tables_.data();
        const std::uint8_t* green = red + 256;
        const std::uint8_t* blue = green + 256;
        const std::size_t samples = layout_.Samples();
        std::uint8_t* pixel = line;
        if (samples >= 3) {
            for (std::size_t x = 0; x < layout_.width; ++x, pixel += samples) {
                pixel[0] = red[pixel[0]];
                pixel[1] = green[pixel[1]];
                pixel[2] = blue[pixel[2]];
            }
        } else {
            for (std::size_t x = 0; x < layout_.width; ++x, pixel += samples) {
                pixel[0] = red[pixel[0]];
            }
        }
        next_.Take(line);
    }

  private:
    const Layout layout_;
    std::array<std::uint8_t, 3 * 256> tables_;
    LineSink& next_;
};

class HsvSink : public LineSink {
  public:
    HsvSink(const Step& step, LineSink& next) : layout_(step.in), next_(next) {
        _SHsvParam param{};
        param.saturation = static_cast<std::int32_t>(step.settings[0]);
        param.hue = static_cast<std::int32_t>(step.settings[1]);
        param.lightness = static_cast<std::int32_t>(step.settings[2]);
        param.bitsPerPixel = 24;
        param.width = static_cast<std::int32_t>(layout_.width);
        param.height = layout_.height;
        param.rowBytes = layout_.width * 3;
        if (layout_.HasAlpha()) {
            colours_.resize(std::size_t{layout_.width} * 3);
        }
        SetupHsv(&param, &handle_);
    }
    ~HsvSink() override {
        Disposehsv(handle_);
    }
    HsvSink(const HsvSink&) = delete;
    HsvSink& operator=(const HsvSink&) = delete;

    bool Ready() const {
        return handle_ != nullptr;
    }

    void Take(std::uint8_t* line) override {
        if (layout_.HasAlpha()) {
            TakeColours(line, layout_, colours_.data());
            ApplyOneLineHsv(handle_, colours_.data());
            PutColours(colours_.data(), layout_, line);
        } else {
            ApplyOneLineHsv(handle_, line);
        }
        next_.Take(line);
    }

  private:
    const Layout layout_;
    std::vector<std::uint8_t> colours_;
    void* handle_ = nullptr;
    LineSink& next_;
};

// The filter holds one line back, so the alpha of the last two lines waits beside it.
class SharpenSink : public LineSink {
  public:
    SharpenSink(const Step& step, LineSink& next) : layout_(step.in), next_(next) {
        _SSharpParam param{};
        param.level = static_cast<std::int32_t>(step.settings[0]);
        param.bitsPerPixel = static_cast<std::uint32_t>(layout_.Colours() * 8);
        param.width = layout_.width;
        param.height = layout_.height;
        param.rowBytes = static_cast<std::uint32_t>(layout_.width * layout_.Colours());
        filtered_.resize(param.rowBytes);
        if (layout_.HasAlpha()) {
            for (auto& line : waiting_) {
                line.resize(layout_.LineBytes());
            }
        }
        SetupSharp(&param, &handle_);
    }
    ~SharpenSink() override {
        DisposeSharpness(handle_);
    }
    SharpenSink(const SharpenSink&) = delete;
    SharpenSink& operator=(const SharpenSink&) = delete;

    bool Ready() const {
        return handle_ != nullptr;
    }

    void Take(std::uint8_t* line) override {
        std::uint8_t* colours = line;
        if (layout_.HasAlpha()) {
            std::memcpy(waiting_[taken_ % 2].data(), line, layout_.LineBytes());
            TakeColours(line, layout_, filtered_.data());
            colours = filtered_.data();
        }
        ++taken_;
        ApplySharpFilterPutLine(&handle_, colours);
        while (GetSharpDstLines(handle_) != 0) {
            ApplySharpFilterGetLine(&handle_, filtered_.data());
            Give();
        }
    }

  private:
    void Give() {
        std::uint8_t* line = filtered_.data();
        if (layout_.HasAlpha()) {
            line = waiting_[given_ % 2].data();
            PutColours(filtered_.data(), layout_, line);
        }
        ++given_;
        next_.Take(line);
    }

    const Layout layout_;
    std::vector<std::uint8_t> filtered_;
    std::array<std::vector<std::uint8_t>, 2> waiting_;
    std::uint32_t taken_ = 0;
    std::uint32_t given_ = 0;
    void* handle_ = nullptr;
    LineSink& next_;
};

// One scaler for all samples of a pixel; one for each of them in the two cases that one scaler can't do:
//   - grey and alpha: there is no format of two samples
//   - a source one pixel wide: the scaler gives every sample of a pixel the first one's value
class ScaleSink : public LineSink {
  public:
    ScaleSink(const Step& step, LineSink& next)
        : in_(step.in),
          out_(step.out),
          planes_(step.in.samples == 2 || (step.in.samples > 1 && step.in.width == 1) ? step.in.Samples() : 1),
          sampleBytes_(step.in.bits == 16 ? 2 : 1),
          zooms_(planes_),
          line_(step.out.LineBytes()),
          linesLeft_(step.out.height),
          next_(next) {
        if (planes_ > 1) {
            plane_.resize(std::max(in_.width, out_.width) * sampleBytes_);
        }
        const int format = in_.bits * (planes_ > 1 ? 1 : in_.samples);
        for (PX_Zoom& zoom : zooms_) {
            constexpr int kBilinear = 2;
            ready_ = zoom.Open(static_cast<int>(out_.width), static_cast<int>(out_.height),
                               static_cast<int>(in_.width), static_cast<int>(in_.height), format, kBilinear) == 0 &&
                     ready_;
        }
    }

    bool Ready() const {
        return ready_;
    }

    void Take(std::uint8_t* line) override {
        if (linesLeft_ == 0) {
            return;
        }
        Send(line);
        while (linesLeft_ > 0 && zooms_[0].CheckData() > 0) {
            Read();
            --linesLeft_;
            next_.Take(line_.data());
        }
    }

  private:
    void Send(std::uint8_t* line) {
        if (planes_ == 1) {
            zooms_[0].Send(line);
            return;
        }
        for (std::size_t s = 0; s < planes_; ++s) {
            for (std::size_t x = 0; x < in_.width; ++x) {
                std::memcpy(&plane_[x * sampleBytes_], line + (x * planes_ + s) * sampleBytes_, sampleBytes_);
            }
            zooms_[s].Send(plane_.data());
        }
    }

    void Read() {
        if (planes_ == 1) {
            zooms_[0].Read(line_.data());
            return;
        }
        for (std::size_t s = 0; s < planes_; ++s) {
            zooms_[s].Read(plane_.data());
            for (std::size_t x = 0; x < out_.width; ++x) {
                std::memcpy(&line_[(x * planes_ + s) * sampleBytes_], &plane_[x * sampleBytes_], sampleBytes_);
            }
        }
    }

    const Layout in_;
    const Layout out_;
    const std::size_t planes_;
    const std::size_t sampleBytes_;
    std::vector<PX_Zoom> zooms_;
    std::vector<std::uint8_t> plane_;
    std::vector<std::uint8_t> line_;
    std::uint32_t linesLeft_;
    bool ready_ = true;
    LineSink& next_;
};

template <typename Sink>
std::unique_ptr<LineSink> IfReady(const Step& step, LineSink& next) {
    auto sink = std::make_unique<Sink>(step, next);
    return sink->Ready() ? std::move(sink) : nullptr;
}

}  // namespace

std::unique_ptr<LineSink> MakeToneStep(const Step& step, LineSink& next) {
    return std::make_unique<ToneSink>(step, next);
}

std::unique_ptr<LineSink> MakeHsvStep(const Step& step, LineSink& next) {
    return IfReady<HsvSink>(step, next);
}

std::unique_ptr<LineSink> MakeScaleStep(const Step& step, LineSink& next) {
    return IfReady<ScaleSink>(step, next);
}

std::unique_ptr<LineSink> MakeSharpenStep(const Step& step, LineSink& next) {
    return IfReady<SharpenSink>(step, next);
}

}  // namespace platen_live
