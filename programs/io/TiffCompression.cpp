#include "programs/io/TiffCompression.h"

#include <tiffio.h>

#include <algorithm>
#include <array>

namespace platen_tool {

namespace {

constexpr std::array kTable = std::to_array<TiffCompression>({
    {COMPRESSION_NONE, "none", TiffFits::kAll, false},
    {COMPRESSION_CCITTRLE, "CCITT RLE", TiffFits::kBilevel, false},
    {COMPRESSION_CCITTFAX3, "CCITT G3", TiffFits::kBilevel, false},
    {COMPRESSION_CCITTFAX4, "CCITT G4", TiffFits::kBilevel, false},
    {COMPRESSION_LZW, "LZW", TiffFits::kAll, true},
    {COMPRESSION_JPEG, "JPEG", TiffFits::kContinuous, false},
    {COMPRESSION_ADOBE_DEFLATE, "Deflate", TiffFits::kAll, true},
    {COMPRESSION_DEFLATE, "Deflate", TiffFits::kAll, true},
    {COMPRESSION_PACKBITS, "PackBits", TiffFits::kAll, false},
    {COMPRESSION_LZMA, "LZMA", TiffFits::kAll, true},
    {COMPRESSION_ZSTD, "Zstd", TiffFits::kAll, true},
    {COMPRESSION_WEBP, "WebP", TiffFits::kNothing, false},
});

}  // namespace

const TiffCompression* FindTiffCompression(int number) {
    const auto found =
        std::find_if(kTable.begin(), kTable.end(), [number](const auto& row) { return row.number == number; });
    return found != kTable.end() ? &*found : nullptr;
}

std::string TiffCompressionName(int number) {
    if (number == 0) {
        return "";
    }
    const TiffCompression* row = FindTiffCompression(number);
    return row != nullptr ? row->name : "TIFF compression " + std::to_string(number);
}

bool TiffCompressionFits(int number, const ImageInfo& page) {
    const TiffCompression* row = FindTiffCompression(number);
    switch (row != nullptr ? row->fits : TiffFits::kNothing) {
        case TiffFits::kBilevel:
            return page.bitsPerSample == 1;
        case TiffFits::kContinuous:
            return page.bitsPerSample == 8 && !page.HasAlpha() && page.height != 0;
        case TiffFits::kAll:
            return TIFFIsCODECConfigured(static_cast<std::uint16_t>(number)) != 0;
        default:
            return false;
    }
}

}  // namespace platen_tool
