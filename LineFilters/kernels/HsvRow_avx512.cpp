#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Lanes_avx512.inc"

#define PLATEN_PLAIN_PLANES  // the compiler finds permutations of whole vectors, which are faster
#define KERNEL_TARGET avx512
#include "LineFilters/kernels/HsvRow_loop.inc"
