#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Dispatch/Kernels.h"

namespace platen_fuzz {

// Runs an input with every kernel variant that this processor has. Each run compares with an oracle
// of the rules, so no variant can differ from another unseen.
inline int RunWithEachVariant(int (*run)(const std::uint8_t*, std::size_t), const std::uint8_t* data,
                              std::size_t size) {
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        run(data, size);
    }
    return 0;
}

}  // namespace platen_fuzz
