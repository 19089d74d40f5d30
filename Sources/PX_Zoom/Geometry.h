#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

// Counts that set-up and line pipeline share. All are made in 64 bits, since the fields' 32 would not hold them for
// the largest sizes. Not installed.

namespace platen {

// Samples of a pixel as the passes see it (bilevel pixels have become bytes); 0 for anything else.
inline std::int32_t SamplesPerPixel(std::int32_t bitsPerPixel) {
    switch (bitsPerPixel) {
        case 32:
        case 64:
            return 4;
        case 24:
        case 48:
            return 3;
        case 8:
        case 16:
            return 1;
        default:
            return 0;
    }
}

inline bool HasWideSamples(std::int32_t bitsPerPixel) {
    return bitsPerPixel == 16 || bitsPerPixel == 48 || bitsPerPixel == 64;
}

// Samples of a destination line; none where its width is negative.
inline std::size_t DstSamples(const PX_ZoomBilinear& zoom) {
    return static_cast<std::size_t>(std::max(zoom.dstWidth, 0)) *
           static_cast<std::size_t>(SamplesPerPixel(zoom.bitsPerPixel));
}

// What the horizontal pass needs of a scaler.
inline HorzPass ColumnsOf(const PX_ZoomBilinear& zoom) {
    return {zoom.horzParam, zoom.dstWidth, zoom.srcWidth, SamplesPerPixel(zoom.bitsPerPixel),
            HasWideSamples(zoom.bitsPerPixel) ? 2 : 1};
}

// What workLine[1] has after its numbers: no pass goes there, so a plan of the horizontal one may.
inline PlanRoom RoomOf(const PX_ZoomBilinear& zoom) {
    const std::size_t used = DstSamples(zoom) * sizeof(std::uint32_t);
    const std::size_t bytes = zoom.workLineBytes;
    if (bytes <= used || zoom.workLine[1] == nullptr) {
        return {nullptr, 0};
    }
    return {static_cast<unsigned char*>(zoom.workLine[1]) + used, bytes - used};
}

// Bytes of a work line's buffer: what the field says, or where its 29 bits lost some, what a line of doubles needs.
// Negative where both widths are.
inline std::int64_t WorkBufferBytes(const PX_ZoomBilinear& zoom) {
    if (zoom.dstWidth < 0 && zoom.srcWidth < 0) {
        return -1;
    }
    const std::int64_t doubles = std::int64_t{std::max(zoom.dstWidth, 0)} * SamplesPerPixel(zoom.bitsPerPixel);
    return std::max<std::int64_t>(zoom.workLineBytes, doubles * static_cast<std::int64_t>(sizeof(double)));
}

}  // namespace platen
