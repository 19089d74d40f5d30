#include "programs/page/SharpenStage.h"

#include <array>
#include <new>
#include <stdexcept>

#include "LineFilters/Sharpness.h"
#include "programs/page/AlphaPlane.h"

namespace platen_tool {

namespace {

// The filter holds one line back, so the alpha of the last two lines waits beside it.
class SharpenStage : public Stage {
  public:
    SharpenStage(int level, const ImageInfo& info, Stage& next)
        : width_(info.width),
          colours_(static_cast<std::size_t>(info.ColourSamples())),
          alpha_(info.HasAlpha()),
          next_(next) {
        _SSharpParam param{};
        param.level = level;
        param.bitsPerPixel = static_cast<std::uint32_t>(colours_ * 8);
        param.width = info.width;
        param.height = info.height;
        param.rowBytes = static_cast<std::uint32_t>(width_ * colours_);
        filtered_.resize(width_ * colours_);
        if (alpha_) {
            merged_.resize(info.LineBytes());
            waitingAlpha_[0].resize(width_);
            waitingAlpha_[1].resize(width_);
        }
        if (SetupSharp(&param, &handle_) != 0) {
            throw std::bad_alloc();  // the parameters are within their ranges
        }
    }

    ~SharpenStage() override {
        DisposeSharpness(handle_);
    }
    SharpenStage(const SharpenStage&) = delete;
    SharpenStage& operator=(const SharpenStage&) = delete;

    void Take(std::uint8_t* line) override {
        std::uint8_t* colours = line;
        if (alpha_) {
            TakeAlpha(line, width_, colours_, waitingAlpha_[taken_ % 2].data());
            TakeColours(line, width_, colours_, filtered_.data());
            colours = filtered_.data();
        }
        ++taken_;
        Check(ApplySharpFilterPutLine(&handle_, colours));
        while (GetSharpDstLines(handle_) != 0) {
            Check(ApplySharpFilterGetLine(&handle_, filtered_.data()));
            Give();
        }
    }

  private:
    void Give() {
        std::uint8_t* line = filtered_.data();
        if (alpha_) {
            line = merged_.data();
            PutColours(filtered_.data(), width_, colours_, line);
            PutAlpha(waitingAlpha_[given_ % 2].data(), width_, colours_, line);
        }
        ++given_;
        next_.Take(line);
    }

    static void Check(std::int32_t status) {
        if (status != 0) {
            throw std::logic_error("the sharpness filter refused a line");
        }
    }

    const std::size_t width_;
    const std::size_t colours_;
    const bool alpha_;
    std::vector<std::uint8_t> filtered_;
    std::vector<std::uint8_t> merged_;
    std::array<std::vector<std::uint8_t>, 2> waitingAlpha_;
    std::uint32_t taken_ = 0;
    std::uint32_t given_ = 0;
    void* handle_ = nullptr;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeSharpenStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<SharpenStage>(plan.sharpness, stage.in, next);
}

}  // namespace platen_tool
