#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platen_tool {

// The tone options as the command line gives them, one step an operation of the tone world, in its order.

struct BrightnessContrastStep {
    std::optional<int> brightness;  // -100 to 100
    std::optional<int> contrast;    // -100 to 100
};

enum class Channel { kAll, kRed, kGreen, kBlue };

struct LevelsStep {
    int black = 0;          // 0 to 247
    int white = 255;        // 8 to 255, at least black + 8
    double gamma = 1.0;     // 0.1 to 9.99
    int outputBlack = 0;    // as black
    int outputWhite = 255;  // as white
    Channel channel = Channel::kAll;
};

struct CurvePoint {
    float x = 0;
    float y = 0;
};

enum class CurveKind : int { kPolyline = 1, kSpline = 3 };

struct CurveStep {
    std::array<CurvePoint, 5> points;
    std::optional<CurveKind> kind;  // nothing said: a spline
};

struct CurveGammaStep {
    int strength = 0;  // -100 to 100
};

enum class BalanceGroup { kShadows, kMidtones, kHighlights };

struct BalanceStep {
    BalanceGroup group = BalanceGroup::kShadows;
    std::array<int, 3> shift{};  // red, green, blue, each -100 to 100
};

// Automatic steps: their numbers come from the page, and levels steps take their places before anything is folded.

struct AutoLevelsStep {
    double low = 0.5;   // percent of the samples that may become black, 0 to 49
    double high = 0.5;  // and white
};

// The paper's colour becomes white, each channel by itself.
struct AutoWhiteStep {};

using ToneStep = std::variant<BrightnessContrastStep, LevelsStep, CurveStep, CurveGammaStep, BalanceStep,
                              AutoLevelsStep, AutoWhiteStep>;

bool IsAutomatic(const ToneStep& step);

// Collects tone options in the order of the command line.
//   - brightness and contrast next to each other make one step; a repeated option begins another
//   - --curve-kind belongs to the --curve just before it, else to the next one
// A bad value is an Error (kUsage) that names the option and the range.
class ToneStepList {
  public:
    // Whether an option is a tone option.
    static bool Knows(std::string_view option);

    // Takes an option by its name, without dashes; returns false for one that is no tone option.
    bool Take(std::string_view option, std::string_view value);

    // Ends the last step: no later option joins it. A --curve-kind whose curve is missing is an Error.
    void EndStep();

    std::size_t Count() const {
        return steps_.size();
    }
    // Whether a --curve-kind has come before its curve.
    bool WaitsForCurve() const {
        return nextKind_.has_value();
    }

    // After the last option. A --curve-kind without a curve is an Error.
    std::vector<ToneStep> Finish();

  private:
    void TakeBrightnessOrContrast(std::string_view option, std::string_view value);
    void TakeCurveKind(std::string_view value);

    // The last step, where it is of that kind and the option before did not end it.
    template <typename Step>
    Step* OpenStep();

    std::vector<ToneStep> steps_;
    std::size_t closed_ = 0;  // of the steps, those that no option can join
    std::optional<CurveKind> nextKind_;
};

// Whether a step acts on colour pictures only.
bool NeedsColour(const ToneStep& step);

// The value of the --levels that makes this step: "R:10,240".
std::string LevelsText(const LevelsStep& step);

// The step in words, for plots, tables and --dry-run: "brightness 10, contrast -5".
std::string StepText(const ToneStep& step);

}  // namespace platen_tool
