#pragma once

#include <cstddef>
#include <cstdint>

#include "LineFilters/Sharpness.h"

// What the sharpness filter's handle points to. Not installed: tests and the filter itself read it by name.

namespace platen {

// Every pointer is a malloc block that the context owns.
struct SharpContext {
    _SSharpParam* param;
    std::int32_t* kernel;        // ten words: k0..k8, divisor
    std::uint8_t* newestLine;    // the line put last
    std::uint8_t* previousLine;  // the one before it, the middle row
    std::uint8_t* oldestLine;    // the one before that
    std::uint8_t* outLine1;      // the finished line
    std::uint8_t* outLine2;      // the image's very last finished line
    std::uint32_t linesIn;       // lines put so far, never reset
    std::uint32_t linesReady;    // finished lines that wait, 0 to 2
};

static_assert(offsetof(SharpContext, kernel) == sizeof(void*) &&
                  offsetof(SharpContext, newestLine) == 2 * sizeof(void*) &&
                  offsetof(SharpContext, previousLine) == 3 * sizeof(void*) &&
                  offsetof(SharpContext, oldestLine) == 4 * sizeof(void*) &&
                  offsetof(SharpContext, outLine1) == 5 * sizeof(void*) &&
                  offsetof(SharpContext, outLine2) == 6 * sizeof(void*) &&
                  offsetof(SharpContext, linesIn) == 7 * sizeof(void*) &&
                  offsetof(SharpContext, linesReady) == 7 * sizeof(void*) + 4,
              "nine words in this order");

}  // namespace platen
