#include <cstdlib>

#include "live/module/module.h"

// What the page does with whole lines besides the steps: showing, counting, and the rows of PNG files.

namespace {

std::size_t Samples(const LiveLayout& layout) {
    return static_cast<std::size_t>(layout.samples);
}

// The upper byte of a 16-bit sample is near enough for the screen.
void ShowLine(const LiveLayout& layout, const std::uint8_t* line, std::uint8_t* rgba) {
    const std::size_t step = layout.bits == 16 ? 2 : 1;
    const std::uint8_t* in = line + (step - 1);
    const std::size_t samples = Samples(layout);
    for (std::size_t x = 0; x < layout.width; ++x, rgba += 4, in += samples * step) {
        const bool colour = samples >= 3;
        rgba[0] = in[0];
        rgba[1] = in[colour ? step : 0];
        rgba[2] = in[colour ? 2 * step : 0];
        rgba[3] = samples % 2 == 0 ? in[(samples - 1) * step] : 255;
    }
}

void ShowBits(const LiveLayout& layout, const std::uint8_t* line, std::uint8_t* rgba) {
    for (std::size_t x = 0; x < layout.width; ++x, rgba += 4) {
        const std::uint8_t level = (line[x / 8] >> (7 - x % 8) & 1) != 0 ? 0 : 255;
        rgba[0] = rgba[1] = rgba[2] = level;
        rgba[3] = 255;
    }
}

std::size_t LineBytes(const LiveLayout& layout) {
    return (std::size_t{layout.width} * static_cast<std::size_t>(layout.bits) * Samples(layout) + 7) / 8;
}

std::uint8_t Paeth(int left, int above, int corner) {
    const int byLeft = std::abs(above - corner);
    const int byAbove = std::abs(left - corner);
    const int byCorner = std::abs(left + above - 2 * corner);
    const int nearest = byLeft <= byAbove && byLeft <= byCorner ? left : byAbove <= byCorner ? above : corner;
    return static_cast<std::uint8_t>(nearest);
}

std::uint8_t Sum(std::uint8_t a, int b) {
    return static_cast<std::uint8_t>(a + b);
}

}  // namespace

extern "C" {

void show_lines(const LiveLayout* layout, const std::uint8_t* lines, std::uint32_t count, std::uint8_t* rgba) {
    const std::size_t lineBytes = LineBytes(*layout);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto show = layout->bits == 1 ? ShowBits : ShowLine;
        show(*layout, lines + i * lineBytes, rgba + std::size_t{i} * layout->width * 4);
    }
}

void count_lines(const LiveLayout* layout, const std::uint8_t* lines, std::uint32_t count, std::uint32_t* counts) {
    const std::size_t samples = Samples(*layout);
    const bool colour = samples >= 3;
    const std::size_t pixels = std::size_t{layout->width} * count;
    for (std::size_t i = 0; i < pixels; ++i, lines += samples) {
        const std::uint32_t red = lines[0];
        const std::uint32_t green = lines[colour ? 1 : 0];
        const std::uint32_t blue = lines[colour ? 2 : 0];
        ++counts[red];
        ++counts[256 + green];
        ++counts[512 + blue];
        ++counts[768 + (299 * red + 587 * green + 114 * blue + 500) / 1000];
    }
}

std::int32_t png_unfilter(std::int32_t filter, std::uint8_t* row, const std::uint8_t* above, std::uint32_t bytes,
                          std::uint32_t pixelBytes) {
    const auto left = [&](std::uint32_t i) { return i < pixelBytes ? 0 : row[i - pixelBytes]; };
    const auto up = [&](std::uint32_t i) { return above == nullptr ? 0 : above[i]; };
    const auto corner = [&](std::uint32_t i) {
        return i < pixelBytes || above == nullptr ? 0 : above[i - pixelBytes];
    };
    switch (filter) {
        case 0:
            return 0;
        case 1:
            for (std::uint32_t i = pixelBytes; i < bytes; ++i) {
                row[i] = Sum(row[i], row[i - pixelBytes]);
            }
            return 0;
        case 2:
            for (std::uint32_t i = 0; above != nullptr && i < bytes; ++i) {
                row[i] = Sum(row[i], above[i]);
            }
            return 0;
        case 3:
            for (std::uint32_t i = 0; i < bytes; ++i) {
                row[i] = Sum(row[i], (left(i) + up(i)) / 2);
            }
            return 0;
        case 4:
            for (std::uint32_t i = 0; i < bytes; ++i) {
                row[i] = Sum(row[i], Paeth(left(i), up(i), corner(i)));
            }
            return 0;
        default:
            return 1;
    }
}

}  // extern "C"
