#pragma once

#include <cstddef>
#include <cstdint>

namespace platen_tool {

// The filters know no alpha: its pixels go through them without it and get it back afterwards. All samples are
// bytes; `colours` is the number of samples without alpha.

inline void TakeColours(const std::uint8_t* line, std::size_t width, std::size_t colours, std::uint8_t* out) {
    for (std::size_t x = 0; x < width; ++x, line += colours + 1) {
        for (std::size_t s = 0; s < colours; ++s) {
            *out++ = line[s];
        }
    }
}

inline void PutColours(const std::uint8_t* in, std::size_t width, std::size_t colours, std::uint8_t* line) {
    for (std::size_t x = 0; x < width; ++x, line += colours + 1) {
        for (std::size_t s = 0; s < colours; ++s) {
            line[s] = *in++;
        }
    }
}

inline void TakeAlpha(const std::uint8_t* line, std::size_t width, std::size_t colours, std::uint8_t* out) {
    for (std::size_t x = 0; x < width; ++x) {
        out[x] = line[x * (colours + 1) + colours];
    }
}

inline void PutAlpha(const std::uint8_t* in, std::size_t width, std::size_t colours, std::uint8_t* line) {
    for (std::size_t x = 0; x < width; ++x) {
        line[x * (colours + 1) + colours] = in[x];
    }
}

}  // namespace platen_tool
