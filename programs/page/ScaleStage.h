#pragma once

#include <memory>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// The scaler. Hands the lines it finishes to `next`, which outlives it.
std::unique_ptr<Stage> MakeScaleStage(const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
