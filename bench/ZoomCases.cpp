#include <algorithm>
#include <cstdio>
#include <string>

#include "bench/Report.h"
#include "bench/Work.h"

namespace platen_bench {
namespace {

using platen::KernelTable;

std::string Name(const char* what, int bits, double factor) {
    char text[64];
    std::snprintf(text, sizeof text, "zoom %s %d bit by %.3g", what, bits, factor);
    return text;
}

// Samples are counted on the larger side.
void PageCase(Report& report, const std::string& name, const Image& from, int width, int height) {
    Image to(width, height, from.BitsPerPixel());
    Case work;
    work.name = name;
    work.samples = std::max(from.Samples(), to.Samples());
    work.copyBytes = std::max(from.Bytes(), to.Bytes());
    work.run = [&](const KernelTable&) { ScalePage(from, to); };
    report.Run(work);
}

// What Open and Close cost for a page: read the last column.
void OpenCase(Report& report, int bits, double factor) {
    const std::string name = Name("Open", bits, factor);
    if (!report.Wants(name)) {
        return;
    }
    const Image from(kPageWidth, kPageHeight, bits);
    const Image to(Reduced(kPageWidth, factor), Reduced(kPageHeight, factor), bits);
    Case work;
    work.name = name;
    work.samples = std::max(from.Samples(), to.Samples());
    work.copyBytes = from.RowBytes();
    work.run = [&](const KernelTable&) { OpenOnly(from, to); };
    report.Run(work);
}

void ReduceCase(Report& report, int bits, double factor) {
    const std::string name = Name("reduce", bits, factor);
    if (report.Wants(name)) {
        const Image from = MakePage(kPageWidth, report.Lines(kPageHeight), bits);
        PageCase(report, name, from, Reduced(from.Width(), factor), Reduced(from.Height(), factor));
    }
}

void EnlargeCase(Report& report, int bits, double factor) {
    const std::string name = Name("enlarge", bits, factor);
    if (report.Wants(name)) {
        const Image from = MakePage(kPageWidth, report.Lines(kPageHeight), bits);
        PageCase(report, name, from, Enlarged(from.Width(), factor), Enlarged(from.Height(), factor));
    }
}

}  // namespace

void ZoomCases(Report& report) {
    for (const int bits : {24, 8, 48}) {
        for (const double factor : {1.5, 2.0, 2.5, 3.0, 4.0, 6.0}) {
            ReduceCase(report, bits, factor);
        }
    }
    for (const int bits : {24, 8}) {
        for (const double factor : {1.5, 2.0}) {
            EnlargeCase(report, bits, factor);
        }
    }
    const std::string bilevel = "zoom bilevel 600 to 300 dpi";
    if (report.Wants(bilevel)) {
        const Image from = MakePage(2 * kPageWidth, report.Lines(2 * kPageHeight), 1);
        PageCase(report, bilevel, from, kPageWidth, from.Height() / 2);
    }
    OpenCase(report, 24, 1.5);
    OpenCase(report, 8, 2.5);
}

}  // namespace platen_bench
