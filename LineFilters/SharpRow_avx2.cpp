#include <cstddef>
#include <cstdint>

#include "LineFilters/SharpRow.h"

#define KERNEL_TARGET avx2
#include "LineFilters/SharpRow_loop.inc"
