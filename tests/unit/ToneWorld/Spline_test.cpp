#include "ToneWorld/Spline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "oracles/SplineOracle.h"
#include "support/AllocationLedger.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace {

using platen_test::SplineOracle;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

static_assert(std::is_same_v<decltype(splineCreation), void(double*, double*, double*, long, unsigned long*)>);
static_assert(std::is_same_v<decltype(GetSpline), long(long, double, double*, double*, double*)>);
static_assert(std::is_same_v<decltype(GetSplineCurves), long(long, double, double*, double*, double*)>);

struct Spline {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;
    std::array<unsigned long, 256> table;

    Spline(std::vector<double> abscissae, std::vector<double> ordinates)
        : x(std::move(abscissae)), y(std::move(ordinates)), z(x.size(), -7.0) {
        table.fill(99999);
        splineCreation(x.data(), y.data(), z.data(), Knots(), table.data());
    }
    long Knots() const {
        return static_cast<long>(x.size());
    }
    long At(double t) {
        return GetSpline(Knots(), t, x.data(), y.data(), z.data());
    }
    std::vector<unsigned long> Entries(std::size_t first, std::size_t count) const {
        return std::vector<unsigned long>(table.data() + first, table.data() + first + count);
    }
};

// Equal to the last bit, or both not a number.
bool Same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

// Coefficients and table equal the oracle's; the table lies within 0..255.
void ExpectEqualsOracle(const std::vector<double>& x, const std::vector<double>& y) {
    const Spline spline(x, y);
    const SplineOracle expected(x, y);
    for (std::size_t i = 0; i < x.size(); ++i) {
        ASSERT_TRUE(Same(spline.z[i], expected.z[i])) << "z[" << i << "] " << spline.z[i];
    }
    const std::vector<std::int64_t> table = expected.Table();
    for (std::size_t i = 0; i < 256; ++i) {
        ASSERT_LE(spline.table[i], 255u) << i;
        ASSERT_EQ(static_cast<std::int64_t>(spline.table[i]), table[i]) << i;
    }
}

std::vector<double> Increasing(platen_test::Random& random, std::size_t n) {
    std::vector<double> x;
    double at = random.Fraction() * 20.0 - 10.0;
    for (std::size_t i = 0; i < n; ++i) {
        x.push_back(at);
        at += 0.01 + random.Fraction() * 512.0 / static_cast<double>(n);
    }
    return x;
}

// Anything: mostly plain numbers, now and then the ends of the scale, infinities, what is not a number.
double Wild(platen_test::Random& random) {
    switch (random.Between(0, 11)) {
        case 0:
            return kNotANumber;
        case 1:
            return random.OneIn(2) ? kInfinity : -kInfinity;
        case 2:
            return random.OneIn(2) ? 1e308 : -1e308;
        case 3:
            return random.OneIn(2) ? 5e-324 : -0.0;
        default:
            return static_cast<double>(random.Between(-50, 300));
    }
}

TEST(Spline, StraightLineIsTheIdentity) {
    const Spline spline({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(spline.z, (std::vector<double>{0, 0, 0}));
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(spline.table[i], i);
    }
}

TEST(Spline, OvershootIsClippedAt255) {
    const Spline spline({0, 127, 255}, {0, 254, 255});
    EXPECT_EQ(spline.z, (std::vector<double>{0, -1.0 / 256, 0}));
    EXPECT_EQ(spline.Entries(0, 8), (std::vector<unsigned long>{0, 2, 4, 7, 9, 12, 14, 17}));
    EXPECT_EQ(spline.table[127], 254u);
    EXPECT_EQ(spline.Entries(129, 127), std::vector<unsigned long>(127, 255));
}

TEST(Spline, DipIsClippedAt0) {
    const Spline spline({0, 127, 255}, {0, 0, 255});
    EXPECT_EQ(spline.Entries(0, 128), std::vector<unsigned long>(128, 0));
    EXPECT_EQ(spline.table[128], 1u);
    EXPECT_EQ(spline.Entries(248, 8), (std::vector<unsigned long>{237, 240, 242, 245, 247, 250, 252, 255}));
}

TEST(Spline, NeverNegativeBelowTheFirstKnot) {
    Spline falling({0, 127, 255}, {100, 0, 255});
    EXPECT_EQ(falling.At(-1000), 0);  // about -41,000
    Spline rising({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(rising.At(-10), 0);
    EXPECT_EQ(rising.At(-1e300), 0);
}

TEST(Spline, ValuesAboveTheTableStay) {
    Spline line({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(line.At(256), 256);
    EXPECT_EQ(line.At(1000000.5), 1000000);
    EXPECT_EQ(GetSplineCurves(3, 1000, line.x.data(), line.y.data(), line.z.data()), 1000);
}

TEST(Spline, FractionsAreCutOff) {
    Spline line({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(line.At(63.9), 63);
    EXPECT_EQ(line.At(0.999), 0);
}

TEST(Spline, ValuesSaturateAtTheEndOf32Bits) {
    Spline line({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(line.At(2147483646.5), 2147483646);
    EXPECT_EQ(line.At(2147483648.0), 2147483647);
    EXPECT_EQ(line.At(1e18), 2147483647);
    EXPECT_EQ(line.At(-1e18), 0);
}

TEST(Spline, NotANumberGives0) {
    Spline line({0, 127, 255}, {0, 127, 255});
    EXPECT_EQ(line.At(kNotANumber), 0);
    const Spline spoilt({0, 127, 255}, {0, kNotANumber, 255});
    EXPECT_EQ(spoilt.Entries(0, 256), std::vector<unsigned long>(256, 0));
    const Spline noPlace({0, kNotANumber, 255}, {0, 127, 255});
    EXPECT_EQ(noPlace.Entries(0, 256), std::vector<unsigned long>(256, 0));
}

TEST(Spline, KnotBelongsToLeftInterval) {
    // Two knots at 10: the first of them ends the interval that 10 belongs to, the second starts the next.
    std::array<double, 4> x = {0, 10, 10, 20};
    std::array<double, 4> y = {0, 10, 50, 60};
    std::array<double, 4> z = {0, 0, 0, 0};
    EXPECT_EQ(GetSpline(4, 10.0, x.data(), y.data(), z.data()), 10);
    EXPECT_EQ(GetSpline(4, 10.5, x.data(), y.data(), z.data()), 50);
    EXPECT_EQ(GetSpline(4, 0.0, x.data(), y.data(), z.data()), 0);
    EXPECT_EQ(GetSpline(4, 20.0, x.data(), y.data(), z.data()), 60);
}

TEST(Spline, FewerThanThreeKnotsWriteNothing) {
    for (const long n :
         {2L, 1L, 0L, -1L, std::numeric_limits<long>::min(), 65L, std::numeric_limits<long>::max()}) {
        std::array<double, 3> x = {0, 127, 255};
        std::array<double, 3> y = {0, 127, 255};
        std::array<double, 3> z = {-7, -7, -7};
        std::array<unsigned long, 256> table;
        table.fill(99999);
        splineCreation(x.data(), y.data(), z.data(), n, table.data());
        EXPECT_EQ(z, (std::array<double, 3>{-7, -7, -7})) << n;
        for (const unsigned long entry : table) {
            ASSERT_EQ(entry, 99999u) << n;
        }
    }
}

TEST(Spline, ThreeToSixtyFourKnotsEqualTheOracle) {
    platen_test::Random random(3);
    for (std::size_t n = 3; n <= 64; ++n) {
        for (int round = 0; round < 20; ++round) {
            const std::vector<double> x = Increasing(random, n);
            std::vector<double> y;
            for (std::size_t i = 0; i < n; ++i) {
                y.push_back(random.Fraction() * 300.0 - 20.0);
            }
            ASSERT_NO_FATAL_FAILURE(ExpectEqualsOracle(x, y)) << "n " << n << " round " << round;
        }
    }
}

TEST(Spline, SixteenKnotsAreInterpolated) {
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 16; ++i) {
        x.push_back(i * 17);
        y.push_back(i % 2 == 0 ? 40.5 : 200.5);
    }
    const Spline spline(x, y);
    EXPECT_EQ(spline.z[0], 0.0);
    EXPECT_EQ(spline.z[15], 0.0);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(spline.table[i * 17], i % 2 == 0 ? 40u : 200u) << i;
    }
}

TEST(Spline, RandomKnotsEqualTheOracle) {
    platen_test::Random random(4);
    for (int round = 0; round < 20000; ++round) {
        const auto n = static_cast<std::size_t>(random.Between(3, 8));
        const std::vector<double> x = Increasing(random, n);
        std::vector<double> y;
        for (std::size_t i = 0; i < n; ++i) {
            y.push_back(random.OneIn(4) ? random.Fraction() * 255 : static_cast<double>(random.Byte()));
        }
        ASSERT_NO_FATAL_FAILURE(ExpectEqualsOracle(x, y)) << "round " << round;
    }
}

TEST(Spline, KnotsInAnyOrderAndOfAnyValueAreDefined) {
    platen_test::Random random(5);
    for (int round = 0; round < 20000; ++round) {
        const auto n = static_cast<std::size_t>(random.Between(3, 8));
        std::vector<double> x;
        std::vector<double> y;
        const bool wild = random.OneIn(2);
        for (std::size_t i = 0; i < n; ++i) {
            x.push_back(wild ? Wild(random) : static_cast<double>(random.Between(0, 12)));
            y.push_back(wild ? Wild(random) : static_cast<double>(random.Byte()));
        }
        ASSERT_NO_FATAL_FAILURE(ExpectEqualsOracle(x, y)) << "round " << round;
    }
}

TEST(Spline, EqualKnotsGiveADefinedTable) {
    ExpectEqualsOracle({127, 127, 127}, {0, 127, 255});
    ExpectEqualsOracle({0, 0, 255}, {0, 0, 255});
    ExpectEqualsOracle({0, 255, 255}, {0, 127, 255});
    ExpectEqualsOracle({255, 127, 0}, {0, 127, 255});
    ExpectEqualsOracle({0, 127, -0.0}, {0, 127, 255});
}

TEST(Spline, OneKnotOutOfItsPlaceGivesADefinedTable) {
    const std::vector<double> y = {10, 200, 90, 140};
    for (const std::vector<double>& x : std::vector<std::vector<double>>{{200, 10, 150, 60},
                                                                         {10, 200, 60, 150},
                                                                         {100, 0, 200, 255},
                                                                         {20, 20, 100, 255},
                                                                         {0, 100, 255, 200},
                                                                         {0, 100, 200, 200},
                                                                         {-kInfinity, 0, 100, 255},
                                                                         {0, 100, 255, kInfinity}}) {
        ASSERT_NO_FATAL_FAILURE(ExpectEqualsOracle(x, y)) << x[0] << " " << x[1];
    }
}

// No pair rises: which interval the bisection ends in differs from the first one that reaches the level.
TEST(Spline, FallingKnotsGiveADefinedTable) {
    ExpectEqualsOracle({255, 200, 150, 100, 0}, {0, 255, 40, 180, 90});
    ExpectEqualsOracle({240, 200, 150, 100, 60, 20}, {10, 0, 255, 40, 180, 90});
}

// The last row's zero is subtracted with the sign that its own width gives it.
TEST(Spline, ZeroCoefficientsKeepTheirSign) {
    constexpr double kLeast = std::numeric_limits<double>::denorm_min();
    const std::vector<double> x = {100, 200, 50, 150};
    const std::vector<double> y = {2 * kLeast, 2 * kLeast, kLeast, 0};
    EXPECT_TRUE(Same(Spline(x, y).z[2], -0.0));
    ExpectEqualsOracle(x, y);
    // And the first row's, where a step back makes a slope of -0.
    EXPECT_TRUE(Same(Spline({0, 100, 50, 60}, {7, 7, 7, 7}).z[1], -0.0));
    ExpectEqualsOracle({0, 100, 50, 60}, {7, 7, 7, 7});
}

TEST(Spline, BothEvaluatorsEqualTheOracleWithAnyCoefficients) {
    platen_test::Random random(6);
    for (int round = 0; round < 100000; ++round) {
        const auto n = static_cast<std::size_t>(random.Between(3, 9));
        SplineOracle expected(Increasing(random, n), std::vector<double>(n, 0.0));
        for (std::size_t i = 0; i < n; ++i) {
            expected.y[i] = random.Fraction() * 1000 - 200;
            expected.z[i] = random.OneIn(20) ? Wild(random) : random.Fraction() * 2 - 1;
        }
        const double t = random.OneIn(4)   ? Wild(random)
                         : random.OneIn(4) ? expected.x[static_cast<std::size_t>(random.Between(0, 2))]
                                           : random.Fraction() * 700 - 100;
        SplineOracle given = expected;
        const auto knots = static_cast<long>(n);
        const std::int64_t value = expected.At(t);
        ASSERT_EQ(GetSpline(knots, t, given.x.data(), given.y.data(), given.z.data()), value) << round;
        ASSERT_EQ(GetSplineCurves(knots, t, given.x.data(), given.y.data(), given.z.data()), value) << round;
    }
}

// A knot of any kind: in its place, a copy of the one before, out of order, beyond the table, no number.
double AnyKnot(platen_test::Random& random, double before) {
    switch (random.Between(0, 9)) {
        case 0:
            return before;
        case 1:
            return random.Fraction() * 700 - 200;
        case 2:
            return std::floor(before);
        case 3:
            return random.OneIn(20) ? kNotANumber : before + 1e-300;
        case 4:
            return random.OneIn(20) ? kInfinity : before + 255;
        case 5:
            return std::floor(before) + 1;
        default:
            return before + random.Fraction() * 60;
    }
}

TEST(Spline, TableIsTheEvaluationsOneByOne) {
    platen_test::Random random(2);
    int rising = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<double> x(static_cast<std::size_t>(random.Between(3, 8)));
        std::vector<double> y(x.size());
        const bool rises = random.OneIn(2);
        double knot = random.OneIn(2) ? 0.0 : random.Fraction() * 300 - 100;
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] = knot;
            y[i] = random.OneIn(3) ? x[i] : random.Fraction() * 400 - 70;
            knot = rises ? knot + 0.25 + random.Fraction() * 90 : AnyKnot(random, knot);
        }
        Spline spline(x, y);
        for (std::size_t t = 0; t < 256; ++t) {
            const long value = spline.At(static_cast<double>(t));
            ASSERT_EQ(static_cast<unsigned long>(std::min(value, 255L)), spline.table[t]) << round << " at " << t;
        }
        rising += rises ? 1 : 0;
    }
    EXPECT_GT(rising, 5000);
}

// What color balance leaves out for a channel of amount 0.
TEST(Spline, KnotsOnTheDiagonalGiveTheIdentity) {
    const Spline spline({0, 127, 255}, {0, 127, 255});
    for (std::size_t t = 0; t < 256; ++t) {
        EXPECT_EQ(t, spline.table[t]);
    }
}

TEST(Spline, TouchesNothingBesideTheBuffers) {
    for (const auto side :
         {platen_test::GuardedBuffer::Against::kPageBehind, platen_test::GuardedBuffer::Against::kPageBefore}) {
        for (std::size_t n = 3; n <= 16; ++n) {
            const platen_test::GuardedBuffer x(n * sizeof(double), side);
            const platen_test::GuardedBuffer y(n * sizeof(double), side);
            const platen_test::GuardedBuffer z(n * sizeof(double), side);
            const platen_test::GuardedBuffer table(256 * sizeof(unsigned long), side);
            auto* const xs = reinterpret_cast<double*>(x.data());
            auto* const ys = reinterpret_cast<double*>(y.data());
            auto* const zs = reinterpret_cast<double*>(z.data());
            for (std::size_t i = 0; i < n; ++i) {
                xs[i] = static_cast<double>(i) * 15.0;
                ys[i] = static_cast<double>(i) * 15.0;
            }
            const auto knots = static_cast<long>(n);
            splineCreation(xs, ys, zs, knots, reinterpret_cast<unsigned long*>(table.data()));
            EXPECT_EQ(GetSpline(knots, -5, xs, ys, zs), 0);
            EXPECT_EQ(GetSplineCurves(knots, 1000, xs, ys, zs), 1000);
        }
    }
}

TEST(Spline, TakesNoMemory) {
    Spline line({0, 127, 255}, {0, 127, 255});
    const platen_test::AllocationLedger ledger;
    splineCreation(line.x.data(), line.y.data(), line.z.data(), 3, line.table.data());
    EXPECT_EQ(ledger.Mallocs() + ledger.News(), 0u);
}

}  // namespace
