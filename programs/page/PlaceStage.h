#pragma once

#include <memory>

#include "programs/page/Stage.h"

namespace platen_tool {

// Gives a part of the page: plan.crop.
std::unique_ptr<Stage> MakeCropStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

// Turns and mirrors the page: plan.turn. What can't be done line by line goes through a temporary file; all lines
// come out with the last one that goes in. Memory is bounded, whatever the page's size: a line or kTurnBlock bytes
// of the page as it comes, and twice that of the page as it goes.
std::unique_ptr<Stage> MakeTurnStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

inline constexpr std::size_t kTurnBlock = std::size_t{2} << 20;

}  // namespace platen_tool
