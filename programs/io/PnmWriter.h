#pragma once

#include <memory>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// Writes PNM or PAM, whichever holds the page. It wants the height in BeginPage;
// MakeSpoolingWriter lends it that.
std::unique_ptr<LineWriter> MakePnmWriter(std::unique_ptr<OutputFile> file, bool pamOnly);

}  // namespace platen_tool
