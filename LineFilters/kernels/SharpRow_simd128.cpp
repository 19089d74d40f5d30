#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Lanes_simd128.inc"

#define KERNEL_TARGET simd128
#include "LineFilters/kernels/SharpRow_loop.inc"
