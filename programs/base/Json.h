#pragma once

#include <string>

namespace platen_tool {

// Text within quotes; bytes that are no characters of their own are escaped.
std::string JsonText(const std::string& text);

}  // namespace platen_tool
