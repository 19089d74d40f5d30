#pragma once

#include <optional>

#include "programs/base/ImageInfo.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// A side that isn't known is 0.
struct PageSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::optional<Resolution> resolution;
};

// What a page's size and resolution tag become.
//   - Sides are rounded to the nearest pixel, at least 1.
//   - The tag is scaled by the sides' exact ratio, so that the page's physical size stays as it is. With
//     --resolution it is what was asked for, and the size follows it to within half a pixel.
//   - --shrink-only: no side grows.
// An Error (kFailed) where --resolution meets a page without a resolution, (kUnsupported) where the result is
// larger than the limits allow.
PageSize TargetSize(const ImageInfo& page, const SizeSettings& settings, const Limits& limits);

// An Error (kUnsupported) where a size is larger than the limits allow.
void CheckLimits(const PageSize& size, const Limits& limits);

// ratio x multiplier / divisor in lowest terms. Where that exceeds 64 bits (no real file's does) it is rounded.
Ratio ScaleRatio(const Ratio& ratio, std::uint64_t multiplier, std::uint64_t divisor);

// A scanner's resolution, which it keeps as a whole number or in units of 1/65536: the decimal number of at most
// three places that it stands for.
Ratio DpiRatio(double dpi);

// "2480 x 3508", "2480 x ?".
std::string SizeText(std::uint32_t width, std::uint32_t height);

// "300 dpi", "300 x 150 dpi".
std::string ResolutionText(const Resolution& resolution);

}  // namespace platen_tool
