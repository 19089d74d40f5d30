#include "Sources/PX_Zoom/HorzPlan.h"

namespace platen {

bool ExpandHorzPlanned_none(std::uint32_t*, const std::uint8_t*, const HorzPass&, const PlanRoom&) {
    return false;
}

}  // namespace platen
