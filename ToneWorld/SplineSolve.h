#pragma once

// The coefficients of a natural cubic spline. Not installed.

namespace platen {

// The working arrays of the solve have room for this many knots.
inline constexpr long kMaxSplineKnots = 64;

// Writes all n coefficients of the spline through (x[i], y[i]); n from 3 to kMaxSplineKnots.
void SolveSpline(const double* x, const double* y, double* z, long n);

}  // namespace platen
