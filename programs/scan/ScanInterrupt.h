#pragma once

#include <sane/sane.h>

#include "programs/base/Error.h"

namespace platen_tool {

// Interrupts while a device is open. The handler asks the device to stop, which SANE allows there, and the
// program ends by itself as soon as the device's call has returned, or where it next looks: the device gets its
// cancel and its close, and the unfinished file goes. A second interrupt ends it at once, and so do ten seconds.

// From here on interrupts are for this device; null: no more.
void WatchInterrupts(SANE_Handle device);

// After ten seconds whatever still runs is abandoned, mostly a device that doesn't come back from its cancel or its
// close: the program ends with the code, without the unfinished file.
void LimitLeaving(ExitCode code);

// Lifts that limit: for work of the program's own, when the device has come back.
void TakeTime();

// Placed around each device call that may block. The constructor and `CheckInterrupt` throw an Error
// (kInterrupted or the like) without a message after an interrupt.
class DeviceCall {
  public:
    DeviceCall();
    ~DeviceCall();
    DeviceCall(const DeviceCall&) = delete;
    DeviceCall& operator=(const DeviceCall&) = delete;
};
void CheckInterrupt();

}  // namespace platen_tool
