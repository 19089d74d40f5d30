#pragma once

#include "programs/base/Error.h"
#include "programs/io/RunFiles.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// Works on all inputs, one after the other or with --jobs in several processes, and reports failures as it goes.
// The exit code is the first failure's.
ExitCode RunAdjust(const Settings& settings, RunFiles& files);

// Before the first page: writes --plot, or describes it for a dry run. Where numbers of the first page go into it,
// or into --save-preset, only their paths are looked at.
void BeginPlot(const Settings& settings);

// For a catch block: prints what went wrong with `name` (nothing for a closed pipe; empty: no file) and gives
// the exit code. Takes no memory: it may be that there is none.
ExitCode ReportFailure(const std::string& name) noexcept;

}  // namespace platen_tool
