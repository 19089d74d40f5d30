#pragma once

#include <sane/sane.h>

#include <atomic>
#include <optional>
#include <string>

#include "sane/Adjustments.h"
#include "sane/Configuration.h"
#include "sane/Device.h"
#include "sane/FramePlan.h"
#include "sane/FrameReader.h"
#include "sane/Resolutions.h"

namespace platen_sane {

// What sane_open gives: a device of SANE's, and what is done to its pages. One thread at a time, as SANE has it,
// but for Cancel.
//
//   idle     --Start--> sending      the frame's plan is settled; options of ours answer DEVICE_BUSY
//   sending  --Read, last byte--> idle,   --Cancel--> idle,   --a failure--> idle
class Handle {
  public:
    Handle(const std::string& device, Configuration configuration);
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    const SANE_Option_Descriptor* Descriptor(SANE_Int option);
    SANE_Status Control(SANE_Int option, SANE_Action action, void* value, SANE_Int* info);
    SANE_Status Parameters(SANE_Parameters& parameters);
    SANE_Status Start();
    SANE_Status Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count);
    SANE_Status SetIoMode(SANE_Bool nonBlocking);
    SANE_Status SelectFd(SANE_Int* descriptor);

    // Takes no memory and frees none: a signal handler may call it.
    void Cancel();

  private:
    SANE_Status ControlDevice(SANE_Int option, SANE_Action action, void* value, SANE_Int& info);
    SANE_Status ControlOurs(Setting setting, SANE_Action action, void* value, SANE_Int& info);
    void ChooseFirstPreset(std::string name);
    void AskPresetResolution(SANE_Int& info);
    void FollowPage(SANE_Int& info);
    void Begin();
    bool Sending() const {
        return sending_ && !cancelled_;
    }

    const Configuration configuration_;
    Device device_;
    Resolutions resolutions_;
    Adjustments adjustments_;
    FramePlan plan_;
    std::optional<FrameReader> reader_;  // of a frame that is worked on
    bool sending_ = false;
    std::atomic<bool> cancelled_{false};
};

}  // namespace platen_sane
