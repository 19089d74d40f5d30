#pragma once

#include "ToneWorld/ToneWorld.h"

// Brightness and contrast, type "BrCn". Properties, each a signed 32-bit integer:
//
//   "briT"  brightness, -100 to 100, default 0: shifts every entry by trunc(amount x 1.27)
//   "conT"  contrast, -100 to 100, default 0: with k = trunc(|amount| x 1.27), a positive amount spreads
//           k..255-k over 0..255, a negative one squeezes 0..255 into k..255-k
//
// Brightness acts first, contrast on the brightened values. All arithmetic is in double, truncated.

extern "C" {

// Stamps type and apply function and adds the properties with their defaults.
//   op       from NewOperation
//   returns  0 done | 1 the property list could not be made | 2 op is null
// KEPT: a property list that op had before is overwritten, not freed. (BrightnessContrast.SetupOverwritesTheList)
PLATEN_API std::int32_t SetupBrightnessContrastOperation(_SToneOperation* op);

// Acts on the curve's three tables.
//   op       has been set up; not null
//   curve    not null, with three tables that hold a mapping already
//   returns  0 done | 3 a value out of range, tables untouched
// KEPT: brightness acts at any depth, contrast only at 8 and 24.   (BrightnessContrast.ContrastNeedsDepth8Or24)
PLATEN_API std::int32_t ApplyBrightnessContrast(_SToneOperation* op, _SToneCurve* curve);

}  // extern "C"
