#include "programs/page/DitherStage.h"

#include <algorithm>
#include <cmath>

namespace platen_tool {

namespace {

class DitherStage : public Stage {
  public:
    DitherStage(const PagePlan& plan, const PlannedStage& stage, Stage& next)
        : width_(stage.in.width),
          blackBelow_(static_cast<int>(std::ceil(plan.threshold * 2.55))),
          sums_(width_ + 2),
          below_(width_ + 2),
          line_(stage.out.LineBytes()),
          next_(next) {}

    void Take(std::uint8_t* line) override {
        std::fill(line_.begin(), line_.end(), std::uint8_t{0});
        std::fill(below_.begin(), below_.end(), 0);
        if (toTheRight_) {
            for (std::size_t x = 0; x < width_; ++x) {
                Pixel(line[x], x, 1);
            }
        } else {
            for (std::size_t x = width_; x-- > 0;) {
                Pixel(line[x], x, -1);
            }
        }
        toTheRight_ = !toTheRight_;
        sums_.swap(below_);
        next_.Take(line_.data());
    }

  private:
    void Pixel(int level, std::size_t x, std::ptrdiff_t step) {
        int* sum = sums_.data() + x + 1;  // there is one more on each side
        int* below = below_.data() + x + 1;
        const int value = level + ((*sum + 8) >> 4);
        const bool black = value < blackBelow_;
        const int left = black ? value : value - 255;
        if (black) {
            line_[x / 8] = static_cast<std::uint8_t>(line_[x / 8] | 0x80 >> x % 8);
        }
        sum[step] += 7 * left;
        below[-step] += 3 * left;
        below[0] += 5 * left;
        below[step] += left;
    }

    const std::size_t width_;
    const int blackBelow_;
    bool toTheRight_ = true;
    std::vector<int> sums_;   // sixteenths that have come to each pixel of the line
    std::vector<int> below_;  // and of the next
    std::vector<std::uint8_t> line_;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeDitherStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<DitherStage>(plan, stage, next);
}

}  // namespace platen_tool
