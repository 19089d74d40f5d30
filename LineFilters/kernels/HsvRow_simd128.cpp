#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Lanes_simd128.inc"

#define KERNEL_TARGET simd128
#include "LineFilters/kernels/HsvRow_loop.inc"
