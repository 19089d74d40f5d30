#pragma once

#include <string>

#include "programs/commands/AdjustInput.h"
#include "programs/page/PagePlan.h"

namespace platen_tool {

// --dry-run: what AdjustInput would do, in words.
std::string DescribeInput(const Run& run, std::size_t input, unsigned long& nextPage);
std::string DescribePage(const PagePlan& plan);
std::string DescribePlot(const Settings& settings);

}  // namespace platen_tool
