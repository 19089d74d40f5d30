#pragma once

#include <sane/sane.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/io/Spool.h"

namespace platen_tool {

// The form that a device's lines have, and the program's.

// Whether a page of these parameters is supported: grey or colour of 1, 8 or 16 bits, in lines that hold their
// pixels.
bool IsKnownPage(const SANE_Parameters& parameters);

// What a page of these parameters looks like to the program; one of three passes as the colour page it is part of.
// Heights that aren't known are 0. What isn't known is an Error (kUnsupported, kDevice for lines that are too
// short).
ImageInfo PageInfo(const SANE_Parameters& parameters);

// Whether the frame is one of three passes.
bool IsOnePass(const SANE_Parameters& parameters);

// Turns a line of a grey or colour frame, or of one pass, into the program's form: colour of one bit becomes bytes,
// the bits after a bilevel line's last pixel are cleared. `line` has room for PageInfo's line, of one pass for a
// third.
void TakeDeviceLine(const SANE_Parameters& parameters, const std::uint8_t* raw, std::uint8_t* line);

// The three passes of a colour page, in temporary files until all are there.
class Planes {
  public:
    // Takes a line of the pass in `parameters`, from the top.
    void Put(const SANE_Parameters& parameters, std::uint32_t y, const std::uint8_t* raw);

    // Puts line y together, in the form of PageInfo(parameters), which are those of any pass.
    void ReadLine(const SANE_Parameters& parameters, std::uint32_t y, std::uint8_t* line);

  private:
    std::array<Spool, 3> planes_;
    std::vector<std::uint8_t> plane_;
};

// Red 0, green 1, blue 2.
std::size_t ChannelOf(SANE_Frame format);

}  // namespace platen_tool
