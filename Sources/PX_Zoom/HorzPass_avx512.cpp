#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/HorzPass_ymm.inc"
#include "Sources/PX_Zoom/HorzPlan.h"

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/HorzPass_loop.inc"
#include "Sources/PX_Zoom/HorzPlan_make.inc"
#include "Sources/PX_Zoom/HorzPlan_ymm.inc"
