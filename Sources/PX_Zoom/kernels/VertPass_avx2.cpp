#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_avx2.inc"
#include "Sources/PX_Zoom/VertPass.h"

#define KERNEL_TARGET avx2
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
