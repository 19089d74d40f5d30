#pragma once

#include <cstdint>
#include <cstring>

#include "programs/io/LineReader.h"

namespace platen_tool {

// Lines of four bytes, each its own number, from 1 on; the height is not told.
class NumberedLines : public LineReader {
  public:
    explicit NumberedLines(std::uint32_t lines) : left_(lines) {
        info_.width = 4;
    }
    Container FileContainer() const override {
        return Container::kTiff;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    void ReadLine(std::uint8_t* line) override {
        std::memset(line, static_cast<int>(number_++), 4);
    }
    bool ReadLineOrEnd(std::uint8_t* line) override {
        if (left_ == 0) {
            return false;
        }
        --left_;
        ReadLine(line);
        return true;
    }
    bool NextPage() override {
        return false;
    }
    std::uint32_t PageCount() const override {
        return 3;
    }

  protected:
    ImageInfo info_;

  private:
    std::uint32_t left_;
    std::uint32_t number_ = 1;
};

}  // namespace platen_tool
