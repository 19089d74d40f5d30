#include <gtest/gtest.h>

// What the compiler makes of a product and a sum. The factors come through calls that it can't see through, and the
// expressions are as plain as those of the library.

namespace {

[[gnu::noinline]] double ProductMinus(double a, double b, double c) {
    return a * b - c;
}

[[gnu::noinline]] float ProductMinus(float a, float b, float c) {
    return a * b - c;
}

[[gnu::noinline]] double Sum(double a, double b, double c) {
    return a + b + c;
}

[[gnu::noinline]] double Quotient(double a, double b) {
    return a / b;
}

TEST(Arithmetic, ProductsAreRoundedBeforeTheyAreAdded) {
    // (1 + e)(1 - e) is 1 - e * e, half a last place below 1: rounded it is 1; a fused operation keeps the e * e.
    EXPECT_EQ(0.0, ProductMinus(1.0 + 0x1p-27, 1.0 - 0x1p-27, 1.0));
    EXPECT_EQ(0.0f, ProductMinus(1.0f + 0x1p-13f, 1.0f - 0x1p-13f, 1.0f));
}

TEST(Arithmetic, SumsHaveTheirOwnPrecision) {
    // With a wider intermediate the small term would survive.
    EXPECT_EQ(0.0, Sum(1.0, 0x1p-54, -1.0));
    EXPECT_EQ(0.0, Sum(0x1p-60, 1.0, -1.0));
}

TEST(Arithmetic, QuotientsAreRoundedOnce) {
    // By way of the reciprocal these would be off by one last place.
    EXPECT_EQ(0x1.3333333333333p-1, Quotient(3.0, 5.0));
    EXPECT_EQ(0x1.a1f58d0fac688p-4, Quotient(5.0, 49.0));
}

}  // namespace
