#pragma once

#include <memory>
#include <optional>

#include "programs/io/LineReader.h"
#include "programs/scan/ScanDevice.h"

namespace platen_tool {

// The pages of a device, line by line as they arrive. A colour page that comes in three passes is put together
// in temporary files first.
//   pages  how many; nothing: until the feeder is empty
//   prompt  wait for Enter on standard input before each page but the first; its end ends the pages
// Starts the first page: an Error (kNoDocuments) where the feeder is empty. `device` outlives the reader.
std::unique_ptr<LineReader> MakeScanReader(ScanDevice& device, std::optional<unsigned long> pages,
                                           const ReadOptions& options, bool prompt = false);

}  // namespace platen_tool
