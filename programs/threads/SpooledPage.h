#pragma once

#include "programs/io/LineReader.h"
#include "programs/io/Spool.h"

namespace platen_tool {

// A page whose height isn't known before its last line, for steps that must know it, or one that can't be had
// twice, for what must see it whole first: its lines are moved to a temporary file and read from there.
class SpooledPage {
  public:
    // Takes the reader's page to its end.
    explicit SpooledPage(LineReader& reader);

    std::uint32_t Height() const {
        return height_;
    }

    // The next line, or false after the last one.
    bool ReadLine(std::uint8_t* line);

    // The next line is the first one again.
    void Rewind() {
        next_ = 0;
    }

  private:
    Spool spool_;
    const std::size_t lineBytes_;
    std::uint32_t height_ = 0;
    std::uint32_t next_ = 0;
};

}  // namespace platen_tool
