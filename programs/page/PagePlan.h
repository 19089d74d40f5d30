#pragma once

#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/options/Settings.h"
#include "programs/page/ToneTables.h"
#include "programs/page/Turn.h"

namespace platen_tool {

// What can be done to a line between the reader and the writer.
enum class StageKind {
    kBilevelToGrey,  // 1 bit to 8
    kDepth16To8,     // rounded to the nearest
    kDepth8To16,     // x 257
    kColourToGrey,   // (299 R + 587 G + 114 B) / 1000, rounded; alpha stays
    kGreyToColour,
    kNegative,   // alpha stays
    kFlatten,    // alpha blended with the background
    kThreshold,  // grey to 1 bit
    kTone,
    kHsv,
    kScale,
    kSharpen,
    kCrop,
    kTurn,
    kDither,  // grey to 1 bit by error diffusion
};

struct PlannedStage {
    StageKind kind;
    ImageInfo in;   // of the lines that the stage takes
    ImageInfo out;  // of those that it gives
    std::string text;
    std::size_t memory = 0;  // bytes it holds while it works
};

// Everything about one page that is known before its first line.
struct PagePlan {
    ImageInfo input;
    ImageInfo output;
    std::vector<PlannedStage> stages;
    ToneTables tables{};               // for kTone
    HsvSettings hsv;                   // for kHsv
    int sharpness = 0;                 // for kSharpen
    Area crop;                         // for kCrop
    Turn turn;                         // for kTurn
    double threshold = 50.0;           // for kThreshold and kDither, percent
    Colour background;                 // for kFlatten
    bool reducedTo8 = false;           // 16-bit samples lose bits though nobody asked for it
    std::vector<std::string> notices;  // for -v
    std::string leftOut;               // what of a preset doesn't fit the page, in words
};

// Plans a page. The turn and the part that is kept come first, then pixel conversions, then the stages in the order
// of the settings, then the threshold of --mode=lineart. An Error (kUnsupported) where the page lacks what an
// option needs.
//
// Where the height isn't known and a stage needs it (Settings::NeedsHeight), sides that follow from it are 0: such
// a plan shows what is to come and what can't be, a Pipeline wants one that is made when the lines are counted.
PagePlan PlanPage(const Settings& settings, const ImageInfo& page);

// The stages before the place of kTone, for automatic settings, which count what comes there. The page isn't turned
// where the same pixels come either way, in another order: the margins that count have the same share of both
// sides.
PagePlan PlanCounting(const Settings& settings, const ImageInfo& page);

// The bytes that the program is expected to take at its peak: code, codec buffers and the stages' lines.
std::size_t ExpectedMemory(const PagePlan& plan);

// "2480 x 3508, 8-bit RGB, 300 dpi".
std::string PageText(const ImageInfo& info);

}  // namespace platen_tool
