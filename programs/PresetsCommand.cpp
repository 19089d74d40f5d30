#include "programs/PresetsCommand.h"

#include <algorithm>
#include <array>

#include "programs/PresetFile.h"
#include "programs/PresetSearch.h"
#include "programs/Report.h"
#include "programs/Settings.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

namespace {

constexpr Terminals kNone{false, false};

bool IsSizeOption(const GivenOption& option) {
    static constexpr std::array kWays = {"scale", "size", "width", "height", "resolution"};
    return std::find(kWays.begin(), kWays.end(), option.name) != kWays.end();
}

Preset LoadPreset(const std::string& path) {
    return ParsePreset(ReadPresetFile(path), path);
}

// The command line itself is number 0, and goes before all presets.
void KeepOneSize(std::vector<GivenOption>& options) {
    unsigned kept = 0;
    for (const GivenOption& option : options) {
        if (IsSizeOption(option) && option.presetNo == 0) {
            kept = 0;
            break;
        }
        kept = IsSizeOption(option) ? option.presetNo : kept;
    }
    std::erase_if(options, [kept](const GivenOption& o) { return IsSizeOption(o) && o.presetNo != kept; });
}

ExitCode ListPresets(bool verbose) {
    ExitCode result = ExitCode::kDone;
    std::string text;
    for (const FoundPreset& found : FindAllPresets()) {
        try {
            std::string line = found.name;
            line.resize(std::max<std::size_t>(line.size() + 2, 18), ' ');
            line += LoadPreset(found.path).description;
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n" + (verbose ? "    " + found.path + "\n" : std::string());
        } catch (const Error& error) {
            PrintMessage({error.what()});
            result = ExitCode::kFailed;
        }
    }
    PrintOutput(text);
    return result;
}

// Everything that can be wrong in a file by itself.
void CheckPreset(const std::string& path) {
    ParsedArguments arguments;
    arguments.options = LoadPreset(path).options;
    arguments.operands = {"-"};
    try {
        MakeSettings(arguments, kNone);
    } catch (const Error& error) {
        throw Error(error.Code(), path + ": " + error.what());
    }
}

ExitCode CheckPresets(const std::vector<std::string>& paths) {
    ExitCode result = ExitCode::kDone;
    for (const std::string& path : paths) {
        try {
            CheckPreset(path);
        } catch (const Error& error) {
            PrintMessage({error.what()});
            result = ExitCode::kFailed;
        }
    }
    return result;
}

}  // namespace

void ExpandPresets(ParsedArguments& arguments) {
    std::vector<GivenOption> expanded;
    unsigned presets = 0;
    bool behindPreset = false;
    for (GivenOption& option : arguments.options) {
        if (option.name != "preset") {
            const bool tone = ToneStepList::Knows(option.name);
            option.newStep = option.newStep || (behindPreset && tone);
            behindPreset = behindPreset && !tone;
            expanded.push_back(std::move(option));
            continue;
        }
        ++presets;
        for (GivenOption& own : LoadPreset(FindPreset(option.value)).options) {
            own.presetNo = presets;
            expanded.push_back(std::move(own));
        }
        behindPreset = true;
    }
    KeepOneSize(expanded);
    arguments.options = std::move(expanded);
}

bool SavePreset(CommandBit command, const ParsedArguments& arguments) {
    const GivenOption* given = arguments.Last("save-preset");
    if (given == nullptr) {
        return false;
    }
    MakeSettings(arguments, kNone);  // only what would be taken is kept
    const std::string text = PresetText(arguments.options);
    OutputFile file(given->value, arguments.Given("force"), false);
    file.Write(text.data(), text.size());
    file.CheckWriteError();
    file.Commit();
    if (command == kCurve) {
        return !arguments.Given("svg") && !arguments.Given("table");
    }
    return command == kAdjust && arguments.operands.empty() && !arguments.Given("output");
}

ExitCode RunPresets(const ParsedArguments& arguments) {
    const std::vector<std::string>& words = arguments.operands;
    if (words.empty() || (words.front() == "list" && words.size() == 1)) {
        return ListPresets(arguments.Given("verbose"));
    }
    if (words.front() == "show" && words.size() == 2) {
        const std::string path = FindPreset(words[1]);
        const std::string text = ReadPresetFile(path);
        PrintOutput(arguments.Given("verbose") ? "# " + path + "\n" + text : text);
        return ExitCode::kDone;
    }
    if (words.front() == "check" && words.size() >= 2) {
        return CheckPresets({words.begin() + 1, words.end()});
    }
    throw Error(ExitCode::kUsage, "presets: say list, show NAME or check FILE");
}

}  // namespace platen_tool
