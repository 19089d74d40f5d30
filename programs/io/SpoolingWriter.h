#pragma once

#include <memory>

#include "programs/io/LineWriter.h"

namespace platen_tool {

// Passes everything on to `inner`, but keeps the lines of a page of unknown height in a temporary file until the
// height is known. With strictStream such a page is refused.
std::unique_ptr<LineWriter> MakeSpoolingWriter(std::unique_ptr<LineWriter> inner, bool strictStream);

}  // namespace platen_tool
