#pragma once

#include <memory>

#include "programs/io/InputFile.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// One for each container; the file's first bytes have shown which, and nothing of it has been taken yet.
std::unique_ptr<LineReader> MakePngReader(std::unique_ptr<InputFile> file, const ReadOptions& options);
std::unique_ptr<LineReader> MakeTiffReader(std::unique_ptr<InputFile> file, const ReadOptions& options);
std::unique_ptr<LineReader> MakeJpegReader(std::unique_ptr<InputFile> file, const ReadOptions& options);
std::unique_ptr<LineReader> MakePnmReader(std::unique_ptr<InputFile> file, const ReadOptions& options);

}  // namespace platen_tool
