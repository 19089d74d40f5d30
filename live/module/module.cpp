#include "live/module/module.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "programs/page/Pipeline.h"

namespace {

using platen_tool::ImageInfo;
using platen_tool::StageKind;

// live/src/plan.mjs has these numbers.
static_assert(static_cast<int>(StageKind::kBilevelToGrey) == 0 && static_cast<int>(StageKind::kDepth16To8) == 1 &&
              static_cast<int>(StageKind::kDepth8To16) == 2 && static_cast<int>(StageKind::kColourToGrey) == 3 &&
              static_cast<int>(StageKind::kGreyToColour) == 4 && static_cast<int>(StageKind::kNegative) == 5 &&
              static_cast<int>(StageKind::kFlatten) == 6 && static_cast<int>(StageKind::kThreshold) == 7 &&
              static_cast<int>(StageKind::kTone) == 8 && static_cast<int>(StageKind::kHsv) == 9 &&
              static_cast<int>(StageKind::kScale) == 10 && static_cast<int>(StageKind::kSharpen) == 11);

// Keeps the lines that come out of the last step.
class Collector : public platen_tool::Stage {
  public:
    void Begin(std::size_t lineBytes) {
        lineBytes_ = lineBytes;
        lines_.clear();
    }
    void Clear() {
        lines_.clear();
    }
    void Take(std::uint8_t* line) override {
        lines_.insert(lines_.end(), line, line + lineBytes_);
    }
    std::uint32_t Count() const {
        return lineBytes_ == 0 ? 0 : static_cast<std::uint32_t>(lines_.size() / lineBytes_);
    }
    const std::uint8_t* Lines() const {
        return lines_.data();
    }

  private:
    std::size_t lineBytes_ = 0;
    std::vector<std::uint8_t> lines_;
};

Collector collector;
platen_tool::PagePlan plan;
std::unique_ptr<platen_tool::Pipeline> pipeline;

ImageInfo ToInfo(const LiveLayout& layout) {
    ImageInfo info;
    info.width = layout.width;
    info.height = layout.height;
    info.samplesPerPixel = layout.samples;
    info.bitsPerSample = layout.bits;
    return info;
}

}  // namespace

extern "C" {

void* live_alloc(std::uint32_t bytes) {
    return std::malloc(bytes != 0 ? bytes : 1);
}

void live_free(void* block) {
    std::free(block);
}

const char* live_kernels() {
    return platen::Kernels().name;
}

void page_begin() {
    page_end();
}

void page_step(std::int32_t kind, const LiveLayout* in, const LiveLayout* out, const double* settings,
               const std::uint8_t* tables) {
    platen_tool::PlannedStage step;
    step.kind = static_cast<StageKind>(kind);
    step.in = ToInfo(*in);
    step.out = ToInfo(*out);
    if (step.kind == StageKind::kTone) {
        std::memcpy(plan.tables.red.data(), tables, 256);
        std::memcpy(plan.tables.green.data(), tables + 256, 256);
        std::memcpy(plan.tables.blue.data(), tables + 512, 256);
    } else if (step.kind == StageKind::kHsv) {
        plan.hsv.saturation = static_cast<int>(settings[0]);
        plan.hsv.hue = static_cast<int>(settings[1]);
        plan.hsv.lightness = static_cast<int>(settings[2]);
    } else if (step.kind == StageKind::kSharpen) {
        plan.sharpness = static_cast<int>(settings[0]);
    } else if (step.kind == StageKind::kThreshold) {
        plan.threshold = settings[0];
    }
    plan.stages.push_back(step);
}

void page_start(const LiveLayout* result) {
    collector.Begin(ToInfo(*result).LineBytes());
    pipeline = std::make_unique<platen_tool::Pipeline>(plan, collector);
}

std::uint32_t page_take(std::uint8_t* lines, std::uint32_t lineBytes, std::uint32_t count) {
    collector.Clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        pipeline->Take(lines + std::size_t{i} * lineBytes);
    }
    return collector.Count();
}

const std::uint8_t* page_lines() {
    return collector.Lines();
}

void page_end() {
    pipeline.reset();
    plan = {};
    collector.Clear();
}

}  // extern "C"
