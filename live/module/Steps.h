#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace platen_live {

// A page's lines between two steps, in the forms of the command-line tool:
//
//   1 bit      packed, most significant bit first, 1 is black, unused bits of the last byte are 0
//   8 bits     one byte a sample, interleaved; 0 is black
//   16 bits    a native std::uint16_t a sample, interleaved; 0 is black
//
// A pixel is grey (1 sample), grey and alpha (2), RGB (3) or RGB and alpha (4).
struct Layout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::int32_t samples = 1;
    std::int32_t bits = 8;

    bool HasAlpha() const {
        return samples == 2 || samples == 4;
    }
    std::size_t Colours() const {
        return samples > 2 ? 3 : 1;
    }
    std::size_t Samples() const {
        return static_cast<std::size_t>(samples);
    }
    std::size_t LineBytes() const {
        return (std::size_t{width} * static_cast<std::size_t>(bits * samples) + 7) / 8;
    }
};

// What can happen to a page's lines. The numbers are the page's too: live/src/plan.mjs.
enum class StepKind : std::int32_t {
    kBilevelToGrey = 0,
    kDepth16To8 = 1,    // rounded to the nearest
    kDepth8To16 = 2,    // x 257
    kColourToGrey = 3,  // (299 R + 587 G + 114 B) / 1000, rounded; alpha stays
    kGreyToColour = 4,
    kNegative = 5,   // alpha stays
    kFlatten = 6,    // alpha over white
    kThreshold = 7,  // grey to 1 bit; settings[0]: black below this percentage of 255
    kTone = 8,       // through the tables
    kHsv = 9,        // settings: saturation, hue, lightness
    kScale = 10,
    kSharpen = 11,  // settings[0]: the level
};

struct Step {
    StepKind kind = StepKind::kTone;
    Layout in;
    Layout out;
    double settings[3] = {};
    const std::uint8_t* tables = nullptr;  // kTone: red, green, blue, 256 entries each; copied
};

// Takes a page's lines from the top. The line may be changed in place.
class LineSink {
  public:
    virtual ~LineSink() = default;
    virtual void Take(std::uint8_t* line) = 0;
};

// A step at work; it hands the lines that it finishes to `next`. A null pointer where the library refuses the
// settings or memory is short.
std::unique_ptr<LineSink> MakePixelStep(const Step& step, LineSink& next);
std::unique_ptr<LineSink> MakeToneStep(const Step& step, LineSink& next);
std::unique_ptr<LineSink> MakeHsvStep(const Step& step, LineSink& next);
std::unique_ptr<LineSink> MakeScaleStep(const Step& step, LineSink& next);
std::unique_ptr<LineSink> MakeSharpenStep(const Step& step, LineSink& next);

}  // namespace platen_live
