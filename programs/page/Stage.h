#pragma once

#include <cstdint>
#include <memory>

#include "programs/page/PagePlan.h"

namespace platen_tool {

// Takes a page's lines from the top. The line is the caller's; it may be changed in place and is read no more
// after the call. Each planned stage is one at work, and so is what takes the finished lines.
class Stage {
  public:
    virtual ~Stage() = default;
    virtual void Take(std::uint8_t* line) = 0;
};

}  // namespace platen_tool
