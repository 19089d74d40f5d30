#pragma once

#include <memory>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// Saturation, hue and lightness. Hands the lines it finishes to `next`, which outlives it.
std::unique_ptr<Stage> MakeHsvStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
