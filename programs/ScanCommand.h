#pragma once

#include "programs/Error.h"
#include "programs/ScanSettings.h"

namespace platen_tool {

// Scans, adjusts and writes pages; or lists the devices. A program built without SANE refuses (kUnsupported).
ExitCode RunScan(const ScanSettings& settings);

}  // namespace platen_tool
