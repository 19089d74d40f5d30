#include <algorithm>

#include "LineFilters/SharpRow.h"

namespace platen {
namespace {

bool IsBox(const std::int32_t* k) {
    return std::all_of(k, k + 9, [](std::int32_t weight) { return weight == 1; }) && k[9] == 9;
}

bool IsCross(const std::int32_t* k) {
    const bool corners = k[0] == 0 && k[2] == 0 && k[6] == 0 && k[8] == 0;
    const bool arms = k[1] == k[3] && k[1] == k[5] && k[1] == k[7];
    const bool small = k[1] >= -3 && k[1] <= 3 && k[4] >= -20 && k[4] <= 20;
    return corners && arms && small && (k[9] == 4 || k[9] == 8);
}

}  // namespace

SharpShape SharpShapeOf(const std::int32_t* kernel) {
    if (IsBox(kernel)) {
        return SharpShape::kBox;
    }
    return IsCross(kernel) ? SharpShape::kCross : SharpShape::kOther;
}

}  // namespace platen
