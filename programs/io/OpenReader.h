#pragma once

#include <memory>
#include <string>

#include "programs/io/LineReader.h"

namespace platen_tool {

// Opens a file, or standard input for "-", detects its container from the first bytes, and reads up to the first
// line of the first page.
std::unique_ptr<LineReader> OpenReader(const std::string& path, const ReadOptions& options);

// Reads a page of known height to its end, from its first line on.
void SkipLines(LineReader& reader);

}  // namespace platen_tool
