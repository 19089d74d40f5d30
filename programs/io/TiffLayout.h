#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// How a page's samples lie in a TIFF, as far as it decides how lines are made of them.
struct TiffLayout {
    int bits = 1;           // a sample: 1, 2, 4, 8 or 16
    int samples = 1;        // a pixel, as stored
    int kept = 1;           // of those, the first so many are colours and alpha; the rest is dropped
    bool separate = false;  // a plane for each sample
    bool tiled = false;
    bool whiteIsZero = false;
    bool associatedAlpha = false;  // colours are stored multiplied with alpha
    int compression = 1;
    enum class Colours {
        kOwn,
        kCmyk,
        kLab,
        kYcbcr
    } colours = Colours::kOwn;          // others than lines have are converted
    std::vector<std::uint8_t> palette;  // 3 bytes an entry, 2^bits entries; empty: not a palette image

    int Planes() const {
        return separate ? samples : 1;
    }
};

// Describes the current directory; throws kUnsupported, saying what is supported, for what can't be read. Width,
// height, orientation, profile and layout go into `info`, the resolution doesn't. Switches the JPEG codec to RGB.
TiffLayout ReadTiffLayout(TIFF* tiff, ImageInfo& info);

// What was changed or left out while reading such a page, for -v.
std::string TiffLayoutNotice(const TiffLayout& layout);

}  // namespace platen_tool
