#pragma once

#include <cstddef>
#include <span>

#include "LineFilters/HsvRow.h"
#include "LineFilters/SharpRow.h"
#include "Sources/PX_Zoom/BilevelLine.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/VertPass.h"

// The row kernels in use. A variant is a complete table: every entry is its best function for the job, and every
// entry gives the bytes of the reference's. Not installed; nothing here leaves the library.

namespace platen {

struct KernelTable {
    const char* name;  // "reference", or a target's: cmake/PlatenKernels.cmake lists them
    SharpRowFn sharpRow;
    SharpPutFn sharpPut;
    HsvRowFn hsvRow;
    const HorzKernels* horz;
    const VertKernels* vert;
    UnpackBitsFn unpackBits;
    PackBitsFn packBits;
};

// How many of the targets run, each being asked, from the plainest on: up to the first that doesn't, since each
// builds on those before it.
constexpr std::size_t CountUsable(std::span<bool (*const)()> runs) {
    std::size_t count = 0;
    while (count < runs.size() && runs[count]()) {
        ++count;
    }
    return count;
}

// The table in use: valid before any constructor has run, and the best for this processor from the library's load
// on. The library reads no environment, so another variant is chosen by a call only.
const KernelTable& Kernels();

// The variants that this processor can run, the plainest first. Never empty.
std::span<const KernelTable* const> AvailableKernels();

// Makes a variant the one in use. For tests, fuzzers and the bench; not while another thread is in the library.
void UseKernels(const KernelTable& table);

}  // namespace platen
