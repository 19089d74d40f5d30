#pragma once

#include <span>
#include <string>

#include "programs/io/OutputFile.h"
#include "programs/page/ToneTables.h"

namespace platen_tool {

// The folded curve as an SVG picture: axes, the three channels (one line where they agree), and the steps that
// made it as text.
std::string CurveSvg(const ToneTables& tables, std::span<const ToneStep> steps);

// Folds the steps and writes the picture to a file, or to standard output for "-".
void WriteCurvePlot(const std::string& path, std::span<const ToneStep> steps, FileOptions options);

}  // namespace platen_tool
