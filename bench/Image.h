#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Pages in memory, for the bench only: the library itself never sees more than a line.

namespace platen_bench {

constexpr int kPageWidth = 2480;  // A4 at 300 dpi
constexpr int kPageHeight = 3508;

// Packed rows, samples interleaved, aligned to 64 bytes, with 64 bytes after the last row for libraries that read
// whole vectors.
class Image {
  public:
    // `bitsPerPixel` as the scaler names its formats: 1, 8, 16, 24, 32, 48 or 64.
    Image(int width, int height, int bitsPerPixel);

    int Width() const {
        return width_;
    }
    int Height() const {
        return height_;
    }
    int BitsPerPixel() const {
        return bitsPerPixel_;
    }
    std::size_t RowBytes() const {
        return rowBytes_;
    }
    std::size_t Bytes() const {
        return rowBytes_ * static_cast<std::size_t>(height_);
    }
    // Bilevel pixels count as samples.
    double Samples() const;

    std::uint8_t* Row(int y) {
        return Data() + rowBytes_ * static_cast<std::size_t>(y);
    }
    const std::uint8_t* Row(int y) const {
        return Data() + rowBytes_ * static_cast<std::size_t>(y);
    }
    std::uint8_t* Data() {
        return bytes_.data() + offset_;
    }
    const std::uint8_t* Data() const {
        return bytes_.data() + offset_;
    }

  private:
    int width_;
    int height_;
    int bitsPerPixel_;
    std::size_t rowBytes_;
    std::vector<std::uint8_t> bytes_;
    std::size_t offset_;
};

// A page that looks like a scan: tinted paper with uneven light and noise, typeset-like strokes, a photo-like part,
// patches of full colour. The same on every machine. What a filter does may depend on its input: HSV has easy
// colours and hard ones.
Image MakePage(int width, int height, int bitsPerPixel);

// Mean of the samples' absolute differences, in units of an 8-bit sample; of bits for bilevel. Equal shapes only.
double MeanDifference(const Image& a, const Image& b);

}  // namespace platen_bench
