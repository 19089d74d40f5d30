#include "LineFilters/HsvTables.h"

namespace platen {
namespace {

// How far a channel moves by `factor` degrees for a difference of d. Where factor * d / 60 is a whole number the
// reference's doubles give that very number, and its sum with a whole base is exact too, for all but 35 of the 1510
// such pairs. |factor| is 60 at most: inside a sector it is the hue, from one into the next the rest of an angle.
consteval bool HasInexactMove(int d) {
    const double step = static_cast<double>(d) / 60.0;
    for (int factor = 1; factor <= 60; ++factor) {
        if (factor * d % 60 == 0 && static_cast<double>(factor) * step != factor * d / 60) {
            return true;
        }
    }
    return false;
}

// The expression is the reference's, evaluated by the compiler in the same doubles.
consteval HsvAngles MakeAngles() {
    HsvAngles table{};
    for (int d = 1; d < 256; ++d) {
        const double step = static_cast<double>(d) / 60.0;
        const unsigned flag = HasInexactMove(d) ? kInexactAngle : 0;
        for (int x = 0; x <= d; ++x) {
            const auto degrees = static_cast<unsigned>(static_cast<double>(x) / step);
            table.degrees[d * (d + 1) / 2 + x] = static_cast<std::uint8_t>(degrees | flag);
        }
    }
    return table;
}

consteval HsvSteps MakeSteps() {
    HsvSteps table{};
    for (int d = 0; d < 256; ++d) {
        table.sixtieth[d] = static_cast<double>(d) / 60.0;
    }
    return table;
}

consteval HsvFronts MakeFronts() {
    HsvFronts table{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        unsigned used = 0;
        for (unsigned lane = 0; lane < 8; ++lane) {
            if ((mask >> lane & 1) != 0) {
                table.shuffle[mask][2 * used] = static_cast<std::uint8_t>(2 * lane);
                table.shuffle[mask][2 * used + 1] = static_cast<std::uint8_t>(2 * lane + 1);
                ++used;
            }
        }
    }
    return table;
}

}  // namespace

constinit const HsvAngles kHsvAngles = MakeAngles();
constinit const HsvSteps kHsvSteps = MakeSteps();
constinit const HsvFronts kHsvFronts = MakeFronts();

}  // namespace platen
