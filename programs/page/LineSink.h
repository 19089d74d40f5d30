#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "programs/page/PagePlan.h"

namespace platen_tool {

// Takes a page's lines from the top. The line is the caller's; it may be changed in place and is read no more
// after the call.
class LineSink {
  public:
    virtual ~LineSink() = default;
    virtual void Take(std::uint8_t* line) = 0;
};

// One planned step at work: hands the lines it finishes to `next`, which outlives it.
std::unique_ptr<LineSink> MakePixelStep(const PagePlan& plan, const PlannedStep& step, LineSink& next);
std::unique_ptr<LineSink> MakeToneStep(const PagePlan& plan, const PlannedStep& step, LineSink& next);
std::unique_ptr<LineSink> MakeHsvStep(const PagePlan& plan, const PlannedStep& step, LineSink& next);
std::unique_ptr<LineSink> MakeScaleStep(const PlannedStep& step, LineSink& next);
std::unique_ptr<LineSink> MakeSharpenStep(const PagePlan& plan, const PlannedStep& step, LineSink& next);

// A page's steps, chained. After input.height lines the last sink has got output.height.
class Pipeline : public LineSink {
  public:
    Pipeline(const PagePlan& plan, LineSink& last);
    void Take(std::uint8_t* line) override {
        first_->Take(line);
    }

  private:
    std::vector<std::unique_ptr<LineSink>> steps_;  // the last one first
    LineSink* first_;
};

}  // namespace platen_tool
