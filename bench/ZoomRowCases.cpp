#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "bench/Report.h"
#include "bench/Work.h"

// The scaler's kernels one by one, on lines that stay in the cache. Figures are by the samples that a kernel makes.

namespace platen_bench {
namespace {

using platen::KernelTable;

constexpr int kRuns = 64;  // of a kernel to a run of the case

// A scaler of one line, for its tables and its work lines.
struct Scaler {
    Scaler(int bits, int dst, int src) : line(src, 1, bits) {
        line = MakePage(src, 1, bits);
        if (zoom.Open(dst, 1, src, 2, bits, 2) != 0) {
            std::fprintf(stderr, "platen bench: Open failed\n");
            std::exit(1);
        }
        work.resize(platen::DstSamples(zoom));
    }

    PX_ZoomBilinear zoom;
    Image line;
    std::vector<std::uint32_t> work;
};

void PlainLine(std::uint32_t* out, const std::uint8_t* src, const platen::HorzPass& pass) {
    if (pass.sampleBytes == 1) {
        platen::reference::ExpandHorz<std::uint32_t>(out, src, pass);
    } else {
        platen::reference::ExpandHorz<std::uint32_t>(out, reinterpret_cast<const std::uint16_t*>(src), pass);
    }
}

const void* HorzKernel(const KernelTable& table) {
    return table.horz;
}

const void* VertTable(const KernelTable& table) {
    return table.vert;
}

Case RowsOf(const std::string& name, std::size_t samples) {
    Case work;
    work.name = name;
    work.samples = static_cast<double>(samples) * kRuns;
    work.copyBytes = samples * kRuns;
    return work;
}

// By the plan where the variant has one, else by the reference, as Send does.
void HorzCase(Report& report, int bits, int dst, int src) {
    char name[64];
    std::snprintf(name, sizeof name, "zoom row %d bit %d to %d", bits, src, dst);
    if (!report.Wants(name)) {
        return;
    }
    Scaler scaler(bits, dst, src);
    const platen::HorzPass pass = platen::ColumnsOf(scaler.zoom);
    const platen::PlanRoom room = platen::RoomOf(scaler.zoom);
    Case work = RowsOf(name, scaler.work.size());
    work.kernel = HorzKernel;
    work.run = [&](const KernelTable& table) {
        for (int i = 0; i < kRuns; ++i) {
            platen::HorzPlan plan;
            if (platen::FindPlan(plan, pass, room, table.horz->kinds)) {
                table.horz->follow({scaler.work.data(), nullptr, 0, false}, scaler.line.Row(0), pass, plan);
            } else {
                PlainLine(scaler.work.data(), scaler.line.Row(0), pass);
            }
        }
    };
    report.Run(work);
}

template <class Run>
void VertCase(Report& report, const std::string& what, std::size_t samples, Run run) {
    const std::string name = "zoom row " + what + " " + std::to_string(samples);
    if (!report.Wants(name)) {
        return;
    }
    std::vector<std::uint32_t> upper(samples, 200);
    std::vector<std::uint32_t> lower(samples, 100);
    std::vector<std::uint8_t> out(samples);
    Case work = RowsOf(name, samples);
    work.kernel = VertTable;
    work.run = [&](const KernelTable& table) {
        for (int i = 0; i < kRuns; ++i) {
            run(*table.vert, upper, lower, out);
        }
    };
    report.Run(work);
}

void VertCases(Report& report, std::size_t samples) {
    using Work = std::vector<std::uint32_t>;
    using Out = std::vector<std::uint8_t>;
    const platen::VertWeights weights = {300, 700, 1000};
    VertCase(report, "set", samples, [](const platen::VertKernels& vert, Work& sum, const Work& line, Out&) {
        vert.setU32(sum.data(), line.data(), 300, line.size());
    });
    VertCase(report, "add", samples, [](const platen::VertKernels& vert, Work& sum, const Work& line, Out&) {
        vert.addU32(sum.data(), line.data(), 700, line.size());
    });
    VertCase(report, "reduce", samples, [](const platen::VertKernels& vert, Work& sum, const Work&, Out& out) {
        vert.reduceU32ToU8(out.data(), sum.data(), 1000, sum.size());
    });
    VertCase(report, "expand", samples, [&](const platen::VertKernels& vert, Work& up, const Work& low, Out& out) {
        vert.expandU32ToU8(out.data(), up.data(), low.data(), weights, up.size());
    });
}

void BilevelCases(Report& report) {
    constexpr int kWidth = 2 * kPageWidth;
    std::vector<std::uint8_t> bytes(kWidth, 200);
    std::vector<std::uint8_t> bits(kWidth / 8, 0x5A);
    Case work = RowsOf("zoom row unpack 4960", kWidth);
    work.kernel = [](const KernelTable& table) { return Address(table.unpackBits); };
    work.run = [&](const KernelTable& table) {
        for (int i = 0; i < kRuns; ++i) {
            table.unpackBits(bytes.data(), bits.data(), kWidth);
        }
    };
    if (report.Wants(work.name)) {
        report.Run(work);
    }
    work.name = "zoom row pack 4960";
    work.kernel = [](const KernelTable& table) { return Address(table.packBits); };
    work.run = [&](const KernelTable& table) {
        for (int i = 0; i < kRuns; ++i) {
            table.packBits(bits.data(), bytes.data(), kWidth);
        }
    };
    if (report.Wants(work.name)) {
        report.Run(work);
    }
}

}  // namespace

void ZoomRowCases(Report& report) {
    for (const double factor : {1.25, 1.5, 2.0, 2.5, 3.0, 6.0}) {
        HorzCase(report, 8, Reduced(kPageWidth, factor), kPageWidth);
    }
    for (const int bits : {24, 8}) {
        for (const double factor : {1.5, 2.0}) {
            HorzCase(report, bits, Enlarged(kPageWidth, factor), kPageWidth);
        }
        HorzCase(report, 24, Reduced(kPageWidth, bits == 8 ? 1.5 : 3), kPageWidth);
        HorzCase(report, 48, Reduced(kPageWidth, bits == 8 ? 1.5 : 2), kPageWidth);
    }
    VertCases(report, 826);
    VertCases(report, 7440);
    BilevelCases(report);
}

}  // namespace platen_bench
