#include "programs/page/Turn.h"

namespace platen_tool {

Turn TurnOfOrientation(int orientation) {
    switch (orientation) {
        case 2:
            return {.flipX = true};
        case 3:
            return {.flipX = true, .flipY = true};
        case 4:
            return {.flipY = true};
        case 5:
            return {.swap = true};
        case 6:
            return {.swap = true, .flipY = true};
        case 7:
            return {.swap = true, .flipX = true, .flipY = true};
        case 8:
            return {.swap = true, .flipX = true};
        default:
            return {};
    }
}

Turn TurnOfAngle(int degrees) {
    constexpr int kRight = 90;
    return TurnOfOrientation(degrees == kRight ? 6 : degrees == 2 * kRight ? 3 : degrees == 3 * kRight ? 8 : 1);
}

// The second's columns are the first's lines where the first swaps them.
Turn Joined(const Turn& first, const Turn& second) {
    return {first.swap != second.swap, first.flipX != (first.swap ? second.flipY : second.flipX),
            first.flipY != (first.swap ? second.flipX : second.flipY)};
}

Area AreaBefore(const Turn& turn, const Area& seen, std::uint32_t width, std::uint32_t height) {
    Area area = turn.swap ? Area{seen.y, seen.x, seen.height, seen.width} : seen;
    if (turn.flipX) {
        area.x = width - area.x - area.width;
    }
    if (turn.flipY) {
        area.y = height - area.y - area.height;
    }
    return area;
}

}  // namespace platen_tool
