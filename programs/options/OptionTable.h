#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace platen_tool {

// The sub-commands, as bits, so that an option can belong to several.
enum CommandBit : unsigned { kAdjust = 1, kCurve = 2, kInfo = 4, kPresets = 8, kScan = 16 };

// One option of the program. This table is the only place that lists them: the parser, --help, completions and the
// presets' reader go by it.
struct OptionSpec {
    const char* name;               // without dashes
    char letter;                    // one-letter form, 0: none
    const char* argument;           // its name in the help, null: a flag
    const char* group;              // heading in the help
    const char* help;               // null: shares the next option's line
    unsigned commands;              // CommandBit
    bool inPresets = false;         // whether a preset may hold it: it is about the picture
    const char* choices = nullptr;  // where the value is one of a few words, these
    const char* bare = nullptr;     // its value where none is given, which then can follow '=' only
};

std::span<const OptionSpec> OptionTable();

// The option of that name; null where there is none.
const OptionSpec* FindOption(std::string_view name);

// One occurrence of an option, in the command line's order. Flags have an empty value.
struct GivenOption {
    std::string name;
    std::string value;
    bool newStep = false;   // a tone option that joins no step before it
    unsigned presetNo = 0;  // which --preset it came with, from 1; 0: it stood on the command line itself
};

struct ParsedArguments {
    std::vector<GivenOption> options;
    std::vector<std::string> operands;

    // The option's last occurrence, which is the one that counts; null where it is not given.
    const GivenOption* Last(std::string_view name) const;

    bool Given(std::string_view name) const {
        return Last(name) != nullptr;
    }
};

// Splits the arguments of a sub-command (without program and sub-command) into options and operands. An unknown
// option, or one without its argument, is an Error (kUsage).
ParsedArguments ParseArguments(CommandBit command, const std::vector<std::string>& arguments);

// The text of --help: usage lines, then the sub-command's options in groups.
std::string HelpText(CommandBit command);

}  // namespace platen_tool
