#pragma once

#include <cstdint>

// What the page's WebAssembly module exports, besides `memory` and `_initialize`: flat functions over numbers and
// addresses in its memory. live/src/engine.mjs is the caller.

#define PLATEN_LIVE(name) __attribute__((export_name(#name))) name

extern "C" {

// Memory for the caller's data; null when it is short.
void* PLATEN_LIVE(live_alloc)(std::uint32_t bytes);
void PLATEN_LIVE(live_free)(void* block);

// The name of the kernels in use, a C string.
const char* PLATEN_LIVE(live_kernels)();

// The tone steps, one after the other, and the tables that they fold into.
//   depth    24 or 8
//   tables   768 bytes: red, green, blue
// tone_curve's points are ten floats, x and y of each; its kind is 1 (polyline), 2 (gamma, with the strength) or 3
// (spline). tone_balance's group is 0 (shadows), 1 (midtones) or 2 (highlights). All return 0, or 1 when memory is
// short. A step whose values are out of their ranges has no effect.
std::int32_t PLATEN_LIVE(tone_begin)();
std::int32_t PLATEN_LIVE(tone_brightness_contrast)(std::int32_t brightness, std::int32_t contrast);
std::int32_t PLATEN_LIVE(tone_levels)(std::int32_t black, std::int32_t white, double gamma, std::int32_t outBlack,
                                      std::int32_t outWhite);
std::int32_t PLATEN_LIVE(tone_curve)(std::int32_t kind, const float* points, std::int32_t strength);
std::int32_t PLATEN_LIVE(tone_balance)(std::int32_t group, std::int32_t red, std::int32_t green, std::int32_t blue);
void PLATEN_LIVE(tone_fold)(std::int32_t depth, std::uint8_t* tables);

// One page at a time: page_begin, page_step for each stage from the first to the last, page_start, then page_take
// with the source lines from the top, in as many calls as one likes. Each gives the number of result lines that are
// ready; they lie at page_lines() and are gone with the next call.
//   kind       the tool's StageKind, as a number (programs/page/PagePlan.h)
//   settings   three doubles: saturation, hue, lightness; the sharpness; the threshold in percent
//   tables     for tone steps, as from tone_fold; null for others
struct LiveLayout {
    std::uint32_t width;
    std::uint32_t height;
    std::int32_t samples;
    std::int32_t bits;
};
void PLATEN_LIVE(page_begin)();
void PLATEN_LIVE(page_step)(std::int32_t kind, const LiveLayout* in, const LiveLayout* out, const double* settings,
                            const std::uint8_t* tables);
void PLATEN_LIVE(page_start)(const LiveLayout* result);
std::uint32_t PLATEN_LIVE(page_take)(std::uint8_t* lines, std::uint32_t lineBytes, std::uint32_t count);
const std::uint8_t* PLATEN_LIVE(page_lines)();
void PLATEN_LIVE(page_end)();

// Lines of any layout as a screen takes them, RGBA of 8 bits.
void PLATEN_LIVE(show_lines)(const LiveLayout* layout, const std::uint8_t* lines, std::uint32_t count,
                             std::uint8_t* rgba);

// Adds lines of 8 bits to histograms: red, green, blue and luminance (as the tool makes grey), 256 counts each. Of
// grey lines all four are the same.
void PLATEN_LIVE(count_lines)(const LiveLayout* layout, const std::uint8_t* lines, std::uint32_t count,
                              std::uint32_t* counts);

// Undoes a PNG row filter in place (`above` null for the first line of a pass); returns 0, or 1 for an unknown
// filter.
std::int32_t PLATEN_LIVE(png_unfilter)(std::int32_t filter, std::uint8_t* row, const std::uint8_t* above,
                                       std::uint32_t bytes, std::uint32_t pixelBytes);

}  // extern "C"
