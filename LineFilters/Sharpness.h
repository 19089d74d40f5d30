#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/Support/Export.h"

// The sharpness filter: one of five 3x3 kernels over a 24-bit or 8-bit image that passes line by line.
//
//   SetupSharp
//     for each of the image's lines, top to bottom:
//       ApplySharpFilterPutLine
//       while GetSharpDstLines is not 0: ApplySharpFilterGetLine
//   DisposeSharpness
//
// One line is held back. What waits after each Put: nothing after the first line, one line after each that
// follows, two after the last. Lines come out in their order; fetch before the next Put, which overwrites the
// finished line.
//
// Status codes are the HSV filter's: 0 done, 1 out of memory, 3 invalid parameter.
//
// A sample's result is |S / divisor|, at most 255, with S the nine-term sum and the division truncating toward
// zero. Each sample of a pixel is filtered on its own. At the edges:
//   left    column 0 stands in for the missing one
//   right   the last column but one stands in for the missing one
//   top     no upper row: the lower row counts twice, with the lower weights
//   bottom  KEPT: as the top, with the last line but one as the middle row and the last as the lower one
//                                                              (Sharpness.LastLineIsTheTopEdgeRuleOnTheLastTwo)
// KEPT: a negative sum gives its magnitude, not 0.             (Sharpness.DarkDotOnBrightGivesMagnitudes)
//
// Threads: nothing is locked. A context belongs to one thread at a time; distinct contexts share only the
// constant table.
//
// KEPT marks behaviour that looks wrong and must stay; the test in brackets pins it.

// The caller's settings.
struct _SSharpParam {
    std::int32_t level;          // -2 and -1 soften, 1, 2 and 3 sharpen; 0 is invalid
    std::uint32_t bitsPerPixel;  // 24: three samples a pixel, interleaved; 8: one
    std::uint32_t width;         // pixels of a line, at least 3
    std::uint32_t height;        // lines of the image, not 0
    std::uint32_t rowBytes;      // bytes copied in and out for each line, at least what the pixels need
};

static_assert(sizeof(_SSharpParam) == 20 && offsetof(_SSharpParam, rowBytes) == 16, "callers fill this by hand");
static_assert(offsetof(_SSharpParam, bitsPerPixel) == 4 && offsetof(_SSharpParam, width) == 8 &&
                  offsetof(_SSharpParam, height) == 12,
              "field order");

extern "C" {

// For each level: the kernel, row by row, the divisor, the level. Each kernel's weights add up to its divisor, so
// flat areas stay as they are.
PLATEN_API extern const std::int32_t sfilterParamTable[5][11];

// Checks the settings, copies them and allocates all that the filter will ever need, eight malloc blocks: the copy
// of the settings, the context, the kernel, five lines of rowBytes bytes, which start as zeros. The context is
// nine words: pointers to settings, kernel (nine weights and the divisor), newest, previous and oldest line, first
// and second output line, then as 32-bit words the lines put so far and the lines that wait.
//   param    read during the call only
//   handle   receives the context, written only on 0; free it with DisposeSharpness
//   returns  0 done | 1 out of memory | 3 a field out of range, rowBytes less than the pixels need, or a null
//            pointer
// KEPT: on 1 the blocks already taken stay allocated.       (SharpnessOutOfMemory.BlocksAlreadyTakenAreLeaked)
PLATEN_API std::int32_t SetupSharp(_SSharpParam* param, void** handle);

// Takes the image's next line. From the second on a line is finished then, the one put before it; with the last
// line, that one too.
// Works from the kernel's ten words as they then are, whoever wrote them: sums are modulo 2^32 and taken as
// signed, the quotient's magnitude is that of the true quotient, and a divisor of 0 gives 0 for every sample.
//   handle   address of the context; receives it back unchanged
//   line     rowBytes bytes, read only
//   returns  0 done | 3 the context's settings out of range or a null pointer, nothing changed
// KEPT: after the image's last line Put continues with the ordinary pass: one line waits each time, and the image's
// end is never reached again.                                     (Sharpness.PutPastHeightGoesOnWithOrdinaryLines)
PLATEN_API std::int32_t ApplySharpFilterPutLine(void** handle, unsigned char* line);

// The finished lines that wait: 0, 1 or 2; 0 for null.
PLATEN_API std::uint32_t GetSharpDstLines(void* handle);

// Fetches the next finished line.
//   handle   address of the context; receives it back unchanged
//   line     rowBytes bytes; those after the pixels are written as zeros
//   returns  0 done | 3 the context's settings out of range or a null pointer, nothing changed
// KEPT: in mid-image it copies the line it finished last even when none waits (zeros when there was none yet).
//                                                                      (Sharpness.GetWithNothingReadyCopiesStaleLine)
// KEPT: an image of one line never gives it: nothing waits after the only Put, and Get copies nothing.
//                                                                                    (Sharpness.HeightOneGivesNoLine)
PLATEN_API std::int32_t ApplySharpFilterGetLine(void** handle, unsigned char* line);

// Frees the eight blocks; a null word of the context is passed over, and so is a null handle.
PLATEN_API void DisposeSharpness(void* handle);

}  // extern "C"
