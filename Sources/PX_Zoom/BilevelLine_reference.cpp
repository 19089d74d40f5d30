#include "Sources/PX_Zoom/BilevelLine.h"

// All others are held against these loops: read them, don't tune them.

namespace platen {

void UnpackBits_reference(std::uint8_t* out, const std::uint8_t* bits, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        out[x] = (bits[x / 8] & (0x80 >> (x % 8))) != 0 ? 255 : 0;
    }
}

void PackBits_reference(std::uint8_t* bits, const std::uint8_t* bytes, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        if (x % 8 == 0) {
            bits[x / 8] = 0;
        }
        if (bytes[x] >= 128) {
            bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | (0x80 >> (x % 8)));
        }
    }
}

}  // namespace platen
