#pragma once

#include <memory>
#include <string>

#include "programs/LineReader.h"
#include "programs/LineWriter.h"
#include "programs/OutputName.h"
#include "programs/PagePlan.h"
#include "programs/Settings.h"

namespace platen_tool {

// Works on one input from its first page to its last.
//   nextPage  the number that %d gives to the first page written; receives the one after the last
void AdjustInput(const Settings& settings, const OutputName& name, const std::string& input,
                 unsigned long& nextPage);

// The same for pages that come from elsewhere: `input` is what they are called.
void AdjustPages(const Settings& settings, const OutputName& name, const std::string& input,
                 std::unique_ptr<LineReader> reader, unsigned long& nextPage);

// How an output is written. `input`: what the pages come in.
WriteOptions MakeWriteOptions(const Settings& settings, Container input);

// --dry-run: what AdjustInput would do, in words.
std::string DescribeInput(const Settings& settings, const OutputName& name, const std::string& input,
                          unsigned long& nextPage);
std::string DescribePage(const PagePlan& plan);

}  // namespace platen_tool
