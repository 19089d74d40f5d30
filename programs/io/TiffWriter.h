#pragma once

#include <memory>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// Writes a TIFF, whose height may follow the lines.
std::unique_ptr<LineWriter> MakeTiffWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);

}  // namespace platen_tool
