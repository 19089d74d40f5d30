#include "programs/page/Pipeline.h"

#include "programs/page/DitherStage.h"
#include "programs/page/HsvStage.h"
#include "programs/page/PixelStage.h"
#include "programs/page/PlaceStage.h"
#include "programs/page/ScaleStage.h"
#include "programs/page/SharpenStage.h"
#include "programs/page/ToneStage.h"

namespace platen_tool {

namespace {

std::unique_ptr<Stage> MakeStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    switch (stage.kind) {
        case StageKind::kCrop:
            return MakeCropStage(plan, stage, next);
        case StageKind::kTurn:
            return MakeTurnStage(plan, stage, next);
        case StageKind::kDither:
            return MakeDitherStage(plan, stage, next);
        case StageKind::kTone:
            return MakeToneStage(plan, stage, next);
        case StageKind::kHsv:
            return MakeHsvStage(plan, stage, next);
        case StageKind::kScale:
            return MakeScaleStage(stage, next);
        case StageKind::kSharpen:
            return MakeSharpenStage(plan, stage, next);
        default:
            return MakePixelStage(plan, stage, next);
    }
}

}  // namespace

Pipeline::Pipeline(const PagePlan& plan, Stage& last) : first_(&last) {
    for (auto stage = plan.stages.rbegin(); stage != plan.stages.rend(); ++stage) {
        stages_.push_back(MakeStage(plan, *stage, *first_));
        first_ = stages_.back().get();
    }
}

}  // namespace platen_tool
