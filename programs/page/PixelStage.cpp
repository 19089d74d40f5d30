#include "programs/page/PixelStage.h"

#include <array>
#include <cstring>

namespace platen_tool {

namespace {

std::uint32_t Load16(const std::uint8_t* at) {
    std::uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void Store16(std::uint8_t* at, std::uint32_t value) {
    const auto narrow = static_cast<std::uint16_t>(value);
    std::memcpy(at, &narrow, sizeof narrow);
}

// The width of a line's samples.
enum class SampleBits { k8, k16 };

std::uint32_t Load(const std::uint8_t* line, std::size_t sample, SampleBits bits) {
    return bits == SampleBits::k16 ? Load16(line + 2 * sample) : line[sample];
}

void Store(std::uint8_t* line, std::size_t sample, SampleBits bits, std::uint32_t value) {
    if (bits == SampleBits::k16) {
        Store16(line + 2 * sample, value);
    } else {
        line[sample] = static_cast<std::uint8_t>(value);
    }
}

// Everything done to one pixel at a time. One object does one of the conversions, chosen for each line,
// from the line given into one of its own.
class PixelStage : public Stage {
  public:
    PixelStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : kind_(stage.kind),
          in_(stage.in),
          width_(stage.in.width),
          inSamples_(static_cast<std::size_t>(stage.in.samplesPerPixel)),
          outSamples_(static_cast<std::size_t>(stage.out.samplesPerPixel)),
          bits_(stage.in.bitsPerSample == 16 ? SampleBits::k16 : SampleBits::k8),
          blackBelow_(plan.threshold * 2.55),
          background_(BackgroundOf(plan.background, outSamples_, bits_)),
          line_(stage.out.LineBytes()),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        Convert(line);
        next_.Take(line_.data());
    }

  private:
    static std::array<std::uint64_t, 3> BackgroundOf(const Colour& colour, std::size_t samples, SampleBits bits) {
        const auto& rgb = colour.rgb;
        const std::uint64_t grey = (299u * rgb[0] + 587u * rgb[1] + 114u * rgb[2] + 500u) / 1000u;
        const std::uint64_t factor = bits == SampleBits::k16 ? 257 : 1;
        if (samples == 1) {
            return {grey * factor, 0, 0};
        }
        return {rgb[0] * factor, rgb[1] * factor, rgb[2] * factor};
    }

    void Convert(const std::uint8_t* line) {
        switch (kind_) {
            case StageKind::kBilevelToGrey:
                return BilevelToGrey(line);
            case StageKind::kDepth16To8:
                return Depth16To8(line);
            case StageKind::kDepth8To16:
                return Depth8To16(line);
            case StageKind::kColourToGrey:
                return ColourToGrey(line);
            case StageKind::kGreyToColour:
                return GreyToColour(line);
            case StageKind::kNegative:
                return Negative(line);
            case StageKind::kFlatten:
                return Flatten(line);
            default:
                return Threshold(line);
        }
    }

    void BilevelToGrey(const std::uint8_t* line) {
        for (std::size_t x = 0; x < width_; ++x) {
            const bool black = (line[x / 8] >> (7 - x % 8) & 1) != 0;
            line_[x] = black ? 0 : 255;
        }
    }

    void Depth16To8(const std::uint8_t* line) {
        for (std::size_t i = 0; i < line_.size(); ++i) {
            line_[i] = static_cast<std::uint8_t>((Load16(line + 2 * i) + 128) / 257);
        }
    }

    void Depth8To16(const std::uint8_t* line) {
        for (std::size_t i = 0; i < line_.size() / 2; ++i) {
            Store16(&line_[2 * i], line[i] * 257u);
        }
    }

    void ColourToGrey(const std::uint8_t* line) {
        for (std::size_t x = 0; x < width_; ++x) {
            const std::size_t in = x * inSamples_;
            const std::size_t out = x * outSamples_;
            const std::uint32_t sum =
                299 * Load(line, in, bits_) + 587 * Load(line, in + 1, bits_) + 114 * Load(line, in + 2, bits_);
            Store(line_.data(), out, bits_, (sum + 500) / 1000);
            if (outSamples_ == 2) {
                Store(line_.data(), out + 1, bits_, Load(line, in + 3, bits_));
            }
        }
    }

    void GreyToColour(const std::uint8_t* line) {
        for (std::size_t x = 0; x < width_; ++x) {
            const std::size_t in = x * inSamples_;
            const std::size_t out = x * outSamples_;
            const std::uint32_t grey = Load(line, in, bits_);
            for (std::size_t s = 0; s < 3; ++s) {
                Store(line_.data(), out + s, bits_, grey);
            }
            if (outSamples_ == 4) {
                Store(line_.data(), out + 3, bits_, Load(line, in + 1, bits_));
            }
        }
    }

    void Negative(const std::uint8_t* line) {
        for (std::size_t i = 0; i < line_.size(); ++i) {
            line_[i] = static_cast<std::uint8_t>(~line[i]);  // also right for both bytes of a 16-bit sample
        }
        if (in_.HasAlpha()) {
            const std::size_t alpha = inSamples_ - 1;
            for (std::size_t i = alpha; i < width_ * inSamples_; i += inSamples_) {
                Store(line_.data(), i, bits_, Load(line, i, bits_));
            }
        }
        if (in_.bitsPerSample == 1 && width_ % 8 != 0) {
            line_.back() = static_cast<std::uint8_t>(line_.back() & (0xFF00 >> width_ % 8));
        }
    }

    void Flatten(const std::uint8_t* line) {
        const std::uint64_t most = bits_ == SampleBits::k16 ? 65535 : 255;
        for (std::size_t x = 0; x < width_; ++x) {
            const std::uint64_t alpha = Load(line, x * inSamples_ + outSamples_, bits_);
            for (std::size_t s = 0; s < outSamples_; ++s) {
                const std::uint64_t sum =
                    Load(line, x * inSamples_ + s, bits_) * alpha + background_[s] * (most - alpha);
                Store(line_.data(), x * outSamples_ + s, bits_,
                      static_cast<std::uint32_t>((sum + most / 2) / most));
            }
        }
    }

    void Threshold(const std::uint8_t* line) {
        std::memset(line_.data(), 0, line_.size());
        for (std::size_t x = 0; x < width_; ++x) {
            if (line[x] < blackBelow_) {
                line_[x / 8] = static_cast<std::uint8_t>(line_[x / 8] | 0x80 >> x % 8);
            }
        }
    }

    const StageKind kind_;
    const ImageInfo in_;
    const std::size_t width_;
    const std::size_t inSamples_;
    const std::size_t outSamples_;
    const SampleBits bits_;
    const double blackBelow_;
    const std::array<std::uint64_t, 3> background_;  // kFlatten: in the page's samples
    std::vector<std::uint8_t> line_;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakePixelStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<PixelStage>(plan, stage, next);
}

}  // namespace platen_tool
