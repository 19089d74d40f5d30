#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Lanes_neon.inc"

#define KERNEL_TARGET neon
#include "LineFilters/kernels/HsvRow_loop.inc"
