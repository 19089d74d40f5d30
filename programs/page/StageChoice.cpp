#include "programs/page/StageChoice.h"

#include <algorithm>
#include <functional>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

using Names = std::vector<std::string>;

// "--hue, --saturation and --levels", each once.
std::string Listed(const Names& names) {
    Names once;
    for (const std::string& name : names) {
        if (std::find(once.begin(), once.end(), name) == once.end()) {
            once.push_back(name);
        }
    }
    std::string text;
    for (std::size_t i = 0; i < once.size(); ++i) {
        text += (i == 0 ? "--" : i + 1 == once.size() ? " and --" : ", --") + once[i];
    }
    return text;
}

class Chooser {
  public:
    Chooser(const Settings& settings, const ImageInfo& page) : settings_(settings), page_(page) {}

    ChosenStages Choose() {
        const PixelSettings& pixels = settings_.pixels;
        const bool lineart = settings_.ToLineart();
        const bool bilevel = page_.bitsPerSample == 1 && (lineart || (!pixels.mode && !pixels.depth));
        const bool grey = lineart || pixels.mode == PixelMode::kGray ||
                          (page_.ColourSamples() == 1 && pixels.mode != PixelMode::kColor);
        chosen_.hsv = settings_.hsv;
        chosen_.sharpness = settings_.sharpness;
        TakeTone([&](const ToneStep& step) { return bilevel || (grey && NeedsColour(step)); });
        if (grey || bilevel) {
            TakeOut("saturation", chosen_.hsv.saturation);
            TakeOut("hue", chosen_.hsv.hue);
            TakeOut("lightness", chosen_.hsv.lightness);
        }
        if (bilevel) {
            TakeOut("sharpness", chosen_.sharpness);
        }
        if (!typed_.empty()) {
            Refuse(bilevel);
        }
        if (!left_.empty()) {
            const bool one = Listed(left_).find(' ') == std::string::npos;
            chosen_.leftOut =
                (preset_ ? "left out of the preset: " : "left out of the automatic settings: ") + Listed(left_) +
                (one ? " works" : " work") +
                (bilevel ? " on tones, and the page is bilevel" : " on colours, and the page is grey");
        }
        return chosen_;
    }

  private:
    void TakeTone(const std::function<bool(const ToneStep&)>& misfit) {
        for (std::size_t i = 0; i < settings_.tone.size(); ++i) {
            if (!misfit(settings_.tone[i])) {
                chosen_.tone.push_back(settings_.tone[i]);
                continue;
            }
            const bool known = i < settings_.toneOrigins.size();  // made by hand, settings may say nothing of it
            const StepOrigin origin = known ? settings_.toneOrigins[i] : StepOrigin{{"tone"}};
            Names& names = origin.typed ? typed_ : left_;
            preset_ = preset_ || !(origin.typed || origin.automatic);
            names.insert(names.end(), origin.options.begin(), origin.options.end());
        }
    }

    void TakeOut(const char* name, int& value) {
        if (value != 0) {
            (settings_.Typed(name) ? typed_ : left_).emplace_back(name);
            preset_ = preset_ || !settings_.Typed(name);
            value = 0;
        }
    }

    [[noreturn]] void Refuse(bool bilevel) const {
        const std::string names = Listed(typed_);
        const bool one = names.find(' ') == std::string::npos;
        std::string why;
        if (bilevel) {
            why = "a page with tones; this one is bilevel, and --mode=gray makes it grey";
        } else if (page_.ColourSamples() == 1) {
            why = "a colour page; this one is grey";
        } else {
            why = std::string("colours, which ") +
                  (settings_.pixels.depth == 1                 ? "--depth=1"
                   : settings_.pixels.mode == PixelMode::kGray ? "--mode=gray"
                                                               : "--mode=lineart") +
                  " removes first";
        }
        throw Error(ExitCode::kUnsupported, names + (one ? " needs " : " need ") + why);
    }

    const Settings& settings_;
    const ImageInfo& page_;
    ChosenStages chosen_;
    Names typed_;
    Names left_;
    bool preset_ = false;  // whether one of these came with a preset
};

}  // namespace

ChosenStages ChooseStages(const Settings& settings, const ImageInfo& page) {
    return Chooser(settings, page).Choose();
}

}  // namespace platen_tool
