#include "Sources/Dispatch/Kernels.h"

#include <array>
#include <cstddef>

#include "Sources/Dispatch/KernelTargets.h"

// This file is built without instruction-set flags: it runs on every processor and decides what else does.

namespace platen {
namespace {

// Whether this processor, and the operating system's saving of its registers, has a target. A target is asked for
// only where those before it in the list run.

[[maybe_unused]] bool Runs_baseline() {
    return true;
}

[[maybe_unused]] bool Runs_sse2() {
    return true;  // what the whole library is built with, on 32-bit x86 too
}

#if defined(__aarch64__)

[[maybe_unused]] bool Runs_neon() {
    return true;  // every one has it
}

#elif defined(__wasm__)

[[maybe_unused]] bool Runs_simd128() {
    return true;  // a module with vectors isn't loaded where there are none
}

#elif defined(__x86_64__)

[[maybe_unused]] bool Runs_avx2() {
    return static_cast<bool>(__builtin_cpu_supports("avx2"));
}

// Without VBMI's byte shuffles the AVX2 kernels are better than the AVX-512 ones.
[[maybe_unused]] bool Runs_avx512() {
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi");
}

#endif

constexpr KernelTable kTable_reference = {
    .name = "reference",
    .sharpRow = SharpRow_reference,
    .sharpPut = SharpPut_reference,
    .hsvRow = HsvRow_reference,
    .horz = &kHorz_reference,
    .vert = &kVert_reference,
    .unpackBits = UnpackBits_reference,
    .packBits = PackBits_reference,
};

#define PLATEN_JOIN2(a, b) a##_##b
#define PLATEN_JOIN(a, b) PLATEN_JOIN2(a, b)
#define PLATEN_TABLE(target)                                                \
    constexpr KernelTable kTable_##target = {                               \
        .name = #target,                                                    \
        .sharpRow = PLATEN_JOIN(SharpRow, PLATEN_SharpRow_##target),        \
        .sharpPut = PLATEN_JOIN(SharpPut, PLATEN_SharpRow_##target),        \
        .hsvRow = PLATEN_JOIN(HsvRow, PLATEN_HsvRow_##target),              \
        .horz = &PLATEN_JOIN(kHorz, PLATEN_HorzPlan_##target),              \
        .vert = &PLATEN_JOIN(kVert, PLATEN_VertPass_##target),              \
        .unpackBits = PLATEN_JOIN(UnpackBits, PLATEN_BilevelLine_##target), \
        .packBits = PLATEN_JOIN(PackBits, PLATEN_BilevelLine_##target),     \
    };
PLATEN_EACH_TARGET(PLATEN_TABLE)

#define PLATEN_ADDRESS(target) , &kTable_##target
constexpr auto kAll = std::to_array<const KernelTable*>({&kTable_reference PLATEN_EACH_TARGET(PLATEN_ADDRESS)});

// Whether a build's targets may be more than its processor has: only there is the list needed outside of tests.
#if defined(__x86_64__)
constexpr bool kAsks = true;
#else
constexpr bool kAsks = false;
#endif

// Where processors differ the plainest of the targets, for constructors that run before this file's.
constinit const KernelTable* inUse = kAll[!kAsks || kAll.size() == 1 ? kAll.size() - 1 : 1];

std::size_t CountAvailable() {
#if defined(__x86_64__)
    __builtin_cpu_init();
#endif
#define PLATEN_ASK(target) , Runs_##target
    static constexpr auto kAsk = std::to_array<bool (*)()>({nullptr PLATEN_EACH_TARGET(PLATEN_ASK)});
    return CountUsable(std::span(kAsk).subspan(1)) + 1;
}

#if defined(__x86_64__)
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
