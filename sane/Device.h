#pragma once

#include <sane/sane.h>

#include <optional>
#include <string>

#include "programs/scan/SaneLibrary.h"

namespace platen_sane {

// A descriptor that every device has in place 0, "number of options".
constexpr SANE_Int kOptionCount = 0;

// The wrapped device, opened through SANE's own library like an application's. Statuses are the device's own.
class Device {
  public:
    explicit Device(const std::string& name);  // a StatusError where it can't be opened
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    const SANE_Option_Descriptor* Descriptor(SANE_Int option) const {
        return sane_.getOptionDescriptor(handle_, option);
    }
    SANE_Status Control(SANE_Int option, SANE_Action action, void* value, SANE_Int& info) {
        info = 0;
        return sane_.controlOption(handle_, option, action, value, &info);
    }
    SANE_Status Parameters(SANE_Parameters& parameters) const {
        return sane_.getParameters(handle_, &parameters);
    }
    SANE_Status Start() {
        return sane_.start(handle_);
    }
    SANE_Status Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count);
    void Cancel() {  // also from signal handlers
        sane_.cancel(handle_);
    }
    SANE_Status SetIoMode(SANE_Bool nonBlocking) {
        return sane_.setIoMode(handle_, nonBlocking);
    }
    SANE_Status SelectFd(SANE_Int* descriptor) {
        return sane_.getSelectFd(handle_, descriptor);
    }

    // Its number of options, the one in place 0 included.
    SANE_Int Count() const {
        return count_;
    }

    // The place of the option of that name, 0 where there is none.
    SANE_Int Find(const char* name) const;

    // What an option of one number, or a text, is set to; nothing where it can't be read now.
    std::optional<SANE_Word> Word(SANE_Int option);
    std::optional<std::string> Text(SANE_Int option);

  private:
    const platen_tool::SaneLibrary& sane_;
    SANE_Handle handle_ = nullptr;
    SANE_Int count_ = 0;
};

}  // namespace platen_sane
