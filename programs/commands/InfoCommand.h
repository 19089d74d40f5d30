#pragma once

#include "programs/base/Error.h"
#include "programs/options/Arguments.h"

namespace platen_tool {

// platen info: what each file holds, page by page. It reads the headers only; with --check it reads the files
// to their ends, so a damaged or truncated one is an error here too. Goes on after an error; the exit code is the
// first one's.
ExitCode RunInfo(const ParsedArguments& arguments);

}  // namespace platen_tool
