#pragma once

#include <sane/sane.h>

#include <atomic>

#include "sane/Adjustments.h"
#include "sane/Device.h"
#include "sane/Resolutions.h"

namespace platen_sane {

// Looks at the page in a scan of its own, at a low resolution, with the device's other options as they are, and
// sets
//   - black and white level to what 0.5 and 99.5 percent of the samples lie below
//   - of a colour page, the shifts of the highlights that bring each colour's 99.5th percentile to white
// Adjustments that act before the levels are in effect meanwhile. Whatever happens, the device's resolution and its
// preview option are as they were afterwards.
//   returns  SANE_STATUS_GOOD | UNSUPPORTED where the source is a feeder, which would lose a page, or the page has
//   no
//            tones | what the device says
SANE_Status FindLevels(Device& device, Resolutions& resolutions, Adjustments& adjustments,
                       const std::atomic<bool>& cancelled);

}  // namespace platen_sane
