#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// The tag under which TIFF and EXIF store a text, and the text field of a tag.
std::uint16_t TextTag(TextField field);
std::optional<TextField> TextFieldOf(std::uint16_t tag);

// A page's texts for a container that isn't PNG: its own ones, and those that stand in a PNG's chunks under the
// keywords Title, Description, Author, Copyright and Software.
std::array<std::string, kTextFields> TextsFor(const ImageInfo& page);

// What of the description the container can't hold, each in words.
std::vector<std::string> LostDescription(Container container, const ImageInfo& page);

// The most that a JPEG's segments can hold.
inline constexpr std::size_t kMostJpegExif = 65533 - 6;
inline constexpr std::size_t kMostJpegXmp = 65533 - 29;
inline constexpr std::size_t kMostJpegIptc = 65533 - 14 - 12 - 1;

}  // namespace platen_tool
