#pragma once

#include <memory>

#include "programs/io/LineWriter.h"

namespace platen_tool {

enum class Spooling { kAllowed, kRefused };  // kRefused: a page that needs a temporary file is an Error

// Passes everything on to `inner`, but keeps the lines of a page of unknown height in a temporary file until the
// height is known.
std::unique_ptr<LineWriter> MakeSpoolingWriter(std::unique_ptr<LineWriter> inner, Spooling spooling);

}  // namespace platen_tool
