#include <cstddef>
#include <cstdint>
#include <string>

#include "LineFilters/Sharpness.h"
#include "bench/Report.h"
#include "bench/Work.h"

namespace platen_bench {
namespace {

using platen::KernelTable;

constexpr int kHotLines = 8;

const void* Kernel(const KernelTable& table) {
    return Address(table.sharpRow);
}

// Rows of the text, close together: they stay in the cache.
void RowCase(Report& report, int level, int bits) {
    const std::string name = "sharp row " + std::to_string(bits) + " bit level " + std::to_string(level);
    if (!report.Wants(name)) {
        return;
    }
    const Image page = MakePage(kPageWidth, kHotLines + 2, bits);
    Image out(kPageWidth, 1, bits);
    const std::int32_t* kernel = nullptr;
    for (const auto& entry : sfilterParamTable) {
        kernel = entry[10] == level ? entry : kernel;
    }
    Case work;
    work.name = name;
    work.copyBytes = out.RowBytes();
    work.samples = out.Samples();
    work.kernel = Kernel;
    int y = 0;
    work.run = [&](const KernelTable& table) {
        platen::SharpRowArgs row{};
        row.top = page.Row(y);
        row.middle = page.Row(y + 1);
        row.bottom = page.Row(y + 2);
        row.kernel = kernel;
        row.width = kPageWidth;
        row.samples = static_cast<std::size_t>(bits) / 8;
        table.sharpRow(out.Row(0), row);
        y = (y + 1) % kHotLines;
    };
    report.Run(work);
}

const void* PutKernel(const KernelTable& table) {
    return Address(table.sharpPut);
}

// Lines that stay in the cache, put one after the other into a ring of the bench's own.
void PutCase(Report& report, int level, int bits) {
    const std::string name = "sharp put " + std::to_string(bits) + " bit level " + std::to_string(level);
    if (!report.Wants(name)) {
        return;
    }
    const Image page = MakePage(kPageWidth, kHotLines, bits);
    Image ring(kPageWidth, 4, bits);
    const std::int32_t* kernel = nullptr;
    for (const auto& entry : sfilterParamTable) {
        kernel = entry[10] == level ? entry : kernel;
    }
    Case work;
    work.name = name;
    work.copyBytes = page.RowBytes();
    work.samples = ring.Samples() / 4;
    work.kernel = PutKernel;
    int y = 0;
    work.run = [&](const KernelTable& table) {
        table.sharpPut(ring.Row(3), {ring.Row(0), ring.Row(1), ring.Row(2), page.Row(y), page.RowBytes(), kernel,
                                     kPageWidth, static_cast<std::size_t>(bits) / 8});
        y = (y + 1) % kHotLines;
    };
    report.Run(work);
}

void PageCase(Report& report, int level, int bits) {
    const std::string name = "sharp page " + std::to_string(bits) + " bit level " + std::to_string(level);
    if (!report.Wants(name)) {
        return;
    }
    const Image page = MakePage(kPageWidth, report.Lines(kPageHeight), bits);
    Image out(page.Width(), page.Height(), bits);
    Case work;
    work.name = name;
    work.samples = page.Samples();
    work.copyBytes = page.Bytes();
    work.kernel = Kernel;
    work.run = [&](const KernelTable&) { SharpenPage(page, out, level); };
    report.Run(work);
}

}  // namespace

void SharpCases(Report& report) {
    constexpr int kLevels[] = {-2, -1, 1, 2, 3};
    for (const int bits : {24, 8}) {
        for (const int level : kLevels) {
            RowCase(report, level, bits);
        }
    }
    for (const int bits : {24, 8}) {
        for (const int level : {-2, 1, 2}) {
            PutCase(report, level, bits);
        }
    }
    for (const int bits : {24, 8}) {
        for (const int level : {-2, 1, 3}) {
            PageCase(report, level, bits);
        }
    }
}

}  // namespace platen_bench
