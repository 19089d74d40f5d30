#include "programs/options/ToneSteps.h"

#include <algorithm>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/options/OptionTable.h"

namespace platen_tool {

namespace {

[[noreturn]] void Refuse(const std::string& text) {
    throw Error(ExitCode::kUsage, text);
}

int ParseInt(std::string_view name, std::string_view text, int low, int high) {
    return static_cast<int>(ParseWhole(name, text, low, high));
}

// A number in the range of the option's row.
int ParseAmount(std::string_view option, std::string_view text) {
    const OptionRange range = FindOption(option)->range;
    return ParseInt("--" + std::string(option), text, static_cast<int>(range.low), static_cast<int>(range.high));
}

double ParseGamma(const std::string& name, std::string_view text) {
    const OptionRange range = FindOption("gamma")->range;
    return ParseNumber(name, text, range.low, range.high);
}

// The library wants more than 7 levels between black and white, and would drop the operation otherwise.
void CheckSpan(const char* what, int black, int white) {
    if (white - black <= 7) {
        Refuse(std::string("--levels: ") + what + " white must be at least 8 above " + what + " black, not " +
               std::to_string(black) + "," + std::to_string(white));
    }
}

constexpr std::string_view kChannelLetters = "RGB";

// "R:" before the levels; what follows it is left in `value`.
Channel TakeChannel(std::string_view& value) {
    const std::size_t colon = value.find(':');
    if (colon == std::string_view::npos) {
        return Channel::kAll;
    }
    const std::string_view name = value.substr(0, colon);
    const std::size_t at = name.size() == 1 ? kChannelLetters.find(name) : std::string_view::npos;
    if (at == std::string_view::npos) {
        Refuse("--levels: '" + std::string(name) + ":' is not one of the channels R:, G: and B:");
    }
    value.remove_prefix(colon + 1);
    return static_cast<Channel>(at + 1);
}

LevelsStep ParseLevels(std::string_view value) {
    LevelsStep step;
    step.channel = TakeChannel(value);
    const auto parts = SplitText(value, ',');
    if (parts.size() != 2 && parts.size() != 3 && parts.size() != 5) {
        Refuse("--levels: '" + std::string(value) + "' is not BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]");
    }
    step.black = ParseInt("--levels: BLACK", parts[0], 0, 247);
    step.white = ParseInt("--levels: WHITE", parts[1], 8, 255);
    if (parts.size() > 2) {
        step.gamma = ParseGamma("--levels: GAMMA", parts[2]);
    }
    if (parts.size() > 3) {
        step.outputBlack = ParseInt("--levels: OUTBLACK", parts[3], 0, 247);
        step.outputWhite = ParseInt("--levels: OUTWHITE", parts[4], 8, 255);
    }
    CheckSpan("input", step.black, step.white);
    CheckSpan("output", step.outputBlack, step.outputWhite);
    return step;
}

AutoLevelsStep ParseAutoLevels(std::string_view value) {
    const OptionRange range = FindOption("auto-levels")->range;
    const auto parts = SplitText(value, ',');
    if (parts.size() != 2) {
        Refuse("--auto-levels: '" + std::string(value) + "' is not LOW,HIGH");
    }
    return {ParseNumber("--auto-levels: LOW", parts[0], range.low, range.high),
            ParseNumber("--auto-levels: HIGH", parts[1], range.low, range.high)};
}

CurveStep ParseCurve(std::string_view value) {
    CurveStep step;
    const auto points = SplitText(value, ':');
    if (points.size() != step.points.size()) {
        Refuse("--curve: '" + std::string(value) + "' has " + std::to_string(points.size()) +
               " points; five are needed: x,y:x,y:x,y:x,y:x,y");
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto pair = SplitText(points[i], ',');
        if (pair.size() != 2) {
            Refuse("--curve: '" + std::string(points[i]) + "' is not a point x,y");
        }
        // Each point's range of x lies 4 above that of the point before.
        const std::string name = "--curve: point " + std::to_string(i + 1);
        const double lowest = 4.0 * static_cast<double>(i);
        step.points[i].x = static_cast<float>(ParseNumber(name + " x", pair[0], lowest, 239.0 + lowest));
        step.points[i].y = static_cast<float>(ParseNumber(name + " y", pair[1], 0.0, 255.0));
        if (i > 0 && !(step.points[i].x > step.points[i - 1].x)) {
            Refuse(name + ": x must be greater than that of the point before");
        }
    }
    return step;
}

BalanceStep ParseBalance(BalanceGroup group, std::string_view option, std::string_view value) {
    const auto parts = SplitText(value, ',');
    BalanceStep step;
    step.group = group;
    if (parts.size() != step.shift.size()) {
        Refuse("--" + std::string(option) + ": '" + std::string(value) + "' is not R,G,B");
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        step.shift[i] = ParseAmount(option, parts[i]);
    }
    return step;
}

std::string Text(const BrightnessContrastStep& step) {
    std::string text;
    if (step.brightness) {
        text = "brightness " + std::to_string(*step.brightness);
    }
    if (step.contrast) {
        text += std::string(text.empty() ? "" : ", ") + "contrast " + std::to_string(*step.contrast);
    }
    return text;
}

std::string Text(const LevelsStep& step) {
    static constexpr const char* kNames[] = {"levels ", "levels of red ", "levels of green ", "levels of blue "};
    std::string text = kNames[static_cast<int>(step.channel)] + std::to_string(step.black) + " to " +
                       std::to_string(step.white) + ", gamma " + NumberText(step.gamma);
    if (step.outputBlack != 0 || step.outputWhite != 255) {
        text += ", output " + std::to_string(step.outputBlack) + " to " + std::to_string(step.outputWhite);
    }
    return text;
}

std::string Text(const CurveStep& step) {
    std::string text = step.kind == CurveKind::kPolyline ? "polyline" : "spline";
    for (const CurvePoint& point : step.points) {
        text += " " + NumberText(static_cast<double>(point.x)) + "," + NumberText(static_cast<double>(point.y));
    }
    return text;
}

std::string Text(const CurveGammaStep& step) {
    return "curve gamma " + std::to_string(step.strength);
}

std::string Text(const BalanceStep& step) {
    static constexpr const char* kNames[] = {"shadows", "midtones", "highlights"};
    return std::string("balance ") + kNames[static_cast<int>(step.group)] + " " + std::to_string(step.shift[0]) +
           "," + std::to_string(step.shift[1]) + "," + std::to_string(step.shift[2]);
}

std::string Text(const AutoLevelsStep& step) {
    return "automatic levels, " + NumberText(step.low) + " and " + NumberText(step.high) + " % cut";
}

std::string Text(const AutoWhiteStep&) {
    return "automatic white";
}

}  // namespace

template <typename Step>
Step* ToneStepList::OpenStep() {
    return steps_.size() > closed_ ? std::get_if<Step>(&steps_.back()) : nullptr;
}

bool ToneStepList::Knows(std::string_view option) {
    const OptionSpec* spec = FindOption(option);
    return spec != nullptr && std::string_view(spec->group) == kToneGroup;
}

void ToneStepList::EndStep() {
    if (nextKind_) {
        Refuse("--curve-kind: needs a --curve");
    }
    closed_ = steps_.size();
}

void ToneStepList::TakeBrightnessOrContrast(std::string_view option, std::string_view value) {
    const int amount = ParseAmount(option, value);
    const auto field =
        option == "brightness" ? &BrightnessContrastStep::brightness : &BrightnessContrastStep::contrast;
    auto* last = OpenStep<BrightnessContrastStep>();
    if (last == nullptr || (last->*field).has_value()) {
        last = &std::get<BrightnessContrastStep>(steps_.emplace_back(BrightnessContrastStep{}));
    }
    last->*field = amount;
}

void ToneStepList::TakeCurveKind(std::string_view value) {
    if (value != "spline" && value != "polyline") {
        Refuse("--curve-kind: '" + std::string(value) + "' is not spline or polyline");
    }
    const CurveKind kind = value == "spline" ? CurveKind::kSpline : CurveKind::kPolyline;
    auto* last = OpenStep<CurveStep>();
    if (last != nullptr && !last->kind) {
        last->kind = kind;
    } else {
        nextKind_ = kind;
    }
}

bool ToneStepList::Take(std::string_view option, std::string_view value) {
    if (option == "brightness" || option == "contrast") {
        TakeBrightnessOrContrast(option, value);
    } else if (option == "levels") {
        steps_.emplace_back(ParseLevels(value));
    } else if (option == "gamma") {
        LevelsStep step;
        step.gamma = ParseGamma("--gamma", value);
        steps_.emplace_back(step);
    } else if (option == "curve") {
        CurveStep step = ParseCurve(value);
        step.kind = nextKind_;
        nextKind_.reset();
        steps_.emplace_back(step);
    } else if (option == "curve-kind") {
        TakeCurveKind(value);
    } else if (option == "curve-gamma") {
        steps_.emplace_back(CurveGammaStep{ParseAmount(option, value)});
    } else if (option == "balance-shadows") {
        steps_.emplace_back(ParseBalance(BalanceGroup::kShadows, option, value));
    } else if (option == "balance-midtones") {
        steps_.emplace_back(ParseBalance(BalanceGroup::kMidtones, option, value));
    } else if (option == "balance-highlights") {
        steps_.emplace_back(ParseBalance(BalanceGroup::kHighlights, option, value));
    } else if (option == "auto-levels") {
        steps_.emplace_back(ParseAutoLevels(value));
    } else if (option == "auto-white") {
        steps_.emplace_back(AutoWhiteStep{});
    } else {
        return false;
    }
    return true;
}

std::vector<ToneStep> ToneStepList::Finish() {
    EndStep();
    return steps_;
}

bool IsAutomatic(const ToneStep& step) {
    return std::holds_alternative<AutoLevelsStep>(step) || std::holds_alternative<AutoWhiteStep>(step);
}

bool NeedsColour(const ToneStep& step) {
    const auto* levels = std::get_if<LevelsStep>(&step);
    return std::holds_alternative<BalanceStep>(step) || (levels != nullptr && levels->channel != Channel::kAll);
}

std::string LevelsText(const LevelsStep& step) {
    std::string text;
    if (step.channel != Channel::kAll) {
        text = std::string(1, kChannelLetters[static_cast<std::size_t>(step.channel) - 1]) + ":";
    }
    text += std::to_string(step.black) + "," + std::to_string(step.white);
    const bool output = step.outputBlack != 0 || step.outputWhite != 255;
    if (output || step.gamma < 1.0 || step.gamma > 1.0) {
        text += "," + NumberText(step.gamma);
    }
    if (output) {
        text += "," + std::to_string(step.outputBlack) + "," + std::to_string(step.outputWhite);
    }
    return text;
}

std::string StepText(const ToneStep& step) {
    return std::visit([](const auto& one) { return Text(one); }, step);
}

}  // namespace platen_tool
