// Opens the scaler for all pairs of counts and holds its tables against an oracle and against what must be
// true of any table: weights that add up, records that tile the source, runs that add up to the destination.
//
//   scaler_all_tables MOST [STEP]    counts from 1 to MOST, every STEP-th pair
//
// Both axes take the pair in turn: columns from source to destination, lines in the opposite direction. Exit: 0
// equal, 1 different, 2 wrong arguments.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "tests/oracles/ZoomImageOracle.h"

namespace {

struct Totals {
    std::uint64_t tables = 0;
    std::uint64_t records = 0;
    std::uint64_t different = 0;
};

using Record = PX_Zoom2_Param;

// Destination position i covers [i x src, (i + 1) x src) of dst x src parts: nothing is lost or taken twice.
bool TilesTheSource(const Record* table, int dst, int src) {
    std::int64_t covered = 0;
    std::int64_t before = 0;
    for (int i = 0; i < dst; ++i) {
        const Record& r = table[i];
        const std::int64_t whole = std::int64_t{r.wholeEnd} - r.start;
        const bool shares = before != 0;
        if (shares && (r.start != table[i - 1].emit || before + r.startWeight != dst)) {
            return false;
        }
        if (!shares && (r.startWeight != dst || (i > 0 && r.start != table[i - 1].emit + 1))) {
            return false;
        }
        if (r.startWeight + whole * dst + r.endRemainder != src || r.endRemainder >= dst ||
            r.weightSum != r.startWeight + whole * dst + r.endWeight || r.endWeight < 0 || r.endWeight > dst ||
            r.emit != r.wholeEnd + (r.endRemainder != 0 ? 1 : 0)) {
            return false;
        }
        before = r.endRemainder;
        covered += src;
    }
    return before == 0 && table[dst - 1].emit == src - 1 && covered == std::int64_t{dst} * src;
}

// Position i lies at i x (src - 1) of (dst - 1) x (src - 1) parts, between its two neighbours.
bool Interpolates(const Record* table, int dst, int src) {
    std::int64_t run = 0;
    std::int64_t runs = 0;
    for (int i = 0; i < dst; ++i) {
        const Record& r = table[i];
        const std::int64_t place = std::int64_t{r.start} * r.weightSum + r.endWeight;
        if (r.weightSum != dst - 1 || r.startWeight + r.endWeight != r.weightSum || r.startWeight < 0 ||
            r.endWeight < 0 || place != std::int64_t{i} * (src - 1) || r.start < 0 || r.start + 1 >= src ||
            r.wholeEnd != 0 || r.endRemainder != 0) {
            return false;
        }
        const bool opens = i == 0 || r.start != table[i - 1].start;
        if (opens != (r.emit != 0) || (opens && run != 0)) {
            return false;
        }
        run = (opens ? r.emit : run) - 1;
        runs += r.emit;
    }
    return runs == dst;
}

// A position each, or all of them the only one.
bool Copies(const Record* table, int dst, int src) {
    for (int i = 0; i < dst; ++i) {
        const int emit = src != 1 ? 1 : i == 0 ? dst : 0;
        const Record expected = {src == 1 ? 0 : i, 1, 0, 0, 0, 1, emit};
        if (std::memcmp(&table[i], &expected, sizeof expected) != 0) {
            return false;
        }
    }
    return true;
}

void CompareTable(const Record* table, int dst, int src, Totals& totals) {
    const auto want = platen_test::OracleTable(dst, src);
    const bool same = std::memcmp(table, want.data(), want.size() * sizeof(Record)) == 0;
    const bool holds = dst < src                ? TilesTheSource(table, dst, src)
                       : dst == src || src == 1 ? Copies(table, dst, src)
                                                : Interpolates(table, dst, src);
    if ((!same || !holds) && totals.different++ == 0) {
        std::printf("%d to %d: %s\n", src, dst, same ? "the weights don't add up" : "not the oracle's");
    }
    ++totals.tables;
    totals.records += want.size();
}

bool ComparePair(int dst, int src, Totals& totals) {
    PX_ZoomBilinear zoom;
    if (zoom.Open(dst, src, src, dst, 8, 2) != 0) {
        return false;
    }
    CompareTable(zoom.horzParam, dst, src, totals);
    CompareTable(zoom.vertParam, src, dst, totals);
    // So small sums never need doubles.
    totals.different += zoom.horzDouble != 0 || zoom.vertDouble != 0 || zoom.vertCursor != zoom.vertParam ? 1 : 0;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const int most = argc > 1 ? std::atoi(argv[1]) : 0;
    const int step = argc > 2 ? std::atoi(argv[2]) : 1;
    if (argc > 3 || most < 1 || most > 10000 || step < 1) {
        std::fprintf(stderr, "usage: scaler_all_tables MOST [STEP]\n");
        return 2;
    }
    Totals totals;
    for (int pair = 0; pair < most * most; pair += step) {
        if (!ComparePair(1 + pair / most, 1 + pair % most, totals)) {
            std::fprintf(stderr, "scaler_all_tables: the scaler didn't open\n");
            return 1;
        }
    }
    std::printf("%llu tables, %llu records: %llu differences\n", static_cast<unsigned long long>(totals.tables),
                static_cast<unsigned long long>(totals.records), static_cast<unsigned long long>(totals.different));
    return totals.different == 0 ? 0 : 1;
}
