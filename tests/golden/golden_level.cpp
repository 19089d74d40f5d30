// Levels: mid-tones in hundredths, linear settings, some out of range, on tables of random content.
//
// Two libraries' pow and tan may differ in a result's last bits. That can't reach a truncated entry here: of the
// 2.1 million powers below the white points of all cases, taken to 255, none lies nearer than 5.9e-8 to a whole
// number, while such differences come to less than 1e-12.

#include <array>
#include <cstdint>
#include <cstdlib>

#include "ToneWorld/Level.h"
#include "golden/Golden.h"
#include "support/Random.h"

namespace {

constexpr std::uint64_t kCases = 20000;

struct Settings {
    std::uint32_t iMin;
    double iMid;
    std::uint32_t iMax;
    std::uint32_t oMin;
    std::uint32_t oMax;
};

Settings SettingsOf(platen_test::Random& random, platen_test::GoldenOutput& out) {
    const auto whole = [&random](std::int64_t low, std::int64_t high) {
        return static_cast<std::uint32_t>(random.Between(low, high));
    };
    const bool edges = random.OneIn(8);  // around the ends of the ranges, many of them out of it
    Settings s{};
    s.iMin = edges ? whole(240, 250) : whole(0, 120);
    s.iMax = edges ? s.iMin + whole(5, 10) : whole(128, 255);
    s.oMin = random.OneIn(4) ? 0 : whole(0, 247);
    s.oMax = random.OneIn(4) ? 255 : s.oMin + whole(7, 100);
    const std::uint32_t hundredths = random.OneIn(4) ? 100 : whole(9, 1000);
    s.iMid = hundredths / 100.0;
    out.Add("iMin", s.iMin);
    out.Add("iMid*100", hundredths);
    out.Add("iMax", s.iMax);
    out.Add("oMin", s.oMin);
    out.Add("oMax", s.oMax);
    return s;
}

void Case(std::uint64_t number, platen_test::GoldenOutput& out) {
    platen_test::Random random(number);
    const Settings s = SettingsOf(random, out);
    std::array<std::array<std::uint8_t, 256>, 3> tables;
    _SToneCurve curve{};
    curve.depth = random.OneIn(16) ? 16 : random.OneIn(2) ? 8 : 24;
    curve.redTable = tables[0].data();
    curve.greenTable = tables[1].data();
    curve.blueTable = tables[2].data();
    for (auto& table : tables) {
        for (std::size_t i = 0; i < table.size(); ++i) {
            table[i] = &table == tables.data() ? static_cast<std::uint8_t>(i) : random.Byte();
        }
    }

    _SToneOperation* op = nullptr;
    if (NewOperation(&op) != 0) {
        std::abort();
    }
    out.Add("setup", SetupLevelOperation(op));
    SetOperationProperty(op, 0x694D696E, 4, &s.iMin);
    SetOperationProperty(op, 0x694D6964, 8, &s.iMid);
    SetOperationProperty(op, 0x694D6178, 4, &s.iMax);
    SetOperationProperty(op, 0x6F4D696E, 4, &s.oMin);
    SetOperationProperty(op, 0x6F4D6178, 4, &s.oMax);
    out.Add("depth", curve.depth);
    out.Add("status", op->apply(op, &curve));
    out.AddAll("identity", tables[0]);
    out.AddAll("green", tables[1]);
    out.AddAll("blue", tables[2]);
    DisposeOperation(op);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "level", kCases, 0x6FF3F3D18B91FE70u, Case);
}
