#include <algorithm>
#include <cstring>

#include "Sources/PX_Zoom/LineKernels.h"
#include "Sources/Support/Truncate.h"

// The contract is in LineKernels.h. All others are held against these loops: read them, don't tune them.

namespace platen::reference {

namespace {

// Samples are reached as bytes, since 16-bit ones may lie at odd addresses.
template <class S>
S Load(const S* line, std::size_t index) {
    S sample;
    std::memcpy(&sample, reinterpret_cast<const unsigned char*>(line) + index * sizeof(S), sizeof(S));
    return sample;
}

template <class S>
void Store(S* line, std::size_t index, S sample) {
    std::memcpy(reinterpret_cast<unsigned char*>(line) + index * sizeof(S), &sample, sizeof(S));
}

// The whole part of a quotient. The horizontal pass stores it, the vertical one its low bits.
std::uint32_t WholePart(std::uint32_t quotient) {
    return quotient;
}

std::uint32_t WholePart(double quotient) {
    return Truncate<std::uint32_t>(quotient);
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

std::uint32_t Divided(std::uint32_t sum, std::int32_t weightSum) {
    return weightSum != 0 ? sum / static_cast<std::uint32_t>(weightSum) : 0;
}

double Divided(double sum, std::int32_t weightSum) {
    return sum / weightSum;
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

template <class A>
void AddReduceVert(A* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
    if (weight == 0) {
        return;
    }
    for (std::size_t k = 0; k < count; ++k) {
        acc[k] += static_cast<A>(line[k]) * static_cast<A>(weight);
    }
}

template <class S, class A>
void ReduceVert(S* out, const A* acc, std::int32_t weightSum, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        Store(out, k, static_cast<S>(WholePart(Divided(acc[k], weightSum))));
    }
}

template <class A, class S>
void ExpandVert(S* out, const std::uint32_t* upper, const std::uint32_t* lower, const PX_Zoom2_Param& weights,
                std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        const A above = static_cast<A>(upper[k]) * static_cast<A>(weights.startWeight);
        const A below = static_cast<A>(lower[k]) * static_cast<A>(weights.endWeight);
        Store(out, k, static_cast<S>(WholePart(Divided(above + below, weights.weightSum))));
    }
}

template <class S>
void EqualVert(S* out, const std::uint32_t* line, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        Store(out, k, static_cast<S>(line[k]));
    }
}

void UnpackBits(std::uint8_t* out, const std::uint8_t* bits, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        out[x] = (bits[x / 8] & (0x80 >> (x % 8))) != 0 ? 255 : 0;
    }
}

void PackBits(std::uint8_t* bits, const std::uint8_t* bytes, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        if (x % 8 == 0) {
            bits[x / 8] = 0;
        }
        if (bytes[x] >= 128) {
            bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | (0x80 >> (x % 8)));
        }
    }
}

template void ExpandHorz<std::uint32_t>(std::uint32_t*, const std::uint8_t*, const HorzPass&);
template void ExpandHorz<std::uint32_t>(std::uint32_t*, const std::uint16_t*, const HorzPass&);
template void ExpandColumns(std::uint32_t*, const std::uint8_t*, const HorzPass&, std::int32_t);
template void ExpandColumns(std::uint32_t*, const std::uint16_t*, const HorzPass&, std::int32_t);
template void ExpandHorz<double>(std::uint32_t*, const std::uint8_t*, const HorzPass&);
template void ExpandHorz<double>(std::uint32_t*, const std::uint16_t*, const HorzPass&);
template void AddReduceVert(std::uint32_t*, const std::uint32_t*, std::int32_t, std::size_t);
template void AddReduceVert(double*, const std::uint32_t*, std::int32_t, std::size_t);
template void ReduceVert(std::uint8_t*, const std::uint32_t*, std::int32_t, std::size_t);
template void ReduceVert(std::uint16_t*, const std::uint32_t*, std::int32_t, std::size_t);
template void ReduceVert(std::uint8_t*, const double*, std::int32_t, std::size_t);
template void ReduceVert(std::uint16_t*, const double*, std::int32_t, std::size_t);
template void ExpandVert<std::uint32_t>(std::uint8_t*, const std::uint32_t*, const std::uint32_t*,
                                        const PX_Zoom2_Param&, std::size_t);
template void ExpandVert<std::uint32_t>(std::uint16_t*, const std::uint32_t*, const std::uint32_t*,
                                        const PX_Zoom2_Param&, std::size_t);
template void ExpandVert<double>(std::uint8_t*, const std::uint32_t*, const std::uint32_t*, const PX_Zoom2_Param&,
                                 std::size_t);
template void ExpandVert<double>(std::uint16_t*, const std::uint32_t*, const std::uint32_t*, const PX_Zoom2_Param&,
                                 std::size_t);
template void EqualVert(std::uint8_t*, const std::uint32_t*, std::size_t);
template void EqualVert(std::uint16_t*, const std::uint32_t*, std::size_t);

}  // namespace platen::reference
