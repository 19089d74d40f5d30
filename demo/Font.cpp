#include "demo/Font.h"

#include <array>
#include <cstddef>
#include <sstream>
#include <string>

#include "demo/Glyphs.h"

namespace platen_demo {
namespace {

constexpr double kPenX = 4.1;
constexpr double kPenY = 1.6;
constexpr double kCircle = 0.56;  // a little squarer than a circle, as letters are

// Turns the commands of one letter into straight strokes.
class GlyphBuilder {
  public:
    explicit GlyphBuilder(const GlyphSource& source) : in_(source.commands) {
        glyph_.advance = source.advance;
    }

    Glyph Build() {
        for (std::string command; in_ >> command;) {
            Command(command[0]);
        }
        return glyph_;
    }

  private:
    double Number() {
        double value = 0;
        in_ >> value;
        return value;
    }

    void Command(char command) {
        if (command == 'T') {
            penX_ = kPenY;
            return;
        }
        if (command == 'N') {
            penX_ = kPenX;
            return;
        }
        const double a = Number();
        const double b = Number();
        switch (command) {
            case 'M':
                x_ = a;
                y_ = b;
                break;
            case 'L':
                LineTo(a, b);
                break;
            case 'Q': {
                const double x = Number();
                const double y = Number();
                Cubic(x_ + (a - x_) * 2 / 3, y_ + (b - y_) * 2 / 3, x + (a - x) * 2 / 3, y + (b - y) * 2 / 3, x, y);
                break;
            }
            case 'h':
                Cubic(x_ + (a - x_) * kCircle, y_, a, b + (y_ - b) * kCircle, a, b);
                break;
            case 'v':
                Cubic(x_, y_ + (b - y_) * kCircle, a + (x_ - a) * kCircle, b, a, b);
                break;
            case 'S':
                Add({a - 4.6, b, a + 4.6, b, kPenX, kPenY});
                break;
            case 'F':
                Add({a - 5.5, b - 2.6, a, b, 3.0, kPenY});
                break;
            case 'B':
                Add({a, b, a, b, 4.8, 4.8});
                break;
            case 'O':
                Add({a, b, a, b, 5.6, 5.6});
                break;
        }
    }

    void Add(const Stroke& stroke) {
        glyph_.strokes.push_back(stroke);
    }

    void LineTo(double x, double y) {
        Add({x_, y_, x, y, penX_, kPenY});
        x_ = x;
        y_ = y;
    }

    void Cubic(double ax, double ay, double bx, double by, double x, double y) {
        constexpr int kPieces = 10;
        const double startX = x_;
        const double startY = y_;
        for (int i = 1; i <= kPieces; ++i) {
            const double t = i / double{kPieces};
            const double s = 1 - t;
            LineTo(s * s * s * startX + 3 * s * s * t * ax + 3 * s * t * t * bx + t * t * t * x,
                   s * s * s * startY + 3 * s * s * t * ay + 3 * s * t * t * by + t * t * t * y);
        }
    }

    std::istringstream in_;
    Glyph glyph_;
    double x_ = 0;
    double y_ = 0;
    double penX_ = kPenX;
};

std::array<Glyph, 128> BuildFont() {
    std::array<Glyph, 128> font;
    for (Glyph& glyph : font) {
        glyph.advance = 25;
    }
    for (const GlyphSource& source : kGlyphs) {
        font[static_cast<std::size_t>(source.character)] = GlyphBuilder(source).Build();
    }
    return font;
}

}  // namespace

const Glyph& GlyphFor(char character) {
    static const std::array<Glyph, 128> font = BuildFont();
    return font[static_cast<unsigned char>(character) & 127u];
}

}  // namespace platen_demo
