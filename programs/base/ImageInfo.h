#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "programs/base/Description.h"

namespace platen_tool {

// A file's resolution as it is stored: a ratio, so that scaling it and writing it again loses nothing.
struct Ratio {
    std::uint64_t numerator = 0;
    std::uint64_t denominator = 1;

    double Value() const {
        return static_cast<double>(numerator) / static_cast<double>(denominator);
    }
};

// Pixels per inch on both axes. Files that count per metre or per centimetre are converted exactly
// (1 inch = 254/10000 metre).
struct Resolution {
    Ratio x;
    Ratio y;
};

// One page's description. Lines travel through the program in one form whatever the file's was:
//
//   1 bit      packed, most significant bit first, 1 is black, unused bits of the last byte are 0
//   8 bits     one byte a sample, interleaved; 0 is black
//   16 bits    a native std::uint16_t a sample, interleaved; 0 is black
//
// A pixel is grey (1 sample), grey and alpha (2), RGB (3) or RGB and alpha (4).
struct ImageInfo {
    std::uint32_t width = 0;
    std::uint32_t height = 0;  // 0: not known before the last line
    int bitsPerSample = 8;     // 1, 8 or 16
    int samplesPerPixel = 1;   // 1 to 4
    std::optional<Resolution> resolution;
    std::vector<std::uint8_t> iccProfile;            // empty: none
    std::vector<PngChunk> pngColours;                // what a PNG says of its colours besides: gAMA, cHRM, sRGB
    std::shared_ptr<const Description> description;  // null: none; shared by all that copy the page
    int orientation = 1;                             // 1 to 8 as in EXIF and TIFF, kept as a tag, never applied

    bool HasAlpha() const {
        return samplesPerPixel == 2 || samplesPerPixel == 4;
    }
    int ColourSamples() const {
        return samplesPerPixel - (HasAlpha() ? 1 : 0);
    }
    std::size_t LineBytes() const {
        return (std::size_t{width} * static_cast<std::size_t>(bitsPerSample * samplesPerPixel) + 7) / 8;
    }
};

}  // namespace platen_tool
