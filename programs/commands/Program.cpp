#include "programs/commands/Program.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "programs/base/Report.h"
#include "programs/commands/Adjust.h"
#include "programs/commands/CurveCommand.h"
#include "programs/commands/InfoCommand.h"
#include "programs/commands/PresetsCommand.h"
#include "programs/commands/ScanCommand.h"
#include "programs/io/OutputFile.h"
#include "programs/io/OutputName.h"
#include "programs/io/RunFiles.h"
#include "programs/io/Signals.h"
#include "programs/options/Arguments.h"
#include "programs/options/Completion.h"
#include "programs/options/PresetSearch.h"
#include "programs/options/Settings.h"

namespace platen_tool {

namespace {

constexpr std::string_view kCompletionWord = "--completion=";

// The sub-command is the first argument; a file of that name is reached as "./curve".
CommandBit TakeCommand(std::vector<std::string>& arguments) {
    CommandBit command = kAdjust;
    if (!arguments.empty() && arguments.front() == "curve") {
        command = kCurve;
    } else if (!arguments.empty() && arguments.front() == "info") {
        command = kInfo;
    } else if (!arguments.empty() && arguments.front() == "presets") {
        command = kPresets;
    } else if (!arguments.empty() && arguments.front() == "scan") {
        command = kScan;
    }
    if (command != kAdjust) {
        arguments.erase(arguments.begin());
    }
    return command;
}

std::vector<std::string> InputsOf(CommandBit command, const ParsedArguments& arguments) {
    if (command != kAdjust) {
        return {};
    }
    return arguments.operands.empty() ? std::vector<std::string>{"-"} : arguments.operands;
}

// All outputs whose names are known by now, before the first of them is begun. Pages that are numbered follow.
void ClaimOutputs(CommandBit command, const ParsedArguments& arguments, RunFiles& files) {
    for (const char* option : {"save-preset", "plot", "svg"}) {
        if (const GivenOption* given = arguments.Last(option)) {
            files.Claim(std::string("--") + option, given->value);
        }
    }
    const GivenOption* output = arguments.Last("output");
    const bool writes = output != nullptr || !(arguments.Given("dry-run") || arguments.Given("stats"));
    if ((command != kAdjust && command != kScan) || !writes) {
        return;
    }
    const GivenOption* format = arguments.Last("format");
    const OutputName name(output != nullptr ? output->value : "-", format != nullptr ? format->value : "");
    const std::vector<std::string> inputs = InputsOf(command, arguments);
    if (output == nullptr && inputs.size() > 1) {
        throw Error(
            ExitCode::kUsage,
            "no output: '" + inputs.back() +
                "' is taken as an input; name the output with -o FILE, for several inputs with %s or %d in it");
    }
    CheckOutputName(name, inputs);
    if (name.HasPage()) {
        return;
    }
    if (command == kScan) {
        files.Claim("-o", name.Make("", 1));
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        files.Claim("-o", name.Make(inputs[i], 1), i);
    }
}

HelpExtent ExtentOf(const std::string& value) {
    if (value == FindOption("help")->bare) {
        return HelpExtent::kCommonOptions;
    }
    if (value != "all") {
        throw Error(ExitCode::kUsage, "--help: '" + value + "' is not all, the only value allowed");
    }
    return HelpExtent::kEveryOption;
}

// The user's default options act as a preset that stands before all others; a dry run tells it.
void TakeDefaults(CommandBit command, ParsedArguments& arguments) {
    const bool reads = command == kAdjust || command == kScan || command == kCurve;
    const std::string file = reads && !arguments.Given("no-defaults") ? DefaultsFile() : "";
    if (!file.empty()) {
        if (arguments.Given("dry-run")) {
            PrintOutput("default options from " + file + "\n");
        }
        arguments.options.insert(arguments.options.begin(), {"preset", file});
    }
}

ExitCode Run(std::vector<std::string> words) {
    // For the build, which installs what this prints; no option of the table.
    if (words.size() == 1 && words.front().starts_with(kCompletionWord)) {
        PrintOutput(CompletionText(words.front().substr(kCompletionWord.size())));
        return ExitCode::kDone;
    }
    const CommandBit command = TakeCommand(words);
    ParsedArguments arguments = ParseArguments(command, words);
    if (arguments.Given("help")) {
        PrintOutput(HelpText(command, ExtentOf(arguments.Last("help")->value)));
        return ExitCode::kDone;
    }
    if (arguments.Given("version")) {
        PrintOutput("platen " PLATEN_VERSION "\n");
        return ExitCode::kDone;
    }
    if (command == kPresets) {
        return RunPresets(arguments);
    }
    TakeDefaults(command, arguments);
    ExpandPresets(command, arguments);
    RunFiles files(InputsOf(command, arguments));
    ClaimOutputs(command, arguments, files);
    if (SavePreset(command, arguments)) {
        return ExitCode::kDone;
    }
    if (command == kCurve) {
        RunCurve(arguments);
        return ExitCode::kDone;
    }
    if (command == kInfo) {
        return RunInfo(arguments);
    }
    const Terminals terminals{isatty(STDIN_FILENO) != 0, isatty(STDOUT_FILENO) != 0};
    if (command == kScan) {
        return RunScan(MakeScanSettings(arguments, terminals), files);
    }
    return RunAdjust(MakeSettings(arguments, terminals), files);
}

// Reached where a function that promised to throw nothing found no memory; some of the libraries have such. The
// program ends as from any other error.
[[noreturn]] void EndFromTerminate() {
    RemovePartialOutputs();
    if (std::current_exception() != nullptr) {
        _exit(static_cast<int>(ReportFailure("")));
    }
    std::abort();
}

}  // namespace

int RunProgram(int count, char** arguments) {
    try {
        std::set_terminate(EndFromTerminate);
        InstallSignalHandlers();
        return static_cast<int>(Run({arguments, arguments + count}));
    } catch (...) {
        return static_cast<int>(ReportFailure(""));
    }
}

int RunProgram(const std::vector<std::string>& arguments) {
    std::vector<char*> words;
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));  // only read
    }
    return RunProgram(static_cast<int>(words.size()), words.data());
}

}  // namespace platen_tool
