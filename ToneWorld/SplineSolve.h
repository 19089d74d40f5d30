#pragma once

#include <cstdint>

// The coefficients of a natural cubic spline. Not installed.

namespace platen {

// The working arrays of the solve have room for this many knots.
inline constexpr long kMaxSplineKnots = 64;

// Writes all n coefficients of the spline through (x[i], y[i]); n from 3 to kMaxSplineKnots.
void SolveSpline(const double* x, const double* y, double* z, long n);

// The solved spline at t = 0..255, each value truncated to a whole number within 0..255: what evaluating one t
// after the other gives, for any knots.
void SplineLevels(const double* x, const double* y, const double* z, long n, std::uint8_t* levels);

}  // namespace platen
