#pragma once

#include <cstdint>

#include "programs/base/Error.h"

namespace platen_tool {

// How many lines of a page have been written. A page of height 0, which isn't known yet, may have any number but
// none.
class LineCount {
  public:
    void Begin(std::uint32_t height) {
        height_ = height;
        done_ = 0;
    }
    std::uint32_t Done() const {
        return done_;
    }
    void Add() {
        ++done_;
    }

    // Before a line is written: an Error (kFailed) where the page has all of its lines.
    void CheckRoom() const {
        if (done_ == (height_ != 0 ? height_ : UINT32_MAX)) {
            throw Error(ExitCode::kFailed, "more lines than the page's height");
        }
    }

    // After the last line: an Error (kFailed) where some are missing.
    void CheckEnd() const {
        if (done_ == 0 || (height_ != 0 && done_ != height_)) {
            throw Error(ExitCode::kFailed, "fewer lines than the page's height");
        }
    }

  private:
    std::uint32_t height_ = 0;
    std::uint32_t done_ = 0;
};

}  // namespace platen_tool
