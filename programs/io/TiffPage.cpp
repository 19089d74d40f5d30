#include "programs/io/TiffPage.h"

#include <algorithm>
#include <cstring>

#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

// c and alpha as stored, 0 to most: the colour before it was multiplied, rounded to nearest.
template <class Sample>
void Unmultiply(std::uint8_t* line, std::size_t pixels, std::size_t samples) {
    constexpr std::uint32_t kMost = static_cast<Sample>(~Sample{0});
    for (std::size_t x = 0; x < pixels; ++x) {
        Sample pixel[4];
        std::memcpy(pixel, line + x * samples * sizeof(Sample), samples * sizeof(Sample));
        const std::uint32_t alpha = pixel[samples - 1];
        for (std::size_t c = 0; c + 1 < samples; ++c) {
            // A colour above alpha is damage; it counts as full.
            const std::uint32_t colour = std::min<std::uint32_t>(pixel[c], alpha);
            pixel[c] = alpha == 0 ? Sample{0} : static_cast<Sample>((colour * kMost + alpha / 2) / alpha);
        }
        std::memcpy(line + x * samples * sizeof(Sample), pixel, samples * sizeof(Sample));
    }
}

}  // namespace

TiffPage::TiffPage(TiffHandle& handle, const TiffSource& source, const TiffLayout& layout, const ImageInfo& info)
    : layout_(layout), info_(info), rows_(MakeTiffRows(handle, source, layout, info)) {
    if (layout.colours == TiffLayout::Colours::kYcbcr) {
        return;  // its rows come as RGB
    }
    if (layout.colours != TiffLayout::Colours::kOwn) {
        using From = ColourTransform::From;
        const bool deep = layout.bits == 16;
        const From from = layout.colours == TiffLayout::Colours::kLab ? (deep ? From::kLab16 : From::kLab8)
                                                                      : (deep ? From::kCmyk16 : From::kCmyk8);
        transform_ = std::make_unique<ColourTransform>(from, info.iccProfile, "the TIFF");
        colours_.resize(std::size_t{info.width} * transform_->Samples() * transform_->SampleBytes());
    }
    const auto perPixel = static_cast<std::size_t>(layout.bits * (layout.separate ? 1 : layout.samples));
    const std::size_t expected = (info.width * perPixel + 7) / 8;
    if (!layout.tiled && TIFFScanlineSize64(handle.Get()) != expected) {
        throw Error(ExitCode::kUnsupported, "TIFF rows of this layout aren't supported");
    }
    row_.resize(expected);
}

void TiffPage::ReadLine(std::uint32_t y, std::uint8_t* line) {
    if (info_.bitsPerSample == 1) {
        rows_->ReadRow(y, 0, line);
        if (layout_.whiteIsZero) {
            ClearPadding(line, info_.width);
        } else {
            InvertBits(line, info_.width);
        }
        return;
    }
    if (!layout_.palette.empty()) {
        rows_->ReadRow(y, 0, row_.data());
        LookUp(line);
        return;
    }
    if (layout_.colours == TiffLayout::Colours::kYcbcr) {
        rows_->ReadRow(y, 0, line);
        return;
    }
    if (transform_ != nullptr) {
        Gather(y, colours_.data());
        transform_->Apply(colours_.data(), line, info_.width);
        return;
    }
    Gather(y, line);
    if (layout_.whiteIsZero) {
        InvertColours(line);
    }
    if (layout_.associatedAlpha) {
        DivideByAlpha(line);
    }
}

void TiffPage::Gather(std::uint32_t y, std::uint8_t* line) {
    if (!layout_.separate && layout_.kept == layout_.samples && layout_.bits >= 8) {
        rows_->ReadRow(y, 0, line);
        return;
    }
    const int planes = layout_.separate ? layout_.kept : 1;
    for (int plane = 0; plane < planes; ++plane) {
        rows_->ReadRow(y, plane, row_.data());
        PickSamples(plane, line);
    }
}

// Takes the kept samples of one row: all of a pixel, or with planes the one that this plane holds.
void TiffPage::PickSamples(int plane, std::uint8_t* line) {
    const std::size_t stored = layout_.separate ? 1 : static_cast<std::size_t>(layout_.samples);
    const std::size_t taken = layout_.separate ? 1 : static_cast<std::size_t>(layout_.kept);
    const auto kept = static_cast<std::size_t>(layout_.kept);
    const unsigned scale = layout_.bits < 8 ? 255u / ((1u << layout_.bits) - 1) : 1;
    for (std::size_t x = 0; x < info_.width; ++x) {
        for (std::size_t c = 0; c < taken; ++c) {
            const std::size_t from = x * stored + c;
            const std::size_t to = x * kept + c + (layout_.separate ? static_cast<std::size_t>(plane) : 0);
            if (layout_.bits == 16) {
                std::memcpy(line + 2 * to, row_.data() + 2 * from, 2);
            } else {
                line[to] = static_cast<std::uint8_t>(PackedSample(row_.data(), from, layout_.bits) * scale);
            }
        }
    }
}

// Grey only: white is zero. The alpha after it stays.
void TiffPage::InvertColours(std::uint8_t* line) const {
    const std::size_t bytes = info_.bitsPerSample == 16 ? 2 : 1;
    const std::size_t step = bytes * static_cast<std::size_t>(info_.samplesPerPixel);
    for (std::size_t x = 0; x < info_.width; ++x) {
        for (std::size_t i = 0; i < bytes; ++i) {
            std::uint8_t& byte = line[x * step + i];
            byte = static_cast<std::uint8_t>(~byte);
        }
    }
}

void TiffPage::DivideByAlpha(std::uint8_t* line) const {
    const auto samples = static_cast<std::size_t>(info_.samplesPerPixel);
    if (info_.bitsPerSample == 16) {
        Unmultiply<std::uint16_t>(line, info_.width, samples);
    } else {
        Unmultiply<std::uint8_t>(line, info_.width, samples);
    }
}

void TiffPage::LookUp(std::uint8_t* line) const {
    for (std::size_t x = 0; x < info_.width; ++x) {
        const std::size_t index = PackedSample(row_.data(), x, layout_.bits);
        std::memcpy(line + 3 * x, layout_.palette.data() + 3 * index, 3);
    }
}

}  // namespace platen_tool
