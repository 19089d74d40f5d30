#pragma once

#include <sane/sane.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"
#include "programs/options/Arguments.h"
#include "programs/options/PresetSearch.h"
#include "programs/options/Settings.h"

namespace platen_sane {

// The options of the group "Adjustment (Platen)", in the order in which applications list them.
enum class Setting : int {
    kGroup,
    kPreset,
    kAuto,
    kBrightness,
    kContrast,
    kShadow,
    kHighlight,
    kGamma,
    kOutputBlack,
    kOutputWhite,
    kGammaTable,
    kCurve,
    kCurveKind,
    kCurveGamma,
    kShadowsRed,
    kShadowsGreen,
    kShadowsBlue,
    kMidtonesRed,
    kMidtonesGreen,
    kMidtonesBlue,
    kHighlightsRed,
    kHighlightsGreen,
    kHighlightsBlue,
    kSaturation,
    kHue,
    kLightness,
    kSharpness,
    kCount,
};
constexpr int kSettings = static_cast<int>(Setting::kCount);

using GammaTable = std::array<SANE_Word, 256>;

// The options' descriptions and values. What they ask for is put in the words of the tool's command line, so that
// the tool's own parser checks it and a page comes out as the tool would make it.
class Adjustments {
  public:
    // `taken`: the names of the device's options; ours get another one where it has it already.
    Adjustments(const std::set<std::string>& taken, std::vector<platen_tool::FoundPreset> presets);
    Adjustments(const Adjustments&) = delete;
    Adjustments& operator=(const Adjustments&) = delete;

    const SANE_Option_Descriptor* Descriptor(Setting setting) const {
        return &descriptors_[static_cast<std::size_t>(setting)];
    }

    // Gets or sets a value as sane_control_option does. A value that can't be taken changes nothing.
    SANE_Status Control(Setting setting, SANE_Action action, void* value, SANE_Int& info);

    // Activates the options that can act on such a page, and deactivates the others. `known` is false for a page
    // that can't be worked on. True where that has changed.
    bool Follow(const platen_tool::ImageInfo& page, bool known);

    // The command line's options, without the size: those of the preset first.
    std::vector<platen_tool::GivenOption> Given() const;

    // Of the preset that is chosen, what it says about the size.
    std::vector<platen_tool::GivenOption> PresetSize() const;

    const GammaTable& Table() const {
        return gammaTable_;
    }
    bool TableActs() const;

    // What platen-auto found.
    void SetLevels(int black, int white);

    // The steps that come before the levels.
    std::vector<platen_tool::GivenOption> BeforeLevels() const;

  private:
    SANE_Word& Word(Setting setting) {
        return words_[static_cast<std::size_t>(setting)];
    }
    SANE_Word Word(Setting setting) const {
        return words_[static_cast<std::size_t>(setting)];
    }
    void Describe(const std::set<std::string>& taken);
    void AddLevels(std::vector<platen_tool::GivenOption>& options) const;
    void AddCurve(std::vector<platen_tool::GivenOption>& options) const;
    void AddBalance(std::vector<platen_tool::GivenOption>& options) const;
    SANE_Status SetWord(Setting setting, SANE_Word& value, SANE_Int& info);
    SANE_Status SetText(Setting setting, char* value, SANE_Int& info);
    SANE_Status SetTable(const SANE_Word* values);
    void KeepLevelsApart(Setting moved, SANE_Int& info);

    std::array<SANE_Option_Descriptor, kSettings> descriptors_{};
    std::array<std::string, kSettings> names_;
    std::array<SANE_Word, kSettings> words_{};
    GammaTable gammaTable_{};
    std::string curve_;
    std::size_t curveKind_ = 0;
    std::size_t preset_ = 0;  // 0: none
    std::vector<platen_tool::FoundPreset> presets_;
    std::vector<platen_tool::GivenOption> presetOptions_;
    std::vector<std::string> presetNames_;
    std::vector<SANE_String_Const> presetList_;
};

}  // namespace platen_sane
