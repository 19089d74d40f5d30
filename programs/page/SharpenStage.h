#pragma once

#include <memory>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// The sharpness filter. Hands the lines it finishes to `next`, which outlives it.
std::unique_ptr<Stage> MakeSharpenStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
