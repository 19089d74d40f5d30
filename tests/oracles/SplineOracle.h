#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Natural cubic splines written down a second time, step by step and without a line of the library's, to compare
// it with.

namespace platen_test {

// IEEE 754's division, division by zero included.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize("float-divide-by-zero")))
#endif
inline double
Divided(double a, double b) {
    return a / b;
}

// Toward zero; below `low` it is low, above `high` it is high, and what is not a number is 0.
inline std::int64_t CutTo(double value, std::int64_t low, std::int64_t high) {
    if (std::isnan(value)) {
        return 0;
    }
    const double whole = std::trunc(value);
    if (whole <= static_cast<double>(low)) {
        return low;
    }
    if (whole >= static_cast<double>(high)) {
        return high;
    }
    return static_cast<std::int64_t>(whole);
}

struct SplineOracle {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;

    SplineOracle(std::vector<double> abscissae, std::vector<double> ordinates)
        : x(std::move(abscissae)), y(std::move(ordinates)), z(x.size(), 0.0) {
        const std::size_t n = x.size();
        std::vector<double> widths;
        std::vector<double> slopes;
        for (std::size_t i = 1; i < n; ++i) {
            const double width = x[i] - x[i - 1];
            const double rise = y[i] - y[i - 1];
            widths.push_back(width);
            slopes.push_back(Divided(rise, width));
        }
        std::vector<double> pivots(n - 2);
        const double none = widths[0] * z[0];
        z[1] = (slopes[1] - slopes[0]) - none;
        pivots[0] = (x[2] - x[0]) * 2.0;
        for (std::size_t row = 1; row + 2 < n; ++row) {
            const double factor = Divided(widths[row], pivots[row - 1]);
            const double bend = slopes[row + 1] - slopes[row];
            const double carried = z[row] * factor;
            z[row + 1] = bend - carried;
            const double both = (x[row + 2] - x[row]) * 2.0;
            pivots[row] = both - widths[row] * factor;
        }
        z[n - 2] -= widths[n - 2] * z[n - 1];
        for (std::size_t row = n - 2; row != 0; --row) {
            const double known = widths[row] * z[row + 1];
            z[row] = Divided(z[row] - known, pivots[row - 1]);
        }
    }

    std::int64_t At(double t) const {
        std::size_t first = 0;
        std::size_t last = x.size() - 1;
        while (first != last) {
            const std::size_t probe = first + (last - first) / 2;
            if (x[probe] < t) {
                first = probe + 1;
            } else {
                last = probe;
            }
        }
        const std::size_t i = first > 0 ? first - 1 : 0;
        const double width = x[i + 1] - x[i];
        const double offset = t - x[i];
        const double bend = (z[i + 1] - z[i]) * offset;
        double a = Divided(bend, width);
        a += z[i] * 3.0;
        a *= offset;
        double b = z[i] * 2.0;
        b += z[i + 1];
        b = Divided(y[i + 1] - y[i], width) - b * width;
        double value = a + b;
        value *= offset;
        value += y[i];
        return CutTo(value, 0, 2147483647);
    }

    std::vector<std::int64_t> Table() const {
        std::vector<std::int64_t> table;
        for (int i = 0; i < 256; ++i) {
            const std::int64_t value = At(static_cast<double>(i));
            table.push_back(value > 255 ? 255 : value);
        }
        return table;
    }
};

}  // namespace platen_test
