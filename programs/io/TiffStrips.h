#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/io/OrderedWorkers.h"

namespace platen_tool {

// Compresses a page's lines strip by strip with Deflate or Zstd, on as many threads as `workers` says. Whole strips
// take a fraction of the time of line-by-line compression, and the strips are independent. The bytes don't depend
// on the number of workers.
class TiffStrips {
  public:
    static constexpr int kUsualDeflate = 4;
    static constexpr int kUsualZstd = 3;

    // Takes a finished strip; called on the thread that calls WriteLine and End, in the strips' order.
    using Sink = std::function<void(std::uint32_t strip, std::vector<std::uint8_t>& bytes)>;

    // Whether strips of this TIFF compression are made here.
    static bool Takes(int compression);

    // `level`: 1..12 for Deflate, 1..19 for Zstd, 0 for the default. Samples of 8 and 16 bits get TIFF's
    // horizontal predictor; the byte order is little-endian.
    TiffStrips(const ImageInfo& info, int compression, int level, std::uint32_t rowsPerStrip, unsigned workers,
               Sink sink);

    void WriteLine(const std::uint8_t* line);
    // Compresses what is left, and hands over all strips.
    void End();

  private:
    class Strip;

    void Submit();

    std::size_t lineBytes_;
    int bits_;
    std::size_t samples_;
    int compression_;
    int level_;
    std::size_t stripBytes_;
    Sink sink_;
    std::vector<std::uint8_t> lines_;
    std::size_t filled_ = 0;
    std::uint32_t strip_ = 0;
    OrderedWorkers workers_;  // its pieces use sink_, so it goes first
};

}  // namespace platen_tool
