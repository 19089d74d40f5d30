#pragma once

#include <sane/sane.h>

#include <string>
#include <vector>

namespace platen_tool {

// What a device option is set to, in the form that sane_control_option takes.
struct OptionValue {
    SANE_Action action = SANE_ACTION_SET_VALUE;
    std::vector<SANE_Word> words;  // numbers and yes or no
    std::vector<char> text;        // strings, as long as the option may be

    void* Data() {
        return text.empty() ? static_cast<void*>(words.data()) : text.data();
    }
};

// Reads a value as the option's description wants it:
//   - yes or no (also true, false, on, off), whole or decimal numbers, one of the listed strings, any text
//   - several numbers as "a,b,c"; a value of the form @FILE takes them from a file (@-: standard input), where
//     blanks and line ends separate too
//   - a gamma table of another size from 256 values, as `platen curve --table=sane` prints them: it is drawn out to
//     the device's size and range, linearly
//   - "auto" where the device can choose by itself
// Anything else is an Error (kUsage) that says what is allowed. `label` names the option in it ("--set depth").
OptionValue ParseOptionValue(const std::string& label, const SANE_Option_Descriptor& option,
                             const std::string& value);

// What an option takes, in words: "1 to 1200 dpi", "Gray, Color", "yes or no".
std::string AllowedText(const SANE_Option_Descriptor& option);

// A word as a number, and back.
double WordNumber(const SANE_Option_Descriptor& option, SANE_Word word);

// How many numbers an option holds; 0 where it holds none.
std::size_t WordCount(const SANE_Option_Descriptor& option);

}  // namespace platen_tool
