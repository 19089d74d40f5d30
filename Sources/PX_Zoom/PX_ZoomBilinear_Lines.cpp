#include <type_traits>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

// The passes as members: each hands its kernel what the object holds. Work lines arrive as A*, but hold 32-bit
// whole numbers, except for the accumulator. Without samples nothing is touched, vertCursor included.

namespace {

const platen::VertKernels& Vert() {
    return *platen::Kernels().vert;
}

void Add(std::uint32_t* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
    Vert().addU32(acc, line, weight, count);
}

void Add(double* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
    Vert().addF64(acc, line, weight, count);
}

// Whether a line averages whole ones, as many as a power of two: then the sums are most often multiples of the
// weight.
bool AveragesWholeLines(const PX_Zoom2_Param& p) {
    if (p.startWeight < 1 || p.endWeight != 0 || p.weightSum < p.startWeight || p.weightSum % p.startWeight != 0) {
        return false;
    }
    const std::int32_t lines = p.weightSum / p.startWeight;
    return (lines & (lines - 1)) == 0;
}

void Reduce(std::uint8_t* out, const std::uint32_t* acc, const PX_Zoom2_Param& p, std::size_t count) {
    const auto kernel = AveragesWholeLines(p) ? Vert().reduceMultiplesToU8 : Vert().reduceU32ToU8;
    kernel(out, acc, p.weightSum, count);
}

void Reduce(std::uint16_t* out, const std::uint32_t* acc, const PX_Zoom2_Param& p, std::size_t count) {
    const auto kernel = AveragesWholeLines(p) ? Vert().reduceMultiplesToU16 : Vert().reduceU32ToU16;
    kernel(out, acc, p.weightSum, count);
}

void Reduce(std::uint8_t* out, const double* acc, const PX_Zoom2_Param& p, std::size_t count) {
    Vert().reduceF64ToU8(out, acc, p.weightSum, count);
}

void Reduce(std::uint16_t* out, const double* acc, const PX_Zoom2_Param& p, std::size_t count) {
    Vert().reduceF64ToU16(out, acc, p.weightSum, count);
}

constexpr auto ExpandKernel(const std::uint32_t*, const std::uint8_t*) {
    return &platen::VertKernels::expandU32ToU8;
}

constexpr auto ExpandKernel(const std::uint32_t*, const std::uint16_t*) {
    return &platen::VertKernels::expandU32ToU16;
}

constexpr auto ExpandKernel(const double*, const std::uint8_t*) {
    return &platen::VertKernels::expandF64ToU8;
}

constexpr auto ExpandKernel(const double*, const std::uint16_t*) {
    return &platen::VertKernels::expandF64ToU16;
}

void Copy(std::uint8_t* out, const std::uint32_t* line, std::size_t count) {
    Vert().equalToU8(out, line, count);
}

void Copy(std::uint16_t* out, const std::uint32_t* line, std::size_t count) {
    Vert().equalToU16(out, line, count);
}

}  // namespace

template <class A, class S>
void PX_ZoomBilinear::Expand_Horz(A* out, S* src) {
    // Whoever calls this has the records followed as they are now: nothing is planned, nothing believed.
    const platen::HorzPass pass = platen::ColumnsOf(*this);
    auto* numbers = reinterpret_cast<std::uint32_t*>(out);
    if constexpr (std::is_same_v<A, double>) {
        platen::reference::ExpandHorz<double>(numbers, src, pass);
    } else {
        platen::reference::ExpandHorz<std::uint32_t>(numbers, src, pass);
    }
}

template <class A>
void PX_ZoomBilinear::Add_ReduceVert(A* acc, void* line, int weight) {
    Add(acc, static_cast<const std::uint32_t*>(line), weight, platen::DstSamples(*this));
}

template <class S, class A>
void PX_ZoomBilinear::Reduce_Vert(S* out, A* acc) {
    if (const std::size_t count = platen::DstSamples(*this); count != 0) {
        Reduce(out, acc, *vertCursor, count);
    }
}

template <class S, class A>
void PX_ZoomBilinear::Expand_Vert(S* out, A* upper, A* lower) {
    if (const std::size_t count = platen::DstSamples(*this); count != 0) {
        const platen::VertWeights weights = {vertCursor->startWeight, vertCursor->endWeight, vertCursor->weightSum};
        const auto kernel = Vert().*ExpandKernel(upper, out);
        kernel(out, reinterpret_cast<const std::uint32_t*>(upper), reinterpret_cast<const std::uint32_t*>(lower),
               weights, count);
    }
}

template <class S>
void PX_ZoomBilinear::Equal_Vert(S* out, std::uint32_t* line) {
    Copy(out, line, platen::DstSamples(*this));
}

template void PX_ZoomBilinear::Expand_Horz(std::uint32_t*, std::uint8_t*);
template void PX_ZoomBilinear::Expand_Horz(std::uint32_t*, std::uint16_t*);
template void PX_ZoomBilinear::Expand_Horz(double*, std::uint8_t*);
template void PX_ZoomBilinear::Expand_Horz(double*, std::uint16_t*);
template void PX_ZoomBilinear::Add_ReduceVert(std::uint32_t*, void*, int);
template void PX_ZoomBilinear::Add_ReduceVert(double*, void*, int);
template void PX_ZoomBilinear::Reduce_Vert(std::uint8_t*, std::uint32_t*);
template void PX_ZoomBilinear::Reduce_Vert(std::uint16_t*, std::uint32_t*);
template void PX_ZoomBilinear::Reduce_Vert(std::uint8_t*, double*);
template void PX_ZoomBilinear::Reduce_Vert(std::uint16_t*, double*);
template void PX_ZoomBilinear::Expand_Vert(std::uint8_t*, std::uint32_t*, std::uint32_t*);
template void PX_ZoomBilinear::Expand_Vert(std::uint16_t*, std::uint32_t*, std::uint32_t*);
template void PX_ZoomBilinear::Expand_Vert(std::uint8_t*, double*, double*);
template void PX_ZoomBilinear::Expand_Vert(std::uint16_t*, double*, double*);
template void PX_ZoomBilinear::Equal_Vert(std::uint8_t*, std::uint32_t*);
template void PX_ZoomBilinear::Equal_Vert(std::uint16_t*, std::uint32_t*);
