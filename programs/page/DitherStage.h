#pragma once

#include <memory>

#include "programs/page/Stage.h"

namespace platen_tool {

// Grey lines become black and white by error diffusion (R. Floyd and L. Steinberg, 1976), serpentine: the page's
// first line runs to the right, the next to the left. All numbers are whole. With `sum` what has come to a pixel:
//
//   v = level + floor((sum + 8) / 16)
//   the pixel is black where v lies below the threshold (percent x 2.55), and leaves r = v; else white, r = v - 255
//   the next pixel gets 7 r, and of the line below the one before 3 r, the one beneath 5 r, the one after r
//
// What would go beyond the line's ends is lost. r stays within -255..255: what comes to a pixel is at most that.
std::unique_ptr<Stage> MakeDitherStage(const PagePlan& plan, const PlannedStage& stage, Stage& next);

}  // namespace platen_tool
