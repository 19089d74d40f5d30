// Curves: every gamma strength, then points of all kinds, valid or not, at three depths.

#include "ToneWorld/Curves.h"
#include "golden/Golden.h"
#include "support/Random.h"
#include "support/ToneTables.h"

namespace {

using platen_test::GoldenOutput;
using platen_test::Random;
using platen_test::SetProperty;

constexpr std::uint64_t kCases = 4000;
constexpr std::uint64_t kExpected = 0xD99E345911710733u;
constexpr const char* kPoints[] = {"cuP1", "cuP2", "cuP3", "cuP4", "cuP5"};

std::int32_t Number(Random& random, int low, int high) {
    return static_cast<std::int32_t>(random.Between(low, high));
}

// Coordinates are eighths, so that they are numbers for the checksum too. In order of x as a rule: the ranges are
// cut into parts that do not overlap.
void SetPoints(const platen_test::OperationPtr& op, Random& random, GoldenOutput& out) {
    const bool ordered = !random.OneIn(5);
    const int eighths = random.OneIn(3) ? 1 : 8;  // fractions or whole levels
    const bool whole = random.OneIn(4);           // from 0 to 255
    for (int k = 0; k < 5; ++k) {
        const int low = ordered ? k * 51 : k * 4;
        const int high = ordered ? k * 51 + 50 : k * 4 + 239;
        int x = Number(random, low * 8 / eighths, high * 8 / eighths) * eighths;
        if (whole && (k == 0 || k == 4)) {
            x = k == 0 ? 0 : 255 * 8;
        }
        const int y = Number(random, 0, 255 * 8 / eighths) * eighths;
        const float point[2] = {static_cast<float>(x) / 8.0f, static_cast<float>(y) / 8.0f};
        SetProperty(op, kPoints[k], point);
        out.Add("x*8", x);
        out.Add("y*8", y);
    }
}

void RunCase(std::uint64_t number, GoldenOutput& out) {
    Random random(number);
    const auto op = platen_test::MakeOperation(SetupCurvesOperation);
    const std::int32_t kind = Number(random, 0, random.OneIn(20) ? 4 : 3);
    const std::int32_t strength =
        number <= 200 ? static_cast<std::int32_t>(number) - 100 : Number(random, -101, 101);
    const std::int32_t depth = random.OneIn(20) ? 16 : random.OneIn(2) ? 8 : 24;
    SetProperty(op, "curS", number <= 200 ? 2 : kind);
    SetProperty(op, "curV", strength);
    out.Add("kind", number <= 200 ? 2 : kind);
    out.Add("strength", strength);
    out.Add("depth", depth);
    SetPoints(op, random, out);

    platen_test::Tables tables;
    for (std::uint8_t& entry : tables.red) {
        entry = random.Byte();
    }
    platen_test::ToneTable master{};
    _SToneCurve curve = tables.Curve(depth);
    curve.copyCurve = 1;
    curve.curveCopy = master.data();
    out.Add("status", ApplyCurves(op.get(), &curve));
    out.Add("kind after", platen_test::GetProperty<std::int32_t>(op, "curS"));
    out.AddAll("master", master);
    out.AddAll("red", tables.red);
    out.AddAll("blue", tables.blue);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "curves", kCases, kExpected, RunCase);
}
