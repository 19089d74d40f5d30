// The HSV filter: settings over the whole ranges, each stage alone and together, random and near-grey pixels.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "LineFilters/Hsv.h"
#include "golden/Golden.h"
#include "support/Random.h"

namespace {

std::int32_t Amount(platen_test::Random& random, std::int32_t limit) {
    return random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-limit - 1, limit + 1));
}

void Case(std::uint64_t number, platen_test::GoldenOutput& out) {
    platen_test::Random random(number);
    _SHsvParam param{};
    param.hue = Amount(random, 180);
    param.saturation = Amount(random, 100);
    param.lightness = Amount(random, 100);
    param.bitsPerPixel = 24;
    param.width = static_cast<std::int32_t>(random.Between(1, 80));
    param.height = 1;
    param.rowBytes = 3u * static_cast<std::uint32_t>(param.width);

    const bool nearGrey = random.OneIn(3);
    std::vector<std::uint8_t> line(param.rowBytes);
    for (std::uint8_t& byte : line) {
        byte = nearGrey ? static_cast<std::uint8_t>(100 + random.Between(0, 3)) : random.Byte();
    }
    out.Add("hue", param.hue);
    out.Add("saturation", param.saturation);
    out.Add("lightness", param.lightness);
    void* handle = nullptr;
    const std::int32_t status = SetupHsv(&param, &handle);
    out.Add("setup", status);
    if (status != 0) {
        return;
    }
    out.Add("apply", ApplyOneLineHsv(handle, line.data()));
    out.AddAll("line", line);
    Disposehsv(handle);
    if (number % 16 == 0) {
        out.AddAll("table", gStorage);
    }
    out.Add("now", nowDegreeState(static_cast<long>(random.Between(-400, 400))));
    out.Add("after", afterDegreeState(static_cast<long>(random.Between(-400, 400))));
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "hsv", 20000, 0x9D59EA0EFDD8EC4Fu, Case);
}
