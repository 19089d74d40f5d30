#include "programs/page/PageCounts.h"

namespace platen_tool {

namespace {

std::uint32_t StripOf(std::uint32_t side, int percent) {
    return static_cast<std::uint32_t>(std::uint64_t{side} * static_cast<std::uint64_t>(percent) / 100);
}

}  // namespace

PageCounts::PageCounts(const ImageInfo& info, int margin)
    : samples_(static_cast<std::size_t>(info.samplesPerPixel)),
      channels_(static_cast<std::size_t>(info.ColourSamples())),
      alpha_(info.HasAlpha()),
      left_(StripOf(info.width, margin)),
      right_(info.width - left_),
      top_(StripOf(info.height, margin)),
      bottom_(info.height - top_) {}

void PageCounts::Take(std::uint8_t* line) {
    const std::uint32_t y = line_++;
    if (y < top_ || y >= bottom_) {
        return;
    }
    for (std::uint32_t x = left_; x < right_; ++x) {
        const std::uint8_t* pixel = line + x * samples_;
        if (!alpha_ || pixel[channels_] != 0) {
            Count(pixel);
        }
    }
}

void PageCounts::Count(const std::uint8_t* pixel) {
    ++pixels_;
    if (channels_ == 1) {
        ++histograms_[0][pixel[0]];
        return;
    }
    Shade& shade = shades_[(299u * pixel[0] + 587u * pixel[1] + 114u * pixel[2] + 500u) / 1000u];
    ++shade.count;
    for (std::size_t s = 0; s < 3; ++s) {
        ++histograms_[s][pixel[s]];
        shade.sums[s] += pixel[s];
    }
}

}  // namespace platen_tool
