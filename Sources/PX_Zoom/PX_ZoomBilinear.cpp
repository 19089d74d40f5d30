#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/Status.h"

// Set-up: the object, its memory and the choice of accumulators. The tables are in PX_ZoomBilinear_Params.cpp, the
// streaming in PX_ZoomBilinear_Stream.cpp, the passes in PX_ZoomBilinear_Lines.cpp.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // defined for the compilers that we support
namespace {
constexpr std::size_t kPointer = sizeof(void*);
constexpr std::size_t kOwn = sizeof(PX_Zoom);
static_assert(offsetof(PX_Zoom, zoom) == kPointer && offsetof(PX_Zoom, linesReady) == 2 * kPointer &&
                  offsetof(PX_Zoom, active) == 2 * kPointer + 4 && offsetof(PX_Zoom, method) == 2 * kPointer + 8 &&
                  offsetof(PX_Zoom, dstWidth) == 2 * kPointer + 12 &&
                  offsetof(PX_Zoom, dstHeight) == 2 * kPointer + 16 &&
                  offsetof(PX_Zoom, srcWidth) == 2 * kPointer + 20 &&
                  offsetof(PX_Zoom, srcHeight) == 2 * kPointer + 24 &&
                  offsetof(PX_Zoom, pixelFormat) == 2 * kPointer + 28,
              "field order");
static_assert(offsetof(PX_ZoomBilinear, bitsPerPixel) == kOwn &&
                  offsetof(PX_ZoomBilinear, dstLineBytes) == kOwn + 4 &&
                  offsetof(PX_ZoomBilinear, srcLineBytes) == kOwn + 8 &&
                  offsetof(PX_ZoomBilinear, workLineBytes) == kOwn + 12 &&
                  offsetof(PX_ZoomBilinear, srcLineIndex) == kOwn + 16 &&
                  offsetof(PX_ZoomBilinear, currentWork) == kOwn + 20 &&
                  offsetof(PX_ZoomBilinear, resendLine) == kOwn + 24 &&
                  offsetof(PX_ZoomBilinear, horzDouble) == kOwn + 28 &&
                  offsetof(PX_ZoomBilinear, vertDouble) == kOwn + 32,
              "field order");
constexpr std::size_t kPointers = offsetof(PX_ZoomBilinear, workLine);
static_assert(kPointers >= kOwn + 36 && kPointers < kOwn + 36 + kPointer &&
                  offsetof(PX_ZoomBilinear, bilevelLine) == kPointers + 2 * kPointer &&
                  offsetof(PX_ZoomBilinear, horzParam) == kPointers + 3 * kPointer &&
                  offsetof(PX_ZoomBilinear, vertParam) == kPointers + 4 * kPointer &&
                  offsetof(PX_ZoomBilinear, vertCursor) == kPointers + 5 * kPointer &&
                  sizeof(PX_ZoomBilinear) == kPointers + 6 * kPointer,
              "field order");
}  // namespace
#pragma GCC diagnostic pop

namespace {

bool IsPixelFormat(int format) {
    return format == 1 || format == 8 || format == 16 || format == 24 || format == 32 || format == 48 ||
           format == 64;
}

// Whether 32-bit sums of samples times weights could overflow by the axis' size alone. (A reduction can still ask
// for doubles by its weights.)
std::int32_t NeedsDouble(int dstCount, int srcCount, int limit) {
    const bool reduces = dstCount < srcCount && srcCount >= limit;
    const bool enlarges = dstCount > srcCount && dstCount >= limit;
    return reduces || enlarges ? 1 : 0;
}

std::int32_t LineBytes(std::int32_t width, std::int32_t bitsPerPixel) {
    return static_cast<std::int32_t>((std::int64_t{width} * bitsPerPixel + 7) / 8);
}

// Takes a block and clears it; a size that doesn't fit the allocator's argument fails.
bool Take(void* slot, std::int64_t size) {
    if (size < 0 || size > std::numeric_limits<long>::max() ||
        PX_Zoom_MemAlloc(slot, static_cast<long>(size)) != 0) {
        return false;
    }
    void* block = nullptr;
    std::memcpy(&block, slot, sizeof block);
    std::memset(block, 0, static_cast<std::size_t>(size));
    return true;
}

bool TakeBuffers(PX_ZoomBilinear& zoom) {
    constexpr std::int64_t kRecord = sizeof(PX_Zoom2_Param);
    const std::int64_t columns = std::max(zoom.dstWidth, zoom.srcWidth);
    const std::int64_t lines = std::max(zoom.dstHeight, zoom.srcHeight);
    const std::int64_t work = platen::WorkBufferBytes(zoom);
    const bool taken = Take(&zoom.workLine[0], work) && Take(&zoom.workLine[1], work) &&
                       Take(&zoom.horzParam, columns * kRecord) && Take(&zoom.vertParam, lines * kRecord);
    zoom.vertCursor = zoom.vertParam;
    return taken && (zoom.pixelFormat != 1 || Take(&zoom.bilevelLine, columns));
}

// Fills one axis' table and settles its accumulators.
void MakeTable(PX_ZoomBilinear& zoom, PX_Zoom2_Param* table, int dstCount, int srcCount, std::int32_t* useDouble) {
    if (srcCount <= dstCount) {
        zoom.Calc_ExpandParam(table, dstCount, srcCount);
    } else if (zoom.Calc_ReducedParam(table, dstCount, srcCount) != 0) {
        *useDouble = 1;
    }
}

}  // namespace

PX_ZoomBilinear::PX_ZoomBilinear()
    : workLine{nullptr, nullptr}, bilevelLine(nullptr), horzParam(nullptr), vertParam(nullptr) {
    PX_ZoomBilinear::Close();
}

PX_ZoomBilinear::~PX_ZoomBilinear() {
    PX_ZoomBilinear::Close();
}

int PX_ZoomBilinear::Open(int newDstWidth, int newDstHeight, int newSrcWidth, int newSrcHeight, int newPixelFormat,
                          int newMethod) {
    Close();
    if (newDstWidth == 0 || newDstHeight == 0 || newSrcWidth == 0 || newSrcHeight == 0 ||
        !IsPixelFormat(newPixelFormat) || newMethod != 2) {
        Close();
        return platen::kZoomBadArgument;
    }
    const int limit = platen::HasWideSamples(newPixelFormat) ? 65536 : 16777216;
    horzDouble = NeedsDouble(newDstWidth, newSrcWidth, limit);
    vertDouble = NeedsDouble(newDstHeight, newSrcHeight, limit);
    active = 1;
    dstWidth = newDstWidth;
    dstHeight = newDstHeight;
    srcWidth = newSrcWidth;
    srcHeight = newSrcHeight;
    pixelFormat = newPixelFormat;
    bitsPerPixel = pixelFormat == 1 ? 8 : pixelFormat;
    dstLineBytes = LineBytes(dstWidth, bitsPerPixel);
    srcLineBytes = LineBytes(srcWidth, bitsPerPixel);
    workLineBytes =
        static_cast<std::uint32_t>(std::int64_t{std::max(dstWidth, srcWidth)} * (bitsPerPixel + 7)) & 0x1FFFFFFFu;
    const bool taken = TakeBuffers(*this);
    if (taken) {
        MakeTable(*this, horzParam, dstWidth, srcWidth, &horzDouble);
        MakeTable(*this, vertParam, dstHeight, srcHeight, &vertDouble);
    }
    if (dstWidth == srcWidth && dstHeight >= srcHeight) {
        active = 0;
    }
    if (!taken) {
        Close();
        return platen::kZoomOutOfMemory;
    }
    return platen::kZoomDone;
}

void PX_ZoomBilinear::Close() {
    PX_Zoom_MemFree(&workLine[0]);
    PX_Zoom_MemFree(&workLine[1]);
    PX_Zoom_MemFree(&bilevelLine);
    PX_Zoom_MemFree(&horzParam);
    PX_Zoom_MemFree(&vertParam);
    vertCursor = nullptr;
    linesReady = 0;
    active = 0;
    dstWidth = 0;
    dstHeight = 0;
    srcWidth = 0;
    srcHeight = 0;
    pixelFormat = 0;
    bitsPerPixel = 0;
    dstLineBytes = 0;
    srcLineBytes = 0;
    workLineBytes = 0;
    srcLineIndex = 0;
    currentWork = 0;
    resendLine = 0;
    horzDouble = 0;
    vertDouble = 0;
}
