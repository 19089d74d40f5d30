#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "programs/base/Compression.h"
#include "programs/base/ImageInfo.h"
#include "programs/options/OptionTable.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// Parses the values of options. An invalid value is an Error (kUsage) that names the option and what is allowed.

// A whole number in the row's range.
int ParseInt(const OptionSpec& spec, std::string_view text);

// A number in the row's range, decimal point or exponent allowed.
double ParseDecimal(const OptionSpec& spec, std::string_view text);

// A number from 1 on.
std::uint64_t ParseCount(const OptionSpec& spec, std::string_view text);

// The place of a word among the row's choices.
std::size_t ParseChoice(const OptionSpec& spec, std::string_view text);

// The value that belongs to the word; `values` are in the order of the row's choices.
template <typename Value>
Value Choose(const OptionSpec& spec, std::string_view text, std::initializer_list<Value> values) {
    return values.begin()[ParseChoice(spec, text)];
}

// lineart, gray or color, in British spelling too.
PixelMode ParseMode(const OptionSpec& spec, std::string_view text);

// 50% or 0.5.
double ParseScale(const OptionSpec& spec, const std::string& text);

// Pixels of a side.
std::uint32_t ParseSide(const OptionSpec& spec, std::string_view text);

// WxH.
void ParseSize(const OptionSpec& spec, std::string_view text, SizeSettings& size);

// WxH[+X+Y][mm|in|px].
CropSettings ParseCrop(const OptionSpec& spec, const std::string& text);

// DPI, or XxY.
Resolution ParseResolution(const std::string& option, std::string_view text);

// N, N-M or N-.
PageRange ParsePages(const OptionSpec& spec, const std::string& text);

// One of the row's words; those that have levels may be followed by one, as "deflate:9".
Compression ParseCompression(const OptionSpec& spec, const std::string& text);

// white, black or #RRGGBB.
Colour ParseColour(const OptionSpec& spec, const std::string& text);

// Adjustments in a list; those that it leaves out follow, and are bits in `missing`.
std::array<Adjustment, 4> ParseOrder(const OptionSpec& spec, std::string_view text, unsigned& missing);

}  // namespace platen_tool
