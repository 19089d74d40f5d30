#pragma once

#include <stdexcept>
#include <string>

namespace platen_tool {

// What the program answers to the shell.
enum class ExitCode : int {
    kDone = 0,
    kFailed = 1,       // an input could not be processed
    kUsage = 2,        // the command line is wrong
    kUnsupported = 3,  // a layout that isn't supported, or --strict-stream forbids what it needs
    kDevice = 4,       // the scanner, in SANE's words
    kNoDocuments = 5,  // the feeder is empty at the first page, or --prompt ended before it
    kInterrupted = 130,
    kBrokenPipe = 141,
};

// Ends the work on one input. The text says what was wrong and what is allowed; the program's name and the
// input's are put before it where it is shown.
class Error : public std::runtime_error {
  public:
    Error(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}

    ExitCode Code() const {
        return code_;
    }

  private:
    ExitCode code_;
};

}  // namespace platen_tool
