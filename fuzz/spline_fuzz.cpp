// splineCreation and the evaluators against an oracle, to the last bit of the coefficients. Knots are
// anything from whole levels in order to arbitrary bit patterns, so infinities and what is not a number too.

#include "ToneWorld/Spline.h"

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "Producer.h"
#include "ToneFuzz.h"
#include "tests/oracles/SplineOracle.h"

namespace {

using platen_fuzz::Producer;
using platen_fuzz::Require;

bool Same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

double Coordinate(Producer& input, std::uint8_t style) {
    switch (style & 3) {
        case 0:
            return static_cast<double>(input.Take<std::uint8_t>());
        case 1:
            return static_cast<double>(input.Take<std::int16_t>()) / 16.0;
        case 2:
            return static_cast<double>(input.Take<float>());
        default:
            return input.Take<double>();
    }
}

void RefusesOtherNumbersOfKnots(long n) {
    std::array<double, 2> x = {1, 2};
    std::array<double, 2> y = {3, 4};
    std::array<double, 2> z = {5, 6};
    unsigned long entry = 7;
    splineCreation(x.data(), y.data(), z.data(), n, &entry);
    Require(z[0] == 5 && z[1] == 6 && entry == 7, "too few or too many knots write nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    const auto style = input.Take<std::uint8_t>();
    const long n =
        (style & 0x40) != 0 ? static_cast<long>(input.Between(-2, 70)) : static_cast<long>(input.Between(3, 6));
    if (n < 3 || n > 64) {
        RefusesOtherNumbersOfKnots(n);
        return 0;
    }
    const auto t = input.Take<double>();
    const auto knots = static_cast<std::size_t>(n);
    std::vector<double> x(knots);
    std::vector<double> y(knots);
    std::vector<double> z(knots, 1.0);
    double sum = 0.0;
    for (std::size_t i = 0; i < knots; ++i) {
        const double step = Coordinate(input, style);
        sum += std::fabs(step);
        x[i] = (style & 0x10) != 0 ? step : sum;  // in any order, or rising
        y[i] = Coordinate(input, static_cast<std::uint8_t>(style >> 2));
    }
    const platen_test::SplineOracle expected(x, y);
    const std::vector<std::int64_t> expectedTable = expected.Table();
    std::array<unsigned long, 256> table;
    table.fill(999);
    splineCreation(x.data(), y.data(), z.data(), n, table.data());
    for (std::size_t i = 0; i < knots; ++i) {
        Require(Same(z[i], expected.z[i]), "coefficients");
    }
    for (std::size_t i = 0; i < 256; ++i) {
        Require(table[i] <= 255 && static_cast<std::int64_t>(table[i]) == expectedTable[i], "table");
    }
    const long value = GetSpline(n, t, x.data(), y.data(), z.data());
    Require(value >= 0 && value <= 2147483647 && value == expected.At(t), "GetSpline");
    Require(value == GetSplineCurves(n, t, x.data(), y.data(), z.data()), "GetSplineCurves");
    return 0;
}
