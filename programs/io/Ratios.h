#pragma once

#include <cstdint>
#include <optional>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// The ratio in lowest terms, both numbers at most `limit`: exact where that is possible, otherwise the last
// convergent of its continued fraction that fits, which is nearer than anything with smaller numbers.
Ratio Reduced(Ratio ratio, std::uint64_t limit);

// A resolution as files count it, to pixels per inch; nothing where a number is 0.
enum class LengthUnit { kInch, kCentimetre, kMetre };
std::optional<Resolution> ResolutionFrom(Ratio x, Ratio y, LengthUnit unit);

// Pixels per metre, rounded to nearest, within 1 to 2147483647.
std::uint32_t PixelsPerMetre(const Ratio& perInch);

// Numerator over denominator rounded to nearest; 0 where the denominator is 0.
std::uint64_t Rounded(const Ratio& ratio);

// As JFIF stores it: rounded to nearest, within 1 to 65535.
std::uint16_t JfifDensity(const Ratio& perInch);

}  // namespace platen_tool
