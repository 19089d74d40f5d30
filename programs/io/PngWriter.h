#pragma once

#include <memory>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// Writes a PNG. It wants the height in BeginPage;
// MakeSpoolingWriter lends it that.
std::unique_ptr<LineWriter> MakePngWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);

}  // namespace platen_tool
