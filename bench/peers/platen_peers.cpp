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
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "bench/Measure.h"
#include "bench/Work.h"
#include "bench/peers/Peer.h"

namespace {

using namespace platen_bench;
using namespace platen_peers;

struct Options {
    std::string filter;
    std::string variant;
    Rounds rounds{7, 0.02};
    int lines = kPageHeight;
    bool table = false;
};

// Ratios that the best peer is to be left behind by. A speed is in million samples a second.
struct Goal {
    double avx512 = 0;
    double avx2 = 0;
    bool isSpeed = false;
};

// At most this many times the copies alone is good enough, whatever the peer does.
constexpr double kCopiesLimit = 1.6;

struct Work {
    std::string name;
    double samples = 0;
    Goal goal;
    Contestant ours;
    const Image* result = nullptr;      // null: not comparable, exactly or by sense
    std::optional<Contestant> copies;   // the copies alone
    std::optional<Contestant> measure;  // instead of peers: ours may take `goal` times as long
    Peers peers;
};

class Table {
  public:
    explicit Table(const Options& options) : options_(options) {}

    bool Wants(const std::string& name) const {
        return name.find(options_.filter) != std::string::npos;
    }
    int Lines() const {
        return options_.lines;
    }
    void Run(Work& work);
    void PrintMarkdown() const;

  private:
    std::string Verdict(const Work& work, const std::vector<Timing>& timings) const;
    double GoalOf(const Work& work) const;

    Options options_;
    std::vector<std::string> rows_;
};

std::string Format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

double GoalFor(const Goal& goal) {
    const std::string variant = platen::Kernels().name;
    return variant == "avx512" ? goal.avx512 : variant == "avx2" ? goal.avx2 : 0;
}

void PrintLine(const std::string& name, const Work& work, const Timing& timing, const Timing& ours,
               const std::string& differs) {
    std::printf("    %-34s%10.1f%8.1f%%%11.3f ms%9.2fx  %s\n", name.c_str(), work.samples / timing.Median() / 1e6,
                100 * timing.Spread(), timing.Median() * 1e3, ours.RatioTo(timing), differs.c_str());
}

std::string Differs(const Work& work, const Peer& peer) {
    if (work.result == nullptr || peer.out == nullptr) {
        return "";
    }
    return Format("mean difference %.2f", MeanDifference(*work.result, *peer.out));
}

// The fastest of the peers, or of those that the goal names; -1 where there is none.
int Fastest(const Work& work, const std::vector<Timing>& timings, bool namedOnly) {
    int best = -1;
    for (std::size_t i = 0; i < work.peers.size(); ++i) {
        if (namedOnly && !work.peers[i].named) {
            continue;
        }
        if (best < 0 || timings[i + 1].Median() < timings[static_cast<std::size_t>(best) + 1].Median()) {
            best = static_cast<int>(i);
        }
    }
    return best;
}

// timings: ours, the peers, then the copies or the measure.
void Table::Run(Work& work) {
    std::vector<Contestant> contestants{work.ours};
    for (const Peer& peer : work.peers) {
        contestants.push_back({peer.name, peer.run, {}});
    }
    for (const auto& extra : {work.copies, work.measure}) {
        if (extra) {
            contestants.push_back(*extra);
        }
    }
    const std::vector<Timing> timings = Measure(contestants, options_.rounds);
    std::printf("%s\n", work.name.c_str());
    for (std::size_t i = 0; i < contestants.size(); ++i) {
        const bool isPeer = i > 0 && i <= work.peers.size();
        PrintLine(contestants[i].name + (isPeer && !work.peers[i - 1].named ? " *" : ""), work, timings[i],
                  timings[0], isPeer ? Differs(work, work.peers[i - 1]) : "");
    }
    const std::string verdict = Verdict(work, timings);
    std::printf("    %s\n", verdict.c_str());
    std::fflush(stdout);
    const double rate = work.samples / timings[0].Median() / 1e6;
    rows_.push_back("| " + work.name + " | " + Format("%.0f", rate) + " | " + verdict + " |");
}

std::string Table::Verdict(const Work& work, const std::vector<Timing>& timings) const {
    const Timing& ours = timings[0];
    const double goal = GoalFor(work.goal);
    std::string text;
    bool reached = false;
    const int named = Fastest(work, timings, true);
    const int any = Fastest(work, timings, false);
    if (named >= 0) {
        const auto i = static_cast<std::size_t>(named);
        const double ratio = ours.RatioTo(timings[i + 1]);
        text = Format("%.2fx of ", ratio) + work.peers[i].name;
        reached = ratio >= goal;
    }
    if (any >= 0 && any != named) {
        const auto i = static_cast<std::size_t>(any);
        text += Format("; %.2fx of ", ours.RatioTo(timings[i + 1])) + work.peers[i].name;
    }
    if (work.copies) {
        const double times = timings.back().RatioTo(ours);
        text += Format("; %.2f times the bare copies", times);
        reached = reached || times <= kCopiesLimit;
    }
    if (work.measure) {
        const double times = timings.back().RatioTo(ours);
        text = Format("%.2f times ", times) + work.measure->name;
        reached = times <= goal;
    }
    if (work.goal.isSpeed) {
        const double rate = work.samples / ours.Median() / 1e6;
        text += Format("%.0f M/s", rate);
        reached = rate >= goal;
    }
    return goal > 0 ? text + Format(" | goal %g", goal) + (reached ? ": reached" : ": not reached") : text + " | -";
}

void Table::PrintMarkdown() const {
    std::printf("\n| Work | Msample/s | Result | Goal |\n|---|---:|---|---|\n");
    for (const std::string& row : rows_) {
        std::printf("%s\n", row.c_str());
    }
}

// ---- The peers that this build has ----

std::vector<Library> Libraries() {
    std::vector<Library> found;
#if defined(PLATEN_PEER_OPENCV)
    found.push_back(OpenCv());
#endif
#if defined(PLATEN_PEER_SWSCALE)
    found.push_back(Swscale());
#endif
#if defined(PLATEN_PEER_YUV)
    found.push_back(Yuv());
#endif
#if defined(PLATEN_PEER_ZIMG)
    found.push_back(Zimg());
#endif
    return found;
}

// ---- The work ----

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

void ZoomRow(Table& table, const std::string& name, int bits, double factor, Way way, Goal goal) {
    Work work;
    work.name = name;
    if (!table.Wants(work.name)) {
        return;
    }
    const int scale = bits == 1 ? 2 : 1;
    const Image from = MakePage(scale * kPageWidth, scale * table.Lines(), bits);
    const bool reduce = way == Way::kReduce;
    Image to(reduce ? Reduced(from.Width(), factor) : Enlarged(from.Width(), factor),
             reduce ? Reduced(from.Height(), factor) : Enlarged(from.Height(), factor), bits);
    work.samples = std::max(from.Samples(), to.Samples());
    work.goal = goal;
    work.ours = {"platen", [&] { ScalePage(from, to); }, {}};
    work.result = &to;
    for (const Library& library : Libraries()) {
        if (library.resize != nullptr) {
            library.resize(work.peers, from, to.Width(), to.Height(), way);
        }
    }
    table.Run(work);
}

void ZoomRows(Table& table) {
    const auto row = [&](const char* what, int bits, double factor, Way way, Goal goal) {
        ZoomRow(table, std::string(what) + " " + std::to_string(bits) + " bit by " + Format("%g", factor), bits,
                factor, way, goal);
    };
    for (const double factor : {1.5, 2.0, 2.5, 3.0, 6.0}) {
        row("reduce", 24, factor, Way::kReduce, factor == 2.0 ? Goal{} : Goal{3, 2.5});
    }
    for (const double factor : {1.5, 2.0, 2.5, 3.0, 6.0}) {
        const Goal goal = factor == 6.0 ? Goal{1.0, 0.8} : Goal{1.3, 1.0};
        row("reduce", 8, factor, Way::kReduce, factor == 2.0 ? Goal{} : goal);
    }
    for (const double factor : {1.5, 2.0, 3.0}) {
        row("reduce", 48, factor, Way::kReduce, {2.3, 2.0});
    }
    for (const double factor : {1.5, 2.0}) {
        row("enlarge", 24, factor, Way::kEnlarge, {1.5, 1.25});
        row("enlarge", 8, factor, Way::kEnlarge, {1.4, 1.25});
    }
    ZoomRow(table, "bilevel 600 to 300 dpi", 1, 2, Way::kReduce, {5000, 3000, true});
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

// ---- The program ----

[[noreturn]] void Usage() {
    std::fputs("usage: platen_peers [--filter=TEXT] [--rounds=N] [--lines=N] [--variant=NAME] [--table]\n", stderr);
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

Options Parse(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t equals = std::min(argument.find('='), argument.size());
        const std::string name = argument.substr(0, equals);
        const std::string value = argument.substr(std::min(equals + 1, argument.size()));
        if (name == "--filter") {
            options.filter = value;
        } else if (name == "--rounds") {
            options.rounds.count = Positive(value);
        } else if (name == "--lines") {
            options.lines = Positive(value);
        } else if (name == "--variant") {
            options.variant = value;
        } else if (name == "--table") {
            options.table = true;
        } else {
            Usage();
        }
    }
    return options;
}

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

int main(int count, char** arguments) {
    const Options options = Parse(count, arguments);
    if (!options.variant.empty()) {
        UseVariant(options.variant);
    }
    PrintWarnings();
    PrintHeader(options);
    Table table(options);
    for (const int bits : {24, 8}) {
        for (const int level : {-2, -1, 1, 2, 3}) {
            SharpRow(table, bits, level);
        }
    }
    const Goal hsvGoals[] = {{3, 2.4}, {4, 3}, {2, 1.4}, {11, 7}};
    for (std::size_t i = 0; i < std::size(hsvGoals); ++i) {
        HsvRow(table, kHsvSettings[i], hsvGoals[i]);
    }
    ZoomRows(table);
    ToneRow(table);
    if (options.table) {
        table.PrintMarkdown();
    }
    return 0;
}
