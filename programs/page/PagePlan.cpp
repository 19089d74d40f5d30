#include "programs/page/PagePlan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/page/Geometry.h"
#include "programs/page/PageZoom.h"
#include "programs/page/PlaceStage.h"
#include "programs/page/StageChoice.h"

namespace platen_tool {

namespace {

std::string ColourText(const Colour& colour) {
    if (colour.rgb == Colour{}.rgb) {
        return "white";
    }
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.rgb[0], colour.rgb[1], colour.rgb[2]);
    return text;
}

[[noreturn]] void Unsupported(const std::string& text) {
    throw Error(ExitCode::kUnsupported, text);
}

std::string StageText(const PlannedStage& stage) {
    switch (stage.kind) {
        case StageKind::kScale:
            return "scaled from " + stage.text;
        case StageKind::kSharpen:
            return "sharpness " + stage.text;
        case StageKind::kCrop:
            return "cropped to " + stage.text;
        case StageKind::kTurn:
            return "turned: " + stage.text;
        default:
            return stage.text;
    }
}

class Planner {
  public:
    Planner(const Settings& settings, const ImageInfo& page, bool counting)
        : settings_(settings), counting_(counting), chosen_(ChooseStages(settings, page)) {
        plan_.leftOut = chosen_.leftOut;
        plan_.input = page;
        if (settings.inputResolution) {
            plan_.input.resolution = settings.inputResolution;
        }
        info_ = plan_.input;
    }

    PagePlan Plan() {
        PlanPlace();
        PlanDepth();
        PlanColours();
        for (const Adjustment kind : settings_.order) {
            if (counting_ && kind == Adjustment::kTone) {
                return plan_;
            }
            PlanStage(kind);
        }
        if (ToLineart() && info_.bitsPerSample == 8) {
            info_.bitsPerSample = 1;
            const PixelSettings& pixels = settings_.pixels;
            const std::string threshold = pixels.autoThreshold ? std::string("automatic threshold")
                                                               : "threshold " + NumberText(pixels.threshold) + " %";
            if (pixels.dither) {
                Add(StageKind::kDither, "error diffusion, " + threshold,
                    info_.LineBytes() + 2 * sizeof(int) * (std::size_t{info_.width} + 2));
            } else {
                Add(StageKind::kThreshold, threshold);
            }
        }
        FinishOutput();
        return plan_;
    }

  private:
    bool ToLineart() const {
        return settings_.ToLineart();
    }

    // info_ is what the stage gives; the stage before, or the page, what it takes.
    void Add(StageKind kind, std::string text, std::size_t memory = 0) {
        const ImageInfo& in = plan_.stages.empty() ? plan_.input : plan_.stages.back().out;
        plan_.stages.push_back({kind, in, info_, std::move(text), memory});
    }

    // The part is cut out of the page as it is stored, and turned then: less has to be turned.
    void PlanPlace() {
        if (settings_.rotate) {
            plan_.turn = Joined(TurnOfOrientation(info_.orientation), TurnOfAngle(*settings_.rotate));
            info_.orientation = 1;
        } else if (settings_.crop && info_.orientation != 1) {
            plan_.notices.push_back(
                "--crop counts the pixels as they are stored; --rotate=auto would apply the orientation tag first");
        }
        if ((settings_.crop || plan_.turn.Any()) && info_.height == 0) {
            NoteUnknownHeight();
        }
        if (settings_.crop) {
            PlanCrop(*settings_.crop);
        }
        if (plan_.turn.Any() && !(counting_ && PixelsAloneUpToTone())) {
            PlanTurn();
        }
    }

    // Whether each pixel becomes what it is before the tone step without its neighbours.
    bool PixelsAloneUpToTone() const {
        for (const Adjustment kind : settings_.order) {
            if (kind == Adjustment::kTone) {
                break;
            }
            if ((kind == Adjustment::kScale && settings_.size.Any()) ||
                (kind == Adjustment::kSharpen && chosen_.sharpness != 0)) {
                return false;
            }
        }
        return true;
    }

    static std::uint32_t Pixels(double length, CropSettings::Unit unit, const Ratio* dpi) {
        constexpr double kMillimetresPerInch = 25.4;
        constexpr double kMost = 4294967295.0;
        double pixels = length;
        if (unit != CropSettings::Unit::kPixels) {
            pixels *= dpi->Value() / (unit == CropSettings::Unit::kInches ? 1.0 : kMillimetresPerInch);
        }
        return static_cast<std::uint32_t>(std::clamp(std::floor(pixels + 0.5), 0.0, kMost));
    }

    void PlanCrop(const CropSettings& crop) {
        if (crop.unit != CropSettings::Unit::kPixels && !info_.resolution) {
            throw Error(ExitCode::kFailed,
                        "--crop: the file doesn't state its resolution; give --input-resolution");
        }
        const bool swap = plan_.turn.swap;
        const Ratio* dpiX = info_.resolution ? &(swap ? info_.resolution->y : info_.resolution->x) : nullptr;
        const Ratio* dpiY = info_.resolution ? &(swap ? info_.resolution->x : info_.resolution->y) : nullptr;
        Area area{Pixels(crop.x, crop.unit, dpiX), Pixels(crop.y, crop.unit, dpiY),
                  std::max(Pixels(crop.width, crop.unit, dpiX), 1u),
                  std::max(Pixels(crop.height, crop.unit, dpiY), 1u)};
        // A side that isn't known yet is as long as it may be.
        const std::uint32_t height = info_.height == 0 ? settings_.read.limits.maxSide : info_.height;
        const std::uint32_t seenWidth = swap ? height : info_.width;
        const std::uint32_t seenHeight = swap ? info_.width : height;
        if (area.x >= seenWidth || area.y >= seenHeight) {
            throw Error(ExitCode::kFailed, "--crop: " + std::to_string(area.x) + "," + std::to_string(area.y) +
                                               " lies outside the page of " + SizeText(seenWidth, seenHeight));
        }
        const Area asked = area;
        area.width = std::min(area.width, seenWidth - area.x);
        area.height = std::min(area.height, seenHeight - area.y);
        if (area.width < asked.width || area.height < asked.height) {
            plan_.notices.push_back("--crop: the page ends before it; " + SizeText(area.width, area.height) +
                                    " of " + SizeText(asked.width, asked.height) + " are left");
        }
        plan_.crop = AreaBefore(plan_.turn, area, info_.width, height);
        if (plan_.crop.width == info_.width && plan_.crop.height == info_.height) {
            return;
        }
        info_.width = plan_.crop.width;
        info_.height = plan_.crop.height;
        Add(StageKind::kCrop,
            SizeText(area.width, area.height) + " from " + std::to_string(area.x) + "," + std::to_string(area.y),
            info_.bitsPerSample == 1 ? info_.LineBytes() : 0);
    }

    void PlanTurn() {
        static constexpr const char* kTexts[2][2][2] = {
            {{"", "mirrored top to bottom"}, {"mirrored left to right", "180 degrees"}},
            {{"90 degrees, mirrored left to right", "90 degrees"},
             {"270 degrees", "270 degrees, mirrored left to right"}}};
        const Turn& turn = plan_.turn;
        if (!turn.ByLine()) {
            if (settings_.read.strictStream) {
                Unsupported("--rotate: turning a page needs a temporary file; --strict-stream forbids it");
            }
            plan_.notices.emplace_back("turned through a temporary file");
        }
        const std::size_t before = info_.LineBytes();
        if (turn.swap) {
            std::swap(info_.width, info_.height);
            if (info_.resolution) {
                std::swap(info_.resolution->x, info_.resolution->y);
            }
        }
        Add(StageKind::kTurn, kTexts[turn.swap][turn.flipX][turn.flipY],
            turn.swap ? std::max(kTurnBlock, 8 * before) + 2 * std::max(kTurnBlock, info_.LineBytes())
                      : 2 * info_.LineBytes());
    }

    void PlanDepth() {
        const PixelSettings& pixels = settings_.pixels;
        if (info_.bitsPerSample == 1) {
            if (ToLineart() || (!pixels.mode && !pixels.depth)) {
                return;
            }
            info_.bitsPerSample = 8;
            Add(StageKind::kBilevelToGrey, "1 bit to 8 bits", info_.LineBytes());
        }
        if (info_.bitsPerSample == 16 && (chosen_.NeedsEightBits() || pixels.depth == 8 || ToLineart())) {
            plan_.reducedTo8 = pixels.depth != 8 && !ToLineart();
            info_.bitsPerSample = 8;
            Add(StageKind::kDepth16To8, "16 bits to 8 bits", info_.LineBytes());
        }
        if (info_.bitsPerSample == 8 && pixels.depth == 16) {
            info_.bitsPerSample = 16;
            Add(StageKind::kDepth8To16, "8 bits to 16 bits", info_.LineBytes());
        }
    }

    void PlanColours() {
        const auto mode = settings_.pixels.mode;
        if (info_.ColourSamples() == 3 && (mode == PixelMode::kGray || ToLineart())) {
            info_.samplesPerPixel -= 2;
            info_.iccProfile.clear();  // it describes colours that are gone
            std::erase_if(info_.pngColours, [](const PngChunk& chunk) { return chunk.name == "cHRM"; });
            Add(StageKind::kColourToGrey, "colour to grey", info_.LineBytes());
        } else if (info_.ColourSamples() == 1 && info_.bitsPerSample != 1 && mode == PixelMode::kColor) {
            info_.samplesPerPixel += 2;
            info_.iccProfile.clear();
            Add(StageKind::kGreyToColour, "grey to colour", info_.LineBytes());
        }
        if (settings_.pixels.negative) {
            Add(StageKind::kNegative, "negative");
        }
        if ((ToLineart() || settings_.pixels.flatten) && info_.HasAlpha()) {
            info_.samplesPerPixel -= 1;
            plan_.background = settings_.pixels.flatten.value_or(Colour{});
            Add(StageKind::kFlatten, "alpha blended with " + ColourText(plan_.background), info_.LineBytes());
        }
    }

    void PlanStage(Adjustment kind) {
        switch (kind) {
            case Adjustment::kTone:
                return PlanTone();
            case Adjustment::kHsv:
                return PlanHsv();
            case Adjustment::kScale:
                return PlanScale();
            case Adjustment::kSharpen:
                return PlanSharpen();
        }
    }

    void PlanTone() {
        if (chosen_.tone.empty()) {
            return;
        }
        plan_.tables = FoldToneSteps(chosen_.tone, info_.ColourSamples() == 3 ? 24 : 8);
        std::string text;
        for (const ToneStep& step : chosen_.tone) {
            text += (text.empty() ? "" : "; ") + StepText(step);
        }
        Add(StageKind::kTone, text, sizeof plan_.tables);
    }

    void PlanHsv() {
        if (!chosen_.hsv.Any()) {
            return;
        }
        plan_.hsv = chosen_.hsv;
        const auto number = [](int value) { return std::to_string(value); };
        Add(StageKind::kHsv,
            "saturation " + number(plan_.hsv.saturation) + ", hue " + number(plan_.hsv.hue) + ", lightness " +
                number(plan_.hsv.lightness),
            info_.HasAlpha() ? std::size_t{info_.width} * 3 : 0);
    }

    void PlanScale() {
        if (!settings_.size.Any()) {
            return;
        }
        NoteUnknownHeight();
        const ImageInfo before = info_;
        const PageSize size = info_.height == 0 || info_.width == 0
                                  ? SizeOfUnknownHeight()
                                  : TargetSize(info_, settings_.size, settings_.read.limits);
        info_.width = size.width;
        info_.height = size.height;
        info_.resolution = size.resolution;
        if (size.width == before.width && size.height == before.height && size.height != 0 && size.width != 0) {
            plan_.notices.push_back("the page already has this size; it is not scaled");
            return;
        }
        Add(StageKind::kScale, SizeText(before.width, before.height) + " to " + SizeText(info_.width, info_.height),
            ScalerMemory(before, info_));
    }

    // The page is taken for a square one. Sides that would follow the one that isn't known (the width, where the
    // page is turned) are 0, as unknown as it is.
    PageSize SizeOfUnknownHeight() const {
        ImageInfo square = info_;
        square.width = square.height = std::max(info_.width, info_.height);
        const bool turned = info_.width == 0;
        const SizeSettings& wanted = settings_.size;
        PageSize size = TargetSize(square, wanted, {UINT32_MAX, UINT64_MAX});
        const bool given = !wanted.scale && !wanted.resolution;
        const std::uint32_t unknown = turned ? wanted.width : wanted.height;
        const std::uint32_t known = turned ? wanted.height : wanted.width;
        std::uint32_t& unknownSide = turned ? size.width : size.height;
        std::uint32_t& knownSide = turned ? size.height : size.width;
        const bool unknownGiven = given && unknown != 0;
        unknownSide = unknownGiven && !wanted.shrinkOnly ? unknown : 0;
        if (unknownGiven) {
            knownSide = known == 0 ? 0 : knownSide;
            size.resolution.reset();
        }
        CheckLimits(size, settings_.read.limits);
        return size;
    }

    void PlanSharpen() {
        if (chosen_.sharpness == 0) {
            return;
        }
        NoteUnknownHeight();
        const bool narrow = info_.width != 0 && info_.width < 3;
        if (narrow || (info_.height != 0 && info_.height < 2)) {
            plan_.notices.push_back(
                "the page is narrower than three pixels or shorter than two lines; it is not "
                "sharpened or softened");
            return;
        }
        plan_.sharpness = chosen_.sharpness;
        const std::size_t line = std::size_t{info_.width} * static_cast<std::size_t>(info_.ColourSamples());
        Add(StageKind::kSharpen, std::to_string(plan_.sharpness),
            6 * line + (info_.HasAlpha() ? 2 * std::size_t{info_.width} + info_.LineBytes() : 0));
    }

    void NoteUnknownHeight() {
        if (plan_.input.height != 0) {
            return;
        }
        if (settings_.read.strictStream) {
            Unsupported(
                "the page's height isn't known, and scaling, turning and sharpness need it; --strict-stream "
                "forbids "
                "spooling");
        }
        if (plan_.notices.empty()) {
            plan_.notices.push_back(
                "the page's height isn't known before its last line: the page will be spooled to a temporary file");
        }
    }

    // Work lines of accumulators, one record for each column and line held, and the line given out.
    std::size_t ScalerMemory(const ImageInfo& in, const ImageInfo& out) const {
        const std::size_t most = settings_.read.limits.maxSide;
        const std::size_t width = out.width == 0 ? most : std::max(in.width, out.width);
        const bool known = in.height != 0 && out.height != 0;
        const std::size_t height = known ? PageZoom::Records(in.height, out.height) : most;
        const std::size_t bits = in.bitsPerSample == 1 ? 8 : static_cast<std::size_t>(in.bitsPerSample);
        const auto samples = static_cast<std::size_t>(in.samplesPerPixel);
        // With alpha there are two scalers, one of them at 16 bits.
        const std::size_t pixel = in.HasAlpha() ? bits * (samples - 1) + 16 * samples + 7 : bits * samples;
        constexpr std::size_t kRecord = 28;
        return 2 * width * (pixel + 7) + kRecord * (width + height) + out.LineBytes() +
               (in.bitsPerSample == 1 ? width : 0);
    }

    void FinishOutput() {
        plan_.output = info_;
        plan_.threshold = settings_.pixels.threshold;
        if (settings_.setResolution) {
            plan_.output.resolution = settings_.setResolution;
        }
        if (settings_.strip) {
            plan_.output.iccProfile.clear();
            plan_.output.pngColours.clear();
            plan_.output.orientation = 1;
            plan_.output.description.reset();
        }
        if (settings_.softwareTag) {
            TagSoftware();
        }
    }

    // One more line of the text that names the programs which had a page in hand.
    void TagSoftware() {
        std::string line = "platen " PLATEN_VERSION;
        const char* before = ": ";
        for (const PlannedStage& stage : plan_.stages) {
            line += std::exchange(before, "; ") + StageText(stage);
        }
        const auto& old = plan_.output.description;
        auto description = old != nullptr ? std::make_shared<Description>(*old) : std::make_shared<Description>();
        const std::string software = TextsFor(plan_.output)[static_cast<std::size_t>(TextField::kSoftware)];
        description->Text(TextField::kSoftware) = software + (software.empty() ? "" : "\n") + line;
        plan_.output.description = std::move(description);
    }

    const Settings& settings_;
    const bool counting_;  // up to the tone step only
    const ChosenStages chosen_;
    PagePlan plan_;
    ImageInfo info_;
};

}  // namespace

PagePlan PlanPage(const Settings& settings, const ImageInfo& page) {
    return Planner(settings, page, false).Plan();
}

PagePlan PlanCounting(const Settings& settings, const ImageInfo& page) {
    return Planner(settings, page, true).Plan();
}

std::size_t ExpectedMemory(const PagePlan& plan) {
    // The program, the codecs' libraries and their buffers, measured with the largest of them.
    constexpr std::size_t kProgram = 9'000'000;
    constexpr std::size_t kCodecLines = 16;
    std::size_t bytes = kProgram + kCodecLines * (plan.input.LineBytes() + plan.output.LineBytes());
    for (const PlannedStage& stage : plan.stages) {
        bytes += stage.memory;
    }
    return bytes;
}

std::string PageText(const ImageInfo& info) {
    static constexpr const char* kLayouts[] = {"grey", "grey and alpha", "RGB", "RGB and alpha"};
    std::string text = SizeText(info.width, info.height);
    text += info.bitsPerSample == 1
                ? std::string(", bilevel")
                : ", " + std::to_string(info.bitsPerSample) + "-bit " + kLayouts[info.samplesPerPixel - 1];
    return text + ", " + (info.resolution ? ResolutionText(*info.resolution) : std::string("no resolution"));
}

}  // namespace platen_tool
