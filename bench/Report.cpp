#include "bench/Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

#include "bench/Image.h"

namespace platen_bench {
namespace {

// Columns: a case's name may hold single spaces, so it ends where its column does.
constexpr int kNameWidth = 34;
constexpr int kVariantWidth = 10;

std::string Trimmed(const std::string& text) {
    const std::size_t end = text.find_last_not_of(' ');
    return end == std::string::npos ? "" : text.substr(0, end + 1);
}

std::string Key(const std::string& name, const std::string& variant) {
    return name.substr(0, kNameWidth - 1) + "|" + variant;
}

std::string Factor(double value) {
    char text[32];
    const int digits = value < 0.1 ? 4 : value < 10 ? 2 : 1;
    std::snprintf(text, sizeof text, "%.*fx", digits, value);
    return text;
}

std::string Duration(double seconds) {
    char text[32];
    if (seconds < 1e-3) {
        std::snprintf(text, sizeof text, "%.2f us", seconds * 1e6);
    } else {
        std::snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    }
    return text;
}

// The variants to be measured: one for each kernel that differs.
std::vector<const platen::KernelTable*> VariantsOf(const Case& work) {
    std::vector<const platen::KernelTable*> chosen;
    std::set<const void*> seen;
    for (const platen::KernelTable* table : platen::AvailableKernels()) {
        if (!work.kernel || seen.insert(work.kernel(*table)).second) {
            chosen.push_back(table);
        }
    }
    return chosen;
}

}  // namespace

Report::Report(const Options& options) : options_(options) {
    ReadPrevious();
}

bool Report::Wants(const std::string& name) const {
    return name.find(options_.filter) != std::string::npos;
}

int Report::Lines(int ofPage) const {
    return options_.lines > 0 ? std::min(options_.lines, ofPage) : ofPage;
}

void Report::PrintHeader() const {
    std::string variants;
    for (const platen::KernelTable* table : platen::AvailableKernels()) {
        variants += std::string(" ") + table->name;
    }
    std::printf("%s | %s, variants%s | %d samples a line | median of %d\n", CompilerAndFlags().c_str(),
                Processor().c_str(), variants.c_str(), 3 * kPageWidth, options_.rounds.count);
    std::printf("%-*s%-*s%10s%9s%14s%11s%13s%12s\n", kNameWidth, "case", kVariantWidth, "variant", "Msample/s",
                "spread", "/ reference", "/ memcpy", "/ previous", "one run");
    std::fflush(stdout);
}

void Report::Run(const Case& work) {
    std::vector<std::uint8_t> from(work.copyBytes, 1);
    std::vector<std::uint8_t> to(work.copyBytes, 2);
    std::vector<Contestant> contestants;
    contestants.push_back({"memcpy",
                           [&] {
                               std::memcpy(to.data(), from.data(), to.size());
                               asm volatile("" : : "r"(to.data()) : "memory");
                           },
                           {}});
    const platen::KernelTable& inUse = platen::Kernels();
    const std::vector<const platen::KernelTable*> variants = VariantsOf(work);
    for (const platen::KernelTable* table : variants) {
        contestants.push_back({table->name,
                               [&work, table] {
                                   platen::UseKernels(*table);
                                   work.run(*table);
                               },
                               work.prepare});
    }
    const std::vector<Timing> timings = Measure(contestants, options_.rounds);
    platen::UseKernels(inUse);
    for (std::size_t i = 0; i < variants.size(); ++i) {
        PrintRow(work, variants[i]->name, timings[i + 1], timings[1], timings[0]);
    }
}

void Report::PrintRow(const Case& work, const std::string& variant, const Timing& timing, const Timing& reference,
                      const Timing& copy) const {
    const Earlier now = {work.samples / timing.Median() / 1e6, timing.Spread(), timing.RatioTo(reference)};
    std::printf(
        "%-*s%-*s%10.1f%8.1f%%%14s%11s%13s%12s\n", kNameWidth, work.name.c_str(), kVariantWidth, variant.c_str(),
        now.rate, 100 * now.spread, Factor(now.toReference).c_str(), Factor(timing.RatioTo(copy)).c_str(),
        ToPrevious(Key(work.name, variant), now, &timing == &reference).c_str(), Duration(timing.Median()).c_str());
    std::fflush(stdout);
}

// A shared machine is a third faster or slower from one minute to the next, and the rates with it; the ratios to
// the reference, taken in the same rounds, are not. So a kernel is compared by these, and only the reference itself
// by its rate. "!" marks a loss: slower, and the middle halves of the two runs' rounds don't touch.
std::string Report::ToPrevious(const std::string& key, const Earlier& now, bool isReference) const {
    const auto found = previous_.find(key);
    if (found == previous_.end()) {
        return "-";
    }
    const Earlier& earlier = found->second;
    if (isReference) {
        return Factor(now.rate / earlier.rate);
    }
    const bool apart = now.toReference * (1 + now.spread / 2) < earlier.toReference * (1 - earlier.spread / 2);
    return Factor(now.toReference / earlier.toReference) + (apart ? "!" : "");
}

void Report::ReadPrevious() {
    if (options_.previous.empty()) {
        return;
    }
    std::ifstream file(options_.previous);
    if (!file) {
        std::fprintf(stderr, "platen_bench: can't read %s\n", options_.previous.c_str());
        std::exit(2);
    }
    for (std::string line; std::getline(file, line);) {
        if (line.size() < kNameWidth + kVariantWidth) {
            continue;
        }
        std::istringstream numbers(line.substr(kNameWidth + kVariantWidth));
        Earlier earlier{};
        char percent = 0;
        if (numbers >> earlier.rate >> earlier.spread >> percent >> earlier.toReference) {
            earlier.spread /= 100;
            previous_[Key(Trimmed(line.substr(0, kNameWidth)), Trimmed(line.substr(kNameWidth, kVariantWidth)))] =
                earlier;
        }
    }
}

}  // namespace platen_bench
