#include <gtest/gtest.h>

// What the compiler makes of a product and a sum. The numbers come out of volatile objects, so that it can't
// compute the results itself; the expressions are as plain as those of the library.

namespace {

template <class Real>
Real Hidden(Real number) {
    volatile Real hidden = number;
    return hidden;
}

template <class Real>
Real ProductMinusOne(Real first, Real second) {
    const Real a = Hidden(first);
    const Real b = Hidden(second);
    const Real one = Hidden(Real{1});
    return Hidden(a * b - one);
}

double SumMinusOne(double first, double second) {
    const double a = Hidden(first);
    const double b = Hidden(second);
    const double one = Hidden(1.0);
    return Hidden(a + b - one);
}

// Three quotients by one divisor, where a reciprocal would pay.
void DivideAll(double (&numbers)[3], double by) {
    const double a = Hidden(numbers[0]);
    const double b = Hidden(numbers[1]);
    const double c = Hidden(numbers[2]);
    const double divisor = Hidden(by);
    numbers[0] = Hidden(a / divisor);
    numbers[1] = Hidden(b / divisor);
    numbers[2] = Hidden(c / divisor);
}

TEST(Arithmetic, ProductsAreRoundedBeforeTheyAreAdded) {
    // (1 + e)(1 - e) is 1 - e * e, half a last place below 1: rounded it is 1; a fused operation keeps the e * e.
    EXPECT_EQ(0.0, ProductMinusOne(1.0 + 0x1p-27, 1.0 - 0x1p-27));
    EXPECT_EQ(0.0f, ProductMinusOne(1.0f + 0x1p-13f, 1.0f - 0x1p-13f));
}

TEST(Arithmetic, SumsHaveTheirOwnPrecision) {
    // With a wider intermediate, or in another order, the small term would survive.
    EXPECT_EQ(0.0, SumMinusOne(1.0, 0x1p-54));
    EXPECT_EQ(0.0, SumMinusOne(0x1p-60, 1.0));
}

TEST(Arithmetic, QuotientsAreRoundedOnce) {
    // 5 * (1 / 49) is one last place below 5 / 49.
    double numbers[] = {5.0, 49.0, 98.0};
    DivideAll(numbers, 49.0);
    EXPECT_EQ(0x1.a1f58d0fac688p-4, numbers[0]);
    EXPECT_EQ(1.0, numbers[1]);
    EXPECT_EQ(2.0, numbers[2]);
}

}  // namespace
