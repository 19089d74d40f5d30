#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// Numbers from the command line: always in the C locale, the whole text, finite. A text that is no number, or
// one out of range, is an Error (kUsage) that names the option and what is allowed.

// A whole number from low to high.
std::int64_t ParseWhole(std::string_view option, std::string_view text, std::int64_t low, std::int64_t high);

// A number from low to high, decimal point or exponent allowed.
double ParseNumber(std::string_view option, std::string_view text, double low, double high);

// A positive decimal number as a ratio, without loss: "199.5" is 399/2. At most nine digits.
Ratio ParseRatio(std::string_view option, std::string_view text);

// The parts of "a,b,c"; an empty text has one empty part.
std::vector<std::string_view> SplitText(std::string_view text, char separator);

// The shortest text that reads back as the same number.
std::string NumberText(double value);

}  // namespace platen_tool
