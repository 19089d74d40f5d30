#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/HorzPass_ymm.inc"

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/HorzPass_loop.inc"
