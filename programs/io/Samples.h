#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// Small changes between the forms that files keep samples in and the one form of the program's lines.

// Clears the bits after the last pixel of a packed line.
void ClearPadding(std::uint8_t* line, std::uint32_t width);

// Exchanges black and white of a packed line and clears the padding.
void InvertBits(std::uint8_t* line, std::uint32_t width);

// A line as PNG and PDF store it, 1 for white and 16-bit samples big-endian: the line itself, or `room` filled with
// it.
const std::uint8_t* StoreBigEndian(const std::uint8_t* line, const ImageInfo& info,
                                   std::vector<std::uint8_t>& room);

// Sample number `index` of a line with 1, 2, 4 or 8 bits a sample, most significant bits first.
inline unsigned PackedSample(const std::uint8_t* line, std::size_t index, int bits) {
    const std::size_t bit = index * static_cast<std::size_t>(bits);
    const unsigned shift = 8 - static_cast<unsigned>(bits) - static_cast<unsigned>(bit % 8);
    return (static_cast<unsigned>(line[bit / 8]) >> shift) & ((1u << bits) - 1);
}

// Throws where a page is empty or larger than allowed. To be called before anything is allocated for it.
void CheckSize(std::uint64_t width, std::uint64_t height, const Limits& limits);

// "1-bit grey", "16-bit RGB with alpha": for messages.
std::string LayoutName(const ImageInfo& info);

// Throws where a layout isn't one of those that ImageInfo describes; writers ask before they rely on it.
void CheckLayout(const ImageInfo& info);

}  // namespace platen_tool
