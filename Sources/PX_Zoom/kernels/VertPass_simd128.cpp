#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_simd128.inc"
#include "Sources/PX_Zoom/VertPass.h"

#define KERNEL_TARGET simd128
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
