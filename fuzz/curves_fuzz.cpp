// The curves operation against an oracle: any settings, valid or not, on tables of any content.

#include "ToneWorld/Curves.h"

#include <array>

#include "Producer.h"
#include "ToneFuzz.h"
#include "tests/oracles/CurvesOracle.h"
#include "tests/support/ToneTables.h"

namespace {

using platen_fuzz::Producer;
using platen_fuzz::Require;

constexpr const char* kPoints[] = {"cuP1", "cuP2", "cuP3", "cuP4", "cuP5"};

float Coordinate(Producer& input, std::uint8_t style, float low) {
    switch (style & 3) {
        case 0:
            return low + static_cast<float>(input.Take<std::uint8_t>() % 240);
        case 1:
            return low + static_cast<float>(input.Take<std::uint16_t>()) / 274.0f;
        case 2:
            return static_cast<float>(input.Take<std::uint16_t>()) / 256.0f;
        default:
            return input.Take<float>();
    }
}

platen_test::CurvesSetting TakeSetting(Producer& input) {
    platen_test::CurvesSetting setting;
    const auto style = input.Take<std::uint8_t>();
    setting.kind = (style & 0x10) != 0 ? input.Take<std::int32_t>() : style >> 6;
    setting.strength =
        (style & 0x20) != 0 ? input.Take<std::int32_t>() : static_cast<std::int32_t>(input.Between(-101, 101));
    for (std::size_t k = 0; k < 5; ++k) {
        setting.points[k] = {Coordinate(input, style, 4.0f * static_cast<float>(k)),
                             Coordinate(input, static_cast<std::uint8_t>(style >> 2), 0.0f)};
    }
    return setting;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    const platen_test::CurvesSetting setting = TakeSetting(input);
    const auto op = platen_test::MakeOperation(SetupCurvesOperation);
    platen_test::SetProperty(op, "curV", setting.strength);
    platen_test::SetProperty(op, "curS", setting.kind);
    for (std::size_t k = 0; k < 5; ++k) {
        platen_test::SetProperty(op, kPoints[k], setting.points[k]);
    }
    constexpr std::int32_t kDepths[] = {24, 8, 16, 24};
    const std::int32_t depth = kDepths[input.Take<std::uint8_t>() & 3];
    const auto copyFlag = static_cast<std::uint8_t>(input.Take<std::uint8_t>() & 3);

    platen_test::Tables tables;
    input.Fill(tables.red.data(), input.Left() < 256 ? input.Left() : 256);
    platen_test::Tables expected = tables;
    platen_test::ToneTable copy{};
    _SToneCurve curve = tables.Curve(depth);
    curve.copyCurve = copyFlag;
    curve.curveCopy = copyFlag == 1 ? copy.data() : nullptr;
    const std::int32_t status = ApplyCurves(op.get(), &curve);
    Require(status == OracleCurves(setting, depth, expected.red, expected.green, expected.blue), "status");
    Require(tables == expected, "tables");

    const bool applied = status == 0 && depth != 16;
    const bool copied = applied && copyFlag == 1;
    Require(copy == (copied ? OracleCurvesMaster(setting) : platen_test::ToneTable{}), "copy");
    const std::int32_t kind = platen_test::GetProperty<std::int32_t>(op, "curS");
    Require(kind == (applied && setting.kind == 0 ? 3 : setting.kind), "the kind is rewritten from 0 to 3 only");
    return 0;
}
