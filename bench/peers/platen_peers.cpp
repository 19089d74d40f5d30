// The library beside its peers, in one run: the same pages, one thread, interleaved rounds.
//
//   platen_peers [--filter=TEXT] [--rounds=N] [--lines=N] [--variant=NAME] [--table]
//
// Ours goes line by line through the public interface, with every copy that this demands and with set-up; peers
// have the whole page at once. --table prints the results once more as a Markdown table.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "bench/Arguments.h"
#include "bench/Work.h"
#include "bench/peers/Peer.h"
#include "bench/peers/Table.h"

namespace {

using namespace platen_bench;
using platen_peers::Format;
using platen_peers::Goal;
using platen_peers::Library;
using platen_peers::Options;
using platen_peers::Scaling;
using platen_peers::Table;
using platen_peers::Work;

// Those that this build has.
std::vector<Library> Libraries() {
    std::vector<Library> found;
#if defined(PLATEN_PEER_OPENCV)
    found.push_back(platen_peers::OpenCv());
#endif
#if defined(PLATEN_PEER_SWSCALE)
    found.push_back(platen_peers::Swscale());
#endif
#if defined(PLATEN_PEER_YUV)
    found.push_back(platen_peers::Yuv());
#endif
#if defined(PLATEN_PEER_ZIMG)
    found.push_back(platen_peers::Zimg());
#endif
    return found;
}

void SharpRow(Table& table, int bits, int level) {
    Work work;
    work.name = "sharpness " + std::to_string(bits) + " bit level " + std::to_string(level);
    if (!table.Wants(work.name)) {
        return;
    }
    const Image from = MakePage(kPageWidth, table.Lines(), bits);
    Image to(from.Width(), from.Height(), bits);
    Image copied(from.Width(), from.Height(), bits);
    work.samples = from.Samples();
    work.goal = bits == 24 ? Goal{2.5, 1.7} : Goal{2.5, 2.4};
    work.ours = {"platen", [&] { SharpenPage(from, to, level); }, {}};
    work.result = &to;
    work.copies = Contestant{"the copies of Put and Get alone", [&] { SharpenCopiesOnly(from, copied); }, {}};
    for (const Library& library : Libraries()) {
        if (library.sharpen != nullptr) {
            library.sharpen(work.peers, from, level);
        }
    }
    table.Run(work);
}

void SharpRows(Table& table) {
    for (const int bits : {24, 8}) {
        for (const int level : {-2, -1, 1, 2, 3}) {
            SharpRow(table, bits, level);
        }
    }
}

// Ours works in place, so a fresh page comes first each time, outside what is timed; peers leave theirs alone.
void HsvRow(Table& table, const HsvSetting& setting, Goal goal) {
    Work work;
    work.name = std::string("HSV ") + setting.name;
    if (!table.Wants(work.name)) {
        return;
    }
    const Image fresh = MakePage(kPageWidth, table.Lines(), 24);
    Image page = fresh;
    work.samples = fresh.Samples();
    work.goal = goal;
    work.ours = {"platen", [&] { AdjustPage(page, setting); },
                 [&] { std::memcpy(page.Data(), fresh.Data(), fresh.Bytes()); }};
    for (const Library& library : Libraries()) {
        if (library.hsv != nullptr) {
            library.hsv(work.peers, fresh);
        }
    }
    table.Run(work);
}

void HsvRows(Table& table) {
    constexpr Goal kGoals[] = {{3, 2.4}, {4, 3}, {2, 1.4}, {11, 7}};  // in the settings' order
    static_assert(std::size(kGoals) == std::size(kHsvSettings));
    for (std::size_t i = 0; i < std::size(kGoals); ++i) {
        HsvRow(table, kHsvSettings[i], kGoals[i]);
    }
}

void ZoomRow(Table& table, const std::string& name, int bits, double factor, Scaling scaling, Goal goal) {
    Work work;
    work.name = name;
    if (!table.Wants(work.name)) {
        return;
    }
    const int scale = bits == 1 ? 2 : 1;
    const Image from = MakePage(scale * kPageWidth, scale * table.Lines(), bits);
    const bool reduce = scaling == Scaling::kReduce;
    Image to(reduce ? Reduced(from.Width(), factor) : Enlarged(from.Width(), factor),
             reduce ? Reduced(from.Height(), factor) : Enlarged(from.Height(), factor), bits);
    work.samples = std::max(from.Samples(), to.Samples());
    work.goal = goal;
    work.ours = {"platen", [&] { ScalePage(from, to); }, {}};
    work.result = &to;
    for (const Library& library : Libraries()) {
        if (library.resize != nullptr) {
            library.resize(work.peers, from, to.Width(), to.Height(), scaling);
        }
    }
    table.Run(work);
}

void ZoomRows(Table& table) {
    const auto row = [&](const char* what, int bits, double factor, Scaling scaling, Goal goal) {
        ZoomRow(table, std::string(what) + " " + std::to_string(bits) + " bit by " + Format("%g", factor), bits,
                factor, scaling, goal);
    };
    struct Reduction {
        double factor;
        Goal goals[3];  // of 24, 8 and 48 bit
    };
    constexpr Reduction kReductions[] = {
        {1.5, {{3, 2.5}, {1.3, 1.3}, {2.3, 2.0}}},   {2.0, {{0.95, 0.95}, {0.8, 0.8}, {0.95, 0.95}}},
        {2.5, {{3, 2.5}, {1.3, 1.3}, {2.3, 2.0}}},   {3.0, {{3, 2.5}, {1.3, 1.3}, {2.3, 2.0}}},
        {4.0, {{4.5, 4.5}, {1.0, 1.0}, {2.5, 2.5}}}, {6.0, {{3, 2.5}, {1.0, 0.8}, {2.3, 2.0}}}};
    constexpr int kBits[] = {24, 8, 48};
    for (std::size_t b = 0; b < std::size(kBits); ++b) {
        for (const Reduction& reduction : kReductions) {
            row("reduce", kBits[b], reduction.factor, Scaling::kReduce, reduction.goals[b]);
        }
    }
    for (const double factor : {1.5, 2.0}) {
        row("enlarge", 24, factor, Scaling::kEnlarge, {1.7, 1.7});
        row("enlarge", 8, factor, Scaling::kEnlarge, {1.4, 1.4});
    }
    ZoomRow(table, "bilevel 600 to 300 dpi", 1, 2, Scaling::kReduce, {5000, 5000, true});
}

void ToneRow(Table& table) {
    Work work;
    work.name = "four tone operations to a curve";
    if (!table.Wants(work.name)) {
        return;
    }
    ToneChain chain;
    work.samples = 768;
    work.goal = {1.5, 1.5};
    work.ours = {"platen", [&] { chain.Fold(); }, {}};
    work.measure = Contestant{"768 pow calls", PowTables, {}};
    table.Run(work);
}

constexpr char kUsage[] =
    "usage: platen_peers [OPTION...]\n"
    "  --filter=TEXT   only work whose name contains TEXT\n"
    "  --rounds=N      rounds of which the median is taken (7)\n"
    "  --lines=N       lines of a page, for a quick look (3508)\n"
    "  --variant=NAME  our kernels: reference, baseline, sse2, avx2, avx512 (the best)\n"
    "  --table         print a Markdown table at the end\n";

void UseVariant(const std::string& name) {
    for (const platen::KernelTable* table : platen::AvailableKernels()) {
        if (name == table->name) {
            platen::UseKernels(*table);
            return;
        }
    }
    std::fprintf(stderr, "platen_peers: this processor has no variant %s\n", name.c_str());
    std::exit(2);
}

void PrintHeader(const Options& options) {
    std::printf("%s | %s, variant %s | page %dx%d | median of %d\n", CompilerAndFlags().c_str(),
                Processor().c_str(), platen::Kernels().name, kPageWidth, options.lines, options.rounds.count);
    for (const Library& library : Libraries()) {
        std::printf("%s; ", library.name.c_str());
    }
    std::printf("one thread; * not a peer that a goal names\n");
    std::printf("    %-34s%10s%9s%14s%10s\n", "", "Msample/s", "spread", "a page", "ours is");
}

}  // namespace

int main(int count, char** strings) {
    const Arguments arguments(count, strings, kUsage, {"--filter", "--rounds", "--lines", "--variant", "--table"});
    Options options;
    options.filter = arguments.Text("--filter");
    options.rounds.count = arguments.Number("--rounds", options.rounds.count);
    options.lines = arguments.Number("--lines", options.lines);
    if (arguments.Has("--variant")) {
        UseVariant(arguments.Text("--variant"));
    }
    PrintWarnings();
    PrintHeader(options);
    Table table(options);
    SharpRows(table);
    HsvRows(table);
    ZoomRows(table);
    ToneRow(table);
    if (arguments.Has("--table")) {
        table.PrintMarkdown();
    }
    return 0;
}
