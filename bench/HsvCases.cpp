#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "LineFilters/Hsv.h"
#include "bench/Report.h"
#include "bench/Work.h"

namespace platen_bench {
namespace {

using platen::KernelTable;

constexpr int kHotLines = 32;

const void* Kernel(const KernelTable& table) {
    return Address(table.hsvRow);
}

std::array<std::uint8_t, 256> LightnessTable(int lightness) {
    std::array<std::uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i) {
        table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i + (255 - i) * lightness / 100);
    }
    return table;
}

// Works in place, so a fresh copy comes first each time. A page of few lines has text, photo and patches too.
void RowCase(Report& report, const HsvSetting& setting) {
    const std::string name = std::string("hsv row ") + setting.name;
    if (!report.Wants(name)) {
        return;
    }
    const Image fresh = MakePage(kPageWidth, kHotLines, 24);
    Image lines = fresh;
    const std::array<std::uint8_t, 256> lightness = LightnessTable(setting.lightness);
    Case work;
    work.name = name;
    work.samples = lines.Samples();
    work.copyBytes = lines.Bytes();
    work.kernel = Kernel;
    work.prepare = [&] { std::memcpy(lines.Data(), fresh.Data(), fresh.Bytes()); };
    work.run = [&](const KernelTable& table) {
        for (int y = 0; y < kHotLines; ++y) {
            table.hsvRow(lines.Row(y), kPageWidth, setting.hue, setting.saturation, lightness.data());
        }
    };
    report.Run(work);
}

void PageCase(Report& report, const HsvSetting& setting) {
    const std::string name = std::string("hsv page ") + setting.name;
    if (!report.Wants(name)) {
        return;
    }
    const Image fresh = MakePage(kPageWidth, report.Lines(kPageHeight), 24);
    Image page = fresh;
    Case work;
    work.name = name;
    work.samples = page.Samples();
    work.copyBytes = page.Bytes();
    work.kernel = Kernel;
    work.prepare = [&] { std::memcpy(page.Data(), fresh.Data(), fresh.Bytes()); };
    work.run = [&](const KernelTable&) { AdjustPage(page, setting); };
    report.Run(work);
}

}  // namespace

void HsvCases(Report& report) {
    for (const HsvSetting& setting : kHsvSettings) {
        RowCase(report, setting);
    }
    for (const HsvSetting& setting : kHsvSettings) {
        PageCase(report, setting);
    }
}

}  // namespace platen_bench
