#pragma once

#include <cstdint>

namespace platen_tool {

// One of the eight orientations of a page. A pixel at (x, y) of the result comes from column u and line v of the
// page, u and v being x and y, or y and x where `swap` is set, counted from the other end where they are flipped.
struct Turn {
    bool swap = false;
    bool flipX = false;  // columns of the page
    bool flipY = false;  // lines of the page

    bool Any() const {
        return swap || flipX || flipY;
    }
    // Whether each line can be given as soon as it has come.
    bool ByLine() const {
        return !swap && !flipY;
    }
    bool operator==(const Turn&) const = default;
};

// A part of a page, in pixels.
struct Area {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// What shows a page of an orientation, 1 to 8 as in EXIF and TIFF, as it was meant.
Turn TurnOfOrientation(int orientation);

// Clockwise by 0, 90, 180 or 270 degrees.
Turn TurnOfAngle(int degrees);

// First one, then the other.
Turn Joined(const Turn& first, const Turn& second);

// The part of a page of this size that shows as `seen` after the turn.
Area AreaBefore(const Turn& turn, const Area& seen, std::uint32_t width, std::uint32_t height);

}  // namespace platen_tool
