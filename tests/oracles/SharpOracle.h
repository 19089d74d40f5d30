#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "LineFilters/Sharpness.h"

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
// a sum of its own for every sample. `kernel` is nine weights and the divisor; sums are modulo 2^32, and a divisor
// of 0 gives 0. An image of one line has no finished line; its result is left zero.
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
                std::uint32_t sum = 0;
                const auto add = [&](std::int32_t weight, int value) {
                    sum += static_cast<std::uint32_t>(weight) * static_cast<std::uint32_t>(value);
                };
                for (int column = -1; column <= 1; ++column) {
                    int from = x + column;
                    from = from < 0 ? 0 : from;
                    from = from >= in.width ? in.width - 2 : from;
                    if (topFactor != 0) {
                        add(kernel[1 + column], in.At(from, middleRow - 1, sample));
                    }
                    add(kernel[4 + column], in.At(from, middleRow, sample));
                    add(kernel[7 + column], in.At(from, bottomRow, sample) * bottomFactor);
                }
                std::int64_t value = static_cast<std::int32_t>(sum);
                value = kernel[9] != 0 ? value / kernel[9] : 0;
                value = value < 0 ? -value : value;
                out.At(x, y, sample) = std::uint8_t(value > 255 ? 255 : value);
            }
        }
    }
    return out;
}

// The filter as a stream: keeps the last three lines, and makes finished ones of the image that those are.
class SharpStreamOracle {
  public:
    SharpStreamOracle(const _SSharpParam& param, const std::int32_t* kernel)
        : param_(param), out1_(param.rowBytes), out2_(param.rowBytes) {
        SetKernel(kernel);
    }

    void SetKernel(const std::int32_t* kernel) {
        std::memcpy(kernel_, kernel, sizeof kernel_);
    }

    void Put(const std::vector<std::uint8_t>& line) {
        last_[0].swap(last_[1]);
        last_[1].swap(last_[2]);
        last_[2] = line;
        ++count_;
        if (count_ == 1) {
            ready_ = 0;
            return;
        }
        ready_ = 1;
        const std::size_t rows = count_ == 2 ? 2 : 3;
        Finish(out1_, rows, rows - 2);
        if (count_ == param_.height) {
            ready_ = 2;
            Finish(out2_, 2, 1);
        }
    }

    // What `line` holds after Get.
    void Get(std::vector<std::uint8_t>& line) {
        if (count_ != param_.height || ready_ == 2) {
            line = out1_;
            ready_ = count_ != param_.height ? 0 : 1;
        } else if (ready_ == 1) {
            line = out2_;
            ready_ = 0;
        }
    }

    std::uint32_t Ready() const {
        return ready_;
    }

  private:
    // One line of the image that the last lines are.
    void Finish(std::vector<std::uint8_t>& out, std::size_t rows, std::size_t wanted) const {
        const int samples = static_cast<int>(param_.bitsPerPixel / 8);
        SharpImage image(static_cast<int>(param_.width), static_cast<int>(rows), samples);
        const std::size_t bytes = param_.width * (param_.bitsPerPixel / 8);
        for (std::size_t row = 0; row < rows; ++row) {
            std::memcpy(image.bytes.data() + row * bytes, last_[last_.size() - rows + row].data(), bytes);
        }
        const SharpImage result = SharpenedImage(image, kernel_);
        std::memcpy(out.data(), result.bytes.data() + wanted * bytes, bytes);
    }

    _SSharpParam param_;
    std::int32_t kernel_[10];
    std::array<std::vector<std::uint8_t>, 3> last_;  // the newest last
    std::uint32_t count_ = 0;
    std::vector<std::uint8_t> out1_;
    std::vector<std::uint8_t> out2_;
    std::uint32_t ready_ = 0;
};

}  // namespace platen_test
