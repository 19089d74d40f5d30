#pragma once

#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// The stages that work on tones and colours, as far as a page has some.
struct ChosenStages {
    std::vector<ToneStep> tone;
    HsvSettings hsv;
    int sharpness = 0;
    std::string leftOut;  // what of a preset doesn't fit the page, in words; empty: nothing

    bool NeedsEightBits() const {
        return !tone.empty() || hsv.Any() || sharpness != 0;
    }
};

// Leaves out what came with a preset and doesn't fit: colour steps on a grey page, all of them on a bilevel one.
// The same option given by hand is an Error (kUnsupported) that names it.
ChosenStages ChooseStages(const Settings& settings, const ImageInfo& page);

}  // namespace platen_tool
