#include "bench/peers/Table.h"

#include <cstddef>
#include <cstdio>

#include "Sources/Dispatch/Kernels.h"

namespace platen_peers {

using platen_bench::Measure;

std::string Format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

namespace {

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

}  // namespace

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

}  // namespace platen_peers
