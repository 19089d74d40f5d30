// Color balance: every single amount, then mixtures, valid or not.

#include "ToneWorld/ColorBalance.h"
#include "golden/Golden.h"
#include "support/Random.h"
#include "support/ToneTables.h"

namespace {

using platen_test::GoldenOutput;
using platen_test::Random;

constexpr std::uint64_t kCases = 4000;
constexpr std::uint64_t kExpected = 0xB48E4E9B22FEB70Bu;
constexpr const char* kKeys[] = {"cbsR", "cbsG", "cbsB", "cbmR", "cbmG", "cbmB", "cbhR", "cbhG", "cbhB"};

// The first 1809 cases are every single amount; the others mix them.
std::int32_t Amount(std::uint64_t number, std::uint64_t key, Random& random) {
    if (number < 201 * 9) {
        return number / 201 == key ? static_cast<std::int32_t>(number % 201) - 100 : 0;
    }
    if (random.OneIn(4)) {
        return 0;
    }
    const int limit = random.OneIn(100) ? 102 : 100;
    return static_cast<std::int32_t>(random.Between(-limit, limit));
}

void RunCase(std::uint64_t number, GoldenOutput& out) {
    Random random(number);
    const auto op = platen_test::MakeOperation(SetupColorBalanceOperation);
    for (std::uint64_t key = 0; key < 9; ++key) {
        const std::int32_t amount = Amount(number, key, random);
        platen_test::SetProperty(op, kKeys[key], amount);
        out.Add(kKeys[key], amount);
    }
    const std::int32_t depth = number >= 201 * 9 && random.OneIn(30) ? 8 : 24;
    out.Add("depth", depth);

    platen_test::Tables tables;
    if (number >= 201 * 9) {
        for (std::uint8_t& entry : tables.green) {
            entry = random.Byte();
        }
    }
    _SToneCurve curve = tables.Curve(depth);
    out.Add("status", ApplyColorBalance(op.get(), &curve));
    out.AddAll("red", tables.red);
    out.AddAll("green", tables.green);
    out.AddAll("blue", tables.blue);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "color_balance", kCases, kExpected, RunCase);
}
