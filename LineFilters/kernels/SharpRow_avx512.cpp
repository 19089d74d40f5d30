#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Lanes_avx512.inc"

#define KERNEL_TARGET avx512
#include "LineFilters/kernels/SharpRow_loop.inc"
