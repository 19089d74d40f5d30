#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/kernels/HorzPass_ymm.inc"

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/kernels/HorzPass_loop.inc"
#include "Sources/PX_Zoom/kernels/HorzPlan_make.inc"
#include "Sources/PX_Zoom/kernels/HorzPlan_ymm.inc"
