#pragma once

#include <sane/sane.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "programs/page/Pipeline.h"
#include "sane/FramePlan.h"
#include "sane/LineSource.h"

namespace platen_sane {

// One frame that is worked on, from the device's bytes to the application's. All memory that a frame needs is taken
// before its first line; frames of unknown height that a step must know, and passes that have to be put together,
// go through temporary files first.
class FrameReader {
  public:
    // `plan` and the others outlive the reader; `cancelled` ends waiting.
    FrameReader(Device& device, const FramePlan& plan, const Adjustments& adjustments,
                const std::atomic<bool>& cancelled);
    ~FrameReader();
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    // As sane_read.
    SANE_Status Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count);

  private:
    class Output;

    SANE_Status Prepare();
    void Build(const platen_tool::PagePlan& page);

    Device& device_;
    const FramePlan& plan_;
    const Adjustments& adjustments_;
    const std::atomic<bool>& cancelled_;
    std::unique_ptr<LineSource> source_;
    std::unique_ptr<Output> output_;
    platen_tool::PagePlan page_;
    std::optional<platen_tool::Pipeline> pipeline_;
    std::vector<std::uint8_t> line_;
};

}  // namespace platen_sane
