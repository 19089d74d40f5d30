#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {

// No plans: without vectors of known shape nothing beats the records.
constinit const HorzKernels kHorz_baseline = {
    .kinds = 0, .sums = 0, .follow = nullptr, .keepU8 = nullptr, .keepU16 = nullptr};

}  // namespace platen
