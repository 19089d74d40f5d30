#include "Sources/PX_Zoom/VertPass.h"

#include <algorithm>

#include "Sources/PX_Zoom/LineKernels.h"

// The plain passes as a kernel table.

namespace platen {
namespace {

template <class A>
void Set(A* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
    std::fill_n(acc, count, A{});
    reference::AddReduceVert(acc, line, weight, count);
}

template <class A, class S>
void Expand(S* out, const std::uint32_t* upper, const std::uint32_t* lower, const VertWeights& weights,
            std::size_t count) {
    PX_Zoom2_Param record = {};
    record.startWeight = weights.upper;
    record.endWeight = weights.lower;
    record.weightSum = weights.sum;
    reference::ExpandVert<A>(out, upper, lower, record, count);
}

}  // namespace

constinit const VertKernels kVert_reference = {
    Set<std::uint32_t>,
    Set<double>,
    reference::AddReduceVert<std::uint32_t>,
    reference::AddReduceVert<double>,
    reference::ReduceVert<std::uint8_t, std::uint32_t>,
    reference::ReduceVert<std::uint16_t, std::uint32_t>,
    reference::ReduceVert<std::uint8_t, std::uint32_t>,
    reference::ReduceVert<std::uint16_t, std::uint32_t>,
    reference::ReduceVert<std::uint8_t, double>,
    reference::ReduceVert<std::uint16_t, double>,
    Expand<std::uint32_t, std::uint8_t>,
    Expand<std::uint32_t, std::uint16_t>,
    Expand<double, std::uint8_t>,
    Expand<double, std::uint16_t>,
    reference::EqualVert<std::uint8_t>,
    reference::EqualVert<std::uint16_t>,
};

}  // namespace platen
