#pragma once

#include <sane/sane.h>

#include "programs/page/PagePlan.h"
#include "sane/Adjustments.h"
#include "sane/Resolutions.h"

namespace platen_sane {

// How the bytes of a frame get from the device to the application.
enum class Route {
    kPass,     // as they are: there is nothing to do, or nothing that can be done
    kLines,    // line by line through the page's steps
    kPlane,    // one colour of three passes, by itself: its steps look at one sample at a time
    kCollect,  // three passes put together first: a step needs the pixel
};

struct FramePlan {
    Route route = Route::kPass;
    platen_tool::PagePlan page;      // of kPlane: of a grey page, with the colour's own table
    platen_tool::Settings settings;  // to plan anew when the height is known
    std::string command;             // the same in the words of the tool's command line
    SANE_Parameters device{};        // what the device announces
    SANE_Parameters application{};   // what the application gets
};

// Plans a frame from what the device announces of it. An Error where the settings can't be met.
FramePlan PlanFrame(const SANE_Parameters& device, const Adjustments& adjustments, const Resolutions& resolutions);

// The plan's page, when its height is known at last.
platen_tool::PagePlan PlanWithHeight(const FramePlan& plan, const Adjustments& adjustments, std::uint32_t height);

// The steps before the levels, for a look at the page; bytes come out. A StatusError (UNSUPPORTED) where there are
// none to look at.
platen_tool::PagePlan PlanForLevels(const SANE_Parameters& device, const Adjustments& adjustments);

}  // namespace platen_sane
