#include "bench/Measure.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <utility>

namespace platen_bench {
namespace {

// The value at a share of the way through a sorted list, between neighbours where it falls between them.
double Quantile(const std::vector<double>& sorted, double share) {
    const double place = share * static_cast<double>(sorted.size() - 1);
    const auto low = static_cast<std::size_t>(place);
    const std::size_t high = std::min(low + 1, sorted.size() - 1);
    return sorted[low] + (sorted[high] - sorted[low]) * (place - static_cast<double>(low));
}

std::vector<double> Sorted(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values;
}

double OneRun(const Contestant& contestant) {
    if (contestant.prepare) {
        contestant.prepare();
    }
    const double begin = ProcessorSeconds();
    contestant.run();
    return ProcessorSeconds() - begin;
}

double Repeated(const Contestant& contestant, int repeats) {
    if (contestant.prepare) {
        double sum = 0;
        for (int i = 0; i < repeats; ++i) {
            sum += OneRun(contestant);
        }
        return sum / repeats;
    }
    const double begin = ProcessorSeconds();
    for (int i = 0; i < repeats; ++i) {
        contestant.run();
    }
    return (ProcessorSeconds() - begin) / repeats;
}

int RepeatsFor(const Contestant& contestant, double minSeconds) {
    OneRun(contestant);  // fetches pages and code
    const double once = std::max(OneRun(contestant), 1e-7);
    return static_cast<int>(std::clamp(std::ceil(minSeconds / once), 1.0, 1e6));
}

}  // namespace

Timing::Timing(std::vector<double> seconds) : rounds_(std::move(seconds)), sorted_(Sorted(rounds_)) {}

double Timing::Median() const {
    return Quantile(sorted_, 0.5);
}

double Timing::Spread() const {
    return (Quantile(sorted_, 0.75) - Quantile(sorted_, 0.25)) / Median();
}

double Timing::RatioTo(const Timing& other) const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < rounds_.size(); ++i) {
        ratios.push_back(other.rounds_[i] / rounds_[i]);
    }
    return Quantile(Sorted(ratios), 0.5);
}

double ProcessorSeconds() {
    std::timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::vector<Timing> Measure(const std::vector<Contestant>& contestants, const Rounds& rounds) {
    std::vector<int> repeats;
    for (const Contestant& contestant : contestants) {
        repeats.push_back(RepeatsFor(contestant, rounds.minSeconds));
    }
    std::vector<std::vector<double>> seconds(contestants.size());
    for (int round = 0; round < rounds.count; ++round) {
        for (std::size_t i = 0; i < contestants.size(); ++i) {
            seconds[i].push_back(std::max(Repeated(contestants[i], repeats[i]), 1e-9));
        }
    }
    return {seconds.begin(), seconds.end()};
}

std::string CompilerAndFlags() {
#if defined(__clang__)
    const std::string compiler = "clang " + std::to_string(__clang_major__) + "." + std::to_string(__clang_minor__);
#else
    const std::string compiler = "gcc " + std::to_string(__GNUC__) + "." + std::to_string(__GNUC_MINOR__);
#endif
    return compiler + " " PLATEN_BENCH_FLAGS;
}

std::string Processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) {
            return PLATEN_BENCH_PROCESSOR ", " + line.substr(colon + 2);
        }
    }
    return PLATEN_BENCH_PROCESSOR;
}

void PrintWarnings() {
#if !defined(NDEBUG)
    std::fputs("WARNING: asserts are on; the figures say little\n", stderr);
#endif
#if !defined(__OPTIMIZE__)
    std::fputs("WARNING: built without optimisation; the figures say nothing\n", stderr);
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    std::fputs("WARNING: built with a sanitizer; the figures say nothing\n", stderr);
#endif
}

}  // namespace platen_bench
