#include "programs/page/ToneStage.h"

namespace platen_tool {

namespace {

class ToneStage : public Stage {
  public:
    ToneStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : tables_(plan.tables),
          width_(stage.in.width),
          samples_(static_cast<std::size_t>(stage.in.samplesPerPixel)),
          colour_(stage.in.ColourSamples() == 3),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        std::uint8_t* pixel = line;
        if (colour_) {
            for (std::size_t x = 0; x < width_; ++x, pixel += samples_) {
                pixel[0] = tables_.red[pixel[0]];
                pixel[1] = tables_.green[pixel[1]];
                pixel[2] = tables_.blue[pixel[2]];
            }
        } else {
            for (std::size_t x = 0; x < width_; ++x, pixel += samples_) {
                pixel[0] = tables_.red[pixel[0]];  // without colour balance the three tables are equal
            }
        }
        next_.Take(line);
    }

  private:
    const ToneTables tables_;
    const std::size_t width_;
    const std::size_t samples_;
    const bool colour_;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeToneStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<ToneStage>(plan, stage, next);
}

}  // namespace platen_tool
