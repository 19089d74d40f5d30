#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"

#define KERNEL_TARGET baseline
#include "LineFilters/kernels/SharpRow_loop.inc"
