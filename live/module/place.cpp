#include "programs/page/PlaceStage.h"

// The page neither crops nor turns, and there is no temporary file for it.

namespace platen_tool {

std::unique_ptr<Stage> MakeCropStage(const PagePlan&, const PlannedStage&, Stage&) {
    return nullptr;
}

std::unique_ptr<Stage> MakeTurnStage(const PagePlan&, const PlannedStage&, Stage&) {
    return nullptr;
}

}  // namespace platen_tool
