#include "bench/Image.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tests/support/Random.h"

namespace platen_bench {
namespace {

constexpr std::size_t kAlignment = 64;

struct Colour {
    double red, green, blue;
};

Colour Photo(double x, double y) {
    return {128 + 90 * std::sin(x / 97) + 30 * std::sin(y / 41), 120 + 80 * std::sin((x + y) / 131),
            110 + 100 * std::cos(y / 83) * std::sin(x / 59)};
}

Colour Patch(int index) {
    constexpr Colour kPatches[] = {{255, 0, 0},   {0, 255, 0},  {0, 0, 255},    {0, 255, 255}, {255, 0, 255},
                                   {255, 255, 0}, {96, 96, 96}, {200, 120, 40}, {20, 60, 140}, {255, 255, 255}};
    return kPatches[index % 10];
}

// Strokes some pixels wide, in lines of 50 with 18 of them empty; the margins stay free.
bool IsInk(int x, int y, int width) {
    if (x < width / 12 || x > width - width / 12 || y % 50 >= 32) {
        return false;
    }
    const int letter = x / 22;
    const int inLetter = x % 22;
    const bool stem = inLetter < 4 || (letter % 3 == 0 && inLetter > 10 && inLetter < 15);
    const bool bar = inLetter < 16 && (y % 50 < 4 || (y % 50 > 14 && y % 50 < 18 && letter % 2 == 0));
    return letter % 6 != 5 && (stem || bar);
}

// Text above, then the photo-like part, then the patches.
Colour PixelAt(int x, int y, int width, int height) {
    if (y > height * 11 / 12) {
        return Patch(x * 10 / width);
    }
    if (y > height * 6 / 10) {
        return Photo(x, y);
    }
    if (IsInk(x, y, width)) {
        return {44, 40, 42};
    }
    const double light = 1.0 - 0.06 * x / width - 0.04 * y / height;
    return {246 * light, 240 * light, 224 * light};
}

// Eight bits of the value plus noise, and eight more below them.
unsigned Sample16(double value, std::uint64_t noise) {
    const double grain = static_cast<double>(noise & 0xFFFF) / 65536 * 8 - 4;
    return static_cast<unsigned>(std::clamp(value + grain, 0.0, 255.0) * 257);
}

double Grey(const Colour& colour) {
    return 0.3 * colour.red + 0.59 * colour.green + 0.11 * colour.blue;
}

void StoreSample(std::uint8_t* row, std::size_t index, unsigned value16, bool wide) {
    if (wide) {
        const auto sample = static_cast<std::uint16_t>(value16);
        std::memcpy(row + 2 * index, &sample, 2);
    } else {
        row[index] = static_cast<std::uint8_t>(value16 >> 8);
    }
}

void FillRow(Image& image, int y, platen_test::Random& random) {
    const int bits = image.BitsPerPixel();
    const bool wide = bits == 16 || bits == 48 || bits == 64;
    const std::size_t channels = bits == 1 ? 1 : static_cast<std::size_t>(bits) / (wide ? 16 : 8);
    std::uint8_t* row = image.Row(y);
    for (int x = 0; x < image.Width(); ++x) {
        const Colour colour = PixelAt(x, y, image.Width(), image.Height());
        const double values[4] = {channels == 1 ? Grey(colour) : colour.red, colour.green, colour.blue, 255};
        const auto pixel = static_cast<std::size_t>(x);
        const std::uint64_t noise = random.Next();
        if (bits == 1) {
            if (Sample16(values[0], noise) > 0x9000) {
                row[pixel / 8] = static_cast<std::uint8_t>(row[pixel / 8] | 0x80u >> (pixel % 8));
            }
            continue;
        }
        for (std::size_t c = 0; c < channels; ++c) {
            StoreSample(row, pixel * channels + c, Sample16(values[c], noise >> (16 * c)), wide);
        }
    }
}

}  // namespace

Image::Image(int width, int height, int bitsPerPixel)
    : width_(width),
      height_(height),
      bitsPerPixel_(bitsPerPixel),
      rowBytes_((static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel) + 7) / 8),
      bytes_(rowBytes_ * static_cast<std::size_t>(height) + 2 * kAlignment),
      offset_((kAlignment - reinterpret_cast<std::uintptr_t>(bytes_.data()) % kAlignment) % kAlignment) {}

double Image::Samples() const {
    const int bitsPerSample = bitsPerPixel_ == 1                                                  ? 1
                              : bitsPerPixel_ == 16 || bitsPerPixel_ == 48 || bitsPerPixel_ == 64 ? 16
                                                                                                  : 8;
    return static_cast<double>(width_) * height_ * bitsPerPixel_ / bitsPerSample;
}

Image MakePage(int width, int height, int bitsPerPixel) {
    Image image(width, height, bitsPerPixel);
    platen_test::Random random(20240229);
    for (int y = 0; y < height; ++y) {
        FillRow(image, y, random);
    }
    return image;
}

double MeanDifference(const Image& a, const Image& b) {
    const int bits = a.BitsPerPixel();
    const bool wide = bits == 16 || bits == 48 || bits == 64;
    double sum = 0;
    for (std::size_t i = 0; i < a.Bytes(); i += wide ? 2 : 1) {
        const std::uint8_t* left = a.Data() + i;
        const std::uint8_t* right = b.Data() + i;
        if (wide) {
            std::uint16_t l = 0;
            std::uint16_t r = 0;
            std::memcpy(&l, left, 2);
            std::memcpy(&r, right, 2);
            sum += std::abs(l - r) / 257.0;
        } else if (bits == 1) {
            sum += __builtin_popcount(static_cast<unsigned>(*left ^ *right));
        } else {
            sum += std::abs(*left - *right);
        }
    }
    return sum / a.Samples();
}

}  // namespace platen_bench
