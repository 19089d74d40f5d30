#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/PX_Zoom.h"
#include "programs/base/ImageInfo.h"

namespace platen_tool {

// The library's scaler for one page. The scaler keeps a record for every line of a page, 28 bytes each. Where no
// source line is shared between two destination lines, the page is scaled in bands instead, each as a page of its
// own, and the memory no longer grows with the height.
//
// Why the bytes stay the same. Let S source lines become D destination lines, S = k D.
//   - k = 1: a line is only scaled horizontally, and that looks at the widths alone.
//   - k > 1: destination line i takes source lines k i to k i + k - 1, each with the weight D, and divides by
//     k D; no remainder is left, so nothing is shaped and no line is taken twice. A band of B destination lines has
//     the weights B and the divisor k B instead. With T the sum of the k samples, both are floor(T / k):
//     In integers, which are used up to S = 65535, the sums stay below 2^32: D T <= D k 65535 <= 65535^2; and
//     D T / (k D) has the whole part of T / k.
//     In doubles D T and k D are whole numbers below 2^53, so they are exact, and the quotient is the double
//     nearest to T / k. Truncation gives the same whole number: T / k lies at least 1 / k below the next one,
//     while doubles below 65536 are at most 2^-37 apart. So it doesn't matter either that a band may be computed in
//     integers where the page would be in doubles.
class PageZoom {
  public:
    PageZoom() = default;

    // Sizes as of the pages; the format is the scaler's. Throws std::bad_alloc.
    void Open(const ImageInfo& in, const ImageInfo& out, int pixelFormat);

    // In turn, as with the scaler: a source line, then the destination lines that it completes. No line may be sent
    // after the last destination line has been read.
    void Send(std::uint8_t* line);
    bool Ready() {
        return zoom_.CheckData() > 0;
    }
    void Read(std::uint8_t* line);

    // How many lines' records are held at a time for such a page.
    static std::uint32_t Records(std::uint32_t inHeight, std::uint32_t outHeight);

  private:
    void OpenBand();

    PX_Zoom zoom_;
    std::uint32_t inWidth_ = 0;
    std::uint32_t outWidth_ = 0;
    int pixelFormat_ = 0;
    std::uint32_t inBand_ = 0;        // source lines of a band
    std::uint32_t outBand_ = 0;       // the destination lines that they become
    std::uint32_t outLeft_ = 0;       // of the page, after this band
    std::uint32_t unreadInBand_ = 0;  // destination lines
};

}  // namespace platen_tool
