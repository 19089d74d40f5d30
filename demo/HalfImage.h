#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Sources/PX_Zoom/PX_Zoom.h"
#include "programs/io/LineReader.h"

namespace platen_demo {

// The first page of an image file, line by line, as 8-bit RGB on white, scaled to a size by the library.
class HalfImage {
  public:
    explicit HalfImage(const std::string& path);

    std::uint32_t SourceWidth() const;
    std::uint32_t SourceHeight() const;

    void ScaleTo(std::uint32_t width, std::uint32_t height);

    // Writes the next of the `height` lines: `width` RGB pixels.
    void NextLine(std::uint8_t* line);

  private:
    void ToRgb();

    std::unique_ptr<platen_tool::LineReader> reader_;
    PX_Zoom zoom_;
    std::vector<std::uint8_t> fileLine_;
    std::vector<std::uint8_t> rgb_;
};

}  // namespace platen_demo
