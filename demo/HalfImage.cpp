#include "demo/HalfImage.h"

#include <cstddef>
#include <cstring>

#include "programs/base/Error.h"
#include "programs/io/OpenReader.h"

namespace platen_demo {
namespace {

using platen_tool::Error;
using platen_tool::ExitCode;

// One sample of a line as 8 bits, 0 black.
std::uint8_t Sample8(const std::uint8_t* line, int bits, std::size_t index) {
    if (bits == 1) {
        return (line[index / 8] >> (7 - index % 8) & 1) != 0 ? 0 : 255;
    }
    if (bits == 8) {
        return line[index];
    }
    std::uint16_t sample = 0;
    std::memcpy(&sample, line + 2 * index, 2);
    return static_cast<std::uint8_t>(sample >> 8);
}

void Check(int status) {
    if (status != 0) {
        throw Error(ExitCode::kFailed, "the scaler answers " + std::to_string(status));
    }
}

}  // namespace

HalfImage::HalfImage(const std::string& path) : reader_(platen_tool::OpenReader(path, {})) {
    if (reader_->Info().height == 0) {
        throw Error(ExitCode::kUnsupported, path + ": its height is not in the file");
    }
    fileLine_.resize(reader_->Info().LineBytes());
    rgb_.resize(std::size_t{3} * reader_->Info().width);
}

std::uint32_t HalfImage::SourceWidth() const {
    return reader_->Info().width;
}

std::uint32_t HalfImage::SourceHeight() const {
    return reader_->Info().height;
}

void HalfImage::ScaleTo(std::uint32_t width, std::uint32_t height) {
    Check(zoom_.Open(static_cast<int>(width), static_cast<int>(height), static_cast<int>(SourceWidth()),
                     static_cast<int>(SourceHeight()), 24, 2));
}

void HalfImage::ToRgb() {
    const platen_tool::ImageInfo& info = reader_->Info();
    const std::size_t samples = static_cast<std::size_t>(info.samplesPerPixel);
    const bool colour = info.ColourSamples() == 3;
    for (std::size_t x = 0; x < info.width; ++x) {
        const std::size_t first = x * samples;
        const int alpha =
            info.HasAlpha() ? Sample8(fileLine_.data(), info.bitsPerSample, first + samples - 1) : 255;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const int value = Sample8(fileLine_.data(), info.bitsPerSample, first + (colour ? channel : 0));
            rgb_[3 * x + channel] = static_cast<std::uint8_t>((value * alpha + 255 * (255 - alpha)) / 255);
        }
    }
}

void HalfImage::NextLine(std::uint8_t* line) {
    while (zoom_.CheckData() == 0) {
        reader_->ReadLine(fileLine_.data());
        ToRgb();
        Check(zoom_.Send(rgb_.data()));
    }
    Check(zoom_.Read(line));
}

}  // namespace platen_demo
