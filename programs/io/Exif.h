#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// The two things that the program keeps of an EXIF block.
struct ExifFacts {
    int orientation = 1;
    std::optional<Resolution> resolution;
};

// Reads a block that begins with the TIFF header. Whatever is damaged or absent keeps its default: nothing in it
// is needed to see the picture.
ExifFacts ReadExif(const std::uint8_t* bytes, std::size_t count);

// The smallest block that carries the orientation and the resolution.
std::vector<std::uint8_t> MakeExif(int orientation, const std::optional<Resolution>& resolution);

}  // namespace platen_tool
