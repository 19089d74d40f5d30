#pragma once

#include <cstdint>

#include "demo/Ink.h"
#include "demo/Landscape.h"

namespace platen_demo {

// A printed page as a flat-bed scanner would have seen it: A4 at 300 dpi, 8-bit RGB. Every line is a function of
// its number, and the same on every run.
class Page {
  public:
    static constexpr int kWidth = 2480;
    static constexpr int kHeight = 3508;

    Page();

    // Writes kWidth RGB pixels.
    void Line(int y, std::uint8_t* line) const;

  private:
    void SetFront();
    void SetBack();
    Colour Printed(double u, double v) const;
    Colour PageColour(double u, double v) const;

    Ink front_;
    Ink back_;  // mirrored and blurred, as it shines through
};

}  // namespace platen_demo
