#include <cstring>

#include "live/module/Steps.h"

namespace platen_live {

namespace {

std::uint32_t Load(const std::uint8_t* line, std::size_t sample, bool wide) {
    if (!wide) {
        return line[sample];
    }
    std::uint16_t value;
    std::memcpy(&value, line + 2 * sample, sizeof value);
    return value;
}

void Store(std::uint8_t* line, std::size_t sample, bool wide, std::uint32_t value) {
    if (wide) {
        const auto narrow = static_cast<std::uint16_t>(value);
        std::memcpy(line + 2 * sample, &narrow, sizeof narrow);
    } else {
        line[sample] = static_cast<std::uint8_t>(value);
    }
}

void BilevelToGrey(const Step& step, const std::uint8_t* in, std::uint8_t* out) {
    for (std::size_t x = 0; x < step.in.width; ++x) {
        out[x] = (in[x / 8] >> (7 - x % 8) & 1) != 0 ? 0 : 255;
    }
}

void Depth16To8(const Step& step, const std::uint8_t* in, std::uint8_t* out) {
    for (std::size_t i = 0; i < step.out.LineBytes(); ++i) {
        out[i] = static_cast<std::uint8_t>((Load(in, i, true) + 128) / 257);
    }
}

void Depth8To16(const Step& step, const std::uint8_t* in, std::uint8_t* out) {
    for (std::size_t i = 0; i < step.in.LineBytes(); ++i) {
        Store(out, i, true, in[i] * 257u);
    }
}

void ColourToGrey(const Step& step, const std::uint8_t* line, std::uint8_t* result) {
    const bool wide = step.in.bits == 16;
    for (std::size_t x = 0; x < step.in.width; ++x) {
        const std::size_t in = x * step.in.Samples();
        const std::size_t out = x * step.out.Samples();
        const std::uint32_t sum =
            299 * Load(line, in, wide) + 587 * Load(line, in + 1, wide) + 114 * Load(line, in + 2, wide);
        Store(result, out, wide, (sum + 500) / 1000);
        if (step.out.HasAlpha()) {
            Store(result, out + 1, wide, Load(line, in + 3, wide));
        }
    }
}

void GreyToColour(const Step& step, const std::uint8_t* line, std::uint8_t* result) {
    const bool wide = step.in.bits == 16;
    for (std::size_t x = 0; x < step.in.width; ++x) {
        const std::size_t in = x * step.in.Samples();
        const std::size_t out = x * step.out.Samples();
        for (std::size_t s = 0; s < 3; ++s) {
            Store(result, out + s, wide, Load(line, in, wide));
        }
        if (step.out.HasAlpha()) {
            Store(result, out + 3, wide, Load(line, in + 1, wide));
        }
    }
}

void Negative(const Step& step, const std::uint8_t* line, std::uint8_t* result) {
    const std::size_t bytes = step.in.LineBytes();
    for (std::size_t i = 0; i < bytes; ++i) {
        result[i] = static_cast<std::uint8_t>(~line[i]);  // also right for both bytes of a 16-bit sample
    }
    if (step.in.HasAlpha()) {
        const bool wide = step.in.bits == 16;
        const std::size_t samples = step.in.Samples();
        for (std::size_t i = samples - 1; i < step.in.width * samples; i += samples) {
            Store(result, i, wide, Load(line, i, wide));
        }
    }
    if (step.in.bits == 1 && step.in.width % 8 != 0) {
        result[bytes - 1] = static_cast<std::uint8_t>(result[bytes - 1] & (0xFF00 >> step.in.width % 8));
    }
}

void Flatten(const Step& step, const std::uint8_t* in, std::uint8_t* out) {
    for (std::size_t x = 0; x < step.in.width; ++x) {
        const std::uint32_t alpha = in[2 * x + 1];
        const std::uint32_t sum = in[2 * x] * alpha + 255 * (255 - alpha);
        out[x] = static_cast<std::uint8_t>((sum + 127) / 255);
    }
}

void Threshold(const Step& step, const std::uint8_t* in, std::uint8_t* out) {
    const double blackBelow = step.settings[0] * 2.55;
    std::memset(out, 0, step.out.LineBytes());
    for (std::size_t x = 0; x < step.in.width; ++x) {
        if (in[x] < blackBelow) {
            out[x / 8] = static_cast<std::uint8_t>(out[x / 8] | 0x80 >> x % 8);
        }
    }
}

using Conversion = void (*)(const Step& step, const std::uint8_t* in, std::uint8_t* out);

constexpr Conversion kConversions[] = {BilevelToGrey, Depth16To8, Depth8To16, ColourToGrey,
                                       GreyToColour,  Negative,   Flatten,    Threshold};

class PixelSink : public LineSink {
  public:
    PixelSink(const Step& step, LineSink& next)
        : step_(step),
          convert_(kConversions[static_cast<int>(step.kind)]),
          line_(step.out.LineBytes()),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        convert_(step_, line, line_.data());
        next_.Take(line_.data());
    }

  private:
    const Step step_;
    const Conversion convert_;
    std::vector<std::uint8_t> line_;
    LineSink& next_;
};

}  // namespace

std::unique_ptr<LineSink> MakePixelStep(const Step& step, LineSink& next) {
    return std::make_unique<PixelSink>(step, next);
}

}  // namespace platen_live
