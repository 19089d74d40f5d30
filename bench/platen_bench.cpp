// The library's speed on this machine, every kernel in every variant that the processor has.
//
//   platen_bench [--filter=TEXT] [--rounds=N] [--lines=N] [--previous=FILE]
//
// Rates travel badly between machines, ratios well: to the plain reference, to memcpy of the same samples, and to
// an earlier run of this program on this machine (a file with what it printed).

#include "bench/Arguments.h"
#include "bench/Report.h"

namespace {

constexpr char kUsage[] =
    "usage: platen_bench [OPTION...]\n"
    "  --filter=TEXT    only cases whose name contains TEXT\n"
    "  --rounds=N       rounds of which the median is taken (9)\n"
    "  --lines=N        lines of a page, for a quick look (whole pages)\n"
    "  --previous=FILE  what an earlier run printed, to compare with\n";

}  // namespace

int main(int count, char** strings) {
    const platen_bench::Arguments arguments(count, strings, kUsage,
                                            {"--filter", "--rounds", "--lines", "--previous"});
    platen_bench::Options options;
    options.filter = arguments.Text("--filter");
    options.previous = arguments.Text("--previous");
    options.rounds.count = arguments.Number("--rounds", options.rounds.count);
    options.lines = arguments.Number("--lines", 0);
    platen_bench::Report report(options);
    platen_bench::PrintWarnings();
    report.PrintHeader();
    SharpCases(report);
    HsvCases(report);
    ZoomRowCases(report);
    ZoomCases(report);
    ToneCases(report);
    return 0;
}
