#include "programs/page/LineSink.h"

namespace platen_tool {

namespace {

std::unique_ptr<LineSink> MakeStep(const PagePlan& plan, const PlannedStep& step, LineSink& next) {
    switch (step.kind) {
        case StepKind::kTone:
            return MakeToneStep(plan, step, next);
        case StepKind::kHsv:
            return MakeHsvStep(plan, step, next);
        case StepKind::kScale:
            return MakeScaleStep(step, next);
        case StepKind::kSharpen:
            return MakeSharpenStep(plan, step, next);
        default:
            return MakePixelStep(plan, step, next);
    }
}

}  // namespace

Pipeline::Pipeline(const PagePlan& plan, LineSink& last) : first_(&last) {
    for (auto step = plan.steps.rbegin(); step != plan.steps.rend(); ++step) {
        steps_.push_back(MakeStep(plan, *step, *first_));
        first_ = steps_.back().get();
    }
}

}  // namespace platen_tool
