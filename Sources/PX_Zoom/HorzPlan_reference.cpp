#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {

constinit const HorzKernels kHorz_reference = {
    .kinds = 0, .sums = 0, .follow = nullptr, .keepU8 = nullptr, .keepU16 = nullptr};

}  // namespace platen
