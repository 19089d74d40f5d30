#pragma once

#include <memory>
#include <string>

#include "programs/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// One for each container. Except for TIFF they want the height in BeginPage; MakeSpoolingWriter lends them that.
std::unique_ptr<LineWriter> MakePngWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakeTiffWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakeJpegWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakePnmWriter(std::unique_ptr<OutputFile> file, bool pamOnly);

// An Error (kUnsupported) for a page that no JPEG can hold.
void CheckJpegLayout(const ImageInfo& info);

// Passes everything on to `inner`, but keeps the lines of a page of unknown height in a temporary file until the
// height is known. With strictStream such a page is refused.
std::unique_ptr<LineWriter> MakeSpoolingWriter(std::unique_ptr<LineWriter> inner, bool strictStream);

}  // namespace platen_tool
