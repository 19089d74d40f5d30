#pragma once

#include <memory>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// Depth, colour and grey, negative, alpha, threshold: everything done to one pixel at a time. Hands the lines it
// finishes to `next`, which outlives it.
std::unique_ptr<Stage> MakePixelStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
