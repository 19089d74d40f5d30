#pragma once

#include <span>
#include <string>
#include <string_view>

namespace platen_tool {

// The sub-commands, as bits, so that an option can belong to several.
enum CommandBit : unsigned { kAdjust = 1, kCurve = 2, kInfo = 4, kPresets = 8, kScan = 16 };

inline constexpr const char* kToneGroup = "Tone, in the order given (8 bits)";

struct OptionTarget;
struct ScanSettings;

// What a number may be; from 0 to 0: the option takes no single number.
struct OptionRange {
    double low = 0.0;
    double high = 0.0;
};

// One option of the program, told once: the parser, --help, the completions, presets and the settings read its row.
struct OptionSpec {
    const char* name;      // without dashes
    char letter;           // one-letter form, 0: none
    const char* argument;  // its name in the help, null: a flag
    const char* group;     // heading in the help
    const char* help;      // null: shares the next option's line; %r becomes the range, %u `usual`, %b `bare`
    unsigned commands;     // CommandBit

    // Takes the value into the settings; an Error (kUsage) for one that isn't allowed. Null: the device's alone.
    void (*take)(const OptionSpec& spec, const std::string& value, OptionTarget& to);

    bool inPresets = false;         // whether a preset may hold it: it is about the picture
    OptionRange range{};            // of a number, or of each in a list
    const char* usual = nullptr;    // the value where none is given
    const char* choices = nullptr;  // where the value is one of a few words, these
    const char* bare = nullptr;     // the value of the option alone; another then can follow '=' only
    char separator = 0;             // between the members of a list, which is one in a preset too

    // `platen scan` asks the device for it: notes that and says whether the device alone needs it. Null: the
    // device has nothing to do with it.
    bool (*takeForDevice)(const OptionSpec& spec, const std::string& value, ScanSettings& to) = nullptr;

    bool rare = false;  // listed by --help=all only
};

std::span<const OptionSpec> OptionTable();

// The option of that name; null where there is none.
const OptionSpec* FindOption(std::string_view name);

// A row's help with its numbers in it; an option that shares the next one's line has that one's.
std::string OptionHelp(const OptionSpec& spec);

// Whether the sub-command reads the option itself, out of ParsedArguments.
bool ReadByCommand(const OptionSpec& spec);

// The text of --help: usage lines, then the sub-command's options in groups, at most 80 columns wide. The options
// most used fit on a screen of 60 lines; `kEveryOption` lists the others too.
enum class HelpExtent { kCommonOptions, kEveryOption };
std::string HelpText(CommandBit command, HelpExtent extent);

}  // namespace platen_tool
