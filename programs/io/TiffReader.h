#pragma once

#include <memory>

#include "programs/io/InputFile.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// Reads a TIFF. The file's first bytes have shown what it is; nothing of it has been taken yet.
std::unique_ptr<LineReader> MakeTiffReader(std::unique_ptr<InputFile> file, const ReadOptions& options);

}  // namespace platen_tool
