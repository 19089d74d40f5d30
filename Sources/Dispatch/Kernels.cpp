#include "Sources/Dispatch/Kernels.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Sources/PX_Zoom/LineKernels.h"

// This file is built without instruction-set flags: it runs on every processor and decides what else does.

namespace platen {
namespace {

constexpr KernelTable kReference = {"reference",
                                    SharpRow_reference,
                                    SharpPut_reference,
                                    HsvRow_reference,
                                    reference::ExpandHorz<std::uint32_t, std::uint8_t>,
                                    reference::ExpandHorz<std::uint32_t, std::uint16_t>,
                                    ExpandHorzPlanned_none,
                                    &kVert_reference,
                                    reference::UnpackBits,
                                    reference::PackBits};

#if defined(PLATEN_REFERENCE_KERNELS)

constexpr std::array<const KernelTable*, 1> kAll = {&kReference};

constinit const KernelTable* inUse = &kReference;

std::size_t CountAvailable() {
    return kAll.size();
}

#else

constexpr KernelTable kBaseline = {"baseline",
                                   SharpRow_baseline,
                                   SharpPut_baseline,
                                   HsvRow_baseline,
                                   ExpandHorzU8_baseline,
                                   ExpandHorzU16_baseline,
                                   ExpandHorzPlanned_none,
                                   &kVert_baseline,
                                   UnpackBits_baseline,
                                   PackBits_baseline};

constinit const KernelTable* inUse = &kBaseline;

#if defined(__x86_64__)

constexpr KernelTable kAvx2 = {"avx2",
                               SharpRow_avx2,
                               SharpPut_avx2,
                               HsvRow_avx2,
                               ExpandHorzU8_avx2,
                               ExpandHorzU16_avx2,
                               ExpandHorzPlanned_avx2,
                               &kVert_avx2,
                               UnpackBits_avx2,
                               PackBits_avx2};
constexpr KernelTable kAvx512 = {"avx512",
                                 SharpRow_avx512,
                                 SharpPut_avx512,
                                 HsvRow_avx512,
                                 ExpandHorzU8_avx512,
                                 ExpandHorzU16_avx512,
                                 ExpandHorzPlanned_avx512,
                                 &kVert_avx512,
                                 UnpackBits_avx512,
                                 PackBits_avx512};

constexpr std::array<const KernelTable*, 4> kAll = {&kReference, &kBaseline, &kAvx2, &kAvx512};

// How many of kAll this processor, and the operating system's saving of its registers, can run. Without VBMI's byte
// shuffles the AVX2 kernels are better than the AVX-512 ones.
std::size_t CountAvailable() {
    __builtin_cpu_init();
    const auto avx512 = std::to_array<bool>({static_cast<bool>(__builtin_cpu_supports("avx512f")),
                                             static_cast<bool>(__builtin_cpu_supports("avx512bw")),
                                             static_cast<bool>(__builtin_cpu_supports("avx512vl")),
                                             static_cast<bool>(__builtin_cpu_supports("avx512vbmi"))});
    const bool all = std::find(avx512.begin(), avx512.end(), false) == avx512.end();
    return CountUsable(static_cast<bool>(__builtin_cpu_supports("avx2")), all);
}

#else

constexpr std::array<const KernelTable*, 2> kAll = {&kReference, &kBaseline};

std::size_t CountAvailable() {
    return kAll.size();
}

#endif

[[gnu::constructor]] void ChooseAtLoad() {
    inUse = kAll[CountAvailable() - 1];
}

#endif

}  // namespace

const KernelTable& Kernels() {
    return *inUse;
}

std::span<const KernelTable* const> AvailableKernels() {
    return std::span(kAll).first(CountAvailable());
}

void UseKernels(const KernelTable& table) {
    inUse = &table;
}

}  // namespace platen
