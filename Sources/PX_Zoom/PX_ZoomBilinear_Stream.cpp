#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/PX_Zoom/Status.h"

// The line pipeline. Its states:
//
//   closed       no buffers                   Send, Read: 3
//   accepting    linesReady == 0              Send: goes on, or delivers; Read: 3
//   delivering   linesReady > 0               Read: goes on, or accepts; Send: 3
//   finished     vertCursor past the last     Send, Read: 3
//
// (A null line is 2 before any of these, but for Send while a resend is pending.) A refused call
// changes nothing.
//
// Reducing: workLine[0] is the accumulator, workLine[1] the newest source line, scaled horizontally. A source line
// that two destination lines share completes the first one when it is sent; resendLine then stays 1, and the Read
// of that first line adds it to the next one. Enlarging: the two work lines hold the two newest source lines;
// currentWork is the older one, which the next source line overwrites. (With one source line it stays 0, and the
// other work line is all zeros.) Keeping: workLine[0] is the line.

namespace {

std::uint32_t* Whole(void* workLine) {
    return static_cast<std::uint32_t*>(workLine);
}

bool Reduces(const PX_ZoomBilinear& zoom) {
    return zoom.dstHeight < zoom.srcHeight;
}

bool Enlarges(const PX_ZoomBilinear& zoom) {
    return zoom.dstHeight > zoom.srcHeight;
}

// Whether the pipeline takes and gives no more lines: closed, or every destination line has been read. (Where a
// host has written a larger emit or linesReady, lines may still seem to wait.)
bool IsAtEnd(const PX_ZoomBilinear& zoom) {
    if (zoom.vertParam == nullptr) {
        return true;
    }
    return zoom.dstHeight > 0 && zoom.vertCursor - zoom.vertParam >= zoom.dstHeight;
}

// The counter of source lines runs on without end where the height is negative, so it wraps.
void CountLine(PX_ZoomBilinear& zoom) {
    zoom.srcLineIndex = static_cast<std::int32_t>(static_cast<std::uint32_t>(zoom.srcLineIndex) + 1u);
}

template <class S>
void ScaleHorizontally(PX_ZoomBilinear& zoom, void* out, void* source) {
    if (zoom.horzDouble == 1) {
        zoom.Expand_Horz(static_cast<double*>(out), static_cast<S*>(source));
    } else {
        zoom.Expand_Horz(Whole(out), static_cast<S*>(source));
    }
}

// A line that is as wide as the source's looks at no records. (Of one pixel every sample is the first.)
bool Keeps(const PX_ZoomBilinear& zoom, std::uint32_t* out, const std::uint8_t* source) {
    const platen::HorzKernels& kernels = *platen::Kernels().horz;
    if (zoom.dstWidth != zoom.srcWidth || zoom.srcWidth == 1 || kernels.keepU8 == nullptr) {
        return false;
    }
    const auto keep = platen::HasWideSamples(zoom.bitsPerPixel) ? kernels.keepU16 : kernels.keepU8;
    keep(out, source, platen::DstSamples(zoom));
    return true;
}

enum class Made { kNothing, kLine, kLineAndSum };

// The pass by a plan, where there is one, and the sum of lines along with it, where its kernel does that.
Made FollowPlan(const PX_ZoomBilinear& zoom, platen::HorzTarget to, const std::uint8_t* source) {
    const platen::HorzKernels& kernels = *platen::Kernels().horz;
    const platen::HorzPass pass = platen::ColumnsOf(zoom);
    platen::HorzPlan plan;
    if (zoom.horzDouble == 1 || !platen::FindPlan(plan, pass, platen::RoomOf(zoom), kernels.kinds)) {
        return Made::kNothing;
    }
    if ((kernels.sums & platen::PlanBit(plan.kind)) == 0) {
        to.sum = nullptr;
    }
    kernels.follow(to, source, pass, plan);
    return to.sum != nullptr ? Made::kLineAndSum : Made::kLine;
}

// Scales a source line to to.line; returns whether the sum is made, too.
bool HorizontalPass(PX_ZoomBilinear& zoom, const platen::HorzTarget& to, void* source) {
    const auto* const bytes = static_cast<const std::uint8_t*>(source);
    if (Keeps(zoom, to.line, bytes)) {
        return false;
    }
    const Made made = FollowPlan(zoom, to, bytes);
    if (made != Made::kNothing) {
        return made == Made::kLineAndSum;
    }
    if (platen::HasWideSamples(zoom.bitsPerPixel)) {
        ScaleHorizontally<std::uint16_t>(zoom, to.line, source);
    } else {
        ScaleHorizontally<std::uint8_t>(zoom, to.line, source);
    }
    return false;
}

int LineWeight(const PX_ZoomBilinear& zoom) {
    const PX_Zoom2_Param& record = *zoom.vertCursor;
    if (zoom.srcLineIndex == record.start) {
        return record.startWeight;
    }
    return zoom.srcLineIndex > record.wholeEnd ? record.endWeight : zoom.dstHeight;
}

// Starts a sum with the newest line, as if the accumulators were cleared and the line added: the rest of the buffer
// after them has been zero since Open, and no pass of a reduction writes there.
void StartSum(PX_ZoomBilinear& zoom) {
    const platen::VertKernels& kernels = *platen::Kernels().vert;
    const auto* const line = Whole(zoom.workLine[1]);
    const std::size_t count = platen::DstSamples(zoom);
    if (zoom.vertDouble == 1) {
        kernels.setF64(static_cast<double*>(zoom.workLine[0]), line, LineWeight(zoom), count);
    } else {
        kernels.setU32(Whole(zoom.workLine[0]), line, LineWeight(zoom), count);
    }
}

void AddToSum(PX_ZoomBilinear& zoom) {
    if (zoom.srcLineIndex == zoom.vertCursor->start) {
        StartSum(zoom);
    } else if (zoom.vertDouble == 1) {
        zoom.Add_ReduceVert(static_cast<double*>(zoom.workLine[0]), zoom.workLine[1], LineWeight(zoom));
    } else {
        zoom.Add_ReduceVert(Whole(zoom.workLine[0]), zoom.workLine[1], LineWeight(zoom));
    }
}

// Adds the newest line to the destination line being built; completes that where it is its last.
void AccumulateLine(PX_ZoomBilinear& zoom, void* source) {
    const PX_Zoom2_Param& record = *zoom.vertCursor;
    const platen::HorzTarget to = {Whole(zoom.workLine[1]),
                                   zoom.vertDouble == 1 ? nullptr : Whole(zoom.workLine[0]), LineWeight(zoom),
                                   zoom.srcLineIndex == record.start};
    if (zoom.resendLine == 1 || !HorizontalPass(zoom, to, source)) {
        AddToSum(zoom);
    }
    if (zoom.srcLineIndex != record.emit) {
        return;
    }
    if (record.endRemainder != 0) {
        zoom.resendLine = record.endWeight != zoom.dstHeight ? 1 : 0;
        --zoom.srcLineIndex;
    }
    zoom.linesReady = 1;
}

// Keeps the newest line; makes the lines of a run ready where it completes the pair that they need.
void BufferLine(PX_ZoomBilinear& zoom, void* source) {
    HorizontalPass(zoom, {Whole(zoom.workLine[zoom.currentWork]), nullptr, 0, false}, source);
    const bool first = zoom.srcLineIndex == 0;
    const bool needsNoPair = zoom.srcHeight == 1 || zoom.srcHeight == zoom.dstHeight;
    if (first ? needsNoPair : zoom.srcLineIndex >= zoom.vertCursor->start) {
        zoom.linesReady = zoom.vertCursor->emit;
    }
    if (Enlarges(zoom) && zoom.srcHeight > 1) {
        zoom.currentWork = 1 - zoom.currentWork;
    }
}

template <class S>
void VerticalPass(PX_ZoomBilinear& zoom, void* out) {
    auto* const line = static_cast<S*>(out);
    void* const current = zoom.workLine[zoom.currentWork];
    void* const other = zoom.workLine[1 - zoom.currentWork];
    if (Reduces(zoom)) {
        if (zoom.vertDouble == 1) {
            zoom.Reduce_Vert(line, static_cast<double*>(zoom.workLine[0]));
        } else {
            zoom.Reduce_Vert(line, Whole(zoom.workLine[0]));
        }
    } else if (Enlarges(zoom)) {
        if (zoom.vertDouble == 1) {
            zoom.Expand_Vert(line, static_cast<double*>(current), static_cast<double*>(other));
        } else {
            zoom.Expand_Vert(line, Whole(current), Whole(other));
        }
    } else {
        zoom.Equal_Vert(line, Whole(zoom.workLine[0]));
    }
}

}  // namespace

int PX_ZoomBilinear::Send(void* line) {
    if (line == nullptr && resendLine == 0) {
        return platen::kZoomBadArgument;
    }
    if (CheckData() != 0 || IsAtEnd(*this)) {
        return platen::kZoomOutOfOrder;
    }
    if (dstHeight < 0 || srcHeight < 0) {
        CountLine(*this);
        return platen::kZoomDone;
    }
    void* const source = pixelFormat == 1 ? bilevelLine : line;
    if (resendLine == 0 && pixelFormat == 1) {
        platen::Kernels().unpackBits(bilevelLine, static_cast<const std::uint8_t*>(line), srcWidth);
    }
    if (Reduces(*this)) {
        AccumulateLine(*this, source);
    } else {
        BufferLine(*this, source);
    }
    CountLine(*this);
    return platen::kZoomDone;
}

int PX_ZoomBilinear::Read(void* line) {
    if (line == nullptr) {
        return platen::kZoomBadArgument;
    }
    if (CheckData() == 0 || IsAtEnd(*this)) {
        return platen::kZoomOutOfOrder;
    }
    if (platen::HasWideSamples(bitsPerPixel)) {
        VerticalPass<std::uint16_t>(*this, line);
    } else {
        VerticalPass<std::uint8_t>(*this, pixelFormat == 1 ? bilevelLine : line);
    }
    if (pixelFormat == 1) {
        platen::Kernels().packBits(static_cast<std::uint8_t*>(line), bilevelLine, dstWidth);
    }
    ++vertCursor;
    --linesReady;
    if (resendLine != 1) {
        return platen::kZoomDone;
    }
    const int status = Send(nullptr);
    resendLine = 0;
    return status;
}
