// Prints the names of the kernel variants that this processor can run, the plainest first, one a line.

#include <cstdio>

#include "Sources/Dispatch/Kernels.h"

int main() {
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        std::printf("%s\n", variant->name);
    }
    return 0;
}
