#pragma once

#include <cstdint>

namespace platen_demo {

// The landscape as an old colour print: faded, with a warm cast, a little grain. 8-bit RGB; every line is a
// function of its number.
class Photo {
  public:
    static constexpr int kWidth = 1200;
    static constexpr int kHeight = 800;

    // Writes kWidth RGB pixels.
    static void Line(int y, std::uint8_t* line);
};

}  // namespace platen_demo
