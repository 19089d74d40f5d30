#pragma once

#include "programs/base/Error.h"
#include "programs/options/Arguments.h"
#include "programs/options/OptionTable.h"

namespace platen_tool {

// Inserts each --preset's options in its place. Only one option can set the size: the command line's own takes
// precedence over a preset's, and a later preset's over an earlier one's. A scan's --resolution is the device's:
// the same precedence applies to it, independently of the options that scale the page.
void ExpandPresets(CommandBit command, ParsedArguments& arguments);

// Writes the file of --save-preset, if it was asked for; a dry run only checks what would be in it. True where
// nothing else is to be done: no input, output or device was named.
bool SavePreset(CommandBit command, const ParsedArguments& arguments);

// platen presets [list | show NAME | check FILE...]
ExitCode RunPresets(const ParsedArguments& arguments);

}  // namespace platen_tool
