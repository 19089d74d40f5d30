#include <algorithm>
#include <cstring>

#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/PX_Zoom/Quotient.h"

// All others are held against these loops: read them, don't tune them.

namespace platen::reference {

namespace {

// Samples are reached as bytes, since 16-bit ones may lie at odd addresses.
template <class S>
S Load(const S* line, std::size_t index) {
    S sample;
    std::memcpy(&sample, reinterpret_cast<const unsigned char*>(line) + index * sizeof(S), sizeof(S));
    return sample;
}

std::size_t Index(std::int32_t value) {
    return static_cast<std::size_t>(value);
}

// A sample of the line's pixel at a position, or 0 outside.
template <class A, class S>
A SampleAt(const S* src, std::int64_t position, const HorzPass& pass, std::size_t s) {
    if (position < 0 || position >= pass.srcWidth) {
        return A{0};
    }
    return static_cast<A>(Load(src, static_cast<std::size_t>(position) * Index(pass.samples) + s));
}

// One sample of a reduced column.
template <class A, class S>
A Average(const S* src, const PX_Zoom2_Param& p, const HorzPass& pass, std::size_t s) {
    A acc = SampleAt<A>(src, p.start, pass, s) * static_cast<A>(p.startWeight);
    const std::int64_t first = std::max<std::int64_t>(std::int64_t{p.start} + 1, 0);
    const std::int64_t last = std::min<std::int64_t>(p.wholeEnd, pass.srcWidth - 1);
    for (std::int64_t k = first; k <= last; ++k) {
        acc += SampleAt<A>(src, k, pass, s) * static_cast<A>(pass.dstWidth);
    }
    if (p.endWeight != 0) {
        acc += SampleAt<A>(src, std::int64_t{p.wholeEnd} + 1, pass, s) * static_cast<A>(p.endWeight);
    }
    return Divided(acc, p.weightSum);
}

// One sample of an enlarged column. Both neighbours are read, whatever their weights.
template <class A, class S>
A Between(const S* src, const PX_Zoom2_Param& p, const HorzPass& pass, std::size_t s) {
    const A left = SampleAt<A>(src, p.start, pass, s) * static_cast<A>(p.startWeight);
    const A right = SampleAt<A>(src, std::int64_t{p.start} + 1, pass, s) * static_cast<A>(p.endWeight);
    return Divided(left + right, p.weightSum);
}

template <class A, class S>
void Columns(std::uint32_t* out, const S* src, const HorzPass& pass, std::int32_t first) {
    const std::size_t n = Index(pass.samples);
    for (std::int32_t c = first; c < pass.dstWidth; ++c) {
        const PX_Zoom2_Param& p = pass.columns[c];
        for (std::size_t s = 0; s < n; ++s) {
            out[Index(c) * n + s] = WholePart(pass.dstWidth < pass.srcWidth ? Average<A>(src, p, pass, s)
                                                                            : Between<A>(src, p, pass, s));
        }
    }
}

template <class S>
void CopyOrRepeat(std::uint32_t* out, const S* src, const HorzPass& pass) {
    const std::size_t n = Index(pass.samples);
    for (std::size_t c = 0; c < Index(pass.dstWidth); ++c) {
        for (std::size_t s = 0; s < n; ++s) {
            out[c * n + s] = Load(src, pass.srcWidth != 1 ? c * n + s : 0);
        }
    }
}

}  // namespace

template <class A, class S>
void ExpandHorz(std::uint32_t* out, const S* src, const HorzPass& pass) {
    if (pass.dstWidth <= 0) {
        return;
    }
    const std::size_t n = Index(pass.samples);
    if (pass.srcWidth < 0) {
        std::memset(out, 0, Index(pass.dstWidth) * n * sizeof *out);
        return;
    }
    if (pass.dstWidth == pass.srcWidth || pass.srcWidth == 1) {
        CopyOrRepeat(out, src, pass);
        return;
    }
    Columns<A>(out, src, pass, 0);
}

template <class S>
void ExpandColumns(std::uint32_t* out, const S* src, const HorzPass& pass, std::int32_t first) {
    Columns<std::uint32_t>(out, src, pass, first);
}

template void ExpandHorz<std::uint32_t>(std::uint32_t*, const std::uint8_t*, const HorzPass&);
template void ExpandHorz<std::uint32_t>(std::uint32_t*, const std::uint16_t*, const HorzPass&);
template void ExpandColumns(std::uint32_t*, const std::uint8_t*, const HorzPass&, std::int32_t);
template void ExpandColumns(std::uint32_t*, const std::uint16_t*, const HorzPass&, std::int32_t);
template void ExpandHorz<double>(std::uint32_t*, const std::uint8_t*, const HorzPass&);
template void ExpandHorz<double>(std::uint32_t*, const std::uint16_t*, const HorzPass&);

}  // namespace platen::reference
