#include "Sources/PX_Zoom/PX_Zoom.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/PX_Zoom/Status.h"

namespace {

constexpr std::int32_t kBilinear = 2;
constexpr std::int32_t kSmallSource = 5;

// The place that the message names is part of the interface, so it does not follow this file's lines.
[[noreturn]] void FailAssertion() {
    std::fprintf(stderr, "%s:%u: failed assertion `%s'\n", "Sources/PX_Zoom/PX_Zoom", 84u, "0");
    std::fflush(stderr);  // the host may have given it a buffer
    std::abort();
}

}  // namespace

extern "C" {

int PX_Zoom_MemAlloc(void* slot, long size) {
    void* block = size < 0 ? nullptr : std::malloc(static_cast<std::size_t>(size));
    // The variable may be a pointer to anything, so it is written as bytes.
    std::memcpy(slot, &block, sizeof block);
    return block == nullptr ? 1 : 0;
}

void PX_Zoom_MemFree(void* slot) {
    if (slot == nullptr) {
        return;
    }
    void* block = nullptr;
    std::memcpy(&block, slot, sizeof block);
    if (block == nullptr) {
        return;
    }
    std::free(block);
    block = nullptr;
    std::memcpy(slot, &block, sizeof block);
}

int PX_Zoom_SamplePerPixel(int pixelFormat) {
    switch (pixelFormat) {
        case 32:
        case 64:
            return 4;
        case 24:
        case 48:
            return 3;
        case 1:
        case 8:
        case 16:
            return 1;
        default:
            return 0;
    }
}

int PX_Zoom_BitsPerSample(int pixelFormat) {
    switch (pixelFormat) {
        case 16:
        case 48:
        case 64:
            return 16;
        case 8:
        case 24:
        case 32:
            return 8;
        case 1:
            return 1;
        default:
            return 0;
    }
}

}  // extern "C"

PX_Zoom::PX_Zoom() : zoom(nullptr) {
    PX_Zoom::Close();
}

PX_Zoom::~PX_Zoom() {
    PX_Zoom::Close();
}

int PX_Zoom::Open(int newDstWidth, int newDstHeight, int newSrcWidth, int newSrcHeight, int newPixelFormat,
                  int newMethod) {
    if (zoom != nullptr) {
        return platen::kZoomOutOfOrder;
    }
    method = newMethod;
    const bool reduces = newDstWidth < newSrcWidth || newDstHeight < newSrcHeight;
    const bool small = newSrcWidth <= kSmallSource || newSrcHeight <= kSmallSource;
    if (reduces || (small && method != 1) || newPixelFormat == 1) {
        method = kBilinear;
    }
    if (method != 0 && method != kBilinear) {
        FailAssertion();
    }
    zoom = new (std::nothrow) PX_ZoomBilinear;
    if (zoom == nullptr) {
        return platen::kZoomBadArgument;
    }
    dstWidth = newDstWidth;
    dstHeight = newDstHeight;
    srcWidth = newSrcWidth;
    srcHeight = newSrcHeight;
    pixelFormat = newPixelFormat;
    return zoom->Open(dstWidth, dstHeight, srcWidth, srcHeight, pixelFormat, method);
}

void PX_Zoom::Close() {
    if (zoom != nullptr) {
        zoom->Close();
        delete zoom;
        zoom = nullptr;
    }
    method = 0;
    linesReady = 0;
    active = 0;
    dstWidth = 0;
    dstHeight = 0;
    srcWidth = 0;
    srcHeight = 0;
    pixelFormat = 0;
}

int PX_Zoom::Send(void* line) {
    return zoom != nullptr ? zoom->Send(line) : platen::kZoomOutOfOrder;
}

int PX_Zoom::Read(void* line) {
    return zoom != nullptr ? zoom->Read(line) : platen::kZoomOutOfOrder;
}

int PX_Zoom::CheckData() {
    return zoom != nullptr ? zoom->linesReady : linesReady;
}
