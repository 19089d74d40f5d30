// The library's speed on this machine, every kernel in every variant that the processor has.
//
//   platen_bench [--filter=TEXT] [--rounds=N] [--lines=N] [--previous=FILE]
//
// Rates travel badly between machines, ratios well: to the plain reference, to memcpy of the same samples, and to
// an earlier run of this program on this machine (a file with what it printed).

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/Report.h"

namespace {

[[noreturn]] void Usage() {
    std::fputs(
        "usage: platen_bench [OPTION...]\n"
        "  --filter=TEXT    only cases whose name contains TEXT\n"
        "  --rounds=N       rounds of which the median is taken (9)\n"
        "  --lines=N        lines of a page, for a quick look (whole pages)\n"
        "  --previous=FILE  what an earlier run printed, to compare with\n",
        stderr);
    std::exit(2);
}

int Positive(const std::string& text) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 100000) {
        Usage();
    }
    return static_cast<int>(value);
}

platen_bench::Options Parse(int count, char** arguments) {
    platen_bench::Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t equals = argument.find('=');
        if (equals == std::string::npos) {
            Usage();
        }
        const std::string name = argument.substr(0, equals);
        const std::string value = argument.substr(equals + 1);
        if (name == "--filter") {
            options.filter = value;
        } else if (name == "--rounds") {
            options.rounds.count = Positive(value);
        } else if (name == "--lines") {
            options.lines = Positive(value);
        } else if (name == "--previous") {
            options.previous = value;
        } else {
            Usage();
        }
    }
    return options;
}

}  // namespace

int main(int count, char** arguments) {
    platen_bench::Report report(Parse(count, arguments));
    platen_bench::PrintWarnings();
    report.PrintHeader();
    SharpCases(report);
    HsvCases(report);
    ZoomCases(report);
    ToneCases(report);
    return 0;
}
