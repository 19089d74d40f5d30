#include "sane/Adjustments.h"

#include <sane/saneopts.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "programs/base/Numbers.h"
#include "programs/options/PresetFile.h"
#include "sane/Status.h"

namespace platen_sane {

using platen_tool::GivenOption;

namespace {

// What a page must have for an option to act on it.
enum class Needs { kNothing, kTones, kColour };

constexpr SANE_Word kFixedOne = 65536;
constexpr SANE_Word Fixed(double value) {
    return static_cast<SANE_Word>(value * kFixedOne + 0.5);
}

constexpr SANE_Range kPercent = {-100, 100, 1};
constexpr SANE_Range kDegrees = {-180, 180, 1};
constexpr SANE_Range kBlack = {0, 247, 1};
constexpr SANE_Range kWhite = {8, 255, 1};
constexpr SANE_Range kByte = {0, 255, 1};
constexpr SANE_Range kGammas = {Fixed(0.1), Fixed(9.99), 0};
constexpr SANE_Range kLevel = {-2, 3, 1};
constexpr int kSmallestSpan = 8;  // of levels
constexpr SANE_Int kTextBytes = 128;
const SANE_String_Const kKinds[] = {"spline", "polyline", nullptr};
constexpr const char* kNone = "None";

struct Row {
    Setting setting;
    const char* wellKnown;  // SANE's name, taken where the device leaves it free; null: there is none
    const char* own;        // ours, begins with "platen-"
    const char* title;
    const char* help;
    SANE_Value_Type type;
    SANE_Unit unit;
    const SANE_Range* range;  // null: none
    SANE_Word initial;
    Needs needs;
    bool advanced;
};

constexpr const char* kBalanceHelp =
    "Shifts these tones toward this colour; negative values shift them toward its opposite.";

// Every option, in the order of the enumeration.
constexpr Row kRows[] = {
    {Setting::kGroup, nullptr, "platen", "Adjustment (Platen)", "", SANE_TYPE_GROUP, SANE_UNIT_NONE, nullptr, 0,
     Needs::kNothing, false},
    {Setting::kPreset, nullptr, "platen-preset", "Preset",
     "A named set of adjustments. The options below are applied after it; a resolution in it sets the resolution "
     "above.",
     SANE_TYPE_STRING, SANE_UNIT_NONE, nullptr, 0, Needs::kNothing, false},
    {Setting::kAuto, nullptr, "platen-auto", "Find levels and white",
     "Makes a quick scan of the page, then sets the black and white levels so that the paper becomes white.",
     SANE_TYPE_BUTTON, SANE_UNIT_NONE, nullptr, 0, Needs::kTones, false},
    {Setting::kBrightness, SANE_NAME_BRIGHTNESS, "platen-brightness", SANE_TITLE_BRIGHTNESS,
     "Makes the page lighter or darker.", SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kTones, false},
    {Setting::kContrast, SANE_NAME_CONTRAST, "platen-contrast", SANE_TITLE_CONTRAST,
     "Increases or decreases the difference between light and dark tones.", SANE_TYPE_INT, SANE_UNIT_PERCENT,
     &kPercent, 0, Needs::kTones, false},
    {Setting::kShadow, SANE_NAME_SHADOW, "platen-shadow", "Black level",
     "This level and everything darker becomes black. At least 8 below the white level.", SANE_TYPE_INT,
     SANE_UNIT_NONE, &kBlack, 0, Needs::kTones, false},
    {Setting::kHighlight, SANE_NAME_HIGHLIGHT, "platen-highlight", "White level",
     "This level and everything lighter becomes white. At least 8 above the black level.", SANE_TYPE_INT,
     SANE_UNIT_NONE, &kWhite, 255, Needs::kTones, false},
    {Setting::kGamma, nullptr, "platen-gamma", "Gamma", "Above 1 lightens the middle tones, below 1 darkens them.",
     SANE_TYPE_FIXED, SANE_UNIT_NONE, &kGammas, Fixed(1.0), Needs::kTones, false},
    {Setting::kOutputBlack, nullptr, "platen-output-black", "Output black level",
     "What black becomes. At least 8 below the output white level.", SANE_TYPE_INT, SANE_UNIT_NONE, &kBlack, 0,
     Needs::kTones, true},
    {Setting::kOutputWhite, nullptr, "platen-output-white", "Output white level",
     "What white becomes. At least 8 above the output black level.", SANE_TYPE_INT, SANE_UNIT_NONE, &kWhite, 255,
     Needs::kTones, true},
    {Setting::kGammaTable, SANE_NAME_GAMMA_VECTOR, "platen-gamma-table", "Gamma table",
     "256 output levels, one for each input level; applied before the other tone adjustments.", SANE_TYPE_INT,
     SANE_UNIT_NONE, &kByte, 0, Needs::kTones, true},
    {Setting::kCurve, nullptr, "platen-curve", "Curve",
     "A tone curve through five points: x,y:x,y:x,y:x,y:x,y with levels from 0 to 255; empty for none.",
     SANE_TYPE_STRING, SANE_UNIT_NONE, nullptr, 0, Needs::kTones, true},
    {Setting::kCurveKind, nullptr, "platen-curve-kind", "Kind of curve",
     "Whether the curve is smooth or made of straight lines.", SANE_TYPE_STRING, SANE_UNIT_NONE, nullptr, 0,
     Needs::kTones, true},
    {Setting::kCurveGamma, nullptr, "platen-curve-gamma", "Curve gamma",
     "Lightens (positive) or darkens the middle tones and keeps black and white.", SANE_TYPE_INT, SANE_UNIT_PERCENT,
     &kPercent, 0, Needs::kTones, true},
    {Setting::kShadowsRed, nullptr, "platen-shadows-red", "Shadows: cyan to red", kBalanceHelp, SANE_TYPE_INT,
     SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kShadowsGreen, nullptr, "platen-shadows-green", "Shadows: magenta to green", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kShadowsBlue, nullptr, "platen-shadows-blue", "Shadows: yellow to blue", kBalanceHelp, SANE_TYPE_INT,
     SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kMidtonesRed, nullptr, "platen-midtones-red", "Midtones: cyan to red", kBalanceHelp, SANE_TYPE_INT,
     SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kMidtonesGreen, nullptr, "platen-midtones-green", "Midtones: magenta to green", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kMidtonesBlue, nullptr, "platen-midtones-blue", "Midtones: yellow to blue", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kHighlightsRed, nullptr, "platen-highlights-red", "Highlights: cyan to red", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kHighlightsGreen, nullptr, "platen-highlights-green", "Highlights: magenta to green", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kHighlightsBlue, nullptr, "platen-highlights-blue", "Highlights: yellow to blue", kBalanceHelp,
     SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0, Needs::kColour, true},
    {Setting::kSaturation, SANE_NAME_SATURATION, "platen-saturation", "Saturation",
     "Makes colours stronger or weaker; -100 leaves greys.", SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0,
     Needs::kColour, false},
    {Setting::kHue, SANE_NAME_HUE, "platen-hue", "Hue",
     "Rotates all colours around the colour wheel, in degrees: at 120 red becomes green.", SANE_TYPE_INT,
     SANE_UNIT_NONE, &kDegrees, 0, Needs::kColour, false},
    {Setting::kLightness, nullptr, "platen-lightness", "Lightness",
     "Mixes all colours with white, or with black if negative.", SANE_TYPE_INT, SANE_UNIT_PERCENT, &kPercent, 0,
     Needs::kColour, false},
    {Setting::kSharpness, nullptr, "platen-sharpness", "Sharpness",
     "1 to 3 sharpen increasingly, -1 and -2 soften; 0 is off.", SANE_TYPE_INT, SANE_UNIT_NONE, &kLevel, 0,
     Needs::kTones, false},
};
static_assert(std::size(kRows) == kSettings, "a row for each");
constexpr bool RowsStandInOrder() {
    for (int i = 0; i < kSettings; ++i) {
        if (kRows[i].setting != static_cast<Setting>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(RowsStandInOrder());

const Row& RowOf(Setting setting) {
    return kRows[static_cast<std::size_t>(setting)];
}

bool IsSize(const GivenOption& option) {
    static constexpr std::array<std::string_view, 6> kNames = {"resolution", "scale",  "size",
                                                               "width",      "height", "shrink-only"};
    return std::find(kNames.begin(), kNames.end(), option.name) != kNames.end();
}

// A preset may say what its pages' resolution is; here the device knows.
bool IsPage(const GivenOption& option) {
    return option.name != "input-resolution" && option.name != "set-resolution" && !IsSize(option);
}

// A fixed-point number as the decimal that it stands for.
std::string FixedText(SANE_Word word) {
    constexpr double kDigits = 10000.0;
    return platen_tool::NumberText(std::round(static_cast<double>(word) / kFixedOne * kDigits) / kDigits);
}

// Whether these options look at the whole page first, or turn or crop it. Throws where the tool would refuse them.
bool NeedWholePage(const std::vector<GivenOption>& options) {
    platen_tool::ParsedArguments arguments;
    arguments.options = options;
    arguments.operands = {"-"};
    const platen_tool::Settings settings = platen_tool::MakeSettings(arguments, {false, false});
    return settings.AnyAutomatic() || settings.rotate || settings.crop;
}

constexpr const char* kLinesPassOnce =
    "crops, rotates or has automatic settings, which this backend can't do: it handles lines once, in order";

std::vector<GivenOption> OptionsOf(const platen_tool::FoundPreset& preset) {
    return platen_tool::ParsePreset(platen_tool::ReadPresetFile(preset.path), preset.path).options;
}

// Whether the preset is no choice here. One that can't be read is: choosing it says what is wrong.
bool CannotBeOffered(const platen_tool::FoundPreset& preset) {
    try {
        if (!NeedWholePage(OptionsOf(preset))) {
            return false;
        }
    } catch (const platen_tool::Error&) {
        return false;
    }
    Tell("the preset " + preset.name + " isn't offered: it " + kLinesPassOnce);
    return true;
}

}  // namespace

Adjustments::Adjustments(const std::set<std::string>& taken, std::vector<platen_tool::FoundPreset> presets)
    : presets_(std::move(presets)) {
    std::erase_if(presets_, CannotBeOffered);
    presetNames_.emplace_back(kNone);
    for (const platen_tool::FoundPreset& preset : presets_) {
        presetNames_.push_back(preset.name);
    }
    for (const std::string& name : presetNames_) {
        presetList_.push_back(name.c_str());
    }
    presetList_.push_back(nullptr);
    for (std::size_t i = 0; i < gammaTable_.size(); ++i) {
        gammaTable_[i] = static_cast<SANE_Word>(i);
    }
    Describe(taken);
}

void Adjustments::Describe(const std::set<std::string>& taken) {
    for (const Row& row : kRows) {
        const auto i = static_cast<std::size_t>(row.setting);
        names_[i] = row.wellKnown != nullptr && !taken.contains(row.wellKnown) ? row.wellKnown : row.own;
        while (taken.contains(names_[i])) {
            names_[i].insert(0, "platen-");  // the wrapped device is one of ours
        }
        words_[i] = row.initial;
        SANE_Option_Descriptor& option = descriptors_[i];
        option.name = row.type == SANE_TYPE_GROUP ? "" : names_[i].c_str();
        option.title = row.title;
        option.desc = row.help;
        option.type = row.type;
        option.unit = row.unit;
        // A button has no value to read, but applications stumble over one that is not readable.
        option.cap = row.type == SANE_TYPE_GROUP ? 0 : SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
        option.cap |= row.advanced ? SANE_CAP_ADVANCED : 0;
        if (row.type == SANE_TYPE_INT || row.type == SANE_TYPE_FIXED) {
            option.size = sizeof(SANE_Word);
            option.constraint_type = SANE_CONSTRAINT_RANGE;
            option.constraint.range = row.range;
        }
    }
    const auto at = [this](Setting setting) -> SANE_Option_Descriptor& {
        return descriptors_[static_cast<std::size_t>(setting)];
    };
    at(Setting::kGammaTable).size = sizeof gammaTable_;
    at(Setting::kCurve).size = kTextBytes;
    at(Setting::kCurveKind).size = kTextBytes;
    at(Setting::kCurveKind).constraint_type = SANE_CONSTRAINT_STRING_LIST;
    at(Setting::kCurveKind).constraint.string_list = kKinds;
    const auto longest = std::max_element(presetNames_.begin(), presetNames_.end(),
                                          [](const auto& a, const auto& b) { return a.size() < b.size(); });
    at(Setting::kPreset).size = static_cast<SANE_Int>(longest->size() + 1);
    at(Setting::kPreset).constraint_type = SANE_CONSTRAINT_STRING_LIST;
    at(Setting::kPreset).constraint.string_list = presetList_.data();
}

SANE_Status Adjustments::Control(Setting setting, SANE_Action action, void* value, SANE_Int& info) {
    info = 0;
    const SANE_Option_Descriptor& option = *Descriptor(setting);
    if (value == nullptr || option.type == SANE_TYPE_GROUP || option.type == SANE_TYPE_BUTTON) {
        return SANE_STATUS_INVAL;
    }
    if (action == SANE_ACTION_GET_VALUE) {
        if (setting == Setting::kGammaTable) {
            std::memcpy(value, gammaTable_.data(), sizeof gammaTable_);
        } else if (option.type == SANE_TYPE_STRING) {
            const std::string text = setting == Setting::kPreset  ? presetNames_[preset_]
                                     : setting == Setting::kCurve ? curve_
                                                                  : std::string(kKinds[curveKind_]);
            std::memcpy(value, text.c_str(), text.size() + 1);
        } else {
            *static_cast<SANE_Word*>(value) = Word(setting);
        }
        return SANE_STATUS_GOOD;
    }
    if (action != SANE_ACTION_SET_VALUE || !SANE_OPTION_IS_ACTIVE(option.cap)) {
        return SANE_STATUS_INVAL;
    }
    if (setting == Setting::kGammaTable) {
        return SetTable(static_cast<const SANE_Word*>(value));
    }
    return option.type == SANE_TYPE_STRING ? SetText(setting, static_cast<char*>(value), info)
                                           : SetWord(setting, *static_cast<SANE_Word*>(value), info);
}

SANE_Status Adjustments::SetWord(Setting setting, SANE_Word& value, SANE_Int& info) {
    const SANE_Range& range = *RowOf(setting).range;
    const SANE_Word wanted = std::clamp(value, range.min, range.max);
    if (wanted != value) {
        info |= SANE_INFO_INEXACT;
    }
    value = wanted;
    Word(setting) = wanted;
    KeepLevelsApart(setting, info);
    info |= SANE_INFO_RELOAD_PARAMS;  // 16 bits become 8 where there is something to do
    return SANE_STATUS_GOOD;
}

// The level that was set moves the other one, so that the two can be set in any order.
void Adjustments::KeepLevelsApart(Setting moved, SANE_Int& info) {
    for (const auto& [black, white] :
         {std::pair{Setting::kShadow, Setting::kHighlight}, {Setting::kOutputBlack, Setting::kOutputWhite}}) {
        if ((moved != black && moved != white) || Word(white) - Word(black) >= kSmallestSpan) {
            continue;
        }
        if (moved == black) {
            Word(white) = Word(black) + kSmallestSpan;
        } else {
            Word(black) = Word(white) - kSmallestSpan;
        }
        info |= SANE_INFO_RELOAD_OPTIONS;
    }
}

SANE_Status Adjustments::SetText(Setting setting, char* value, SANE_Int& info) {
    const auto room = static_cast<std::size_t>(Descriptor(setting)->size);
    const std::string text(value, strnlen(value, room));
    if (setting == Setting::kPreset) {
        const auto found = std::find(presetNames_.begin(), presetNames_.end(), text);
        if (found == presetNames_.end()) {
            return SANE_STATUS_INVAL;
        }
        const auto index = static_cast<std::size_t>(found - presetNames_.begin());
        std::vector<GivenOption> options;
        if (index > 0) {
            options = OptionsOf(presets_[index - 1]);
            if (NeedWholePage(options)) {  // it was changed since it was offered
                throw platen_tool::Error(platen_tool::ExitCode::kUsage,
                                         "the preset " + text + " " + kLinesPassOnce);
            }
        }
        presetOptions_ = std::move(options);
        preset_ = index;
        info |= SANE_INFO_RELOAD_PARAMS;
        return SANE_STATUS_GOOD;
    }
    if (setting == Setting::kCurve) {
        if (!text.empty()) {
            NeedWholePage({{"curve", text}});  // what the tool would refuse is refused
        }
        if (text.size() == room) {
            return SANE_STATUS_INVAL;
        }
        curve_ = text;
        info |= SANE_INFO_RELOAD_PARAMS;
        return SANE_STATUS_GOOD;
    }
    for (std::size_t i = 0; kKinds[i] != nullptr; ++i) {
        if (text == kKinds[i]) {
            curveKind_ = i;
            return SANE_STATUS_GOOD;
        }
    }
    return SANE_STATUS_INVAL;
}

SANE_Status Adjustments::SetTable(const SANE_Word* values) {
    const auto isLevel = [](SANE_Word word) { return word >= kByte.min && word <= kByte.max; };
    if (!std::all_of(values, values + gammaTable_.size(), isLevel)) {
        return SANE_STATUS_INVAL;
    }
    std::copy(values, values + gammaTable_.size(), gammaTable_.begin());
    return SANE_STATUS_GOOD;
}

bool Adjustments::TableActs() const {
    for (std::size_t i = 0; i < gammaTable_.size(); ++i) {
        if (gammaTable_[i] != static_cast<SANE_Word>(i)) {
            return true;
        }
    }
    return false;
}

bool Adjustments::Follow(const platen_tool::ImageInfo& page, bool known) {
    std::string mode;
    bool expands = false;
    for (const GivenOption& option : presetOptions_) {
        mode = option.name == "mode" ? option.value : mode;
        expands = expands || ((option.name == "mode" || option.name == "depth") && option.value != "lineart" &&
                              option.value != "1");
    }
    const bool tones = page.bitsPerSample != 1 || expands;
    const bool colour = tones && (mode.empty() ? page.ColourSamples() == 3 : mode == "color");
    bool changed = false;
    for (const Row& row : kRows) {
        if (row.type == SANE_TYPE_GROUP) {
            continue;
        }
        const bool acts = known && (row.needs == Needs::kNothing || (row.needs == Needs::kTones ? tones : colour));
        SANE_Int& cap = descriptors_[static_cast<std::size_t>(row.setting)].cap;
        const SANE_Int before = cap;
        cap = acts ? cap & ~SANE_CAP_INACTIVE : cap | SANE_CAP_INACTIVE;
        changed = changed || cap != before;
    }
    return changed;
}

void Adjustments::AddLevels(std::vector<GivenOption>& options) const {
    const auto differs = [this](Setting setting) { return Word(setting) != RowOf(setting).initial; };
    std::string text = std::to_string(Word(Setting::kShadow)) + "," + std::to_string(Word(Setting::kHighlight));
    const bool output = differs(Setting::kOutputBlack) || differs(Setting::kOutputWhite);
    if (differs(Setting::kGamma) || output) {
        text += "," + FixedText(Word(Setting::kGamma));
    }
    if (output) {
        text +=
            "," + std::to_string(Word(Setting::kOutputBlack)) + "," + std::to_string(Word(Setting::kOutputWhite));
    }
    if (differs(Setting::kShadow) || differs(Setting::kHighlight) || differs(Setting::kGamma) || output) {
        options.push_back({"levels", text});
    }
}

void Adjustments::AddCurve(std::vector<GivenOption>& options) const {
    if (!curve_.empty()) {
        options.push_back({"curve", curve_});
        options.push_back({"curve-kind", kKinds[curveKind_]});
    }
    if (Word(Setting::kCurveGamma) != 0) {
        options.push_back({"curve-gamma", std::to_string(Word(Setting::kCurveGamma))});
    }
}

void Adjustments::AddBalance(std::vector<GivenOption>& options) const {
    for (const auto& [name, red] : {std::pair{"balance-shadows", Setting::kShadowsRed},
                                    {"balance-midtones", Setting::kMidtonesRed},
                                    {"balance-highlights", Setting::kHighlightsRed}}) {
        std::array<SANE_Word, 3> shift{};
        for (std::size_t i = 0; i < shift.size(); ++i) {
            shift[i] = words_[static_cast<std::size_t>(red) + i];
        }
        if (shift != std::array<SANE_Word, 3>{}) {
            options.push_back(
                {name, std::to_string(shift[0]) + "," + std::to_string(shift[1]) + "," + std::to_string(shift[2])});
        }
    }
}

std::vector<GivenOption> Adjustments::BeforeLevels() const {
    std::vector<GivenOption> options;
    std::copy_if(presetOptions_.begin(), presetOptions_.end(), std::back_inserter(options), IsPage);
    return options;
}

std::vector<GivenOption> Adjustments::Given() const {
    std::vector<GivenOption> options = BeforeLevels();
    const std::size_t presets = options.size();
    AddLevels(options);
    AddCurve(options);
    const auto addWord = [&](const char* name, Setting setting) {
        if (Word(setting) != 0) {
            options.push_back({name, std::to_string(Word(setting))});
        }
    };
    addWord("brightness", Setting::kBrightness);
    addWord("contrast", Setting::kContrast);
    AddBalance(options);
    if (options.size() > presets) {
        options[presets].newStep = true;  // it joins no step of the preset's
    }
    addWord("saturation", Setting::kSaturation);
    addWord("hue", Setting::kHue);
    addWord("lightness", Setting::kLightness);
    addWord("sharpness", Setting::kSharpness);
    return options;
}

std::vector<GivenOption> Adjustments::PresetSize() const {
    std::vector<GivenOption> options;
    std::copy_if(presetOptions_.begin(), presetOptions_.end(), std::back_inserter(options), IsSize);
    return options;
}

void Adjustments::SetLevels(int black, int white) {
    Word(Setting::kShadow) = black;
    Word(Setting::kHighlight) = white;
}

}  // namespace platen_sane
