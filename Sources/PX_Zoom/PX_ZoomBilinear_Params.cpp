#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/Support/Truncate.h"

// The tables: what each destination position takes from the source. Everything is counted in 64 bits; products of
// two counts fit.
//
// Reducing 10 to 3. A source position is 3 parts wide, a destination position 10:
//
//   source       000111222333444555666777888999
//   destination  000000000011111111112222222222
//
// so neighbours share positions 3 and 6, and the part that one record leaves is what the next one starts with. A
// whole position weighs 3; the part at a record's far end is shaped, so the sums need not be 10.

namespace {

std::int32_t Field(std::int64_t value) {
    return static_cast<std::int32_t>(value);
}

void OneSourcePosition(PX_Zoom2_Param* table, int dstCount) {
    for (int i = 0; i < dstCount; ++i) {
        table[i] = {.start = 0,
                    .startWeight = 1,
                    .wholeEnd = 0,
                    .endWeight = 0,
                    .endRemainder = 0,
                    .weightSum = 1,
                    .emit = i == 0 ? dstCount : 0};
    }
}

void Kept(PX_Zoom2_Param* table, int count) {
    for (int i = 0; i < count; ++i) {
        table[i] = {.start = i,
                    .startWeight = 1,
                    .wholeEnd = 0,
                    .endWeight = 0,
                    .endRemainder = 0,
                    .weightSum = 1,
                    .emit = 1};
    }
}

// One enlarged position, `emit` still 0. A position that falls exactly on a source position takes that as its right
// neighbour, so that the last one needs no neighbour past the source's end.
PX_Zoom2_Param Interpolated(std::int64_t i, std::int64_t dstSteps, std::int64_t srcSteps) {
    const std::int64_t place = i * srcSteps;
    // A single destination position (of a negative source) has no steps, but its place is 0.
    const std::int64_t whole = place == 0 ? 0 : place / dstSteps;
    const std::int64_t part = place == 0 ? 0 : place % dstSteps;
    const bool exact = part == 0 && i > 0;
    const std::int64_t endWeight = exact ? dstSteps : part;
    return {.start = Field(exact ? whole - 1 : whole),
            .startWeight = Field(dstSteps - endWeight),
            .wholeEnd = 0,
            .endWeight = Field(endWeight),
            .endRemainder = 0,
            .weightSum = Field(dstSteps),
            .emit = 0};
}

// Send has made a plan of the columns' records, perhaps: it looks again at those that are written here.
void ForgetPlanOf(const PX_ZoomBilinear& zoom, const PX_Zoom2_Param* table) {
    const std::ptrdiff_t columns = std::max(zoom.dstWidth, zoom.srcWidth);
    const std::less<> before;
    if (zoom.horzParam != nullptr && !before(table, zoom.horzParam) && before(table, zoom.horzParam + columns)) {
        platen::ForgetPlan(platen::RoomOf(zoom));
    }
}

}  // namespace

long PX_ZoomBilinear::Shift_Coefficient(long weight, long range) {
    const double half = static_cast<double>(range) / 2.0;
    const auto given = static_cast<double>(weight);
    double result = given;
    if (given > half) {
        // The difference is taken in 32-bit integers, modulo 2^32.
        const auto left = static_cast<double>(
            static_cast<std::int32_t>(static_cast<std::uint32_t>(range) - static_cast<std::uint32_t>(weight)));
        result = static_cast<double>(range) - left * left / half;
    } else if (given < half) {
        result = given * given / half;
    }
    return platen::Truncate<std::int32_t>(result);
}

int PX_ZoomBilinear::Calc_ReducedParam(PX_Zoom2_Param* table, int dstCount, int srcCount) {
    ForgetPlanOf(*this, table);
    const std::int64_t dst = dstCount;
    const std::int64_t src = srcCount;
    std::int64_t carried = 0;
    int tooHeavy = 0;
    for (std::int64_t i = 0; i < dst; ++i) {
        const std::int64_t start = src * i / dst;
        const std::int64_t startWeight = dst - carried;  // KEPT: not shaped   (PX_ZoomBilinear.Reduces10To3)
        const std::int64_t rest = src - startWeight;
        const std::int64_t whole = rest / dst;
        const std::int64_t remainder = rest - dst * whole;
        carried = remainder;
        const std::int64_t wholeEnd = start + whole;
        const std::int64_t endWeight = Shift_Coefficient(static_cast<long>(remainder), static_cast<long>(dst));
        const std::int64_t weightSum = startWeight + dst * whole + endWeight;
        if (weightSum > 65535) {
            tooHeavy = 1;
        }
        table[i] = {.start = Field(start),
                    .startWeight = Field(startWeight),
                    .wholeEnd = Field(wholeEnd),
                    .endWeight = Field(endWeight),
                    .endRemainder = Field(remainder),
                    .weightSum = Field(weightSum),
                    .emit = Field(remainder != 0 ? wholeEnd + 1 : wholeEnd)};
    }
    return tooHeavy;
}

int PX_ZoomBilinear::Calc_ExpandParam(PX_Zoom2_Param* table, int dstCount, int srcCount) {
    ForgetPlanOf(*this, table);
    if (srcCount == 1) {
        OneSourcePosition(table, dstCount);
        return 0;
    }
    if (dstCount == srcCount) {
        Kept(table, dstCount);
        return 0;
    }
    const std::int64_t dstSteps = std::int64_t{dstCount} - 1;
    const std::int64_t srcSteps = std::int64_t{srcCount} - 1;
    PX_Zoom2_Param* run = table;
    for (std::int64_t i = 0; i < dstCount; ++i) {
        table[i] = Interpolated(i, dstSteps, srcSteps);
        if (table[i].start != run->start) {
            run = &table[i];
        }
        ++run->emit;
    }
    return 0;
}
