#include "ToneWorld/Spline.h"

#include <algorithm>
#include <array>

#include "c/platen.h"

// The three spline functions for C: their own names carry C++ types, and `long` isn't as wide everywhere. The
// arguments are only read, whatever the signatures say.

namespace {

constexpr std::int32_t kLeastKnots = 3;
constexpr std::int32_t kMostKnots = 64;

using Evaluator = long (*)(long n, double t, double* x, double* y, double* z);

std::int32_t Evaluate(Evaluator evaluator, std::int32_t n, double t, const double* x, const double* y,
                      const double* z, std::int32_t* value) {
    if (n < 2 || x == nullptr || y == nullptr || z == nullptr || value == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    *value = static_cast<std::int32_t>(
        evaluator(n, t, const_cast<double*>(x), const_cast<double*>(y), const_cast<double*>(z)));
    return PLATEN_DONE;
}

}  // namespace

int32_t platen_spline_creation(const double* x, const double* y, double* z, int32_t n, uint32_t table[256]) {
    if (n < kLeastKnots || n > kMostKnots || x == nullptr || y == nullptr || z == nullptr || table == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    std::array<unsigned long, 256> levels;
    splineCreation(const_cast<double*>(x), const_cast<double*>(y), z, n, levels.data());
    std::transform(levels.begin(), levels.end(), table,
                   [](unsigned long level) { return static_cast<std::uint32_t>(level); });
    return PLATEN_DONE;
}

int32_t platen_get_spline(int32_t n, double t, const double* x, const double* y, const double* z, int32_t* value) {
    return Evaluate(GetSpline, n, t, x, y, z, value);
}

int32_t platen_get_spline_curves(int32_t n, double t, const double* x, const double* y, const double* z,
                                 int32_t* value) {
    return Evaluate(GetSplineCurves, n, t, x, y, z, value);
}
