#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {

constinit const HorzKernels kHorz_reference = {0, 0, nullptr, nullptr, nullptr};

}  // namespace platen
