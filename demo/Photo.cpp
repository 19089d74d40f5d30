#include "demo/Photo.h"

#include <cmath>

#include "demo/Landscape.h"
#include "demo/Noise.h"

namespace platen_demo {

// The darkest and the lightest level of each dye.
constexpr double kDarkest[3] = {78, 62, 44};
constexpr double kLightest[3] = {232, 214, 176};
constexpr double kMargin = 36;

void Photo::Line(int y, std::uint8_t* line) {
    constexpr double kInner = kHeight - 2 * kMargin;
    for (int x = 0; x < kWidth; ++x) {
        const bool inside = x >= kMargin && x < kWidth - kMargin && y >= kMargin && y < kHeight - kMargin;
        const Colour seen =
            inside ? Landscape((x - kMargin) / kInner * 0.98, (y - kMargin) / kInner) : Colour{1, 1, 1};
        const double values[3] = {seen.r, seen.g, seen.b};
        const double grain = Grain(x, y, 907) * 0.007;
        for (int channel = 0; channel < 3; ++channel) {
            const double value = Clamp01(std::pow(Clamp01(values[channel]), 1.08) + grain);
            line[3 * x + channel] =
                static_cast<std::uint8_t>(Mix(kDarkest[channel], kLightest[channel], value) + 0.5);
        }
    }
}

}  // namespace platen_demo
