#include <string>

#include "bench/Report.h"
#include "bench/Work.h"

namespace platen_bench {
namespace {

using platen::KernelTable;

constexpr double kEntries = 3 * 256;

// A "sample" is a table entry.
void ToneCase(Report& report, const std::string& name, void (*run)(ToneChain&)) {
    if (!report.Wants(name)) {
        return;
    }
    ToneChain chain;
    Case work;
    work.name = name;
    work.samples = kEntries;
    work.copyBytes = static_cast<std::size_t>(kEntries);
    work.kernel = [](const KernelTable&) -> const void* { return nullptr; };  // no variants
    work.run = [&](const KernelTable&) { run(chain); };
    report.Run(work);
}

}  // namespace

void ToneCases(Report& report) {
    ToneCase(report, "tone 768 pow calls", [](ToneChain&) { PowTables(); });
    ToneCase(report, "tone four operations, fold", [](ToneChain& chain) { chain.Fold(); });
    ToneCase(report, "tone four operations, all", [](ToneChain&) { ToneChain::FromScratch(); });
}

}  // namespace platen_bench
