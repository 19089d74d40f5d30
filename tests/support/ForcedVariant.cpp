#include "support/ForcedVariant.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Sources/Dispatch/Kernels.h"

namespace platen_test {

void ForceVariantFromEnvironment() {
    const char* name = std::getenv("PLATEN_TEST_KERNELS");
    if (name == nullptr || *name == '\0') {
        return;
    }
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        if (std::strcmp(variant->name, name) == 0) {
            platen::UseKernels(*variant);
            return;
        }
    }
    std::fprintf(stderr, "PLATEN_TEST_KERNELS: this processor has no variant '%s'\n", name);
    std::exit(2);
}

}  // namespace platen_test
