#pragma once

#include "ToneWorld/ToneWorld.h"

// Curves, type "CuRv": one master curve for all three channels. Properties:
//
//   "curV"            gamma strength, signed 32-bit integer, -100 to 100, default 0; positive ones brighten
//   "curS"            kind of curve, signed 32-bit integer, default 3:
//                       0  spline through the five points; becomes 3 when it is applied
//                       1  straight lines through the five points
//                       2  gamma curve; with strength 0 the identity, whatever the points are
//                       3  spline through the five points
//   "cuP1" .. "cuP5"  control points, two floats each: input level x and output level y, defaults (0, 0),
//                     (64, 64), (128, 128), (192, 192), (255, 255). x ranges: 0..239, 4..243, 8..247, 12..251,
//                     16..255; y ranges: 0..255. Keep x increasing; that is not checked, and otherwise the
//                     curve has no meaning, though every entry lies within 0..255.
//
// Spline: see Spline.h. Gamma: with s = trunc(strength x 1.13) and g = tan((s + 127) / 255 x 3.141592 / 2), entry
// i is trunc((i / 255)^(1 / g) x 255). Spline and lines are flat below the first point and above the last. A line
// begins at its point's levels, both truncated, and has the slope of the points as they are.

extern "C" {

// Stamps type and apply function and adds the properties with their defaults, in the order above.
//   op       from NewOperation
//   returns  0 done | 1 the property list could not be made | 2 op is null
// KEPT: a property list that op had before is overwritten, not freed.       (Curves.SetupOverwritesTheList)
PLATEN_API std::int32_t SetupCurvesOperation(_SToneOperation* op);

// Acts on the curve's three tables. With copyCurve 1 the master curve itself is written to curveCopy as well. No
// memory is allocated.
//   op       has been set up; not null
//   curve    not null, with three tables that hold a mapping already
//   returns  0 done, or depth is neither 24 nor 8 and nothing was done
//            3 a value out of range (a coordinate that is not a number is), tables untouched
// KEPT: all values are checked, also those that the kind does not use.    (Curves.UnusedValuesAreCheckedToo)
// KEPT: kind 0 is rewritten to 3 in the operation's property.             (Curves.Kind0BecomesKind3)
PLATEN_API std::int32_t ApplyCurves(_SToneOperation* op, _SToneCurve* curve);

}  // extern "C"
