#include <cstdlib>
#include <string>

#include "programs/base/Error.h"
#include "programs/options/PresetFile.h"
#include "programs/options/Settings.h"

// Preset files. An Error is a right answer, and says where. What is accepted is saved again: the saved text must be
// accepted too, mean the same, and be saved as itself.

namespace {

using namespace platen_tool;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// What the settings of these options fold and come to, as text; an Error's text where they don't go together.
std::string Meaning(const std::vector<GivenOption>& options) {
    ParsedArguments arguments;
    arguments.options = options;
    arguments.operands = {"-"};
    try {
        const Settings s = MakeSettings(arguments, {false, false});
        std::string text;
        for (const ToneStep& step : s.tone) {
            text += StepText(step) + ";";
        }
        text += std::to_string(s.hsv.hue) + "," + std::to_string(s.hsv.saturation) + "," +
                std::to_string(s.hsv.lightness) + "," + std::to_string(s.sharpness) + "," +
                std::to_string(s.size.width) + "," + std::to_string(s.size.height) + "," +
                std::to_string(s.size.scale.value_or(0.0)) + "," + std::to_string(s.quality) + "," +
                std::to_string(s.pixels.threshold) + "," + std::to_string(s.pixels.depth.value_or(0));
        return text;
    } catch (const Error& error) {
        return error.what();
    }
}

void CheckSaved(const std::vector<GivenOption>& options) {
    const std::string saved = PresetText(options);
    const Preset again = ParsePreset(saved, "saved");
    Require(PresetText(again.options) == saved);
    Require(Meaning(again.options) == Meaning(options));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<GivenOption> options;
    try {
        options = ParsePreset(text, "fuzz.toml").options;
    } catch (const Error& error) {
        Require(std::string(error.what()).starts_with("fuzz.toml:"));
        return 0;
    }
    CheckSaved(options);
    return 0;
}
