#include "programs/commands/PresetsCommand.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "programs/base/Report.h"
#include "programs/io/OutputFile.h"
#include "programs/options/Arguments.h"
#include "programs/options/PresetFile.h"
#include "programs/options/PresetSearch.h"
#include "programs/options/ScanSettings.h"
#include "programs/options/Settings.h"

namespace platen_tool {

namespace {

constexpr Terminals kNone{false, false};

// Options that exclude each other.
using Names = std::span<const std::string_view>;

// The first doesn't determine a size where a device takes it.
constexpr std::array<std::string_view, 5> kSizeOptions = {"resolution", "scale", "size", "width", "height"};

Preset LoadPreset(const std::string& path, unsigned presetNo = 1) {
    Preset preset = ParsePreset(ReadPresetFile(path), path);
    for (GivenOption& option : preset.options) {
        option.presetNo = presetNo;
    }
    return preset;
}

// The command line itself is number 0, and goes before all presets.
void KeepOneOf(Names names, std::vector<GivenOption>& options) {
    const auto isOne = [names](const GivenOption& option) {
        return std::find(names.begin(), names.end(), option.name) != names.end();
    };
    unsigned kept = 0;
    for (const GivenOption& option : options) {
        if (isOne(option) && option.presetNo == 0) {
            kept = 0;
            break;
        }
        kept = isOne(option) ? option.presetNo : kept;
    }
    std::erase_if(options, [&](const GivenOption& o) { return isOne(o) && o.presetNo != kept; });
}

// What the options ask of the pages, whatever these are.
Settings PageSettings(CommandBit command, ParsedArguments arguments) {
    if (command == kScan) {
        ScanSettings scan;
        arguments.options = TakeScanOptions(scan, arguments.options);
    }
    return MakeSettings(arguments, kNone);
}

// Whether more than saving is wanted: something is named that a sub-command reads or writes.
bool AsksForWork(const ParsedArguments& arguments) {
    static constexpr std::array kNamed = {"output", "svg", "table", "device", "list-devices"};
    return !arguments.operands.empty() ||
           std::any_of(kNamed.begin(), kNamed.end(), [&](const char* name) { return arguments.Given(name); });
}

// Whether what is to be done besides writes there: the page, a picture of the curve or its table.
bool TakesStandardOutput(CommandBit command, const ParsedArguments& arguments, const Settings& settings) {
    if (command == kCurve) {
        const GivenOption* svg = arguments.Last("svg");
        return arguments.Given("table") || svg == nullptr || svg->value == "-";
    }
    return settings.output == "-" || settings.plot == "-";
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
        // A scan takes all that adjusting takes, and a resolution beside a size.
        PageSettings(kScan, std::move(arguments));
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

void ExpandPresets(CommandBit command, ParsedArguments& arguments) {
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
        for (GivenOption& own : LoadPreset(FindPreset(option.value), ++presets).options) {
            expanded.push_back(std::move(own));
        }
        behindPreset = true;
    }
    const Names names = kSizeOptions;
    const std::size_t apart = command == kScan ? 1 : 0;
    KeepOneOf(names.first(apart), expanded);
    KeepOneOf(names.subspan(apart), expanded);
    arguments.options = std::move(expanded);
}

bool SavePreset(CommandBit command, const ParsedArguments& arguments) {
    const GivenOption* given = arguments.Last("save-preset");
    if (given == nullptr) {
        return false;
    }
    const Settings settings = PageSettings(command, arguments);  // only what would be taken is kept
    const bool goesOn = AsksForWork(arguments);
    if (given->value == "-" && goesOn && TakesStandardOutput(command, arguments, settings)) {
        throw Error(ExitCode::kUsage, "--save-preset=-: something else goes to standard output; name a file");
    }
    // With a page at hand the automatic settings' numbers are kept, when they are known.
    if (!settings.dryRun && !(goesOn && command != kCurve && settings.AnyAutomatic())) {
        const std::string text = PresetText(arguments.options);
        OutputFile file(given->value, {.force = arguments.Given("force"), .sync = false});
        file.Write(text.data(), text.size());
        file.CheckWriteError();
        file.Commit();
    }
    return !goesOn;
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
    throw Error(ExitCode::kUsage, "presets: expected list, show NAME or check FILE");
}

}  // namespace platen_tool
