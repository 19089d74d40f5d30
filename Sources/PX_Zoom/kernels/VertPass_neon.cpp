#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Lanes_neon.inc"
#include "Sources/PX_Zoom/VertPass.h"

#define KERNEL_TARGET neon
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
