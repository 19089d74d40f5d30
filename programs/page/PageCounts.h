#pragma once

#include <array>
#include <cstdint>

#include "programs/base/ImageInfo.h"
#include "programs/page/Stage.h"

namespace platen_tool {

using Histogram = std::array<std::uint64_t, 256>;

// What automatic settings look at: a page's levels, whatever its size in 12 kilobytes. Pixels that are fully
// transparent don't count, nor do those in the strips along the edges that the margin gives.
class PageCounts : public Stage {
  public:
    // info    of the lines to come, which have 8 bits a sample; the height is known
    // margin  percent of the width that is left out on the left and on the right, and of the height above and below
    PageCounts(const ImageInfo& info, int margin);

    void Take(std::uint8_t* line) override;

    bool IsColour() const {
        return channels_ == 3;
    }
    std::uint64_t Pixels() const {
        return pixels_;
    }
    const Histogram& Channel(std::size_t channel) const {
        return histograms_[channel];
    }

    // The pixels of each lightness, (299 R + 587 G + 114 B + 500) / 1000, and the sums of their channels.
    struct Shade {
        std::uint64_t count = 0;
        std::array<std::uint64_t, 3> sums{};
    };
    const std::array<Shade, 256>& Shades() const {
        return shades_;
    }

  private:
    void Count(const std::uint8_t* pixel);

    const std::size_t samples_;
    const std::size_t channels_;
    const bool alpha_;
    std::uint32_t left_, right_, top_,
        bottom_;  // columns and lines that count: from the first to before the second
    std::uint32_t line_ = 0;
    std::uint64_t pixels_ = 0;
    std::array<Histogram, 3> histograms_{};
    std::array<Shade, 256> shades_{};
};

}  // namespace platen_tool
