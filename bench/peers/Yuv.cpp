#include <libyuv/scale.h>
#include <libyuv/scale_rgb.h>
#include <libyuv/version.h>

#include "bench/peers/Peer.h"

namespace platen_peers {
namespace {

// Box is a true average only where both sides shrink to less than half; otherwise the library itself takes bilinear
// samples. Its 24-bit scaler goes through 32 bits and averages at 2 and 4 only.
void Resize(Peers& peers, const Image& from, int width, int height, Scaling scaling) {
    const bool reduce = scaling == Scaling::kReduce;
    const libyuv::FilterMode mode = reduce ? libyuv::kFilterBox : libyuv::kFilterBilinear;
    const auto stride = static_cast<int>(from.RowBytes());
    const auto out = std::make_shared<Image>(width, height, from.BitsPerPixel());
    const auto outStride = static_cast<int>(out->RowBytes());
    const std::string suffix = reduce ? " Box" : " Bilinear";
    if (from.BitsPerPixel() == 8) {
        peers.push_back({"libyuv ScalePlane" + suffix, reduce,
                         [&from, out, stride, outStride, mode] {
                             libyuv::ScalePlane(from.Data(), stride, from.Width(), from.Height(), out->Data(),
                                                outStride, out->Width(), out->Height(), mode);
                         },
                         out});
    } else if (from.BitsPerPixel() == 24) {
        peers.push_back({"libyuv RGBScale" + suffix, false,
                         [&from, out, stride, outStride, mode] {
                             libyuv::RGBScale(from.Data(), stride, from.Width(), from.Height(), out->Data(),
                                              outStride, out->Width(), out->Height(), mode);
                         },
                         out});
    }
}

}  // namespace

Library Yuv() {
    return {"libyuv " + std::to_string(LIBYUV_VERSION), nullptr, nullptr, Resize};
}

}  // namespace platen_peers
