#pragma once

#include <string>
#include <string_view>

namespace platen_tool {

// The completion script for a shell (bash, zsh or fish), made from the option table; an Error (kUsage) for another.
std::string CompletionText(std::string_view shell);

}  // namespace platen_tool
