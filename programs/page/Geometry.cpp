#include "programs/page/Geometry.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"

namespace platen_tool {

namespace {

std::uint32_t RoundSide(double side) {
    constexpr double kMost = 4294967295.0;
    return static_cast<std::uint32_t>(std::clamp(std::floor(side + 0.5), 1.0, kMost));
}

// Both factors are exact ratios of whole numbers, so that a side which comes out whole does so exactly.
std::uint32_t ScaleSide(std::uint32_t side, double numerator, double denominator) {
    return RoundSide(static_cast<double>(side) * numerator / denominator);
}

std::uint32_t SideForResolution(std::uint32_t side, const Ratio& wanted, const Ratio& present) {
    const double numerator = static_cast<double>(wanted.numerator) * static_cast<double>(present.denominator);
    const double denominator = static_cast<double>(wanted.denominator) * static_cast<double>(present.numerator);
    return ScaleSide(side, numerator, denominator);
}

PageSize WantedSize(const ImageInfo& page, const SizeSettings& settings) {
    if (settings.scale) {
        return {ScaleSide(page.width, *settings.scale, 1.0), ScaleSide(page.height, *settings.scale, 1.0), {}};
    }
    if (settings.resolution) {
        if (!page.resolution) {
            throw Error(ExitCode::kFailed,
                        "--resolution: the file doesn't state its resolution; give --input-resolution");
        }
        return {SideForResolution(page.width, settings.resolution->x, page.resolution->x),
                SideForResolution(page.height, settings.resolution->y, page.resolution->y),
                {}};
    }
    PageSize size{settings.width, settings.height, {}};
    if (size.width == 0 && size.height == 0) {
        return {page.width, page.height, {}};
    }
    if (size.width == 0) {
        size.width = ScaleSide(page.width, settings.height, page.height);
    }
    if (size.height == 0) {
        size.height = ScaleSide(page.height, settings.width, page.width);
    }
    return size;
}

// The tag of one axis: what was asked for, or the old one scaled with the side.
Ratio AxisResolution(const Ratio& present, const Ratio* wanted, std::uint32_t from, std::uint32_t to,
                     std::uint32_t unclamped) {
    if (wanted != nullptr && to == unclamped) {
        return *wanted;
    }
    return from == to ? present : ScaleRatio(present, to, from);
}

}  // namespace

Ratio ScaleRatio(const Ratio& ratio, std::uint64_t multiplier, std::uint64_t divisor) {
    const std::uint64_t factor = std::gcd(multiplier, divisor);
    const std::uint64_t m = multiplier / factor;
    const std::uint64_t d = divisor / factor;
    const std::uint64_t common = std::gcd(ratio.numerator, ratio.denominator);
    const std::uint64_t n0 = ratio.numerator / std::max<std::uint64_t>(common, 1);
    const std::uint64_t d0 = ratio.denominator / std::max<std::uint64_t>(common, 1);
    const std::uint64_t cross0 = std::max<std::uint64_t>(std::gcd(n0, d), 1);
    const std::uint64_t cross1 = std::max<std::uint64_t>(std::gcd(m, d0), 1);
    Ratio result;
    if (!__builtin_mul_overflow(n0 / cross0, m / cross1, &result.numerator) &&
        !__builtin_mul_overflow(d0 / cross1, d / cross0, &result.denominator)) {
        return result;
    }
    constexpr std::uint64_t kDenominator = 1'000'000;
    const double value = ratio.Value() * static_cast<double>(multiplier) / static_cast<double>(divisor);
    return {static_cast<std::uint64_t>(std::min(value * static_cast<double>(kDenominator), 1e18)), kDenominator};
}

Ratio DpiRatio(double dpi) {
    constexpr double kThousand = 1000.0;
    const double thousandths = std::round(dpi * kThousand);
    return ScaleRatio({static_cast<std::uint64_t>(std::max(thousandths, 1.0)), 1000}, 1, 1);
}

void CheckLimits(const PageSize& size, const Limits& limits) {
    const std::uint64_t pixels = std::uint64_t{std::max(size.width, 1u)} * std::max(size.height, 1u);
    if (size.width > limits.maxSide || size.height > limits.maxSide || pixels > limits.maxPixels) {
        throw Error(ExitCode::kUnsupported, "the result would have " + SizeText(size.width, size.height) +
                                                " pixels; allowed: " + std::to_string(limits.maxSide) +
                                                " a side and " + std::to_string(limits.maxPixels) +
                                                " in all (--max-side, --max-pixels)");
    }
}

PageSize TargetSize(const ImageInfo& page, const SizeSettings& settings, const Limits& limits) {
    const PageSize wanted = WantedSize(page, settings);
    PageSize size = wanted;
    if (settings.shrinkOnly) {
        size.width = std::min(size.width, page.width);
        size.height = std::min(size.height, page.height);
    }
    CheckLimits(size, limits);
    if (page.resolution) {
        const Resolution* asked = settings.resolution ? &*settings.resolution : nullptr;
        size.resolution = Resolution{AxisResolution(page.resolution->x, asked != nullptr ? &asked->x : nullptr,
                                                    page.width, size.width, wanted.width),
                                     AxisResolution(page.resolution->y, asked != nullptr ? &asked->y : nullptr,
                                                    page.height, size.height, wanted.height)};
    }
    return size;
}

std::string SizeText(std::uint32_t width, std::uint32_t height) {
    const auto side = [](std::uint32_t count) { return count == 0 ? "?" : std::to_string(count); };
    return side(width) + " x " + side(height);
}

std::string ResolutionText(const Resolution& resolution) {
    const auto text = [](const Ratio& ratio) { return NumberText(std::round(ratio.Value() * 1000.0) / 1000.0); };
    const std::string x = text(resolution.x);
    const std::string y = text(resolution.y);
    return (x == y ? x : x + " x " + y) + " dpi";
}

}  // namespace platen_tool
