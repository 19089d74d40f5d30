#pragma once

#include "ToneWorld/ToneWorld.h"

// Color balance, type "CoBa": shifts each channel in three tonal ranges. Properties, each a signed 32-bit
// integer, -100 to 100, default 0:
//
//   "cbsR" "cbsG" "cbsB"  shadows, red, green and blue
//   "cbmR" "cbmG" "cbmB"  midtones
//   "cbhR" "cbhG" "cbhB"  highlights
//   "cbsT"                any value: a place for the host's own flag, kept and copied but without effect
//
// A value v becomes v' = trunc(v x 1.27) table steps, and those a shift of the channel's middle:
//
//                    v' up to 0         v' above 0
//   shadows          v'                 v' / 3
//   midtones         v' / 3 + v' / 3    v' / 3 + v' / 3
//   highlights       v' / 3             v'
//
// The channel's table is then mapped through the natural spline (see Spline.h) of (0, 0), (127, 127 + shift) and
// (255, 255), the middle's level in single precision. Shadows act first, then midtones, then highlights; a range
// whose three values are all 0 is passed over.

extern "C" {

// Stamps type and apply function and adds the properties with their defaults, in the order above.
//   op       from NewOperation
//   returns  0 done | 1 the property list could not be made | 2 op is null
// KEPT: a property list that op had before is overwritten, not freed.  (ColorBalance.SetupOverwritesTheList)
PLATEN_API std::int32_t SetupColorBalanceOperation(_SToneOperation* op);

// Acts on the curve's three tables.
//   op       has been set up; not null
//   curve    not null, with three tables that hold a mapping already
//   returns  0 done, or depth is not 24 and nothing was done | 3 a value out of range, tables untouched
// KEPT: darker shadows and brighter highlights act in full, the opposite at a third.
//                                                        (ColorBalance.OppositeDirectionsActAtAThird)
// KEPT: at depth 8 it does nothing, unlike the curves operation, and does not check the values either.
//                                                                              (ColorBalance.NeedsDepth24)
PLATEN_API std::int32_t ApplyColorBalance(_SToneOperation* op, _SToneCurve* curve);

}  // extern "C"
