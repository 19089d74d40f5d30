#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "programs/io/ColourTransform.h"
#include "programs/io/TiffHandle.h"
#include "programs/io/TiffLayout.h"
#include "programs/io/TiffRows.h"

namespace platen_tool {

// Makes the program's lines of a page's rows.
class TiffPage {
  public:
    TiffPage(TiffHandle& handle, const TiffSource& source, const TiffLayout& layout, const ImageInfo& info);

    void ReadLine(std::uint32_t y, std::uint8_t* line);

    // How colours are converted, for -v; empty: not at all.
    std::string Notice() const {
        return transform_ != nullptr ? transform_->Notice() : "";
    }

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
    std::unique_ptr<ColourTransform> transform_;
    std::vector<std::uint8_t> colours_;  // of a line, before they are converted
};

}  // namespace platen_tool
