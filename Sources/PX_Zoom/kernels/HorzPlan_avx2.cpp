#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/kernels/HorzLanes_ymm.inc"

#define KERNEL_TARGET avx2
#include "Sources/PX_Zoom/kernels/HorzPlan_loop.inc"
