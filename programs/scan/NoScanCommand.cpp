#include "programs/ScanCommand.h"

namespace platen_tool {

ExitCode RunScan(const ScanSettings& /*settings*/) {
    throw Error(ExitCode::kUnsupported, "scan: this program was built without SANE");
}

}  // namespace platen_tool
