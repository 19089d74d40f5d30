#pragma once

namespace platen_demo {

struct Colour {
    double r = 0;
    double g = 0;
    double b = 0;
};

Colour Mix(const Colour& a, const Colour& b, double t);

// The picture on the page: a lake below mountains in the late afternoon. x runs from 0 to about 1.5 (the
// picture's width over its height), y from 0 at the top to 1.
Colour Landscape(double x, double y);

}  // namespace platen_demo
