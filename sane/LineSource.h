#pragma once

#include <sane/sane.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "sane/Device.h"

namespace platen_sane {

// Gives a page's lines from the top, in the program's form.
class LineSource {
  public:
    virtual ~LineSource() = default;

    // The next line: SANE_STATUS_GOOD; SANE_STATUS_EOF after the last one; else what the device said. `line` has
    // room for one and is set to where it is: there, or in the source's own buffer. It may be changed until the
    // next call.
    virtual SANE_Status Next(std::uint8_t*& line) = 0;

    // Whether Next has a line without waiting for the device.
    virtual bool Ready() const = 0;
};

// The lines of the frame that the device is sending, whatever pieces they come in.
class DeviceLines : public LineSource {
  public:
    DeviceLines(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled);

    SANE_Status Next(std::uint8_t*& line) override;
    bool Ready() const override;

    // The same in the device's own form: null where the status isn't SANE_STATUS_GOOD.
    std::uint8_t* NextRaw(SANE_Status& status);

  private:
    SANE_Status Fill();

    Device& device_;
    const SANE_Parameters parameters_;
    const std::atomic<bool>& cancelled_;
    const SANE_Int most_;  // lines
    const bool bytes_;     // 8 bits a sample
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::vector<std::uint8_t> line_;
    std::size_t have_ = 0;  // bytes of line_
    SANE_Int lines_ = 0;
    bool ended_ = false;
};

// Reads the frame to its end into a temporary file. On SANE_STATUS_GOOD `source` gives the lines, `height` of them.
SANE_Status SpoolFrame(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled,
                       std::unique_ptr<LineSource>& source, std::uint32_t& height);

// Reads the pass that has begun and the two that follow, and puts them together.
SANE_Status CollectPasses(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled,
                          std::unique_ptr<LineSource>& source, std::uint32_t& height);

}  // namespace platen_sane
