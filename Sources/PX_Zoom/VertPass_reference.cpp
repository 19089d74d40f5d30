#include <algorithm>
#include <cstring>

#include "Sources/PX_Zoom/Quotient.h"
#include "Sources/PX_Zoom/VertPass.h"

// All others are held against these loops: read them, don't tune them.

namespace platen {
namespace {

// Samples are reached as bytes, since 16-bit ones may lie at odd addresses.
template <class S>
void Store(S* line, std::size_t index, S sample) {
    std::memcpy(reinterpret_cast<unsigned char*>(line) + index * sizeof(S), &sample, sizeof(S));
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
        Store(out, k, static_cast<S>(reference::WholePart(reference::Divided(acc[k], weightSum))));
    }
}

template <class A, class S>
void ExpandVert(S* out, const std::uint32_t* upper, const std::uint32_t* lower, const VertWeights& weights,
                std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        const A above = static_cast<A>(upper[k]) * static_cast<A>(weights.upper);
        const A below = static_cast<A>(lower[k]) * static_cast<A>(weights.lower);
        Store(out, k, static_cast<S>(reference::WholePart(reference::Divided(above + below, weights.sum))));
    }
}

template <class S>
void EqualVert(S* out, const std::uint32_t* line, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        Store(out, k, static_cast<S>(line[k]));
    }
}

template <class A>
void Set(A* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
    std::fill_n(acc, count, A{});
    AddReduceVert(acc, line, weight, count);
}

}  // namespace

constinit const VertKernels kVert_reference = {
    .setU32 = Set<std::uint32_t>,
    .setF64 = Set<double>,
    .addU32 = AddReduceVert<std::uint32_t>,
    .addF64 = AddReduceVert<double>,
    .reduceU32ToU8 = ReduceVert<std::uint8_t, std::uint32_t>,
    .reduceU32ToU16 = ReduceVert<std::uint16_t, std::uint32_t>,
    .reduceMultiplesToU8 = ReduceVert<std::uint8_t, std::uint32_t>,
    .reduceMultiplesToU16 = ReduceVert<std::uint16_t, std::uint32_t>,
    .reduceF64ToU8 = ReduceVert<std::uint8_t, double>,
    .reduceF64ToU16 = ReduceVert<std::uint16_t, double>,
    .expandU32ToU8 = ExpandVert<std::uint32_t, std::uint8_t>,
    .expandU32ToU16 = ExpandVert<std::uint32_t, std::uint16_t>,
    .expandF64ToU8 = ExpandVert<double, std::uint8_t>,
    .expandF64ToU16 = ExpandVert<double, std::uint16_t>,
    .equalToU8 = EqualVert<std::uint8_t>,
    .equalToU16 = EqualVert<std::uint16_t>,
};

}  // namespace platen
