#include "programs/commands/ScanCommand.h"

namespace platen_tool {

ExitCode RunScan(const ScanSettings& /*settings*/, RunFiles& /*files*/) {
    throw Error(ExitCode::kUnsupported, "scan: this program was built without SANE");
}

}  // namespace platen_tool
