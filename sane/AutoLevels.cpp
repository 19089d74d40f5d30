#include "sane/AutoLevels.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>

#include "programs/base/Report.h"
#include "programs/page/Pipeline.h"
#include "programs/scan/DeviceLine.h"
#include "sane/FramePlan.h"
#include "sane/LineSource.h"
#include "sane/Status.h"

namespace platen_sane {

namespace {

constexpr int kPreviewDpi = 75;
constexpr double kWhitePercent = 99.5;

bool IsFeeder(std::string source) {
    std::transform(source.begin(), source.end(), source.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return source.find("feeder") != std::string::npos || source.find("adf") != std::string::npos;
}

// The device as a look at the page wants it, until the end of the block.
class PreviewOptions {
  public:
    PreviewOptions(Device& device, Resolutions& resolutions) : device_(device), resolutions_(resolutions) {
        option_ = device.Find("preview");
        before_ = device.Word(option_);
        SetPreview(SANE_TRUE);
        resolutions.SetForPreview(kPreviewDpi);
    }
    ~PreviewOptions() {
        device_.Cancel();
        resolutions_.Restore();
        SetPreview(before_.value_or(SANE_FALSE));
    }
    PreviewOptions(const PreviewOptions&) = delete;
    PreviewOptions& operator=(const PreviewOptions&) = delete;

  private:
    void SetPreview(SANE_Word value) {
        SANE_Int info = 0;
        if (before_) {
            device_.Control(option_, SANE_ACTION_SET_VALUE, &value, info);
        }
    }

    Device& device_;
    Resolutions& resolutions_;
    SANE_Int option_ = 0;
    std::optional<SANE_Word> before_;
};

class Counter : public platen_tool::Stage {
  public:
    explicit Counter(const platen_tool::ImageInfo& info) : info_(info) {}
    void Take(std::uint8_t* line) override {
        statistics_.Add(info_, line);
    }
    const platen_tool::Statistics& Result() const {
        return statistics_;
    }

  private:
    const platen_tool::ImageInfo info_;
    platen_tool::Statistics statistics_;
};

// The shifts of the highlights that bring each channel's white nearest to 255 after the levels; of several the
// smallest.
std::array<int, 3> WhiteShift(const platen_tool::Statistics& statistics, int black, int white) {
    std::array<int, 3> best{};
    std::array<int, 3> bestLevel{-1, -1, -1};
    for (int step = 0; step <= 200; ++step) {
        const int shift = step % 2 != 0 ? (step + 1) / 2 : -step / 2;  // 0, 1, -1, 2, ...
        platen_tool::LevelsStep levels;
        levels.black = black;
        levels.white = white;
        const platen_tool::BalanceStep balance = {platen_tool::BalanceGroup::kHighlights, {shift, shift, shift}};
        const platen_tool::ToneStep steps[] = {levels, balance};
        const platen_tool::ToneTables tables = platen_tool::FoldToneSteps(steps, 24);
        const platen_tool::ToneTable* of[] = {&tables.red, &tables.green, &tables.blue};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const int level = (*of[channel])[statistics.Percentile(channel, kWhitePercent)];
            if (level > bestLevel[channel]) {
                bestLevel[channel] = level;
                best[channel] = shift;
            }
        }
    }
    return best;
}

}  // namespace

SANE_Status FindLevels(Device& device, Resolutions& resolutions, Adjustments& adjustments,
                       const std::atomic<bool>& cancelled) {
    if (IsFeeder(device.Text(device.Find("source")).value_or(""))) {
        Tell("platen-auto: a scan of its own would take a page out of the feeder");
        return SANE_STATUS_UNSUPPORTED;
    }
    const PreviewOptions preview(device, resolutions);
    Check(device.Start());
    SANE_Parameters parameters{};
    Check(device.Parameters(parameters));
    const platen_tool::PagePlan plan = PlanForLevels(parameters, adjustments);
    std::unique_ptr<LineSource> source;
    if (platen_tool::IsOnePass(parameters)) {
        std::uint32_t height = 0;
        Check(CollectPasses(device, parameters, cancelled, source, height));
    } else {
        source = std::make_unique<DeviceLines>(device, parameters, cancelled);
    }
    Counter counter(plan.output);
    platen_tool::Pipeline pipeline(plan, counter);
    std::vector<std::uint8_t> line(plan.input.LineBytes());
    SANE_Status status = source->Next(line.data());
    for (; status == SANE_STATUS_GOOD; status = source->Next(line.data())) {
        pipeline.Take(line.data());
    }
    if (status != SANE_STATUS_EOF) {
        return status;
    }
    if (counter.Result().Lines() == 0) {
        return SANE_STATUS_IO_ERROR;
    }
    const auto [black, white] = counter.Result().SuggestedLevels();
    const bool colour = plan.output.ColourSamples() == 3;
    adjustments.SetAuto(black, white, colour ? WhiteShift(counter.Result(), black, white) : std::array<int, 3>{});
    return SANE_STATUS_GOOD;
}

}  // namespace platen_sane
