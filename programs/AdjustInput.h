#pragma once

#include <string>

#include "programs/OutputName.h"
#include "programs/Settings.h"

namespace platen_tool {

// Works on one input from its first page to its last.
//   nextPage  the number that %d gives to the first page written; receives the one after the last
void AdjustInput(const Settings& settings, const OutputName& name, const std::string& input,
                 unsigned long& nextPage);

// --dry-run: what AdjustInput would do, in words.
std::string DescribeInput(const Settings& settings, const OutputName& name, const std::string& input,
                          unsigned long& nextPage);

}  // namespace platen_tool
