#pragma once

#include <cstdint>
#include <memory>
#include <vector>

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

// Makes the program's lines of a page's rows.
class TiffPage {
  public:
    TiffPage(TiffHandle& handle, const TiffSource& source, const TiffLayout& layout, const ImageInfo& info);

    void ReadLine(std::uint32_t y, std::uint8_t* line);

  private:
    void Gather(std::uint32_t y, std::uint8_t* line);
    void PickSamples(int plane, std::uint8_t* line);
    void InvertColours(std::uint8_t* line) const;
    void DivideByAlpha(std::uint8_t* line) const;
    void LookUp(std::uint8_t* line) const;

    TiffLayout layout_;
    ImageInfo info_;
    std::unique_ptr<TiffRows> rows_;
    std::vector<std::uint8_t> row_;
};

}  // namespace platen_tool
