#pragma once

#include <sane/sane.h>

#include <atomic>

#include "sane/Adjustments.h"
#include "sane/Device.h"
#include "sane/Resolutions.h"

namespace platen_sane {

// Looks at the page in a scan of its own, at a low resolution, with the device's other options as they are, and
// sets
//   - the black level to what 0.5 percent of the samples lie below
//   - the white level to what 99.5 percent lie below; of a colour page that of the weakest colour, so that yellowed
//     paper becomes white, but no less than four fifths of the level for all colours together
// Where these two lie fewer than 32 levels apart in each channel, the page is blank or of one colour, and the
// levels stay as they are. Adjustments that act before the levels are in effect meanwhile. Whatever happens,
// the device's resolution and its preview option are as they were afterwards.
//   returns  SANE_STATUS_GOOD | UNSUPPORTED where the source is a feeder, which would lose a page | IO_ERROR where
//            the page has no lines | what the device says
SANE_Status FindLevels(Device& device, Resolutions& resolutions, Adjustments& adjustments,
                       const std::atomic<bool>& cancelled);

}  // namespace platen_sane
