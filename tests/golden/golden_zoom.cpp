// The scaler: all formats and modes of both axes, both kinds of accumulators; tables, readiness and lines.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "golden/Golden.h"
#include "support/Random.h"

namespace {

using platen_test::GoldenOutput;
using platen_test::Random;

constexpr std::uint64_t kCases = 5000;

struct Axis {
    int dst;
    int src;
};

// Way 0 reduces, 1 keeps, 2 enlarges.
Axis PickAxis(int direction, int limit, Random& random) {
    const auto small = static_cast<int>(random.Between(1, limit));
    const auto large = small + static_cast<int>(random.Between(1, limit));
    return direction == 0 ? Axis{small, large} : direction == 1 ? Axis{small, small} : Axis{large, small};
}

// One axis in a few cases is so long that its accumulators become doubles.
Axis LongAxis(Random& random) {
    const auto few = static_cast<int>(random.Between(1, 300));
    const auto many = static_cast<int>(random.Between(65536, 70000));
    return random.OneIn(2) ? Axis{few, many} : Axis{many, few};
}

std::vector<std::uint8_t> Line(std::size_t bytes, bool wide, Random& random) {
    std::vector<std::uint8_t> line(bytes);
    const bool extreme = random.OneIn(4);
    for (std::size_t i = 0; i + (wide ? 1 : 0) < bytes; i += wide ? 2 : 1) {
        auto value = static_cast<std::uint16_t>(random.Next() >> 48);
        if (extreme) {
            value = (value & 1) != 0 ? 0xFFFF : 0;
        }
        if (wide) {
            std::memcpy(&line[i], &value, 2);  // a number, not two bytes
        } else {
            line[i] = static_cast<std::uint8_t>(value >> 8);
        }
    }
    return line;
}

void AddLine(const std::vector<std::uint8_t>& line, bool wide, GoldenOutput& out) {
    if (!wide) {
        out.AddAll("line", line);
        return;
    }
    std::vector<std::uint16_t> samples(line.size() / 2);
    if (!samples.empty()) {
        std::memcpy(samples.data(), line.data(), samples.size() * 2);
    }
    out.AddAll("line", samples);
}

void AddTable(const char* name, const PX_Zoom2_Param* table, int count, GoldenOutput& out) {
    for (int i = 0; i < count && i < 100; ++i) {
        const PX_Zoom2_Param& r = table[i];
        out.AddAll(name, std::array<std::int32_t, 7>{r.start, r.startWeight, r.wholeEnd, r.endWeight,
                                                     r.endRemainder, r.weightSum, r.emit});
    }
}

void Stream(PX_Zoom& zoom, bool wide, std::size_t srcBytes, std::size_t dstBytes, int lines, Random& random,
            GoldenOutput& out) {
    std::vector<std::uint8_t> target(dstBytes);
    for (int y = 0; y < lines; ++y) {
        auto source = Line(srcBytes, wide, random);
        out.Add("send", zoom.Send(source.data()));
        out.Add("ready", zoom.CheckData());
        while (zoom.CheckData() != 0) {
            out.Add("read", zoom.Read(target.data()));
            AddLine(target, wide, out);
        }
    }
}

void Case(std::uint64_t number, GoldenOutput& out) {
    Random random(number);
    constexpr std::array<int, 7> kFormats = {1, 8, 16, 24, 32, 48, 64};
    const int format = kFormats[static_cast<std::size_t>(number % 7)];
    const bool wide = format == 16 || format == 48 || format == 64;
    Axis columns = PickAxis(static_cast<int>(number / 7 % 3), 30, random);
    Axis rows = PickAxis(static_cast<int>(number / 21 % 3), 20, random);
    if (number % 100 == 0) {
        columns = LongAxis(random);
        rows = {1, 2};
    } else if (number % 500 == 1) {
        columns = {1, 2};
        rows = LongAxis(random);
    }
    out.AddAll("case", std::array<int, 5>{columns.dst, rows.dst, columns.src, rows.src, format});
    PX_Zoom zoom;
    out.Add("open", zoom.Open(columns.dst, rows.dst, columns.src, rows.src, format, 2));
    const auto& bilinear = static_cast<const PX_ZoomBilinear&>(*zoom.zoom);
    out.AddAll("fields", std::array<std::int64_t, 7>{bilinear.active, bilinear.bitsPerPixel, bilinear.dstLineBytes,
                                                     bilinear.srcLineBytes, bilinear.workLineBytes,
                                                     bilinear.horzDouble, bilinear.vertDouble});
    AddTable("column", bilinear.horzParam, columns.dst, out);
    AddTable("row", bilinear.vertParam, rows.dst, out);
    const auto bytes = [format](int width) {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(format) + 7) / 8;
    };
    Stream(zoom, wide, bytes(columns.src), bytes(columns.dst), rows.src, random, out);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "zoom", kCases, 0x264050D07A12270Eu, Case);
}
