#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Lanes_avx2.inc"

#define KERNEL_TARGET avx2
#include "LineFilters/kernels/HsvRow_loop.inc"
