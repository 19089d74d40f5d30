#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Support/Export.h"

// The HSV filter: saturation, hue and lightness of 24-bit RGB lines, changed in place.
//
//   SetupHsv
//     for each line, in any order: ApplyOneLineHsv
//   Disposehsv
//
// A pixel is three bytes, red, green, blue; pixels are packed. No line is held back.
//
// Status codes of both line filters:
//   0  done
//   1  out of memory
//   3  invalid parameter
//
// Threads: nothing is locked. KEPT: the lightness table gStorage is one for the whole process, rebuilt by every
// SetupHsv and read by every ApplyOneLineHsv, so two contexts with different `lightness` can't be used together:
// both get the later table.                                               (Hsv.ContextsShareTheLatestTable)
// Its entries are read and written as relaxed atomics, so a set-up on another thread does no harm beyond that.
// Apart from the table, distinct contexts may be used on distinct threads, and one context on several threads
// for distinct lines: Apply doesn't write to it.
//
// KEPT marks behaviour that looks wrong and must stay; the test in brackets pins it.

// The caller's settings. At least one of hue, saturation and lightness is not 0.
struct _SHsvParam {
    std::int32_t hue;            // rotation in degrees, -180 to 180: red turns to green at 120, to blue at -120
    std::int32_t saturation;     // change in percent of the pixel's own, -100 (grey) to 100
    std::int32_t lightness;      // change in percent, -100 (black) to 100 (white)
    std::uint32_t bitsPerPixel;  // 24
    std::int32_t width;          // pixels of a line, not 0; with a negative width lines stay as they are
    std::uint32_t height;        // not 0, otherwise unused
    std::uint32_t rowBytes;      // not 0, otherwise unused: a line is always 3 x width bytes
};

static_assert(sizeof(_SHsvParam) == 28 && offsetof(_SHsvParam, rowBytes) == 24, "callers fill this by hand");
static_assert(offsetof(_SHsvParam, saturation) == 4 && offsetof(_SHsvParam, lightness) == 8 &&
                  offsetof(_SHsvParam, bitsPerPixel) == 12 && offsetof(_SHsvParam, width) == 16 &&
                  offsetof(_SHsvParam, height) == 20,
              "field order");

extern "C" {

// The lightness table: entry i is the output, 0 to 255, for input i. All zero until the first SetupHsv. Hosts may
// write to it between lines; only an entry's low byte counts.            (Hsv.OnlyTheLowByteOfATableEntryCounts)
PLATEN_API extern std::uint32_t gStorage[256];

// Checks the settings, copies them and rebuilds gStorage for `lightness` L: for L < 0 towards black,
// trunc(i x f) with f = (255 - (-L) x 2.55) / 255; for L > 0 towards white, trunc(i x f + L x 2.55) with
// f = (255 - L x 2.55) / 255; the identity for 0. All in double, rounded after each operation, at most 255.
//   param    read during the call only
//   handle   receives the context, written only on 0; free it with Disposehsv. The context is one malloc block
//            with a copy of the seven fields and nothing else; every Apply works from it as it then is
//   returns  0 done | 1 out of memory | 3 a field out of range, all three changes 0, or a null pointer.
//            gStorage changes only on 0
// KEPT: with lightness 100, inputs 0 to 127 give 254, not 255, because 100 x 2.55 is just below 255 in double.
//                                                             (Hsv.LightnessPlus100GivesOnly254ToTheDarkHalf)
PLATEN_API std::int32_t SetupHsv(_SHsvParam* param, void** handle);

// Changes one line in place. Checks the context's fields as SetupHsv does, then for each pixel:
//   saturation  (unless 0) RGB to HSL, the HSL saturation times 1 + saturation / 100, at most 1, and back to whole
//               numbers, truncated
//   hue         (unless 0) on the hexcone, with the pixel's angle in whole degrees, truncated; a pixel with equal
//               channels stays as it is
//   lightness   (always) every channel's magnitude, truncated, at most 255, looked up in gStorage
//   handle   the context
//   line     `width` pixels of three bytes
//   returns  0 done | 3 a field of the context out of range or a null pointer, the line as it was
// KEPT: a rotation that ends on 360 degrees stays there and counts as sector 5, not as sector 0.
//                                                                      (Hsv.RotationEndingOn360StaysInSector5)
PLATEN_API std::int32_t ApplyOneLineHsv(void* handle, unsigned char* line);

// Frees a context; null is ignored. gStorage stays as it is.
PLATEN_API void Disposehsv(void* handle);

// One channel of an HSL colour: the building block of the saturation stage.
//   p, q     the colour's two intermediate values, lightness and chroma combined
//   h        hue in sixths of a turn; wrapped once, by 6, when negative or not below 6
//   returns  p + (q - p) h for h < 1 | q for h < 3 | p + (q - p)(4 - h) for h < 4 | p otherwise
PLATEN_API double GetHSLValue(double p, double q, double h);

// The sector of a pixel's own hue angle in degrees: 0 for 0..59, 1 for 60..119, ..., 4 for 240..299, 5 for 300 and
// above.
// KEPT: every negative angle is in sector 5.                                    (Hsv.NowDegreeStateNegativeIsFive)
PLATEN_API std::int32_t nowDegreeState(long angle);

// The sector of an angle after rotation: as nowDegreeState, but of the angle's magnitude.
// KEPT: 360 is in sector 5; so -30 is in sector 0.                          (Hsv.AfterDegreeStateTakesMagnitude)
PLATEN_API std::int32_t afterDegreeState(long angle);

}  // extern "C"
