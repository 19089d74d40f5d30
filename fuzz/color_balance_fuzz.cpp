// Color balance against an oracle: any settings, valid or not, on tables of any content.

#include "ToneWorld/ColorBalance.h"

#include "Producer.h"
#include "ToneFuzz.h"
#include "tests/oracles/ColorBalanceOracle.h"
#include "tests/support/ToneTables.h"

namespace {

using platen_fuzz::Producer;
using platen_fuzz::Require;

constexpr const char* kKeys[3][3] = {{"cbsR", "cbsG", "cbsB"}, {"cbmR", "cbmG", "cbmB"}, {"cbhR", "cbhG", "cbhB"}};

// Nothing, a valid amount, one that may be slightly invalid, or any.
std::int32_t Amount(Producer& input) {
    const auto raw = input.Take<std::uint8_t>();
    switch (input.Take<std::uint8_t>() & 7) {
        case 0:
            return 0;
        case 1:
            return static_cast<std::int8_t>(raw);
        case 2:
            return input.Take<std::int32_t>();
        default:
            return raw % 201 - 100;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    const auto op = platen_test::MakeOperation(SetupColorBalanceOperation);
    platen_test::ColorBalanceSetting setting;
    const auto shape = input.Take<std::uint8_t>();
    for (std::size_t group = 0; group < 3; ++group) {
        if ((shape >> group & 1) != 0) {
            continue;  // a group that stays 0
        }
        for (std::size_t channel = 0; channel < 3; ++channel) {
            setting.amounts[group][channel] = Amount(input);
            platen_test::SetProperty(op, kKeys[group][channel], setting.amounts[group][channel]);
        }
    }
    platen_test::SetProperty(op, "cbsT", input.Take<std::int32_t>());
    const std::int32_t depth = (shape & 0x80) != 0 ? input.Take<std::int8_t>() : 24;

    platen_test::Tables tables;
    input.Fill(tables.green.data(), input.Left() < 256 ? input.Left() : 256);
    platen_test::Tables expected = tables;
    _SToneCurve curve = tables.Curve(depth);
    const std::int32_t status = ApplyColorBalance(op.get(), &curve);
    Require(status == OracleColorBalance(setting, depth, expected.red, expected.green, expected.blue), "status");
    Require(tables == expected, "tables");
    return 0;
}
