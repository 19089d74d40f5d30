#include "LineFilters/HsvRow.h"

#include <algorithm>
#include <cmath>

#include "LineFilters/Hsv.h"
#include "Sources/Support/Truncate.h"

// The HSV row, one statement per rule. A pixel goes through the stages as three doubles, which hold whole numbers
// until the hue stage has moved or rebuilt a channel.

namespace platen {
namespace {

struct Pixel {
    double red;
    double green;
    double blue;
};

// A channel after the saturation stage: back to a whole number, as a 16-bit unsigned one.
double WholeChannel(double unit) {
    return static_cast<double>(Truncate<std::uint16_t>(unit * 255.0));
}

// Hue in sixths of a turn, 0 to below 6; the channels are not all equal.
double HueOf(const Pixel& pixel, double max, double d) {
    double h = 0.0;
    if (pixel.red == max) {
        h = (pixel.green - pixel.blue) / d;
    } else if (pixel.green == max) {
        h = (pixel.blue - pixel.red) / d + 2.0;
    } else {
        h = (pixel.red - pixel.green) / d + 4.0;
    }
    if (h < 0.0) {
        h += 6.0;
    } else if (h >= 6.0) {
        h -= 6.0;
    }
    return h;
}

Pixel Saturate(const Pixel& pixel, std::int32_t saturation) {
    const double max = std::max({pixel.red, pixel.green, pixel.blue});
    const double min = std::min({pixel.red, pixel.green, pixel.blue});
    const double l = ((max + min) / 2.0) / 255.0;
    double h = 0.0;
    double s = 0.0;
    if (max != min) {
        const double d = max - min;
        s = l < 0.5 ? d / (max + min) : d / (510.0 - max - min);
        h = HueOf(pixel, max, d);
    }
    s = s * (1.0 + static_cast<double>(saturation) / 100.0);
    if (s > 1.0) {
        s = 1.0;
    }
    if (s == 0.0) {
        const double grey = WholeChannel(l);
        return {grey, grey, grey};
    }
    const double q = l < 0.5 ? l * (1.0 + s) : l + s - l * s;
    const double p = 2.0 * l - q;
    return {WholeChannel(GetHSLValue(p, q, h + 2.0)), WholeChannel(GetHSLValue(p, q, h)),
            WholeChannel(GetHSLValue(p, q, h - 2.0))};
}

// Where a pixel lies on the hexcone: its extremes and its angle in whole degrees.
struct Angle {
    double max;
    double min;
    std::int32_t degrees;
};

// `above` is how far the middle channel has come from the beginning of the sector.
Angle AngleInSector(double max, double min, double above, std::int32_t base) {
    const double step = (max - min) / 60.0;
    return {max, min, base + Truncate<std::int32_t>(above / step)};
}

// False for a pixel whose channels are equal. The order of the conditions decides the pixels with two equal
// channels.
bool FindAngle(const Pixel& pixel, Angle& angle) {
    const auto [r, g, b] = pixel;
    if (r > g && r > b && g >= b) {
        angle = AngleInSector(r, b, g - b, 0);
    } else if (g >= r && g > b && r > b) {
        angle = AngleInSector(g, b, g - r, 60);
    } else if (g > r && g > b && b >= r) {
        angle = AngleInSector(g, r, b - r, 120);
    } else if (b > r && b >= g && g > r) {
        angle = AngleInSector(b, r, b - g, 180);
    } else if (b > r && b > g && r >= g) {
        angle = AngleInSector(b, g, r - g, 240);
    } else if (r > g && r >= b && b > g) {
        angle = AngleInSector(r, g, r - b, 300);
    } else {
        return false;
    }
    return true;
}

// The rotation stays inside the sector: only the channel between the extremes moves, from where it is.
Pixel MoveInSector(const Pixel& pixel, const Angle& angle, std::int32_t sector, std::int32_t hue) {
    const double step = (angle.max - angle.min) / 60.0;
    const double way = static_cast<double>(hue) * step;
    Pixel moved = pixel;
    switch (sector) {
        case 0:
            moved.green = pixel.green + way;
            break;
        case 1:
            moved.red = pixel.red - way;
            break;
        case 2:
            moved.blue = pixel.blue + way;
            break;
        case 3:
            moved.green = pixel.green - way;
            break;
        case 4:
            moved.red = pixel.red + way;
            break;
        default:
            moved.blue = pixel.blue - way;
            break;
    }
    return moved;
}

// The rotation leads into another sector: the pixel is made anew from its extremes and the whole-degree angle.
Pixel BuildInSector(const Angle& angle, std::int32_t sector, std::int32_t degrees) {
    const double max = angle.max;
    const double min = angle.min;
    const double step = (max - min) / 60.0;
    const double way = static_cast<double>(degrees - sector * 60) * step;
    switch (sector) {
        case 0:
            return {max, min + way, min};
        case 1:
            return {max - way, max, min};
        case 2:
            return {min, max, min + way};
        case 3:
            return {min, max - way, max};
        case 4:
            return {min + way, min, max};
        default:
            return {max, min, max - way};
    }
}

Pixel Rotate(const Pixel& pixel, std::int32_t hue) {
    Angle angle{};
    if (!FindAngle(pixel, angle)) {
        return pixel;
    }
    std::int32_t degrees = angle.degrees + hue;
    if (degrees < 0) {
        degrees += 360;
    }
    if (degrees > 360) {
        degrees -= 360;
    }
    const std::int32_t now = nowDegreeState(angle.degrees);
    const std::int32_t after = afterDegreeState(degrees);
    return after == now ? MoveInSector(pixel, angle, now, hue) : BuildInSector(angle, after, degrees);
}

std::uint8_t Output(double channel, const std::uint8_t* lightness) {
    const auto magnitude = Truncate<std::int32_t>(std::fabs(channel));
    return lightness[std::clamp(magnitude, 0, 255)];
}

}  // namespace

void HsvRow_reference(std::uint8_t* line, std::size_t width, std::int32_t hue, std::int32_t saturation,
                      const std::uint8_t* lightness) {
    for (std::size_t i = 0; i < width; ++i) {
        std::uint8_t* bytes = line + 3 * i;
        Pixel pixel{static_cast<double>(bytes[0]), static_cast<double>(bytes[1]), static_cast<double>(bytes[2])};
        if (saturation != 0) {
            pixel = Saturate(pixel, saturation);
        }
        if (hue != 0) {
            pixel = Rotate(pixel, hue);
        }
        bytes[0] = Output(pixel.red, lightness);
        bytes[1] = Output(pixel.green, lightness);
        bytes[2] = Output(pixel.blue, lightness);
    }
}

}  // namespace platen
