#include "ToneWorld/MasterCurve.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Sources/Support/Truncate.h"
#include "ToneWorld/SplineSolve.h"

namespace platen {

namespace {

// A control point's level as an integer.
std::uint8_t Level(float level) {
    return Truncate<std::uint8_t>(static_cast<double>(level));
}

// The width of the part between the outer points, in single precision.
float Span(const ControlPoints& points) {
    return points[4].x - points[0].x;
}

// Sets entries [Level(from.x), ...) along the line from one point to the next, `count` giving how many: every
// j < count. Truncate clips to 0..255.
//
// The highest index is 255: count is at most to.x - from.x, or one more for the last line. Whole numbers are
// exact in single precision and rounding keeps order, so the difference does not exceed 255 - Level(from.x).
void DrawLine(MasterCurve& master, const ControlPoint& from, const ControlPoint& to, double extra) {
    const double width = static_cast<double>(to.x - from.x);
    const double rise = static_cast<double>(to.y - from.y);
    const double slope = width != 0.0 ? rise / width : 0.0;  // without width only the starting level can be set
    const double count = width + extra;
    const std::size_t start = Level(from.x);
    const double level = Level(from.y);
    for (std::size_t j = 0; static_cast<double>(j) < count; ++j) {
        master[start + j] = Truncate<std::uint8_t>(static_cast<double>(j) * slope + level);
    }
}

}  // namespace

MasterCurve SplineMaster(const ControlPoints& points) {
    constexpr long kKnots = 5;
    std::array<double, kKnots> x;
    std::array<double, kKnots> y;
    std::array<double, kKnots> z;
    for (std::size_t k = 0; k < points.size(); ++k) {
        x[k] = static_cast<double>(points[k].x);
        y[k] = static_cast<double>(points[k].y);
    }
    SolveSpline(x.data(), y.data(), z.data(), kKnots);

    const ControlPoint& first = points[0];
    const ControlPoint& last = points[4];
    const bool whole = Span(points) == 255.0f;
    MasterCurve master;
    SplineLevels(x.data(), y.data(), z.data(), kKnots, master.data());
    for (std::size_t i = 0; i < master.size() && !whole; ++i) {
        const auto level = static_cast<float>(i);
        if (level <= first.x) {
            master[i] = Level(first.y);
        } else if (last.x <= level) {
            master[i] = Level(last.y);
        }
    }
    return master;
}

MasterCurve PolylineMaster(const ControlPoints& points) {
    const ControlPoint& first = points[0];
    const ControlPoint& last = points[4];
    MasterCurve master;
    std::iota(master.begin(), master.end(), std::uint8_t{0});
    if (Span(points) != 255.0f) {
        for (std::size_t j = 0; static_cast<float>(j) < first.x; ++j) {
            master[j] = Level(first.y);
        }
    }
    for (std::size_t k = 0; k + 1 < points.size(); ++k) {
        // The last line is one entry longer, for the last point's own; its slope is that of the points.
        const bool isLast = k + 2 == points.size();
        DrawLine(master, points[k], points[k + 1], isLast ? 1.0 : 0.0);
    }
    if (last.x < 255.0f) {  // where the span is 255 this is false: no point lies below 0
        const std::size_t start = Level(last.x);
        for (std::size_t j = 0; static_cast<double>(j) < 256.0 - static_cast<double>(last.x); ++j) {
            master[start + j] = Level(last.y);
        }
    }
    return master;
}

double CurveGamma(std::int32_t strength) {
    const auto steps = Truncate<std::int32_t>(strength * 1.13);
    return std::tan(((steps + 127) + 0.0) / 255.0 * 3.141592 / 2.0);
}

MasterCurve GammaMaster(std::int32_t strength) {
    const double gamma = CurveGamma(strength);
    MasterCurve master;
    for (std::size_t i = 0; i < master.size(); ++i) {
        const double x = (static_cast<double>(i) + 0.0) / 255.0;
        master[i] = Truncate<std::uint8_t>(std::pow(x, 1.0 / gamma) * 255.0);
    }
    return master;
}

}  // namespace platen
