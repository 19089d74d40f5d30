#pragma once

#include <memory>
#include <optional>

#include "programs/io/LineReader.h"
#include "programs/scan/ScanDevice.h"

namespace platen_tool {

// The pages of a device, line by line as they arrive. A colour page that comes in three passes is put together
// in temporary files first.
//   pages       how many; nothing: until the feeder is empty
//   promptFrom  wait for Enter on standard input before each page; the number that the message gives to the first.
//               The end of standard input ends the pages
// Starts the first page: an Error (kNoDocuments) where the feeder is empty, or standard input has ended before it.
// `device` outlives the reader.
std::unique_ptr<LineReader> MakeScanReader(ScanDevice& device, std::optional<unsigned long> pages,
                                           const ReadOptions& options,
                                           std::optional<unsigned long> promptFrom = std::nullopt);

}  // namespace platen_tool
