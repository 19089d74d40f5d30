#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "SplineOracle.h"

// The curves operation written down a second time, without a line of the library's, to compare it with.

namespace platen_test {

struct CurvesSetting {
    std::int32_t strength = 0;
    std::int32_t kind = 3;
    std::array<std::array<float, 2>, 5> points{{{0, 0}, {64, 64}, {128, 128}, {192, 192}, {255, 255}}};

    bool Valid() const {
        static constexpr float kHighest[5] = {239, 243, 247, 251, 255};
        static constexpr float kLowest[5] = {0, 4, 8, 12, 16};
        for (std::size_t k = 0; k < 5; ++k) {
            const bool x = points[k][0] >= kLowest[k] && points[k][0] <= kHighest[k];
            const bool y = points[k][1] >= 0 && points[k][1] <= 255;
            if (!x || !y) {
                return false;
            }
        }
        return strength >= -100 && strength <= 100 && kind >= 0 && kind <= 3;
    }
};

using OracleMaster = std::array<std::uint8_t, 256>;

inline OracleMaster OracleCurvesSpline(const std::array<std::array<float, 2>, 5>& p) {
    std::vector<double> x;
    std::vector<double> y;
    for (const auto& point : p) {
        x.push_back(static_cast<double>(point[0]));
        y.push_back(static_cast<double>(point[1]));
    }
    const SplineOracle spline(x, y);
    const float span = p[4][0] - p[0][0];
    OracleMaster m{};
    for (int i = 0; i < 256; ++i) {
        std::int64_t value = spline.At(i);
        if (value > 255) {
            value = 255;
        }
        if (static_cast<double>(span) != 255.0) {
            if (static_cast<float>(i) <= p[0][0]) {
                value = CutTo(y[0], 0, 255);
            } else if (p[4][0] <= static_cast<float>(i)) {
                value = CutTo(y[4], 0, 255);
            }
        }
        m[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value);
    }
    return m;
}

inline OracleMaster OracleCurvesGamma(std::int32_t strength) {
    const double s = std::trunc(static_cast<double>(strength) * 1.13);
    double angle = (s + 127.0) + 0.0;
    angle /= 255.0;
    angle *= 3.141592;
    angle /= 2.0;
    const double exponent = 1.0 / std::tan(angle);
    OracleMaster m{};
    for (int i = 0; i < 256; ++i) {
        const double p = std::pow(static_cast<double>(i) / 255.0, exponent) * 255.0;
        m[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(CutTo(p, 0, 255));
    }
    return m;
}

// at() throws where an index leaves the table, so a run of the oracle also shows that none does.
inline OracleMaster OracleCurvesPolyline(const std::array<std::array<float, 2>, 5>& p) {
    OracleMaster m{};
    for (int i = 0; i < 256; ++i) {
        m[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
    }
    const float spanInSingle = p[4][0] - p[0][0];
    const double span = static_cast<double>(spanInSingle);
    for (std::size_t k = 0; k < 4; ++k) {
        const float wInSingle = p[k + 1][0] - p[k][0];
        const float dyInSingle = p[k + 1][1] - p[k][1];
        double w = static_cast<double>(wInSingle);
        const double dy = static_cast<double>(dyInSingle);
        const bool flat = wInSingle == 0.0f;
        const double slope = flat ? 0.0 : dy / w;
        const auto xi = static_cast<std::size_t>(p[k][0]);
        const double yi = std::trunc(static_cast<double>(p[k][1]));
        if (k == 3) {
            w += 1.0;
        }
        if (span == 255.0 || k != 0 || !(p[0][0] > 0.0f)) {
            for (std::size_t j = 0; static_cast<double>(j) < w; ++j) {
                const double value = static_cast<double>(j) * slope + yi;
                m.at(xi + j) = value > 255.0 ? std::uint8_t{255} : static_cast<std::uint8_t>(CutTo(value, 0, 255));
            }
        } else {
            for (std::size_t j = 0; static_cast<float>(j) < p[0][0]; ++j) {
                m.at(j) = static_cast<std::uint8_t>(p[0][1]);
            }
            for (std::size_t j = 0; static_cast<double>(j) < w; ++j) {
                // The low byte: this line never exceeds 255, as a comparison with a clipped one shows.
                const double value = static_cast<double>(j) * slope + yi;
                m.at(xi + j) = static_cast<std::uint8_t>(CutTo(value, 0, 1 << 30) & 0xFF);
            }
        }
    }
    if (span != 255.0 && p[4][0] < 255.0f) {
        const auto start = static_cast<std::size_t>(p[4][0]);
        for (std::size_t j = 0; static_cast<double>(j) < 256.0 - static_cast<double>(p[4][0]); ++j) {
            m.at(start + j) = static_cast<std::uint8_t>(p[4][1]);
        }
    }
    return m;
}

inline OracleMaster OracleCurvesMaster(const CurvesSetting& setting) {
    if (setting.kind == 1) {
        return OracleCurvesPolyline(setting.points);
    }
    if (setting.kind == 2 && setting.strength != 0) {
        return OracleCurvesGamma(setting.strength);
    }
    return OracleCurvesSpline(setting.kind == 2 ? CurvesSetting{}.points : setting.points);
}

// Changes the tables; returns the status.
template <class Table>
std::int32_t OracleCurves(const CurvesSetting& setting, std::int32_t depth, Table& red, Table& green, Table& blue) {
    if (depth != 8 && depth != 24) {
        return 0;
    }
    if (!setting.Valid()) {
        return 3;
    }
    const OracleMaster m = OracleCurvesMaster(setting);
    for (Table* table : {&red, &green, &blue}) {
        for (auto& entry : *table) {
            entry = m[static_cast<std::size_t>(entry)];
        }
    }
    return 0;
}

}  // namespace platen_test
