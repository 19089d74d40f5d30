#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {

// No plans: without vectors of known shape nothing beats the records.
constinit const HorzKernels kHorz_baseline = {0, 0, nullptr, nullptr, nullptr};

}  // namespace platen
