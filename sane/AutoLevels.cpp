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

// A blank page's grain is no picture: its tones lie closer together than those of any page with something on it.
bool IsBlank(const platen_tool::Statistics& statistics, std::size_t channels) {
    constexpr int kSmallestSpread = 32;  // of levels, as --auto-levels has it
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const auto [black, white] = statistics.SuggestedLevels(channel);
        if (white - black >= kSmallestSpread) {
            return false;
        }
    }
    return true;
}

// Paper is white where its weakest colour is. A picture without paper may have hardly any of one colour: four
// fifths of the white of all colours together are the least.
int PaperWhite(const platen_tool::Statistics& statistics, std::size_t channels, int black, int white) {
    constexpr int kSmallestSpan = 8;  // of levels
    int paper = white;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        paper = std::min(paper, static_cast<int>(statistics.Percentile(channel, kWhitePercent)));
    }
    return std::max({paper, white * 4 / 5, black + kSmallestSpan});
}

}  // namespace

SANE_Status FindLevels(Device& device, Resolutions& resolutions, Adjustments& adjustments,
                       const std::atomic<bool>& cancelled) {
    if (IsFeeder(device.Text(device.Find("source")).value_or(""))) {
        Tell("platen-auto: the extra scan it needs would take a page out of the feeder");
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
    SANE_Status status = SANE_STATUS_GOOD;
    for (;;) {
        std::uint8_t* at = line.data();
        status = source->Next(at);
        if (status != SANE_STATUS_GOOD) {
            break;
        }
        pipeline.Take(at);
    }
    if (status != SANE_STATUS_EOF) {
        return status;
    }
    if (counter.Result().Lines() == 0) {
        return SANE_STATUS_IO_ERROR;
    }
    const auto channels = static_cast<std::size_t>(plan.output.ColourSamples());
    if (IsBlank(counter.Result(), channels)) {
        Tell("platen-auto: the page is blank, or of one colour; the levels stay as they are");
        return SANE_STATUS_GOOD;
    }
    const auto [black, white] = counter.Result().SuggestedLevels();
    adjustments.SetLevels(black, PaperWhite(counter.Result(), channels, black, white));
    return SANE_STATUS_GOOD;
}

}  // namespace platen_sane
