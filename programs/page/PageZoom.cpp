#include "programs/page/PageZoom.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace platen_tool {

namespace {

constexpr std::uint32_t kBandLines = 2048;  // source lines, about: some 57 KB of records

// Source lines for each destination line, where that is a whole number; otherwise 0.
std::uint32_t WholeFactor(std::uint32_t inHeight, std::uint32_t outHeight) {
    return inHeight % outHeight == 0 ? inHeight / outHeight : 0;
}

// Destination lines of a band.
std::uint32_t BandHeight(std::uint32_t inHeight, std::uint32_t outHeight) {
    const std::uint32_t factor = WholeFactor(inHeight, outHeight);
    return factor == 0 ? outHeight : std::clamp<std::uint32_t>(kBandLines / factor, 1, outHeight);
}

void Check(int status) {
    if (status != 0) {
        throw std::logic_error("the scaler refused a line");
    }
}

}  // namespace

std::uint32_t PageZoom::Records(std::uint32_t inHeight, std::uint32_t outHeight) {
    const std::uint32_t factor = WholeFactor(inHeight, outHeight);
    return factor == 0 ? std::max(inHeight, outHeight) : BandHeight(inHeight, outHeight) * factor;
}

void PageZoom::Open(const ImageInfo& in, const ImageInfo& out, int pixelFormat) {
    inWidth_ = in.width;
    outWidth_ = out.width;
    pixelFormat_ = pixelFormat;
    const std::uint32_t factor = WholeFactor(in.height, out.height);
    outBand_ = BandHeight(in.height, out.height);
    inBand_ = factor == 0 ? in.height : outBand_ * factor;
    outLeft_ = out.height;
    OpenBand();
}

void PageZoom::OpenBand() {
    if (outLeft_ < outBand_) {  // the last one
        inBand_ = inBand_ / outBand_ * outLeft_;
        outBand_ = outLeft_;
    }
    constexpr int kBilinear = 2;
    zoom_.Close();
    const int status = zoom_.Open(static_cast<int>(outWidth_), static_cast<int>(outBand_),
                                  static_cast<int>(inWidth_), static_cast<int>(inBand_), pixelFormat_, kBilinear);
    if (status != 0) {
        throw std::bad_alloc();  // sizes and format are valid
    }
    outLeft_ -= outBand_;
    unreadInBand_ = outBand_;
}

void PageZoom::Send(std::uint8_t* line) {
    if (unreadInBand_ == 0 && outLeft_ != 0) {
        OpenBand();
    }
    Check(zoom_.Send(line));
}

void PageZoom::Read(std::uint8_t* line) {
    Check(zoom_.Read(line));
    --unreadInBand_;
}

}  // namespace platen_tool
