#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_avx512.inc"
#include "Sources/PX_Zoom/VertPass.h"

#define KERNEL_TARGET avx512
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
