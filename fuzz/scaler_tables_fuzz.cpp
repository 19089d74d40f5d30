// The scaler's tables: any pair of counts against the geometry, the shaping curve with any arguments.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Producer.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "tests/oracles/ZoomImageOracle.h"

namespace {

void Check(bool right) {
    if (!right) {
        std::abort();
    }
}

// Mostly few, since many take long.
int Count(platen_fuzz::Producer& input) {
    const auto kind = input.Take<std::uint8_t>();
    if (kind == 0 && input.IsOneIn(4096)) {
        return static_cast<int>(input.Between(1, 70000));
    }
    return static_cast<int>(input.Between(1, kind % 32 == 1 ? 300 : 40));
}

void CheckTable(int dst, int src) {
    PX_ZoomBilinear zoom;
    std::vector<PX_Zoom2_Param> table(static_cast<std::size_t>(dst));
    const int result =
        dst < src ? zoom.Calc_ReducedParam(table.data(), dst, src) : zoom.Calc_ExpandParam(table.data(), dst, src);
    const auto want = platen_test::OracleTable(dst, src);
    bool heavy = false;
    for (std::size_t i = 0; i < table.size(); ++i) {
        Check(std::memcmp(&want[i], &table[i], sizeof want[i]) == 0);
        heavy = heavy || want[i].weightSum > 65535;
    }
    Check(result == (dst < src && heavy ? 1 : 0));
}

void CheckCurve(platen_fuzz::Producer& input) {
    PX_ZoomBilinear zoom;
    const auto range = static_cast<long>(input.Between(1, 1 << 24));
    const auto weight = static_cast<long>(input.Between(0, range));
    Check(zoom.Shift_Coefficient(weight, range) == platen_test::OracleShape(weight, range));
    const auto anyWeight = input.Take<std::int32_t>();
    const auto anyRange = input.Take<std::int32_t>();
    if (anyRange != 0) {
        zoom.Shift_Coefficient(anyWeight, anyRange);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::Producer input(data, size);
    CheckCurve(input);
    const int dst = Count(input);
    const int src = Count(input);
    CheckTable(src > 300 ? dst % 300 + 1 : dst, src);  // one of the two at the most
    // Counts that no table is made for, such as negative ones, must be harmless.
    PX_ZoomBilinear zoom;
    std::vector<PX_Zoom2_Param> room(64);
    zoom.Calc_ExpandParam(room.data(), static_cast<int>(input.Between(-64, 64)), input.Take<std::int32_t>());
    zoom.Calc_ReducedParam(room.data(), static_cast<int>(input.Between(-64, 64)), input.Take<std::int32_t>());
    return 0;
}
