#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/io/TiffDirectory.h"

namespace platen_tool {

// What of an EXIF block is about the picture.
struct ExifFacts {
    int orientation = 1;
    std::optional<Resolution> resolution;
};

// Reads a block that begins with the TIFF header; its other fields go into `description`. Whatever is damaged or
// absent is left out: nothing in it is needed to see the picture. Thumbnails are left out always.
ExifFacts ReadExif(const std::uint8_t* bytes, std::size_t count, Description& description);

// Reads the texts, and the EXIF and GPS directories, of a TIFF's page.
void ReadTiffDescription(const TiffDirectoryReader& reader, const TiffDirectory& page, Description& description);

// Whether an EXIF block states the page's resolution, which most containers have a place of their own for.
enum class ExifResolution { kLeftOut, kIncluded };

// The block for a page: its description, orientation, sizes and, if included, resolution. Empty where there is
// nothing to store.
//   texts  those that go into it
std::vector<std::uint8_t> MakeExif(const ImageInfo& page, const std::array<std::string, kTextFields>& texts,
                                   ExifResolution resolution);

// The EXIF and GPS directories for a TIFF, to be stored at `offset` of the file. The places are 0 where there is
// none.
struct TiffExif {
    std::vector<std::uint8_t> bytes;
    std::uint64_t exifAt = 0;
    std::uint64_t gpsAt = 0;
};
TiffExif MakeTiffExif(const ImageInfo& page, std::uint64_t offset);

}  // namespace platen_tool
