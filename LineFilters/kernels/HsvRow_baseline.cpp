#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"

#define KERNEL_TARGET baseline
#include "LineFilters/kernels/HsvRow_loop.inc"
