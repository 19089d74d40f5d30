#pragma once

#include <cstddef>
#include <span>

#include "LineFilters/HsvRow.h"
#include "LineFilters/SharpRow.h"
#include "Sources/PX_Zoom/BilevelLine.h"
#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/VertPass.h"

// The row kernels in use. A variant is a complete table: every entry is its best function for the job, and every
// entry gives the bytes of the reference's. Not installed; nothing here leaves the library.

namespace platen {

struct KernelTable {
    const char* name;  // "reference", "baseline", "avx2", "avx512"
    SharpRowFn sharpRow;
    SharpPutFn sharpPut;
    HsvRowFn hsvRow;
    ExpandHorzU8Fn expandHorzU8;
    ExpandHorzU16Fn expandHorzU16;
    ExpandHorzPlannedFn expandHorzPlanned;
    const VertKernels* vert;
    UnpackBitsFn unpackBits;
    PackBitsFn packBits;
};

// How many of the variants an x86-64 processor runs, the plainest first, with these instruction sets.
constexpr std::size_t CountUsable(bool avx2, bool avx512) {
    return avx2 ? (avx512 ? 4 : 3) : 2;
}

// The table in use: valid before any constructor has run, and the best for this processor from the library's load
// on. The library reads no environment, so another variant is chosen by a call only.
const KernelTable& Kernels();

// The variants that this processor can run, the plainest first. Never empty.
std::span<const KernelTable* const> AvailableKernels();

// Makes a variant the one in use. For tests, fuzzers and the bench; not while another thread is in the library.
void UseKernels(const KernelTable& table);

}  // namespace platen
