#pragma once

#include <vector>

// A small serif typeface, drawn for this page: every letter is a skeleton that a flat pen follows, so upright
// strokes come out heavy and level ones light.
namespace platen_demo {

// A piece of a letter's skeleton and the pen that follows it, in hundredths of the type size; y upwards from the
// baseline.
struct Stroke {
    double x0, y0, x1, y1;
    double penX, penY;  // the pen is an ellipse with these half axes
};

struct Glyph {
    double advance = 0;
    std::vector<Stroke> strokes;
};

constexpr double kCapHeight = 66;

// The letter for an ASCII character. ' is a closing and ` an opening quote, ~ an en dash; what the typeface
// lacks is a space.
const Glyph& GlyphFor(char character);

}  // namespace platen_demo
