#include "programs/scan/DeviceLine.h"

#include <cstring>
#include <string>

#include "programs/base/Error.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

std::size_t NeededBytes(const SANE_Parameters& p) {
    const std::size_t samples = p.format == SANE_FRAME_RGB ? 3 : 1;
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    return p.depth == 1 ? (width + 7) / 8 * samples : width * samples * static_cast<std::size_t>(p.depth) / 8;
}

// Looked at as a number: a device may send what the enumeration doesn't have.
bool IsKnownFormat(const SANE_Parameters& p) {
    std::int32_t format = 0;
    static_assert(sizeof format == sizeof p.format);
    std::memcpy(&format, &p.format, sizeof format);
    return format == SANE_FRAME_GRAY || format == SANE_FRAME_RGB || format == SANE_FRAME_RED ||
           format == SANE_FRAME_GREEN || format == SANE_FRAME_BLUE;
}

bool IsKnownDepth(const SANE_Parameters& p) {
    return p.depth == 1 || p.depth == 8 || p.depth == 16;
}

bool HoldsItsPixels(const SANE_Parameters& p) {
    return p.pixels_per_line > 0 && p.bytes_per_line > 0 &&
           static_cast<std::size_t>(p.bytes_per_line) >= NeededBytes(p);
}

// Expands one bit per sample to bytes; a set bit is 255, as in colour frames. `apart` is the distance of the packed
// bytes from each other, and of the bytes written.
void ExpandBits(const std::uint8_t* packed, std::size_t width, std::size_t apart, std::uint8_t* out) {
    for (std::size_t x = 0; x < width; ++x) {
        out[apart * x] = (packed[x / 8 * apart] >> (7 - x % 8) & 1) != 0 ? 255 : 0;
    }
}

}  // namespace

bool IsKnownPage(const SANE_Parameters& p) {
    return IsKnownFormat(p) && IsKnownDepth(p) && HoldsItsPixels(p);
}

bool IsOnePass(const SANE_Parameters& p) {
    return p.format == SANE_FRAME_RED || p.format == SANE_FRAME_GREEN || p.format == SANE_FRAME_BLUE;
}

std::size_t ChannelOf(SANE_Frame format) {
    return format == SANE_FRAME_RED ? 0 : format == SANE_FRAME_GREEN ? 1 : 2;
}

ImageInfo PageInfo(const SANE_Parameters& p) {
    const bool known = IsKnownFormat(p);
    if (!known) {
        throw Error(ExitCode::kUnsupported,
                    "the device sends frames that are neither grey nor red, green and blue");
    }
    if (!IsKnownDepth(p)) {
        throw Error(ExitCode::kUnsupported,
                    "the device sends " + std::to_string(p.depth) + " bits a sample; 1, 8 and 16 are supported");
    }
    if (!HoldsItsPixels(p)) {
        throw Error(ExitCode::kDevice, "the device announces lines of " + std::to_string(p.pixels_per_line) +
                                           " pixels in " + std::to_string(p.bytes_per_line) + " bytes");
    }
    const bool colour = p.format != SANE_FRAME_GRAY;
    ImageInfo info;
    info.width = static_cast<std::uint32_t>(p.pixels_per_line);
    info.height = p.lines > 0 ? static_cast<std::uint32_t>(p.lines) : 0;
    info.samplesPerPixel = colour ? 3 : 1;
    info.bitsPerSample = colour && p.depth == 1 ? 8 : p.depth;
    return info;
}

void TakeDeviceLine(const SANE_Parameters& p, const std::uint8_t* raw, std::uint8_t* line) {
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    if (p.depth == 1 && p.format == SANE_FRAME_RGB) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            ExpandBits(raw + channel, width, 3, line + channel);
        }
    } else if (p.depth == 1 && p.format != SANE_FRAME_GRAY) {
        ExpandBits(raw, width, 1, line);
    } else {
        std::memcpy(line, raw, NeededBytes(p));
        if (p.depth == 1) {
            ClearPadding(line, static_cast<std::uint32_t>(width));
        }
    }
}

void Planes::Put(const SANE_Parameters& p, std::uint32_t y, const std::uint8_t* raw) {
    const std::size_t bytes = NeededBytes(p);
    planes_[ChannelOf(p.format)].WriteAt(std::uint64_t{y} * bytes, raw, bytes);
}

void Planes::ReadLine(const SANE_Parameters& p, std::uint32_t y, std::uint8_t* line) {
    const std::size_t bytes = NeededBytes(p);
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    const std::size_t sample = p.depth == 16 ? 2 : 1;
    plane_.resize(bytes + width);  // one bit a sample is expanded after the packed bytes
    for (std::size_t channel = 0; channel < 3; ++channel) {
        planes_[channel].ReadAt(std::uint64_t{y} * bytes, plane_.data(), bytes);
        const std::uint8_t* from = plane_.data();
        if (p.depth == 1) {
            ExpandBits(plane_.data(), width, 1, plane_.data() + bytes);
            from += bytes;
        }
        for (std::size_t x = 0; x < width; ++x) {
            std::memcpy(line + (3 * x + channel) * sample, from + x * sample, sample);
        }
    }
}

}  // namespace platen_tool
