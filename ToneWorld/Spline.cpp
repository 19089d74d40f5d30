#include "ToneWorld/Spline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Sources/Support/Truncate.h"
#include "ToneWorld/SplineSolve.h"

namespace {

// a / b as IEEE 754 has it, also for b = 0, where the language leaves the operator undefined.
double Quotient(double a, double b) {
    return b != 0.0 ? a / b : a * std::copysign(std::numeric_limits<double>::infinity(), b);
}

// The interval that t lies in. A bisection for the first knot that is not below t: which interval it hits when
// the knots are out of order is part of the result.
long FindInterval(long n, double t, const double* x) {
    long low = 0;
    long high = n - 1;
    while (low < high) {
        const long middle = (low + high) / 2;
        if (x[middle] < t) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low == 0 ? 0 : low - 1;
}

double Value(double t, const double* x, const double* y, const double* z, long i) {
    const double w = x[i + 1] - x[i];
    const double s = t - x[i];
    const double a = (Quotient((z[i + 1] - z[i]) * s, w) + z[i] * 3.0) * s;
    const double b = Quotient(y[i + 1] - y[i], w) - (2 * z[i] + z[i + 1]) * w;
    return (a + b) * s + y[i];
}

std::int32_t Evaluate(long n, double t, const double* x, const double* y, const double* z) {
    const double value = Value(t, x, y, z, FindInterval(n, t, x));
    return platen::Truncate<std::int32_t>(value < 0.0 ? 0.0 : value);
}

// False for knots that are no numbers.
bool KnotsRise(const double* x, long n) {
    for (long i = 0; i + 1 < n; ++i) {
        if (!(x[i] < x[i + 1])) {
            return false;
        }
    }
    return true;
}

// Clipped before it is truncated, which gives the same; not-a-number gives 0.
std::uint8_t Level(double value) {
    const double positive = value > 0.0 ? value : 0.0;
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(positive < 255.0 ? positive : 255.0));
}

// The levels from `begin` to before `end` by interval i, which has a width: Value's operations in Value's order,
// those without t taken out of the loop.
void FillLevels(std::uint8_t* levels, int begin, int end, const double* x, const double* y, const double* z,
                long i) {
    const double left = x[i];
    const double bottom = y[i];
    const double w = x[i + 1] - x[i];
    const double bend = z[i + 1] - z[i];
    const double start = z[i] * 3.0;
    const double b = (y[i + 1] - y[i]) / w - (2 * z[i] + z[i + 1]) * w;
    for (int t = begin; t < end; ++t) {
        const double s = t - left;
        const double a = (bend * s / w + start) * s;
        levels[t] = Level((a + b) * s + bottom);
    }
}

}  // namespace

namespace platen {

void SolveSpline(const double* x, const double* y, double* z, long n) {
    std::array<double, kMaxSplineKnots> width;
    std::array<double, kMaxSplineKnots> slope;  // from the front on replaced by the rows' pivots
    double* const h = width.data();
    double* const d = slope.data();
    z[0] = 0.0;
    z[n - 1] = 0.0;
    for (long i = 0; i <= n - 2; ++i) {
        h[i] = x[i + 1] - x[i];
        d[i] = Quotient(y[i + 1] - y[i], h[i]);
    }
    z[1] = (d[1] - d[0]) - h[0] * z[0];
    d[0] = 2 * (x[2] - x[0]);
    for (long i = 1; i <= n - 3; ++i) {
        const double t = Quotient(h[i], d[i - 1]);
        z[i + 1] = (d[i + 1] - d[i]) - z[i] * t;
        d[i] = 2 * (x[i + 2] - x[i]) - h[i] * t;
    }
    z[n - 2] = z[n - 2] - h[n - 2] * z[n - 1];
    for (long i = n - 2; i >= 1; --i) {
        z[i] = Quotient(z[i] - h[i] * z[i + 1], d[i - 1]);
    }
}

// Where the knots rise the bisection finds the interval whose right end is the first knot that is not below t; the
// first and the last interval go on outward.
void SplineLevels(const double* x, const double* y, const double* z, long n, std::uint8_t* levels) {
    if (!KnotsRise(x, n)) {
        for (int t = 0; t < 256; ++t) {
            levels[t] = Level(Value(t, x, y, z, FindInterval(n, t, x)));
        }
        return;
    }
    int begin = 0;
    for (long i = 0; i + 1 < n; ++i) {
        const bool isLast = i + 2 == n;
        const int end = isLast || x[i + 1] >= 255.0 ? 256 : Truncate<int>(std::floor(x[i + 1])) + 1;
        FillLevels(levels, begin, end, x, y, z, i);
        begin = std::max(begin, end);
    }
}

}  // namespace platen

void splineCreation(double* x, double* y, double* z, long n, unsigned long* table) {
    if (n < 3 || n > platen::kMaxSplineKnots) {
        return;
    }
    platen::SolveSpline(x, y, z, n);
    std::array<std::uint8_t, 256> levels;
    platen::SplineLevels(x, y, z, n, levels.data());
    std::copy(levels.begin(), levels.end(), table);
}

long GetSpline(long n, double t, double* x, double* y, double* z) {
    return Evaluate(n, t, x, y, z);
}

long GetSplineCurves(long n, double t, double* x, double* y, double* z) {
    return Evaluate(n, t, x, y, z);
}
