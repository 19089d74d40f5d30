#include "sane/FramePlan.h"

#include <algorithm>

#include "programs/base/Numbers.h"
#include "programs/scan/DeviceLine.h"
#include "sane/Status.h"

namespace platen_sane {

using platen_tool::GivenOption;
using platen_tool::ImageInfo;
using platen_tool::PagePlan;
using platen_tool::Settings;
using platen_tool::StageKind;

namespace {

// What bounds a page is the application's business; these keep every number within its type.
constexpr platen_tool::Limits kLimits = {1'000'000, UINT64_MAX};

// A step that leaves everything as it is, for a gamma table that has no tones beside it.
const GivenOption kNoChange = {"brightness", "0", true};

std::string RatioText(const platen_tool::Ratio& ratio) {
    return platen_tool::NumberText(ratio.Value());
}

std::string ResolutionText(const platen_tool::Resolution& resolution) {
    return RatioText(resolution.x) + "x" + RatioText(resolution.y);
}

bool Same(const platen_tool::Resolution& a, const platen_tool::Resolution& b) {
    const auto same = [](const platen_tool::Ratio& p, const platen_tool::Ratio& q) {
        return p.numerator == q.numerator && p.denominator == q.denominator;
    };
    return same(a.x, b.x) && same(a.y, b.y);
}

// The resolution that is asked for where it isn't the device's, else the preset's size option.
void AddSize(std::vector<GivenOption>& options, const Adjustments& adjustments, const Resolutions& resolutions) {
    const auto actual = resolutions.Actual();
    const auto asked = resolutions.Asked();
    if (actual && asked && !Same(*actual, *asked)) {
        options.push_back({"input-resolution", ResolutionText(*actual)});
        options.push_back({"resolution", ResolutionText(*asked)});
        return;
    }
    for (GivenOption& option : adjustments.PresetSize()) {
        if (option.name != "resolution") {  // it has become what is asked for
            option.presetNo = 1;
            options.push_back(std::move(option));
        }
    }
}

// Options that a page can't take are inactive, and leave it as it is: bilevel pages have no tones, grey ones no
// colours.
void DropWhatDoesNotApply(Settings& settings, const ImageInfo& page) {
    const auto& pixels = settings.pixels;
    const bool toLineart = pixels.mode == platen_tool::PixelMode::kLineart || pixels.depth == 1;
    const bool expands = !toLineart && (pixels.mode || pixels.depth);
    if (page.bitsPerSample == 1 && !expands) {
        settings.tone.clear();
        settings.hsv = {};
        settings.sharpness = 0;
    }
    const bool colour = pixels.mode ? pixels.mode == platen_tool::PixelMode::kColor : page.ColourSamples() == 3;
    if (!colour || toLineart) {
        std::erase_if(settings.tone, platen_tool::NeedsColour);
        settings.hsv = {};
    }
}

bool IsOneColour(SANE_Frame format) {
    return format != SANE_FRAME_GRAY && format != SANE_FRAME_RGB;
}

bool NeedsPixel(const PagePlan& plan) {
    return std::any_of(plan.stages.begin(), plan.stages.end(), [](const platen_tool::PlannedStage& stage) {
        return stage.kind == StageKind::kHsv || stage.kind == StageKind::kColourToGrey;
    });
}

void PutTableFirst(PagePlan& plan, const Adjustments& adjustments) {
    if (!adjustments.TableActs()) {
        return;
    }
    const platen_tool::ToneTables tones = plan.tables;
    for (std::size_t i = 0; i < tones.red.size(); ++i) {
        const auto level = static_cast<std::size_t>(adjustments.Table()[i]);
        plan.tables.red[i] = tones.red[level];
        plan.tables.green[i] = tones.green[level];
        plan.tables.blue[i] = tones.blue[level];
    }
}

PagePlan PlanColourPage(const Settings& settings, const ImageInfo& page, const Adjustments& adjustments) {
    PagePlan plan = platen_tool::PlanPage(settings, page);
    PutTableFirst(plan, adjustments);
    return plan;
}

// The steps of one colour: no step of such a page looks at more than one sample of a pixel, so the colour is a grey
// page with a table of its own.
PagePlan PlanPlane(Settings settings, ImageInfo page, SANE_Frame format, const Adjustments& adjustments) {
    const PagePlan colour = PlanColourPage(settings, page, adjustments);
    std::erase_if(settings.tone, platen_tool::NeedsColour);
    const bool tones = std::any_of(colour.stages.begin(), colour.stages.end(),
                                   [](const auto& stage) { return stage.kind == StageKind::kTone; });
    if (tones && settings.tone.empty()) {
        settings.tone.emplace_back(platen_tool::BrightnessContrastStep{});
    }
    settings.pixels.mode.reset();
    page.samplesPerPixel = 1;
    PagePlan plan = platen_tool::PlanPage(settings, page);
    const platen_tool::ToneTable& table = format == SANE_FRAME_RED     ? colour.tables.red
                                          : format == SANE_FRAME_GREEN ? colour.tables.green
                                                                       : colour.tables.blue;
    plan.tables = {table, table, table};
    return plan;
}

// `command` receives the settings as the tool's command line.
Settings PageSettings(const Adjustments& adjustments, const Resolutions& resolutions, const ImageInfo& page,
                      std::string& command) {
    platen_tool::ParsedArguments arguments;
    arguments.options = adjustments.Given();
    if (adjustments.TableActs()) {
        arguments.options.push_back(kNoChange);
    }
    AddSize(arguments.options, adjustments, resolutions);
    arguments.operands = {"-"};
    command = "platen";
    for (const GivenOption& option : arguments.options) {
        command += " --" + option.name + (option.value.empty() ? "" : "=" + option.value);
    }
    Settings settings = platen_tool::MakeSettings(arguments, {false, false});
    settings.read.limits = kLimits;
    DropWhatDoesNotApply(settings, page);
    return settings;
}

SANE_Parameters ApplicationParameters(const FramePlan& plan) {
    const ImageInfo& out = plan.page.output;
    SANE_Parameters p{};
    p.format = plan.route == Route::kPlane ? plan.device.format
               : out.samplesPerPixel == 3  ? SANE_FRAME_RGB
                                           : SANE_FRAME_GRAY;
    p.last_frame = plan.route == Route::kCollect ? SANE_TRUE : plan.device.last_frame;
    p.bytes_per_line = static_cast<SANE_Int>(out.LineBytes());
    p.pixels_per_line = static_cast<SANE_Int>(out.width);
    p.lines = out.height == 0 ? -1 : static_cast<SANE_Int>(out.height);
    p.depth = out.bitsPerSample;
    return p;
}

}  // namespace

FramePlan PlanFrame(const SANE_Parameters& device, const Adjustments& adjustments, const Resolutions& resolutions) {
    FramePlan plan;
    plan.device = device;
    plan.application = device;
    if (!platen_tool::IsKnownPage(device)) {
        return plan;
    }
    const ImageInfo page = platen_tool::PageInfo(device);
    plan.settings = PageSettings(adjustments, resolutions, page, plan.command);
    plan.page = PlanColourPage(plan.settings, page, adjustments);
    if (plan.page.stages.empty()) {
        return plan;
    }
    plan.route = !IsOneColour(device.format) ? Route::kLines
                 : NeedsPixel(plan.page)     ? Route::kCollect
                                             : Route::kPlane;
    if (plan.route == Route::kPlane) {
        plan.page = PlanPlane(plan.settings, page, device.format, adjustments);
    }
    plan.application = ApplicationParameters(plan);
    return plan;
}

PagePlan PlanForLevels(const SANE_Parameters& device, const Adjustments& adjustments) {
    if (!platen_tool::IsKnownPage(device)) {
        throw StatusError(SANE_STATUS_UNSUPPORTED);
    }
    platen_tool::ParsedArguments arguments;
    arguments.options = adjustments.BeforeLevels();
    if (adjustments.TableActs()) {
        arguments.options.push_back(kNoChange);
    }
    arguments.operands = {"-"};
    Settings settings = platen_tool::MakeSettings(arguments, {false, false});
    if (settings.pixels.mode == platen_tool::PixelMode::kLineart || settings.pixels.depth == 1) {
        settings.pixels.mode = platen_tool::PixelMode::kGray;  // the threshold comes after the levels
    }
    settings.pixels.depth.reset();
    settings.hsv = {};
    settings.sharpness = 0;
    const ImageInfo page = platen_tool::PageInfo(device);
    DropWhatDoesNotApply(settings, page);
    PagePlan plan = PlanColourPage(settings, page, adjustments);
    if (plan.output.bitsPerSample == 1) {
        throw StatusError(SANE_STATUS_UNSUPPORTED);
    }
    return plan;
}

PagePlan PlanWithHeight(const FramePlan& plan, const Adjustments& adjustments, std::uint32_t height) {
    ImageInfo page = platen_tool::PageInfo(plan.device);
    page.height = height;
    return plan.route == Route::kPlane ? PlanPlane(plan.settings, page, plan.device.format, adjustments)
                                       : PlanColourPage(plan.settings, page, adjustments);
}

}  // namespace platen_sane
