#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "SplineOracle.h"

// Color balance written down a second time, without a line of the library's, to compare it with.

namespace platen_test {

struct ColorBalanceSetting {
    // Shadows, midtones, highlights; in each red, green, blue.
    std::array<std::array<std::int32_t, 3>, 3> amounts{};

    bool Valid() const {
        for (const auto& group : amounts) {
            for (const std::int32_t amount : group) {
                if (amount > 100 || amount < -100) {
                    return false;
                }
            }
        }
        return true;
    }
};

inline std::vector<std::int64_t> OracleBalanceSpline(int group, std::int32_t amount) {
    const double scaled = std::trunc(static_cast<double>(amount) * 1.27);
    const double third = scaled / 3.0;
    double shift = scaled;
    if (group == 1) {
        shift = third + third;
    } else if ((group == 0 && scaled > 0) || (group == 2 && scaled <= 0)) {
        shift = third;
    }
    float middle = static_cast<float>(shift);
    middle += 127.0f;
    return SplineOracle({0.0, 127.0, 255.0}, {0.0, static_cast<double>(middle), 255.0}).Table();
}

// What becomes of red, green and blue table; the result is the status.
template <class Table>
std::int32_t OracleColorBalance(const ColorBalanceSetting& setting, std::int32_t depth, Table& red, Table& green,
                                Table& blue) {
    if (depth != 24) {
        return 0;
    }
    if (!setting.Valid()) {
        return 3;
    }
    Table* const tables[3] = {&red, &green, &blue};
    for (int group = 0; group < 3; ++group) {
        const auto& amounts = setting.amounts[static_cast<std::size_t>(group)];
        if (amounts[0] == 0 && amounts[1] == 0 && amounts[2] == 0) {
            continue;
        }
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::vector<std::int64_t> spline = OracleBalanceSpline(group, amounts[channel]);
            for (auto& entry : *tables[channel]) {
                entry = static_cast<std::uint8_t>(spline[static_cast<std::size_t>(entry)]);
            }
        }
    }
    return 0;
}

}  // namespace platen_test
