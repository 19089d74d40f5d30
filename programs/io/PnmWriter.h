#pragma once

#include <memory>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

enum class PnmKind { kPlainest, kPam };  // kPlainest: PBM, PGM or PPM, and PAM only where those have no layout

// Writes PNM or PAM, whichever holds the page. It wants the height in BeginPage;
// MakeSpoolingWriter lends it that.
std::unique_ptr<LineWriter> MakePnmWriter(std::unique_ptr<OutputFile> file, PnmKind kind);

}  // namespace platen_tool
