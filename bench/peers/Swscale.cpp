extern "C" {
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <cstdint>

#include "bench/peers/Peer.h"

namespace platen_peers {
namespace {

AVPixelFormat FormatOf(int bitsPerPixel) {
    switch (bitsPerPixel) {
        case 8:
            return AV_PIX_FMT_GRAY8;
        case 16:
            return AV_PIX_FMT_GRAY16;
        case 24:
            return AV_PIX_FMT_RGB24;
        case 48:
            return AV_PIX_FMT_RGB48;
        default:
            return AV_PIX_FMT_NONE;
    }
}

// The context is made once, outside what is timed.
void Resize(Peers& peers, const Image& from, int width, int height, Scaling scaling) {
    const AVPixelFormat format = FormatOf(from.BitsPerPixel());
    const bool reduce = scaling == Scaling::kReduce;
    if (format == AV_PIX_FMT_NONE) {
        return;
    }
    const std::shared_ptr<SwsContext> context(
        sws_getContext(from.Width(), from.Height(), format, width, height, format, reduce ? SWS_AREA : SWS_BILINEAR,
                       nullptr, nullptr, nullptr),
        sws_freeContext);
    if (context == nullptr) {
        return;
    }
    const auto out = std::make_shared<Image>(width, height, from.BitsPerPixel());
    const bool named = reduce && from.BitsPerPixel() <= 24;
    peers.push_back({reduce ? "swscale AREA" : "swscale BILINEAR", named,
                     [&from, out, context] {
                         const std::uint8_t* planes[4] = {from.Data(), nullptr, nullptr, nullptr};
                         const int strides[4] = {static_cast<int>(from.RowBytes()), 0, 0, 0};
                         std::uint8_t* outPlanes[4] = {out->Data(), nullptr, nullptr, nullptr};
                         const int outStrides[4] = {static_cast<int>(out->RowBytes()), 0, 0, 0};
                         sws_scale(context.get(), planes, strides, 0, from.Height(), outPlanes, outStrides);
                     },
                     out});
}

}  // namespace

Library Swscale() {
    av_log_set_level(AV_LOG_ERROR);
    return {"swscale " + std::to_string(LIBSWSCALE_VERSION_MAJOR) + "." + std::to_string(LIBSWSCALE_VERSION_MINOR),
            nullptr, nullptr, Resize};
}

}  // namespace platen_peers
