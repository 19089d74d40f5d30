#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "Sources/Dispatch/Kernels.h"
#include "bench/Measure.h"

// The table that platen_bench prints, a case at a time as soon as it is measured.

namespace platen_bench {

struct Options {
    std::string filter;    // only cases whose name contains it
    std::string previous;  // file of an earlier run, or empty
    Rounds rounds;
    int lines = 0;  // of a page; 0 stands for a whole page
};

struct Case {
    std::string name;
    double samples = 0;         // of one run
    std::size_t copyBytes = 0;  // of one run: what memcpy would move for these samples
    std::function<void(const platen::KernelTable&)> run;
    std::function<void()> prepare;  // before every run, not timed; may be empty
    // Names the kernel that the case is about. Variants that share it are measured once, under the plainest one's
    // name. Empty: every variant is measured.
    std::function<const void*(const platen::KernelTable&)> kernel;
};

class Report {
  public:
    explicit Report(const Options& options);

    void PrintHeader() const;
    // Ask before building what a case needs.
    bool Wants(const std::string& name) const;
    void Run(const Case& work);

    int Lines(int ofPage) const;

  private:
    struct Earlier {
        double rate;
        double spread;
        double toReference;
    };

    void ReadPrevious();
    void PrintRow(const Case& work, const std::string& variant, const Timing& timing, const Timing& reference,
                  const Timing& copy) const;
    std::string ToPrevious(const std::string& key, const Earlier& now, bool isReference) const;

    Options options_;
    std::map<std::string, Earlier> previous_;  // by case and variant
};

// The cases, one function for each of the library's parts.
void SharpCases(Report& report);
void HsvCases(Report& report);
void ZoomRowCases(Report& report);
void ZoomCases(Report& report);
void ToneCases(Report& report);

// A function's address, for Case::kernel.
template <class Function>
const void* Address(Function* function) {
    return reinterpret_cast<const void*>(function);
}

}  // namespace platen_bench
