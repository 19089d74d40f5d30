#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_test {

struct DecodedPage {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t samples = 0;
    std::vector<std::uint8_t> pixels;  // empty where the file could not be decoded
};

// A whole 8-bit page, by the codec's own library and none of the program's code. The ending tells the container;
// binary PGM, PPM and PAM are read too.
DecodedPage DecodePage(const std::string& path);

}  // namespace platen_test
