#pragma once

#include <span>
#include <string>
#include <string_view>

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

// The text of --help: usage lines, then the sub-command's options in groups.
std::string HelpText(CommandBit command);

}  // namespace platen_tool
