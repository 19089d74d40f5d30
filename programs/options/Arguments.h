#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "programs/options/OptionTable.h"

namespace platen_tool {

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

    // The option's last occurrence, which is the one that counts; null where it is not given. In the header, so
    // that the SANE backend has these records without the parser.
    const GivenOption* Last(std::string_view name) const {
        for (std::size_t i = options.size(); i > 0; --i) {
            if (options[i - 1].name == name) {
                return &options[i - 1];
            }
        }
        return nullptr;
    }

    bool Given(std::string_view name) const {
        return Last(name) != nullptr;
    }
};

// Splits the arguments of a sub-command (without program and sub-command) into options and operands. An unknown
// option, or one without its argument, is an Error (kUsage).
ParsedArguments ParseArguments(CommandBit command, const std::vector<std::string>& arguments);

}  // namespace platen_tool
