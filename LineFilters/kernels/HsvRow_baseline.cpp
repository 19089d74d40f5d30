#include <cstddef>
#include <cstdint>

#include "LineFilters/HsvRow.h"

namespace platen {
namespace {

// Replaces every byte by its entry.
void LookUp(std::uint8_t* bytes, std::size_t count, const std::uint8_t* table) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = table[bytes[i]];
    }
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET baseline
#include "LineFilters/kernels/HsvRow_loop.inc"
