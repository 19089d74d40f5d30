#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace platen_test {

// A whole image of 8-bit samples, lines without padding.
struct SharpImage {
    int width;
    int height;
    int samples;  // per pixel
    std::vector<std::uint8_t> bytes;

    SharpImage(int w, int h, int s)
        : width(w), height(h), samples(s), bytes(static_cast<std::size_t>(std::int64_t{w} * h * s)) {}

    std::uint8_t& At(int x, int y, int sample) {
        return bytes[Index(x, y, sample)];
    }
    int At(int x, int y, int sample) const {
        return bytes[Index(x, y, sample)];
    }

  private:
    std::size_t Index(int x, int y, int sample) const {
        return static_cast<std::size_t>((std::int64_t{y} * width + x) * samples + sample);
    }
};

// The sharpness filter on a whole image at once, without lines that come and go, written apart from the library's:
// a sum of its own for every sample. `kernel` is nine weights and the divisor, such that no sum leaves
// 32 bits. An image of one line has no finished line; its result is left zero.
inline SharpImage SharpenedImage(const SharpImage& in, const std::int32_t* kernel) {
    SharpImage out(in.width, in.height, in.samples);
    if (in.height == 1) {
        return out;
    }
    for (int y = 0; y < in.height; ++y) {
        const bool first = y == 0;
        const bool last = y == in.height - 1;
        const int middleRow = last ? y - 1 : y;  // the last line's rows are those of the line before it
        const int bottomRow = middleRow + 1;
        const int topFactor = first || last ? 0 : 1;
        const int bottomFactor = first || last ? 2 : 1;
        for (int x = 0; x < in.width; ++x) {
            for (int sample = 0; sample < in.samples; ++sample) {
                std::int32_t sum = 0;
                for (int column = -1; column <= 1; ++column) {
                    int from = x + column;
                    from = from < 0 ? 0 : from;
                    from = from >= in.width ? in.width - 2 : from;
                    if (topFactor != 0) {
                        sum += kernel[1 + column] * in.At(from, middleRow - 1, sample);
                    }
                    sum += kernel[4 + column] * in.At(from, middleRow, sample);
                    sum += kernel[7 + column] * in.At(from, bottomRow, sample) * bottomFactor;
                }
                std::int32_t value = sum / kernel[9];
                value = value < 0 ? -value : value;
                out.At(x, y, sample) = std::uint8_t(value > 255 ? 255 : value);
            }
        }
    }
    return out;
}

}  // namespace platen_test
