#include "programs/io/TiffLayout.h"

#include <algorithm>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

[[noreturn]] void Unsupported(const std::string& what) {
    throw Error(ExitCode::kUnsupported, what);
}

std::uint16_t Tag16(TIFF* tiff, std::uint32_t tag, std::uint16_t otherwise) {
    std::uint16_t value = otherwise;
    return TIFFGetFieldDefaulted(tiff, tag, &value) != 0 ? value : otherwise;
}

std::string PhotometricName(unsigned photometric) {
    switch (photometric) {
        case PHOTOMETRIC_MASK:
            return "a transparency mask";
        case PHOTOMETRIC_SEPARATED:
            return "in inks other than CMYK, or CMYK with fewer than 8 bits";
        case PHOTOMETRIC_YCBCR:
            return "YCbCr in tiles, in planes or not of 8 bits";
        case PHOTOMETRIC_CIELAB:
            return "CIE L*a*b* with fewer than 8 bits";
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            return "ICC's or ITU's L*a*b*";
        default:
            return "photometric interpretation " + std::to_string(photometric);
    }
}

void CheckSlices(TIFF* tiff) {
    std::uint32_t slices = 1;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_IMAGEDEPTH, &slices);
    if (slices != 1) {
        Unsupported("the TIFF's page has " + std::to_string(slices) + " slices; one is supported");
    }
}

void CheckSamples(TIFF* tiff, const TiffLayout& layout) {
    const unsigned format = Tag16(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    if (format == SAMPLEFORMAT_IEEEFP || format == SAMPLEFORMAT_COMPLEXIEEEFP) {
        Unsupported("the TIFF has floating-point samples; whole numbers of 1, 2, 4, 8 and 16 bits are supported");
    }
    if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) {
        Unsupported(
            "the TIFF has signed or complex samples; unsigned ones of 1, 2, 4, 8 and 16 bits are supported");
    }
    const int bits = layout.bits;
    if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16) {
        Unsupported("the TIFF has " + std::to_string(bits) + " bits a sample; 1, 2, 4, 8 and 16 are supported");
    }
    if (layout.samples < 1 || layout.samples > 16) {
        Unsupported("the TIFF has " + std::to_string(layout.samples) + " samples a pixel; 1 to 16 are supported");
    }
}

void CheckCompression(const TiffLayout& layout) {
    if (layout.compression == COMPRESSION_OJPEG) {
        Unsupported("the TIFF uses old-style JPEG compression, which isn't supported; new-style JPEG is");
    }
    const auto compression = static_cast<std::uint16_t>(layout.compression);
    if (TIFFIsCODECConfigured(compression) == 0) {
        Unsupported("the TIFF's compression " + std::to_string(compression) + " isn't supported");
    }
}

void ReadPalette(TIFF* tiff, TiffLayout& layout) {
    std::uint16_t* maps[3] = {};
    if (layout.bits > 8 || layout.samples != 1 ||
        TIFFGetField(tiff, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0) {
        Unsupported("a palette TIFF of this layout isn't supported; one sample of up to 8 bits is");
    }
    const std::size_t entries = std::size_t{1} << layout.bits;
    std::uint16_t most = 0;
    for (const std::uint16_t* map : maps) {
        most = std::max(most, *std::max_element(map, map + entries));
    }
    // Some writers fill the 16-bit map with 8-bit values.
    const unsigned shift = most < 256 ? 0 : 8;
    layout.palette.resize(3 * entries);
    for (std::size_t i = 0; i < layout.palette.size(); ++i) {
        layout.palette[i] = static_cast<std::uint8_t>(maps[i % 3][i / 3] >> shift);
    }
}

// How many samples are colours, from the photometric interpretation.
int ReadColours(TIFF* tiff, TiffLayout& layout) {
    std::uint16_t photometric = 0;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) == 0) {
        photometric = layout.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            layout.whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
            return 1;
        case PHOTOMETRIC_PALETTE:
            ReadPalette(tiff, layout);
            return 1;
        case PHOTOMETRIC_RGB:
            return 3;
        case PHOTOMETRIC_YCBCR:
            if (layout.compression == COMPRESSION_JPEG && layout.samples == 3 && !layout.separate) {
                TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
                return 3;
            }
            if (layout.bits == 8 && layout.samples == 3 && !layout.separate && !layout.tiled) {
                layout.colours = TiffLayout::Colours::kYcbcr;
                return 3;
            }
            break;
        case PHOTOMETRIC_SEPARATED:
            if (layout.bits >= 8 && Tag16(tiff, TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK) {
                layout.colours = TiffLayout::Colours::kCmyk;
                return 4;
            }
            break;
        case PHOTOMETRIC_CIELAB:
            if (layout.bits >= 8) {
                layout.colours = TiffLayout::Colours::kLab;
                return 3;
            }
            break;
        default:
            break;
    }
    Unsupported("the TIFF is " + PhotometricName(photometric) +
                "; bilevel, grey, RGB, palette, CMYK, YCbCr and CIE L*a*b* are supported");
}

void ReadAlpha(TIFF* tiff, TiffLayout& layout, int colours) {
    if (layout.samples < colours) {
        throw Error(ExitCode::kFailed, "the TIFF is damaged: " + std::to_string(layout.samples) +
                                           " samples a pixel where its colours need " + std::to_string(colours));
    }
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    const bool known = TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) != 0 && count > 0;
    const bool alpha = known && layout.samples > colours &&
                       (kinds[0] == EXTRASAMPLE_ASSOCALPHA || kinds[0] == EXTRASAMPLE_UNASSALPHA);
    layout.associatedAlpha = alpha && kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    // Converted colours have no alpha.
    layout.kept = colours + (alpha && layout.colours == TiffLayout::Colours::kOwn ? 1 : 0);
    layout.associatedAlpha = layout.associatedAlpha && layout.kept > colours;
}

void ReadMetadata(TIFF* tiff, ImageInfo& info) {
    const unsigned orientation = Tag16(tiff, TIFFTAG_ORIENTATION, 1);
    info.orientation = orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
    std::uint32_t bytes = 0;
    const std::uint8_t* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &bytes, &profile) != 0 && bytes != 0) {
        info.iccProfile.assign(profile, profile + bytes);
    }
}

}  // namespace

TiffLayout ReadTiffLayout(TIFF* tiff, ImageInfo& info) {
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &info.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &info.height);
    TiffLayout layout;
    layout.bits = Tag16(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout.samples = Tag16(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.compression = Tag16(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    layout.separate = layout.samples > 1 && Tag16(tiff, TIFFTAG_PLANARCONFIG, 1) == PLANARCONFIG_SEPARATE;
    layout.tiled = TIFFIsTiled(tiff) != 0;
    CheckSlices(tiff);
    CheckSamples(tiff, layout);
    CheckCompression(layout);
    const int colours = ReadColours(tiff, layout);
    ReadAlpha(tiff, layout, colours);
    const bool converted = layout.colours != TiffLayout::Colours::kOwn;
    info.samplesPerPixel = layout.palette.empty() && !converted ? layout.kept : 3;
    const bool bilevel = layout.bits == 1 && layout.samples == 1 && layout.palette.empty();
    info.bitsPerSample = bilevel ? 1 : layout.bits == 16 ? 16 : 8;
    ReadMetadata(tiff, info);
    return layout;
}

std::string TiffLayoutNotice(const TiffLayout& layout) {
    if (layout.associatedAlpha) {
        return "the colours are stored premultiplied by alpha and are divided by it";
    }
    if (layout.samples > layout.kept) {
        return "samples that are neither colour nor alpha are left out";
    }
    return {};
}

}  // namespace platen_tool
