#include "demo/Ink.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <sstream>

#include "demo/Font.h"
#include "demo/Noise.h"

namespace platen_demo {
namespace {

constexpr int kPhases = 4;  // positions of a letter within a pixel

// How much of the pixel at (x, y) the stroke covers, from the distance to the pen's edge. With q the pen's own
// coordinates, f = |q| is 1 on the edge, and (1 - f) / |grad f| is the distance in pixels to first order.
double Coverage(const Stroke& s, double x, double y) {
    const double ax = (x - s.x0) / s.penX;
    const double ay = (y - s.y0) / s.penY;
    const double bx = (s.x1 - s.x0) / s.penX;
    const double by = (s.y1 - s.y0) / s.penY;
    const double length = bx * bx + by * by;
    const double t = length > 0 ? Clamp01((ax * bx + ay * by) / length) : 0;
    const double dx = ax - t * bx;
    const double dy = ay - t * by;
    const double f = std::sqrt(dx * dx + dy * dy);
    if (f < 1e-6) {
        return Clamp01(0.5 + std::min(s.penX, s.penY));
    }
    const double gradient = std::sqrt(dx * dx / (s.penX * s.penX) + dy * dy / (s.penY * s.penY)) / f;
    return Clamp01(0.5 + (1 - f) / gradient);
}

// From font units, y upwards, to pixels, y downwards.
Stroke Place(const Stroke& s, const Type& type, double shift) {
    const double scale = type.size / 100;
    return {(s.x0 + s.y0 * type.slant) * scale + shift,
            -s.y0 * scale,
            (s.x1 + s.y1 * type.slant) * scale + shift,
            -s.y1 * scale,
            s.penX * scale * type.weight,
            s.penY * scale * std::sqrt(type.weight)};
}

std::vector<std::string> Words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

}  // namespace

Ink::Ink(int width, int height)
    : width_(width),
      height_(height),
      coverage_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

void Ink::Raise(int x, int y, double coverage) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) {
        return;
    }
    std::uint8_t& cell =
        coverage_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)];
    cell = std::max(cell, static_cast<std::uint8_t>(Clamp01(coverage) * 255 + 0.5));
}

const Ink::Bitmap& Ink::BitmapFor(char character, const Type& type, int phase) {
    const auto [found, isNew] =
        cache_.try_emplace(Key{character, type.size, type.weight, type.slant, phase}, Bitmap{});
    Bitmap& bitmap = found->second;
    if (!isNew) {
        return bitmap;
    }
    const Glyph& glyph = GlyphFor(character);
    bitmap.left = -static_cast<int>(type.size * 0.2) - 2;
    bitmap.top = -static_cast<int>(type.size * 0.8) - 2;
    bitmap.width = static_cast<int>(type.size * (glyph.advance + 45) / 100) + 4;
    bitmap.height = static_cast<int>(type.size * 1.1) + 4;
    bitmap.coverage.resize(static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.height));
    for (const Stroke& source : glyph.strokes) {
        const Stroke s = Place(source, type, phase / double{kPhases});
        const int x0 = static_cast<int>(std::floor(std::min(s.x0, s.x1) - s.penX)) - 1 - bitmap.left;
        const int x1 = static_cast<int>(std::ceil(std::max(s.x0, s.x1) + s.penX)) + 1 - bitmap.left;
        const int y0 = static_cast<int>(std::floor(std::min(s.y0, s.y1) - s.penY)) - 1 - bitmap.top;
        const int y1 = static_cast<int>(std::ceil(std::max(s.y0, s.y1) + s.penY)) + 1 - bitmap.top;
        for (int y = std::max(0, y0); y <= std::min(bitmap.height - 1, y1); ++y) {
            for (int x = std::max(0, x0); x <= std::min(bitmap.width - 1, x1); ++x) {
                const double c = Coverage(s, x + bitmap.left + 0.5, y + bitmap.top + 0.5);
                std::uint8_t& cell = bitmap.coverage[static_cast<std::size_t>(y * bitmap.width + x)];
                cell = std::max(cell, static_cast<std::uint8_t>(c * 255 + 0.5));
            }
        }
    }
    return bitmap;
}

void Ink::Stamp(const Bitmap& bitmap, int x, int y) {
    for (int row = 0; row < bitmap.height; ++row) {
        for (int column = 0; column < bitmap.width; ++column) {
            Raise(x + bitmap.left + column, y + bitmap.top + row,
                  bitmap.coverage[static_cast<std::size_t>(row * bitmap.width + column)] / 255.0);
        }
    }
}

double Ink::TextWidth(const std::string& text, const Type& type) const {
    double width = 0;
    for (const char character : text) {
        width += GlyphFor(character).advance * type.size / 100 + type.spacing;
    }
    return width;
}

double Ink::Text(double x, double y, const std::string& text, const Type& type) {
    for (const char character : text) {
        const double whole = std::floor(x);
        const int phase = static_cast<int>((x - whole) * kPhases);
        Stamp(BitmapFor(character, type, phase), static_cast<int>(whole), static_cast<int>(std::lround(y)));
        x += GlyphFor(character).advance * type.size / 100 + type.spacing;
    }
    return x;
}

void Ink::TextCentred(double x, double y, const std::string& text, const Type& type) {
    Text(x - TextWidth(text, type) / 2, y, text, type);
}

double Ink::Paragraph(double x, double y, double width, double leading, const std::string& text, const Type& type,
                      int indentLines, double indent) {
    const std::vector<std::string> words = Words(text);
    const double space = TextWidth(" ", type);
    for (std::size_t first = 0, line = 0; first < words.size(); ++line, y += leading) {
        const double shift = line < static_cast<std::size_t>(indentLines) ? indent : 0;
        double used = TextWidth(words[first], type);
        std::size_t last = first + 1;
        while (last < words.size() && used + space * 0.85 + TextWidth(words[last], type) +
                                              space * 0.85 * static_cast<double>(last - first - 1) <=
                                          width - shift) {
            used += TextWidth(words[last++], type);
        }
        const bool justify = last < words.size() && last > first + 1;
        const double gap = justify ? (width - shift - used) / static_cast<double>(last - first - 1) : space;
        double at = x + shift;
        for (; first < last; ++first) {
            at = Text(at, y, words[first], type) + gap;
        }
    }
    return y;
}

void Ink::Rectangle(double x0, double y0, double x1, double y1) {
    for (int y = static_cast<int>(y0); y <= static_cast<int>(y1); ++y) {
        const double vertical = Clamp01(y + 1 - y0) * Clamp01(y1 - y);
        for (int x = static_cast<int>(x0); x <= static_cast<int>(x1); ++x) {
            Raise(x, y, vertical * Clamp01(x + 1 - x0) * Clamp01(x1 - x));
        }
    }
}

void Ink::Line(double x0, double y0, double x1, double y1, double thickness) {
    const Stroke stroke{x0, y0, x1, y1, thickness / 2, thickness / 2};
    for (int y = static_cast<int>(std::min(y0, y1) - thickness); y <= std::max(y0, y1) + thickness; ++y) {
        for (int x = static_cast<int>(std::min(x0, x1) - thickness); x <= std::max(x0, x1) + thickness; ++x) {
            Raise(x, y, Coverage(stroke, x + 0.5, y + 0.5));
        }
    }
}

double Ink::At(double x, double y) const {
    const double left = std::floor(x);
    const double top = std::floor(y);
    if (left < 0 || top < 0 || left + 1 >= width_ || top + 1 >= height_) {
        return 0;
    }
    const std::size_t stride = static_cast<std::size_t>(width_);
    const std::uint8_t* cell = &coverage_[static_cast<std::size_t>(top) * stride + static_cast<std::size_t>(left)];
    return Mix(Mix(cell[0], cell[1], x - left), Mix(cell[stride], cell[stride + 1], x - left), y - top) / 255;
}

void Ink::Blur(int radius) {
    // Two passes of a running mean along the lines, then along the columns.
    const auto pass = [&](std::size_t start, std::size_t step, int count) {
        std::vector<std::uint8_t> line(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < line.size(); ++i) {
            line[i] = coverage_[start + i * step];
        }
        int sum = 0;
        for (int i = -radius; i < count; ++i) {
            sum += i + radius < count ? line[static_cast<std::size_t>(i + radius)] : 0;
            sum -= i - radius - 1 >= 0 ? line[static_cast<std::size_t>(i - radius - 1)] : 0;
            if (i >= 0) {
                coverage_[start + static_cast<std::size_t>(i) * step] =
                    static_cast<std::uint8_t>(sum / (2 * radius + 1));
            }
        }
    };
    for (int repeat = 0; repeat < 2; ++repeat) {
        for (int y = 0; y < height_; ++y) {
            pass(static_cast<std::size_t>(y) * static_cast<std::size_t>(width_), 1, width_);
        }
        for (int x = 0; x < width_; ++x) {
            pass(static_cast<std::size_t>(x), static_cast<std::size_t>(width_), height_);
        }
    }
}

}  // namespace platen_demo
