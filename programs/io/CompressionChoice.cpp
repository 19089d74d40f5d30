#include "programs/io/CompressionChoice.h"

#include <tiffio.h>

#include "programs/base/Error.h"
#include "programs/io/Samples.h"
#include "programs/io/TiffCompression.h"

namespace platen_tool {

namespace {

using Kind = Compression::Kind;

constexpr int kFastLevel = 1;
constexpr int kBestLevel = 9;

int TiffNumber(Kind kind) {
    switch (kind) {
        case Kind::kNone:
            return COMPRESSION_NONE;
        case Kind::kLzw:
            return COMPRESSION_LZW;
        case Kind::kDeflate:
            return COMPRESSION_ADOBE_DEFLATE;
        case Kind::kZstd:
            return COMPRESSION_ZSTD;
        case Kind::kPackBits:
            return COMPRESSION_PACKBITS;
        case Kind::kGroup4:
            return COMPRESSION_CCITTFAX4;
        case Kind::kJpeg:
            return COMPRESSION_JPEG;
        default:
            return 0;
    }
}

void CheckContainer(const Compression& asked, Container container) {
    const auto has = [&](bool had, const char* what) {
        if (!had) {
            throw Error(ExitCode::kUsage,
                        "--compression=" + asked.text + ": " + ContainerName(container) + " has " + what);
        }
    };
    const Kind kind = asked.kind;
    switch (container) {
        case Container::kTiff:
            return;
        case Container::kPdf:
            has(kind != Kind::kLzw && kind != Kind::kZstd && kind != Kind::kPackBits,
                "none, deflate, g4, jpeg, fast, default and best");
            return;
        case Container::kPng:
            has(asked.IsEffort(), "fast, default and best");
            return;
        case Container::kJpeg:
            has(kind == Kind::kJpeg || kind == Kind::kDefault, "jpeg[:QUALITY] and default");
            return;
        case Container::kPnm:
            has(kind == Kind::kNone || kind == Kind::kDefault, "none and default");
            return;
    }
}

}  // namespace

WriteOptions WithCompression(WriteOptions options, Container container) {
    if (!options.compression) {
        return options;
    }
    const Compression& asked = *options.compression;
    CheckContainer(asked, container);
    options.compressionLevel = asked.level;
    if (asked.kind == Kind::kJpeg && asked.level != 0) {
        options.jpegQuality = asked.level;
    }
    // A PDF's Deflate has no levels: the lower ones are fast, those from 9 on best.
    const bool fast = asked.kind == Kind::kDeflate && asked.level != 0 && asked.level < 4;
    const bool best = asked.kind == Kind::kDeflate && asked.level >= kBestLevel;
    if (asked.kind == Kind::kFast || fast) {
        options.pngEffort = PngEffort::kFast;
    } else if (asked.kind == Kind::kBest || best) {
        options.pngEffort = PngEffort::kBest;
    }
    if (asked.kind == Kind::kFast) {
        options.compressionLevel = kFastLevel;
    } else if (asked.kind == Kind::kBest) {
        options.compressionLevel = kBestLevel;
    }
    return options;
}

int AskedCompression(const WriteOptions& options, const ImageInfo& page) {
    const int number = options.compression ? TiffNumber(options.compression->kind) : 0;
    if (number == 0 || TiffCompressionFits(number, page)) {
        return number;
    }
    const std::string text = "--compression=" + options.compression->text + ": ";
    if (number == COMPRESSION_CCITTFAX4) {
        throw Error(ExitCode::kUnsupported, text + "Group 4 holds black and white only, not " + LayoutName(page) +
                                                "; --mode=lineart converts the page");
    }
    if (number == COMPRESSION_JPEG && page.height == 0) {
        throw Error(ExitCode::kUnsupported, text + "the page's height must be known before its first line");
    }
    if (number == COMPRESSION_JPEG) {
        throw Error(ExitCode::kUnsupported, text + "JPEG holds 8-bit grey and RGB without alpha, not " +
                                                LayoutName(page) +
                                                "; --depth=8, --mode=gray and --flatten convert the page");
    }
    throw Error(ExitCode::kUnsupported, text + "this system's TIFF library can't write it");
}

}  // namespace platen_tool
