#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "programs/options/Arguments.h"

namespace platen_tool {

// A preset: options that are kept in a file, in TOML. What may stand there is what a command line may say about
// the picture, under the same names:
//
//     description = "for lists"
//     sharpness = 1
//     mode = "gray"
//
//     [[tone]]                      each a step, they act in the file's order
//     levels = [30, 220, 0.9]
//
//     [[tone]]
//     brightness = 5
//     contrast = 10
struct Preset {
    std::string description;
    std::vector<GivenOption> options;
};

// Whether an option belongs into presets: those about the picture do, files and reports don't.
bool IsPresetOption(std::string_view name);

// Reads a preset's text. Every key is checked, its value too; what is wrong is an Error (kUsage) that begins with
// "NAME:LINE: ".
Preset ParsePreset(std::string_view text, const std::string& name);

// Reads a file; one that can't be read, or is larger than a preset ever is, is an Error (kFailed).
std::string ReadPresetFile(const std::string& path);

// The text of a preset with those of the options that belong into one. Reading it back gives the same settings.
std::string PresetText(std::span<const GivenOption> options);

}  // namespace platen_tool
