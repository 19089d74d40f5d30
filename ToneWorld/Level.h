#pragma once

#include "ToneWorld/ToneWorld.h"

// Levels, type "LeVe". Properties:
//
//   "iMin"  unsigned 32-bit integer, 0 to 247, default 0: input black point
//   "iMid"  double, 0.1 to 9.99, default 0.0: mid-tone; 1.0 is neutral, less darkens, more lightens
//   "iMax"  unsigned 32-bit integer, 8 to 255, default 0: input white point
//   "oMin"  unsigned 32-bit integer, 0 to 247, default 0: output black point
//   "oMax"  unsigned 32-bit integer, 8 to 255, default 0: output white point
//
// Both spans, iMax - iMin and oMax - oMin, are at least 8. The input range is stretched over 0..255, bent by the
// mid-tone, and the result squeezed into the output range. All arithmetic is in double, truncated:
//
//   input    0 below iMin; from there on, with d = iMax - iMin, (i - iMin) x (255 / d) for a mid-tone of 1.0 and
//            ((i - iMin) / d)^(1 / g) x 255 for others; 255 at most
//   output   i x ((oMax - oMin) / 255) + oMin
//
// with g = tan(m x 127 / 256 x 3.141592 / 2). m is the mid-tone itself below 1; above, with j its whole part, it is
// (mid-tone - j) x 100 x rate + 1 + offset:
//
//   j        1       2       3       4        5         6          7           8           9
//   rate     0.0044  0.0022  0.0011  0.00055  0.000275  0.0001375  0.00006875  0.00006875  0.000034375
//   offset   0       0.44    0.66    0.77     0.825     0.8525     0.86625     0.873125    0.8765625
//
// where 0.825 and 0.86625 are the sums 0.77 + 0.055 and 0.8525 + 0.01375.

extern "C" {

// Stamps type and apply function and adds the properties with their defaults.
//   op       from NewOperation
//   returns  0 done | 1 the property list could not be made | 2 op is null
// KEPT: the defaults are no valid setting: until all five are given, the operation has no effect.
//                                                                             (Level.DefaultsAreOutOfRange)
// KEPT: a property list that op had before is overwritten, not freed.        (Level.SetupOverwritesTheList)
PLATEN_API std::int32_t SetupLevelOperation(_SToneOperation* op);

// Acts on the curve's three tables.
//   op       has been set up; not null
//   curve    not null, with three tables that hold a mapping already
//   returns  0 done, or nothing to do at this depth | 3 a value out of range, tables untouched
// KEPT: at a depth other than 8 and 24 even invalid values give 0.       (Level.OtherDepthsChangeNothingAndGive0)
// KEPT: of the mid-tones, 8.99 lightens more than 9.0.                   (Level.MidToneStepsBackAt9)
// KEPT: a mid-tone next to 1.0 darkens slightly, 1.0 itself does nothing. (Level.MidToneNextToNeutralDarkens)
PLATEN_API std::int32_t ApplyLevel(_SToneOperation* op, _SToneCurve* curve);

}  // extern "C"
