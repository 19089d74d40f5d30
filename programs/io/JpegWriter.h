#pragma once

#include <memory>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// Writes a JPEG. It wants the height in BeginPage;
// MakeSpoolingWriter lends it that.
std::unique_ptr<LineWriter> MakeJpegWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);

// An Error (kUnsupported) for a page that no JPEG can hold.
void CheckJpegLayout(const ImageInfo& info);

}  // namespace platen_tool
