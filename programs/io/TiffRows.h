#pragma once

#include <cstdint>
#include <memory>

#include "programs/io/TiffHandle.h"
#include "programs/io/TiffLayout.h"

namespace platen_tool {

// Gives the rows of one page as the file stores them, one plane at a time, from the top.
class TiffRows {
  public:
    virtual ~TiffRows() = default;
    virtual void ReadRow(std::uint32_t y, int plane, std::uint8_t* row) = 0;
};

// Chooses how to read the page that `handle` stands at: straight from the file where nothing is compressed, a row
// of tiles at a time, or scanline by scanline with a handle for each plane.
std::unique_ptr<TiffRows> MakeTiffRows(TiffHandle& handle, const TiffSource& source, const TiffLayout& layout,
                                       const ImageInfo& info);

}  // namespace platen_tool
