#include "programs/io/Samples.h"

#include <bit>

#include "programs/base/Error.h"

namespace platen_tool {

void ClearPadding(std::uint8_t* line, std::uint32_t width) {
    if (width % 8 != 0) {
        line[width / 8] = static_cast<std::uint8_t>(line[width / 8] & (0xFF00u >> (width % 8)));
    }
}

void InvertBits(std::uint8_t* line, std::uint32_t width) {
    const std::size_t bytes = (std::size_t{width} + 7) / 8;
    for (std::size_t i = 0; i < bytes; ++i) {
        line[i] = static_cast<std::uint8_t>(~line[i]);
    }
    ClearPadding(line, width);
}

const std::uint8_t* StoreBigEndian(const std::uint8_t* line, const ImageInfo& info,
                                   std::vector<std::uint8_t>& room) {
    const std::size_t bytes = info.LineBytes();
    if (info.bitsPerSample == 1) {
        room.assign(line, line + bytes);
        InvertBits(room.data(), info.width);
        return room.data();
    }
    if (info.bitsPerSample == 16 && std::endian::native == std::endian::little) {
        room.resize(bytes);
        for (std::size_t i = 0; i < bytes; i += 2) {
            room[i] = line[i + 1];
            room[i + 1] = line[i];
        }
        return room.data();
    }
    return line;
}

void CheckSize(std::uint64_t width, std::uint64_t height, const Limits& limits) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0) {
        throw Error(ExitCode::kFailed, "the page is empty: " + size);
    }
    if (width > limits.maxSide || height > limits.maxSide) {
        throw Error(ExitCode::kFailed, "the page is too large: " + size + "; allowed: " +
                                           std::to_string(limits.maxSide) + " on a side (--max-side)");
    }
    if (width * height > limits.maxPixels) {
        throw Error(ExitCode::kFailed, "the page is too large: " + size + "; allowed: " +
                                           std::to_string(limits.maxPixels) + " pixels in all (--max-pixels)");
    }
}

std::string LayoutName(const ImageInfo& info) {
    return std::to_string(info.bitsPerSample) + "-bit " + (info.ColourSamples() == 3 ? "RGB" : "grey") +
           (info.HasAlpha() ? " with alpha" : "");
}

void CheckLayout(const ImageInfo& info) {
    const bool bilevel = info.bitsPerSample == 1 && info.samplesPerPixel == 1;
    const bool deep = info.bitsPerSample == 8 || info.bitsPerSample == 16;
    if (!bilevel && !(deep && info.samplesPerPixel >= 1 && info.samplesPerPixel <= 4)) {
        throw Error(ExitCode::kUnsupported,
                    std::to_string(info.samplesPerPixel) + " samples of " + std::to_string(info.bitsPerSample) +
                        " bits a pixel can't be written; 1 bit grey and 1 to 4 samples of 8 or 16 bits can");
    }
    if (info.width == 0) {
        throw Error(ExitCode::kFailed, "a page without columns can't be written");
    }
}

}  // namespace platen_tool
