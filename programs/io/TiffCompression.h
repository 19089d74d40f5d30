#pragma once

#include <string>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// What a compression can hold.
enum class TiffFits {
    kNothing,     // it is read only
    kBilevel,     // 1 bit
    kContinuous,  // 8-bit grey or RGB without alpha; the height must be known
    kAll,
};

// A compression of TIFF. Everything that the program knows of one is in its row of the table.
struct TiffCompression {
    int number;        // the tag's value
    const char* name;  // as `platen info` prints it
    TiffFits fits;
    bool predictor;  // whether differences between neighbours help it
};

// The row of a number; null where there is none.
const TiffCompression* FindTiffCompression(int number);

// Its name, "TIFF compression N" where it has none; empty for 0, which is no TIFF.
std::string TiffCompressionName(int number);

// Whether a page can be written so, by its layout and by the TIFF library at hand.
bool TiffCompressionFits(int number, const ImageInfo& page);

}  // namespace platen_tool
