#include "live/module/module.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "live/module/Steps.h"

namespace {

using namespace platen_live;

// Keeps the lines that come out of the last step.
class Collector : public LineSink {
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

struct PlannedStep {
    Step step;
    std::vector<std::uint8_t> tables;
};

Collector collector;
std::vector<PlannedStep> plan;
std::vector<std::unique_ptr<LineSink>> sinks;  // the last step first

Layout ToLayout(const LiveLayout& layout) {
    return {layout.width, layout.height, layout.samples, layout.bits};
}

std::unique_ptr<LineSink> MakeStep(const Step& step, LineSink& next) {
    switch (step.kind) {
        case StepKind::kTone:
            return MakeToneStep(step, next);
        case StepKind::kHsv:
            return MakeHsvStep(step, next);
        case StepKind::kScale:
            return MakeScaleStep(step, next);
        case StepKind::kSharpen:
            return MakeSharpenStep(step, next);
        default:
            return MakePixelStep(step, next);
    }
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
    PlannedStep& planned = plan.emplace_back();
    planned.step.kind = static_cast<StepKind>(kind);
    planned.step.in = ToLayout(*in);
    planned.step.out = ToLayout(*out);
    std::memcpy(planned.step.settings, settings, sizeof planned.step.settings);
    if (tables != nullptr) {
        planned.tables.assign(tables, tables + 768);
    }
}

std::int32_t page_start(const LiveLayout* result) {
    collector.Begin(ToLayout(*result).LineBytes());
    LineSink* next = &collector;
    for (auto planned = plan.rbegin(); planned != plan.rend(); ++planned) {
        planned->step.tables = planned->tables.data();
        sinks.push_back(MakeStep(planned->step, *next));
        next = sinks.back().get();
        if (next == nullptr) {
            page_end();
            return 1;
        }
    }
    return 0;
}

std::uint32_t page_take(std::uint8_t* lines, std::uint32_t lineBytes, std::uint32_t count) {
    collector.Clear();
    LineSink& first = sinks.empty() ? collector : *sinks.back();
    for (std::uint32_t i = 0; i < count; ++i) {
        first.Take(lines + std::size_t{i} * lineBytes);
    }
    return collector.Count();
}

const std::uint8_t* page_lines() {
    return collector.Lines();
}

void page_end() {
    sinks.clear();
    plan.clear();
    collector.Clear();
}

}  // extern "C"
