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

std::int32_t Evaluate(long n, double t, const double* x, const double* y, const double* z) {
    const long i = FindInterval(n, t, x);
    const double w = x[i + 1] - x[i];
    const double s = t - x[i];
    const double a = (Quotient((z[i + 1] - z[i]) * s, w) + z[i] * 3.0) * s;
    const double b = Quotient(y[i + 1] - y[i], w) - (2 * z[i] + z[i + 1]) * w;
    const double value = (a + b) * s + y[i];
    return platen::Truncate<std::int32_t>(value < 0.0 ? 0.0 : value);
}

}  // namespace

namespace platen {

void SolveSpline(const double* x, const double* y, double* z, long n) {
    std::array<double, kMaxSplineKnots - 1> width;
    std::array<double, kMaxSplineKnots - 1> slope;  // from the front on replaced by the rows' pivots
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

}  // namespace platen

void splineCreation(double* x, double* y, double* z, long n, unsigned long* table) {
    if (n < 3 || n > platen::kMaxSplineKnots) {
        return;
    }
    platen::SolveSpline(x, y, z, n);
    for (int i = 0; i < 256; ++i) {
        table[i] = static_cast<unsigned long>(std::clamp(GetSpline(n, i, x, y, z), 0L, 255L));
    }
}

long GetSpline(long n, double t, double* x, double* y, double* z) {
    return Evaluate(n, t, x, y, z);
}

long GetSplineCurves(long n, double t, double* x, double* y, double* z) {
    return Evaluate(n, t, x, y, z);
}
