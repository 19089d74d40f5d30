#include "Sources/PX_Zoom/HorzPlan.h"

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/PX_Zoom/kernels/ReciprocalAbove.inc"

// Making plans of the horizontal pass. kernels/HorzPlan_loop.inc, HorzWhole_loop.inc and HorzTaps_loop.inc
// follow them.
//
// A plan is a header, then blocks of eight columns, the last one moved back to the end, then for each block the
// places of its source windows, in bytes. Every record is checked here, whether the scaler made it or somebody
// else: its taps lie in the line, no weight is negative, they add up to the weight sum, and the sum is within the
// kind's proof. What has another table than that has no plan.
//
// With R = srcWidth / dstWidth a reduced column of Open's has R - 1 whole positions for certain; of the two after
// them the first is either whole, and the second the end, or the first is the end:
//
//   taps      start        R - 1 whole ones            R      R + 1
//   weights   startWeight  dst ... dst                 near   far      near, far = dst, endWeight or endWeight, 0
//
//   whole     every column has startWeight = dst, no end, and k whole positions that are its own: with all weights
//             alike the quotient is that of the plain sum by k, so there is nothing to plan
//   pairs     grey bytes; four columns' taps lie in a window of sixteen bytes: byte shuffles, pairs of weights,
//             reciprocals. Where there is little room three taps, no reciprocals: the weights' sum is divided by
//   quads     grey bytes; two columns to a window, eight taps in two sums
//   pixels    of three bytes reduced below 4, of four below 3: a column to a window; four or five taps
//   enlarge   bytes; eight samples to a window, which lie within eight columns
//   taps      anything else: the place of each column's first tap, the weights of its first and its last two taps,
//             and what the sum is divided by: bytes' weight sums as floats, 16-bit samples' reciprocals as doubles,
//             or where there is little room their weight sums
//
// A window of sixteen bytes that would leave the line is moved back. Taps have no windows to move: the columns from
// the first one on whose loads would leave the line are not planned.
//
// Exactness, in any rounding direction.
//
// Pairs, quads, pixels and enlarge want weight sums W <= kLargestPlanned, below 2^15. A column's sum a is a whole
// number of at most 255 W, exact as a float, and the quotient is taken as float(a) x r, r the smallest float not
// below 1/W. A multiple a = q W gives a product of at least q, and rounding keeps that. The last number before the
// next one, a = (q + 1) W - 1, q + 1 <= 256, must stay below q + 1: r is less than 1/W (1 + 2^-23), so the product
// is below (q + 1) - 1/W + 256 x 2^-23, and since floats below 256 lie at most 2^-16 apart, no rounding reaches q +
// 1 where that is at most (q + 1) - 2^-16. That is 1/W >= 2^-15 + 2^-16, or W <= 21845. A rounded quotient float(a)
// / float(W) is right for the same reason, with 2^-16 < 1/W. Taps after a column's last one weigh 0, so it doesn't
// matter what a shuffle takes for them. The proof for taps is in HorzTaps_loop.inc, that for whole in
// HorzWhole_loop.inc.

namespace platen {
namespace {

using std::int32_t;
using std::int64_t;
using std::size_t;
using std::uint32_t;
using std::uint8_t;

constexpr int32_t kLargestPlanned = 21845;
constexpr int32_t kHeaviestTap = 32767;
constexpr int32_t kLargestSum = 65535;
constexpr size_t kPlanLine = 64;  // of the cache; what plans are aligned to
constexpr size_t kNext = kPlanVector / sizeof(uint32_t);

struct PlanHeader {
    const void* columns;
    int32_t dstWidth;
    int32_t srcWidth;
    int32_t samples;
    int32_t sampleBytes;
    uint32_t kinds;
    int32_t kind;
    uint32_t planned;  // columns
};
static_assert(sizeof(PlanHeader) <= kPlanLine, "blocks begin on the next line");

bool Reduces(const HorzPass& pass) {
    return pass.dstWidth < pass.srcWidth;
}

size_t PixelBytes(const HorzPass& pass) {
    return static_cast<size_t>(pass.samples) * static_cast<size_t>(pass.sampleBytes);
}

size_t LineBytes(const HorzPass& pass) {
    return static_cast<size_t>(pass.srcWidth) * PixelBytes(pass);
}

// The vectors and the windows of a block.
struct PlanShape {
    size_t vectors;
    size_t windows;
};

PlanShape ShapeOf(int32_t kind, const HorzPass& pass) {
    switch (kind) {
        case kPairs1:
            return {3, 2};
        case kPairs2:
            return {4, 2};
        case kPairs3:
            return {5, 2};
        case kPairsDivided:
            return {2, 2};
        case kQuads:
            return {7, 4};
        case kPixels:
            return {3, 8};
        case kEnlarge:
            return {1 + static_cast<size_t>(pass.samples), static_cast<size_t>(pass.samples)};
        case kTaps:
            return {!Reduces(pass) ? size_t{1} : pass.sampleBytes == 1 ? size_t{3} : size_t{4}, 8};
        case kTapsDivided:
            return {3, 8};
        default:
            return {0, 0};
    }
}

size_t BlocksOf(size_t columns) {
    return (columns + kPlanColumns - 1) / kPlanColumns;
}

// The first column of one of the blocks.
size_t FirstOf(size_t block, const HorzPlan& plan) {
    return block + 1 < plan.count ? block * kPlanColumns : plan.columns - kPlanColumns;
}

// The room's first aligned byte, or none if no header fits.
PlanHeader* HeaderIn(const PlanRoom& room) {
    const auto address = reinterpret_cast<std::uintptr_t>(room.memory);
    const size_t skipped = static_cast<size_t>(-address & (kPlanLine - 1));
    if (room.memory == nullptr || room.bytes < skipped + kPlanLine) {
        return nullptr;
    }
    return reinterpret_cast<PlanHeader*>(static_cast<uint8_t*>(room.memory) + skipped);
}

// A plan where it is made.
struct Draft : HorzPlan {
    uint8_t* Block(size_t block, const PlanShape& shape) const {
        return const_cast<uint8_t*>(blocks) + block * shape.vectors * kPlanVector;
    }
    uint32_t& Place(size_t index) const {
        return const_cast<uint32_t*>(places)[index];
    }
};

bool Lay(HorzPlan& plan, PlanHeader* header, const PlanRoom& room, const HorzPass& pass, int32_t kind,
         size_t columns) {
    const PlanShape shape = ShapeOf(kind, pass);
    auto* const begin = reinterpret_cast<uint8_t*>(header) + kPlanLine;
    const auto left = static_cast<size_t>(static_cast<uint8_t*>(room.memory) + room.bytes - begin);
    plan.kind = kind;
    plan.columns = columns;
    plan.count = BlocksOf(columns);
    plan.blocks = begin;
    plan.places = reinterpret_cast<uint32_t*>(begin + plan.count * shape.vectors * kPlanVector);
    return plan.count * (shape.vectors * kPlanVector + shape.windows * sizeof(uint32_t)) <= left;
}

// The place of a window that holds `first`.
size_t PlaceOf(size_t first, size_t lineBytes) {
    return first + kPlanWindow <= lineBytes ? first : lineBytes - kPlanWindow;
}

// Shuffle control for a lane: the bytes at `first` and `second` as two 16-bit numbers.
uint32_t TakePair(size_t first, size_t second) {
    return 0x80008000u | static_cast<uint32_t>(first & 15) | static_cast<uint32_t>(second & 15) << 16;
}

uint32_t PairOf(int32_t low, int32_t high) {
    return static_cast<uint32_t>(low) | static_cast<uint32_t>(high) << 16;
}

// ---- what records promise

// A reduced column's taps in the line, its weights not negative and as many as its sum says.
bool AddsUp(const PX_Zoom2_Param& p, const HorzPass& pass, int32_t largestSum) {
    const int64_t wholes = int64_t{p.wholeEnd} - p.start;
    const int64_t last = int64_t{p.wholeEnd} + (p.endWeight != 0 ? 1 : 0);
    return p.start >= 0 && wholes >= 0 && last < pass.srcWidth && p.startWeight >= 0 && p.endWeight >= 0 &&
           p.weightSum >= 1 && p.weightSum <= largestSum &&
           p.startWeight + wholes * pass.dstWidth + p.endWeight == p.weightSum;
}

// The same for an enlarged one; all have one divisor.
bool Interpolates(const PX_Zoom2_Param& p, const HorzPass& pass) {
    const int32_t divisor = pass.dstWidth - 1;
    return p.start >= 0 && p.start <= pass.srcWidth - 2 && p.startWeight >= 0 && p.startWeight <= divisor &&
           p.endWeight == divisor - p.startWeight && p.weightSum == divisor;
}

// ---- whole positions

bool IsWhole(const HorzPass& pass, int32_t count) {
    if (int64_t{count} * pass.dstWidth > kLargestSum) {
        return false;
    }
    for (int32_t c = 0; c < pass.dstWidth; ++c) {
        const PX_Zoom2_Param& p = pass.columns[c];
        if (p.start != count * c || p.startWeight != pass.dstWidth || p.wholeEnd != p.start + count - 1 ||
            p.endWeight != 0 || p.weightSum != count * pass.dstWidth) {
            return false;
        }
    }
    return true;
}

int32_t WholeKind(const HorzPass& pass) {
    switch (pass.srcWidth / pass.dstWidth) {
        case 2:
            return IsWhole(pass, 2) ? kWhole2 : kNoPlan;
        case 3:
            return IsWhole(pass, 3) ? kWhole3 : kNoPlan;
        case 4:
            return IsWhole(pass, 4) ? kWhole4 : kNoPlan;
        case 6:
            return IsWhole(pass, 6) && PixelBytes(pass) != 2 ? kWhole6 : kNoPlan;
        default:
            return kNoPlan;
    }
}

// ---- reducing grey

constexpr size_t kMostTaps = 8;

// A column's weights, and how many there are up to the last one that isn't 0.
struct Column {
    size_t start;
    size_t taps;
    uint32_t weight[kMostTaps];
};

Column ColumnOf(const PX_Zoom2_Param& p, const HorzPass& pass) {
    Column column = {static_cast<size_t>(p.start), 0, {}};
    const auto whole = static_cast<size_t>(p.wholeEnd - p.start);
    column.taps = 1 + whole + (p.endWeight != 0 ? 1 : 0);
    column.weight[0] = static_cast<uint32_t>(p.startWeight);
    for (size_t k = 1; k <= whole; ++k) {
        column.weight[k] = static_cast<uint32_t>(pass.dstWidth);
    }
    column.weight[whole + 1] = static_cast<uint32_t>(p.endWeight);
    return column;
}

// The place of the window of a block's column c, of which each serves `each` columns.
size_t WindowOf(const PX_Zoom2_Param* block, size_t c, size_t each, const HorzPass& pass) {
    return PlaceOf(static_cast<size_t>(block[c - c % each].start), LineBytes(pass));
}

// Whether blocks' windows hold `each` columns' taps. Also the most taps.
bool WindowsHold(const HorzPass& pass, size_t each, size_t& mostTaps) {
    HorzPlan all = {};
    all.columns = static_cast<size_t>(pass.dstWidth);
    all.count = BlocksOf(all.columns);
    mostTaps = 0;
    for (size_t block = 0; block < all.count; ++block) {
        const PX_Zoom2_Param* records = pass.columns + FirstOf(block, all);
        for (size_t c = 0; c < kPlanColumns; ++c) {
            const PX_Zoom2_Param& p = records[c];
            if (!AddsUp(p, pass, kLargestPlanned) || p.wholeEnd - p.start + 2 > static_cast<int32_t>(kMostTaps)) {
                return false;
            }
            const Column column = ColumnOf(p, pass);
            const size_t place = WindowOf(records, c, each, pass);
            if (column.start < place || column.start + column.taps > place + kPlanWindow) {
                return false;
            }
            mostTaps = column.taps > mostTaps ? column.taps : mostTaps;
        }
    }
    return true;
}

int32_t GreyKind(const HorzPass& pass) {
    size_t taps = 0;
    if (WindowsHold(pass, 4, taps) && taps <= 6) {
        return taps <= 2 ? kPairs1 : taps <= 4 ? kPairs2 : kPairs3;
    }
    return WindowsHold(pass, 2, taps) ? kQuads : kNoPlan;
}

// One column's part of a block of pairs: a lane of each vector.
void PlanPairs(uint8_t* block, size_t lane, const Column& column, float reciprocal, size_t place, int32_t kind) {
    auto* const words = reinterpret_cast<uint32_t*>(block) + lane;
    const size_t pairs = kind == kPairs1 ? 1 : kind == kPairs3 ? 3 : 2;
    words[0] = TakePair(column.start - place, column.start - place + 1);
    for (size_t k = 0; k < pairs; ++k) {
        words[(1 + k) * kNext] = column.weight[2 * k] | column.weight[2 * k + 1] << 16;
    }
    __builtin_memcpy(&words[(1 + pairs) * kNext], &reciprocal, sizeof reciprocal);
}

// In less room: the pair of weights 0 and 1, then as 16-bit numbers weight 2, then as bytes where the first tap
// lies in its window.
void PlanThreeTaps(uint8_t* block, size_t lane, const Column& column, size_t place) {
    reinterpret_cast<uint32_t*>(block)[lane] = column.weight[0] | column.weight[1] << 16;
    reinterpret_cast<std::uint16_t*>(block + kPlanVector)[lane] = static_cast<std::uint16_t>(column.weight[2]);
    block[kPlanVector + 16 + lane] = static_cast<uint8_t>(column.start - place);
}

// One column's part of a block of quads: two lanes, for taps 0 and 1, 2 and 3 (and 4 and 5, 6 and 7). Columns 0 and
// 1, 4 and 5 are in the first half of the vectors, so that the horizontal sum puts all in order.
void PlanQuads(uint8_t* block, size_t c, const Column& column, float reciprocal, size_t place) {
    const size_t half = c / 2 % 2;
    auto* const words = reinterpret_cast<uint32_t*>(block);
    auto* const lanes = words + c / 4 * 4 + c % 2 * 2;
    for (size_t k = 0; k < 2; ++k) {
        const size_t at = column.start - place + 2 * k;
        lanes[half * kNext + k] = TakePair(at, at + 1);
        lanes[(2 + 2 * half) * kNext + k] = column.weight[2 * k] | column.weight[2 * k + 1] << 16;
        lanes[(3 + 2 * half) * kNext + k] = column.weight[2 * k + 4] | column.weight[2 * k + 5] << 16;
    }
    __builtin_memcpy(&words[6 * kNext + c], &reciprocal, sizeof reciprocal);
}

void PlanGrey(const Draft& plan, const HorzPass& pass) {
    const PlanShape shape = ShapeOf(plan.kind, pass);
    const size_t each = kPlanColumns / shape.windows;
    float reciprocal = 0;
    int32_t divisor = 0;
    for (size_t b = 0; b < plan.count; ++b) {
        const PX_Zoom2_Param* records = pass.columns + FirstOf(b, plan);
        uint8_t* const block = plan.Block(b, shape);
        for (size_t c = 0; c < kPlanColumns; ++c) {
            const PX_Zoom2_Param& p = records[c];
            const Column column = ColumnOf(p, pass);
            if (p.weightSum != divisor) {
                divisor = p.weightSum;
                reciprocal = ReciprocalAbove(static_cast<uint32_t>(divisor));
            }
            const size_t place = WindowOf(records, c, each, pass);
            plan.Place(b * shape.windows + c / each) = static_cast<uint32_t>(place);
            if (plan.kind == kQuads) {
                PlanQuads(block, c, column, reciprocal, place);
            } else if (plan.kind == kPairsDivided) {
                PlanThreeTaps(block, c, column, place);
            } else {
                PlanPairs(block, c, column, reciprocal, place, plan.kind);
            }
        }
    }
}

// ---- reducing pixels, and by taps

// The weights of the taps at R and R + 1, the first of which may be whole.
struct FarWeights {
    int32_t near, far;
};

FarWeights FarWeightsOf(const PX_Zoom2_Param& p, const HorzPass& pass, int32_t ratio) {
    const bool wholeAtR = p.wholeEnd - p.start == ratio;
    return {wholeAtR ? pass.dstWidth : p.endWeight, wholeAtR ? p.endWeight : 0};
}

bool HasWholes(const PX_Zoom2_Param& p, int32_t ratio) {
    return p.wholeEnd - p.start == ratio || p.wholeEnd - p.start == ratio - 1;
}

// Whether sixteen bytes hold every pixel's taps, R + 2 at most, and the records may be planned.
bool PixelsPlannable(const HorzPass& pass) {
    const int32_t ratio = pass.srcWidth / pass.dstWidth;
    if (ratio > (pass.samples == 3 ? 3 : 2)) {
        return false;
    }
    for (int32_t c = 0; c < pass.dstWidth; ++c) {
        const PX_Zoom2_Param& p = pass.columns[c];
        if (!AddsUp(p, pass, kLargestPlanned) || !HasWholes(p, ratio)) {
            return false;
        }
    }
    return true;
}

// How many columns, from the first on, may load `window` bytes from their first tap on, and for which `promises`
// holds; all must promise.
template <class Promise>
size_t ColumnsWithin(const HorzPass& pass, size_t window, const Promise& promises) {
    const size_t pixel = PixelBytes(pass);
    size_t within = static_cast<size_t>(pass.dstWidth);
    for (size_t c = static_cast<size_t>(pass.dstWidth); c-- > 0;) {
        const PX_Zoom2_Param& p = pass.columns[c];
        if (!promises(p)) {
            return 0;
        }
        if (static_cast<size_t>(p.start) * pixel + window > LineBytes(pass)) {
            within = c;
        }
    }
    return within;
}

// Here `second` holds the weights of taps 2 and 3, or for R = 3, where tap 2 is whole for certain, of taps 3 and 4.
void PlanPixels(const Draft& plan, const HorzPass& pass) {
    const int32_t dst = pass.dstWidth;
    const int32_t ratio = pass.srcWidth / dst;
    for (size_t b = 0; b < plan.count; ++b) {
        const PX_Zoom2_Param* columns = pass.columns + FirstOf(b, plan);
        auto* const first = reinterpret_cast<uint32_t*>(plan.Block(b, ShapeOf(kPixels, pass)));
        uint32_t* const second = first + kNext;
        auto* const reciprocals = reinterpret_cast<float*>(second + kNext);
        for (size_t c = 0; c < kPlanColumns; ++c) {
            const PX_Zoom2_Param& p = columns[c];
            const auto [near, far] = FarWeightsOf(p, pass, ratio);
            first[c] = PairOf(p.startWeight, ratio == 1 ? near : dst);
            second[c] = ratio == 1 ? static_cast<uint32_t>(far) : PairOf(near, far);
            reciprocals[c] = ReciprocalAbove(static_cast<uint32_t>(p.weightSum));
            plan.Place(b * kPlanColumns + c) = static_cast<uint32_t>(p.start) * static_cast<uint32_t>(pass.samples);
        }
    }
}

// What four or two taps are loaded with, from the first one on: the longest of what followers do.
size_t TapsWindow(const HorzPass& pass) {
    const size_t pixel = PixelBytes(pass);
    const bool grey = pass.samples == 1;
    if (!Reduces(pass)) {
        return grey ? 4 : kPlanWindow;
    }
    const size_t four = grey ? 4 * pixel : 2 * pixel + kPlanWindow;
    const auto ratio = static_cast<size_t>(pass.srcWidth / pass.dstWidth);
    return (ratio < 3 ? 0 : (ratio - 2) * pixel) + four;
}

size_t TapsColumns(const HorzPass& pass) {
    const int32_t ratio = pass.srcWidth / pass.dstWidth;
    const bool reduces = Reduces(pass);
    if ((reduces ? pass.dstWidth : pass.dstWidth - 1) > kHeaviestTap) {
        return 0;
    }
    const size_t within = ColumnsWithin(pass, TapsWindow(pass), [&](const PX_Zoom2_Param& p) {
        return reduces ? AddsUp(p, pass, kLargestSum) && HasWholes(p, ratio) && p.startWeight <= kHeaviestTap &&
                             p.endWeight <= kHeaviestTap
                       : Interpolates(p, pass);
    });
    // A follower writes pixels of three samples with a lane too many, and lets the next column write it again.
    const auto most = static_cast<size_t>(pass.dstWidth) - (pass.samples == 3 ? 1 : 0);
    return within < most ? within : most;
}

// The taps' weights as follower wants them: of taps 0 and 1, of R and R + 1, or for R = 1 of 2 and 3.
void PlanTaps(const Draft& plan, const HorzPass& pass) {
    const PlanShape shape = ShapeOf(plan.kind, pass);
    const int32_t ratio = pass.srcWidth / pass.dstWidth;
    for (size_t b = 0; b < plan.count; ++b) {
        const PX_Zoom2_Param* columns = pass.columns + FirstOf(b, plan);
        uint8_t* const block = plan.Block(b, shape);
        auto* const words = reinterpret_cast<uint32_t*>(block);
        for (size_t c = 0; c < kPlanColumns; ++c) {
            const PX_Zoom2_Param& p = columns[c];
            plan.Place(b * kPlanColumns + c) =
                static_cast<uint32_t>(static_cast<size_t>(p.start) * PixelBytes(pass));
            if (!Reduces(pass)) {
                words[c] = PairOf(p.startWeight, p.endWeight);
                continue;
            }
            const auto [near, far] = FarWeightsOf(p, pass, ratio);
            words[c] = PairOf(p.startWeight, ratio == 1 ? near : pass.dstWidth);
            words[kNext + c] = ratio == 1 ? static_cast<uint32_t>(far) : PairOf(near, far);
            if (plan.kind == kTapsDivided) {
                words[2 * kNext + c] = static_cast<uint32_t>(p.weightSum);
            } else if (pass.sampleBytes == 1) {
                reinterpret_cast<float*>(words + 2 * kNext)[c] = static_cast<float>(p.weightSum);
            } else {
                reinterpret_cast<double*>(words + 2 * kNext)[c] = 1.0 / p.weightSum;
            }
        }
    }
}

// ---- enlarging

// Whether the records are such that a block's windows hold what its samples need.
bool Enlargeable(const HorzPass& pass) {
    if (pass.dstWidth - 1 > kLargestPlanned) {
        return false;
    }
    for (int32_t c = 0; c < pass.dstWidth; ++c) {
        const PX_Zoom2_Param& p = pass.columns[c];
        const int32_t before = c == 0 ? 0 : pass.columns[c - 1].start;
        if (!Interpolates(p, pass) || p.start < before || p.start > before + 1) {
            return false;
        }
    }
    return true;
}

// One vector of a block: eight samples from `sample` of the block on.
uint32_t PlanEnlargedVector(uint8_t* vector, const PX_Zoom2_Param* columns, size_t samples, size_t sample,
                            size_t lineBytes) {
    auto* const words = reinterpret_cast<uint32_t*>(vector);
    const size_t place = PlaceOf(static_cast<size_t>(columns[sample / samples].start) * samples, lineBytes);
    for (size_t lane = 0; lane < kPlanColumns; ++lane) {
        const size_t k = sample + lane;
        const size_t at = static_cast<size_t>(columns[k / samples].start) * samples + k % samples - place;
        words[lane] = TakePair(at, at + samples);
    }
    return static_cast<uint32_t>(place);
}

void PlanEnlarged(const Draft& plan, const HorzPass& pass) {
    const auto samples = static_cast<size_t>(pass.samples);
    for (size_t b = 0; b < plan.count; ++b) {
        const PX_Zoom2_Param* columns = pass.columns + FirstOf(b, plan);
        uint8_t* const block = plan.Block(b, ShapeOf(kEnlarge, pass));
        for (size_t c = 0; c < kPlanColumns; ++c) {
            reinterpret_cast<uint32_t*>(block)[c] = PairOf(columns[c].startWeight, columns[c].endWeight);
        }
        for (size_t v = 0; v < samples; ++v) {
            plan.Place(b * samples + v) = PlanEnlargedVector(block + (1 + v) * kPlanVector, columns, samples,
                                                             v * kPlanColumns, LineBytes(pass));
        }
    }
}

// ---- choosing and finding

bool IsPlanOf(const PlanHeader& header, const HorzPass& pass, uint32_t kinds) {
    return header.columns == pass.columns && header.dstWidth == pass.dstWidth && header.srcWidth == pass.srcWidth &&
           header.samples == pass.samples && header.sampleBytes == pass.sampleBytes && header.kinds == kinds;
}

// Whether a pass may have such a plan: a header may hold any.
bool IsKindFor(const HorzPass& pass, int32_t kind) {
    const bool bytes = pass.sampleBytes == 1;
    switch (kind) {
        case kPairs1:
        case kPairs2:
        case kPairs3:
        case kPairsDivided:
        case kQuads:
            return Reduces(pass) && bytes && pass.samples == 1;
        case kPixels:
            return Reduces(pass) && bytes && pass.samples != 1;
        case kEnlarge:
            return !Reduces(pass) && bytes;
        case kTaps:
            return TapsWindow(pass) <= LineBytes(pass);
        case kTapsDivided:
            return Reduces(pass) && !bytes && TapsWindow(pass) <= LineBytes(pass);
        case kWhole2:
            return pass.srcWidth / pass.dstWidth == 2;
        case kWhole3:
            return pass.srcWidth / pass.dstWidth == 3;
        case kWhole4:
            return pass.srcWidth / pass.dstWidth == 4;
        case kWhole6:
            return pass.srcWidth / pass.dstWidth == 6 && PixelBytes(pass) != 2;
        default:
            return false;
    }
}

bool AreColumnsFor(const HorzPass& pass, int32_t kind, size_t columns) {
    const auto all = static_cast<size_t>(pass.dstWidth);
    if (kind != kTaps && kind != kTapsDivided && kind != kPixels) {
        return columns == all;
    }
    return columns >= kPlanColumns && columns <= all - (pass.samples == 3 && kind != kPixels ? 1 : 0);
}

// Makes a plan of the first kind that the pass, the room and the kernels allow.
class Maker {
  public:
    Maker(PlanHeader* header, const HorzPass& pass, const PlanRoom& room, uint32_t kinds)
        : header_(header), pass_(pass), room_(room), kinds_(kinds) {}

    // The kind, or kNoPlan.
    int32_t Make() {
        const auto all = static_cast<size_t>(pass_.dstWidth);
        if (Reduces(pass_) && Try(WholeKind(pass_), all)) {
            return plan_.kind;
        }
        if (pass_.sampleBytes == 1 && MakeOfBytes()) {
            return plan_.kind;
        }
        const size_t columns = TapsColumns(pass_);
        if (columns >= kPlanColumns &&
            (Try(kTaps, columns) || (IsKindFor(pass_, kTapsDivided) && Try(kTapsDivided, columns)))) {
            PlanTaps(plan_, pass_);
            return plan_.kind;
        }
        return kNoPlan;
    }

    size_t Columns() const {
        return plan_.columns;
    }

  private:
    bool Try(int32_t kind, size_t columns) {
        return kind != kNoPlan && (kinds_ & PlanBit(kind)) != 0 && Lay(plan_, header_, room_, pass_, kind, columns);
    }

    bool MakeOfBytes() {
        const auto all = static_cast<size_t>(pass_.dstWidth);
        if (!Reduces(pass_)) {
            if (Enlargeable(pass_) && Try(kEnlarge, all)) {
                PlanEnlarged(plan_, pass_);
                return true;
            }
            return false;
        }
        if (pass_.samples != 1) {
            const size_t columns =
                PixelsPlannable(pass_)
                    ? ColumnsWithin(pass_, kPlanWindow, [](const PX_Zoom2_Param&) { return true; })
                    : 0;
            if (columns >= kPlanColumns && Try(kPixels, columns)) {
                PlanPixels(plan_, pass_);
                return true;
            }
            return false;
        }
        const int32_t kind = GreyKind(pass_);
        const bool threeTaps = (kind == kPairs1 || kind == kPairs2) && HasThreeTaps();
        if (Try(kind, all) || (threeTaps && Try(kPairsDivided, all))) {
            PlanGrey(plan_, pass_);
            return true;
        }
        return false;
    }

    bool HasThreeTaps() const {
        for (int32_t c = 0; c < pass_.dstWidth; ++c) {
            const PX_Zoom2_Param& p = pass_.columns[c];
            if (p.wholeEnd - p.start + (p.endWeight != 0 ? 1 : 0) > 2) {
                return false;
            }
        }
        return true;
    }

    PlanHeader* header_;
    const HorzPass& pass_;
    const PlanRoom& room_;
    uint32_t kinds_;
    Draft plan_ = {};
};

// Whether there are plans for such sizes at all: whole blocks, whole windows.
bool IsServed(const HorzPass& pass) {
    const bool format = pass.samples == 1 || pass.samples == 3 || pass.samples == 4;
    return format && pass.dstWidth != pass.srcWidth && pass.dstWidth >= static_cast<int32_t>(kPlanColumns) &&
           pass.srcWidth > 1 && LineBytes(pass) >= kPlanWindow && LineBytes(pass) <= 0x7FFFFFFFu;
}

}  // namespace

bool FindPlan(HorzPlan& plan, const HorzPass& pass, const PlanRoom& room, std::uint32_t kinds) {
    if (kinds == 0 || !IsServed(pass)) {
        return false;
    }
    PlanHeader* const header = HeaderIn(room);
    if (header == nullptr) {
        return false;
    }
    if (!IsPlanOf(*header, pass, kinds)) {
        Maker maker(header, pass, room, kinds);
        const int32_t kind = maker.Make();
        *header = {pass.columns,     pass.dstWidth, pass.srcWidth, pass.samples,
                   pass.sampleBytes, kinds,         kind,          static_cast<uint32_t>(maker.Columns())};
    }
    const int32_t kind = header->kind;
    const size_t columns = header->planned;
    return IsKindFor(pass, kind) && (kinds & PlanBit(kind)) != 0 && AreColumnsFor(pass, kind, columns) &&
           Lay(plan, header, room, pass, kind, columns);
}

void ForgetPlan(const PlanRoom& room) {
    if (PlanHeader* const header = HeaderIn(room); header != nullptr) {
        *header = {};
    }
}

}  // namespace platen
