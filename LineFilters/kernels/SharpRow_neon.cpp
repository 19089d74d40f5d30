#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Lanes_neon.inc"

#define KERNEL_TARGET neon
#include "LineFilters/kernels/SharpRow_loop.inc"
