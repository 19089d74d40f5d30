#pragma once

#include <string>
#include <vector>

namespace platen_tool {

// The whole program but for its process: `arguments` without the program's name; the exit code. Throws nothing.
int RunProgram(int count, char** arguments);
int RunProgram(const std::vector<std::string>& arguments);

}  // namespace platen_tool
