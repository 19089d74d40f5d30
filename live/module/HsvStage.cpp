#include <vector>

#include "LineFilters/Hsv.h"
#include "programs/page/AlphaPlane.h"
#include "programs/page/HsvStage.h"

// The colour stage. The tool's own keeps several threads apart, which WebAssembly's C++ library knows nothing of.

namespace platen_tool {

namespace {

class HsvStage : public Stage {
  public:
    HsvStage(const HsvSettings& settings, const ImageInfo& info, Stage& next)
        : width_(info.width), alpha_(info.HasAlpha()), colours_(alpha_ ? width_ * 3 : 0), next_(next) {
        _SHsvParam param{};
        param.hue = settings.hue;
        param.saturation = settings.saturation;
        param.lightness = settings.lightness;
        param.bitsPerPixel = 24;
        param.width = static_cast<std::int32_t>(info.width);
        param.height = info.height;
        param.rowBytes = info.width * 3;
        if (SetupHsv(&param, &handle_) != 0) {
            __builtin_trap();  // the settings are within their ranges, so memory is short
        }
    }
    ~HsvStage() override {
        Disposehsv(handle_);
    }
    HsvStage(const HsvStage&) = delete;
    HsvStage& operator=(const HsvStage&) = delete;

    void Take(std::uint8_t* line) override {
        if (alpha_) {
            TakeColours(line, width_, 3, colours_.data());
            ApplyOneLineHsv(handle_, colours_.data());
            PutColours(colours_.data(), width_, 3, line);
        } else {
            ApplyOneLineHsv(handle_, line);
        }
        next_.Take(line);
    }

  private:
    const std::size_t width_;
    const bool alpha_;
    std::vector<std::uint8_t> colours_;
    void* handle_ = nullptr;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeHsvStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<HsvStage>(plan.hsv, stage.in, next);
}

}  // namespace platen_tool
