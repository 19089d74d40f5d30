#include "programs/Program.h"

#include <unistd.h>

#include <algorithm>

#include "programs/Adjust.h"
#include "programs/CurveCommand.h"
#include "programs/InfoCommand.h"
#include "programs/Report.h"
#include "programs/Settings.h"
#include "programs/Signals.h"

namespace platen_tool {

namespace {

bool Given(const ParsedArguments& arguments, const char* name) {
    return std::any_of(arguments.options.begin(), arguments.options.end(),
                       [name](const GivenOption& option) { return option.name == name; });
}

// The sub-command is the first argument; a file of that name is reached as "./curve".
CommandBit TakeCommand(std::vector<std::string>& arguments) {
    CommandBit command = kAdjust;
    if (!arguments.empty() && arguments.front() == "curve") {
        command = kCurve;
    } else if (!arguments.empty() && arguments.front() == "info") {
        command = kInfo;
    }
    if (command != kAdjust) {
        arguments.erase(arguments.begin());
    }
    return command;
}

ExitCode Run(std::vector<std::string> words) {
    const CommandBit command = TakeCommand(words);
    const ParsedArguments arguments = ParseArguments(command, words);
    if (Given(arguments, "help")) {
        PrintOutput(HelpText(command));
        return ExitCode::kDone;
    }
    if (Given(arguments, "version")) {
        PrintOutput("platen " PLATEN_VERSION "\n");
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
    return RunAdjust(MakeSettings(arguments, terminals));
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments) {
    try {
        InstallSignalHandlers();
        return static_cast<int>(Run(arguments));
    } catch (...) {
        return static_cast<int>(ReportFailure(""));
    }
}

}  // namespace platen_tool
