#pragma once

#include "Sources/Support/Export.h"

// Natural cubic splines through a handful of knots, and the 256-entry tables made from them.
//
// The three functions have C++ linkage: their names carry the argument types. All arithmetic is in double, in
// one fixed order, so that tables are the same on every machine.
//
//   x  n knot abscissae. Meant to increase strictly; not checked. Knots out of order or equal ones give results
//      without meaning, but defined ones: a division by zero gives infinity or not-a-number, and that a table
//      entry between 0 and 255.
//   y  n knot ordinates
//   z  n coefficients: z[i] is a sixth of the spline's second derivative at knot i, 0 at both ends
//
// On the interval from knot i to knot i+1, with w its width and s = t - x[i], the spline is
//   ((dz * s / w + 3 z[i]) * s + dy / w - (2 z[i] + z[i+1]) * w) * s + y[i],     dz = z[i+1] - z[i], dy likewise
// Continuity of the first derivative at the inner knots gives a tridiagonal system for z (any numerical analysis
// text: "natural cubic spline"); it is solved without pivoting.
//
// Threads: pure functions of their arguments, free to run at once on distinct buffers. No memory is allocated.

// Solves for z and fills the table.
//   n      number of knots, 3 to 64; with any other number nothing is written
//   z      n entries, all written
//   table  256 entries, all written: entry i is the spline's value at i, truncated, clipped to 0..255
PLATEN_API void splineCreation(double* x, double* y, double* z, long n, unsigned long* table);

// The spline's value at t, truncated toward zero. Below x[0] and above x[n-1] the end intervals' cubics go on.
//   n        number of knots, at least 2
//   returns  0 to 2147483647: a negative value is 0, a larger one than fits is 2147483647, not-a-number is 0
// KEPT: values above 255 are not clipped.                                   (Spline.ValuesAboveTheTableStay)
// KEPT: at a knot the interval to its left is used, so rounding may miss y.  (Spline.KnotBelongsToLeftInterval)
PLATEN_API long GetSpline(long n, double t, double* x, double* y, double* z);

// The same function by a second name: GetSpline serves splineCreation, this one the curves operation.
PLATEN_API long GetSplineCurves(long n, double t, double* x, double* y, double* z);
