#pragma once

#include <memory>

#include "programs/page/PagePlan.h"
#include "programs/page/Stage.h"

namespace platen_tool {

// The tone tables. Hands the lines it finishes to `next`, which outlives it.
std::unique_ptr<Stage> MakeToneStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
