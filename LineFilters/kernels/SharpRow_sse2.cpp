#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Lanes_sse2.inc"

#define KERNEL_TARGET sse2
#include "LineFilters/kernels/SharpRow_loop.inc"
