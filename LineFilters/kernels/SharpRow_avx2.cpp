#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Lanes_avx2.inc"

#define KERNEL_TARGET avx2
#include "LineFilters/kernels/SharpRow_loop.inc"
