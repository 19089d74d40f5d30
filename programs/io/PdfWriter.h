#pragma once

#include <memory>
#include <string>

#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// Writes a PDF with the given title. It wants the height in BeginPage; MakeSpoolingWriter lends it that.
std::unique_ptr<LineWriter> MakePdfWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options,
                                          const std::string& title);

// An Error (kUnsupported) for a page that no PDF of ours can hold.
void CheckPdfLayout(const ImageInfo& info);

}  // namespace platen_tool
