#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/kernels/HorzTaps_ymm.inc"
#include "Sources/PX_Zoom/kernels/ReciprocalAbove.inc"

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/kernels/HorzTaps_loop.inc"
#include "Sources/PX_Zoom/kernels/HorzWhole_ymm.inc"

// The last: it follows by all of them.
#include "Sources/PX_Zoom/kernels/HorzPlan_ymm.inc"
