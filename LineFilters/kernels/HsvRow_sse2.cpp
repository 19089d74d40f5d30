#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Lanes_sse2.inc"

#define KERNEL_TARGET sse2
#include "LineFilters/kernels/HsvRow_loop.inc"
