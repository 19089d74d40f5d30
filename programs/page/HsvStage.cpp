#include "programs/page/HsvStage.h"

#include <algorithm>
#include <array>
#include <iterator>
#if !defined(__wasm__)
#include <mutex>
#endif
#include <new>
#include <stdexcept>

#include "LineFilters/Hsv.h"
#include "programs/page/AlphaPlane.h"

namespace platen_tool {

namespace {

// The filter's lightness table is one for the whole process, while two scanners can send at once: whoever works on
// a line has the table and puts its own there first.
const void* tableOwner = nullptr;

#if defined(__wasm__)
// One thread, and a C++ library without mutexes.
struct TableHold {
    TableHold() {}
};
#else
std::mutex tableLock;

struct TableHold {
    std::lock_guard<std::mutex> lock{tableLock};
};
#endif

class HsvStage : public Stage {
  public:
    HsvStage(const HsvSettings& settings, const ImageInfo& info, Stage& next)
        : width_(info.width), alpha_(info.HasAlpha()), next_(next) {
        _SHsvParam param{};
        param.hue = settings.hue;
        param.saturation = settings.saturation;
        param.lightness = settings.lightness;
        param.bitsPerPixel = 24;
        param.width = static_cast<std::int32_t>(info.width);
        param.height = info.height == 0 ? 1 : info.height;  // it is only checked for being there
        param.rowBytes = info.width * 3;
        if (alpha_) {
            colours_.resize(width_ * 3);
        }
        const TableHold hold;
        if (SetupHsv(&param, &handle_) != 0) {
            throw std::bad_alloc();  // the settings are within their ranges
        }
        std::copy(std::begin(gStorage), std::end(gStorage), table_.begin());
        tableOwner = this;
    }

    ~HsvStage() override {
        const TableHold hold;
        tableOwner = tableOwner == this ? nullptr : tableOwner;
        Disposehsv(handle_);
    }
    HsvStage(const HsvStage&) = delete;
    HsvStage& operator=(const HsvStage&) = delete;

    void Take(std::uint8_t* line) override {
        if (alpha_) {
            TakeColours(line, width_, 3, colours_.data());
            Apply(colours_.data());
            PutColours(colours_.data(), width_, 3, line);
        } else {
            Apply(line);
        }
        next_.Take(line);
    }

  private:
    void Apply(std::uint8_t* line) {
        const TableHold hold;
        if (tableOwner != this) {
            std::copy(table_.begin(), table_.end(), std::begin(gStorage));
            tableOwner = this;
        }
        if (ApplyOneLineHsv(handle_, line) != 0) {
            throw std::logic_error("the HSV filter refused a line");
        }
    }

    const std::size_t width_;
    const bool alpha_;
    std::vector<std::uint8_t> colours_;
    std::array<std::uint32_t, 256> table_{};
    void* handle_ = nullptr;
    Stage& next_;
};

}  // namespace

std::unique_ptr<Stage> MakeHsvStage(const PagePlan& plan, const PlannedStage& stage, Stage& next) {
    return std::make_unique<HsvStage>(plan.hsv, stage.in, next);
}

}  // namespace platen_tool
