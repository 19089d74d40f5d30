#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LineFilters/Hsv.h"
#include "support/Random.h"

namespace platen_test {

using Bytes = std::vector<std::uint8_t>;

inline _SHsvParam HsvSettings(std::int32_t hue, std::int32_t saturation, std::int32_t lightness,
                              std::int32_t width) {
    return {hue, saturation, lightness, 24, width, 1, 3u * 4096u};
}

// A context for lines of `width` pixels.
class HsvFilter {
  public:
    HsvFilter(std::int32_t hue, std::int32_t saturation, std::int32_t lightness, std::int32_t width) {
        _SHsvParam param = HsvSettings(hue, saturation, lightness, width);
        EXPECT_EQ(0, SetupHsv(&param, &handle_));
    }
    ~HsvFilter() {
        Disposehsv(handle_);
    }
    HsvFilter(const HsvFilter&) = delete;
    HsvFilter& operator=(const HsvFilter&) = delete;

    std::int32_t Apply(std::uint8_t* line) const {
        return ApplyOneLineHsv(handle_, line);
    }
    _SHsvParam& Words() const {
        return *static_cast<_SHsvParam*>(handle_);
    }

  private:
    void* handle_ = nullptr;
};

// One line with these settings.
inline Bytes Adjusted(std::int32_t hue, std::int32_t saturation, std::int32_t lightness, Bytes line) {
    const HsvFilter filter(hue, saturation, lightness, static_cast<std::int32_t>(line.size() / 3));
    EXPECT_EQ(0, filter.Apply(line.data()));
    return line;
}

inline Bytes GreyLine() {
    Bytes line;
    for (int grey = 0; grey < 256; ++grey) {
        line.insert(line.end(), 3, static_cast<std::uint8_t>(grey));
    }
    return line;
}

inline Bytes RandomLine(Random& random, std::size_t pixels) {
    Bytes line(3 * pixels);
    for (std::uint8_t& byte : line) {
        byte = random.Byte();
    }
    return line;
}

}  // namespace platen_test
