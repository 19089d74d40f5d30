#pragma once

#include <cstdint>
#include <vector>

#include "programs/scan/DeviceLine.h"
#include "programs/scan/ScanDevice.h"

namespace platen_tool {

// One frame of a device's page, as whole lines of the device's own form: the bytes come in pieces of any size.
class ScanFrame {
  public:
    // The frame that the device has just started; a form that the program doesn't know is an Error (kUnsupported).
    explicit ScanFrame(ScanDevice& device);

    // Reads the first bytes. False where the device says only now that its feeder is empty.
    bool Begin();

    // What PageInfo makes of it.
    const ImageInfo& Info() const {
        return info_;
    }
    const SANE_Parameters& Parameters() const {
        return parameters_;
    }
    // The next line, null after the last one. Where the device stops within a line, or short of the height that it
    // announced, that is an Error (kDevice).
    const std::uint8_t* ReadLine();

    // Reads what is left, which SANE wants done before the next frame.
    void Drain();

  private:
    SANE_Status Read();
    bool Fill();

    ScanDevice& device_;
    SANE_Parameters parameters_;
    ImageInfo info_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::vector<std::uint8_t> line_;
    std::uint32_t lines_ = 0;
    bool ended_ = false;
};

}  // namespace platen_tool
