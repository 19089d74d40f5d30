#pragma once

#include "programs/base/Error.h"
#include "programs/io/RunFiles.h"
#include "programs/options/ScanSettings.h"

namespace platen_tool {

// Scans, adjusts and writes pages; or lists the devices. A program built without SANE refuses (kUnsupported).
ExitCode RunScan(const ScanSettings& settings, RunFiles& files);

}  // namespace platen_tool
