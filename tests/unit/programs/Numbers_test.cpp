#include "programs/base/Numbers.h"

#include "Expect.h"

namespace platen_tool {
namespace {

TEST(Numbers, WholeNumbersTakeSignsAndBothEndsOfTheRange) {
    EXPECT_EQ(ParseWhole("--n", "-100", -100, 100), -100);
    EXPECT_EQ(ParseWhole("--n", "+100", -100, 100), 100);
    EXPECT_EQ(ParseWhole("--n", "007", -100, 100), 7);
}

TEST(Numbers, WholeNumberErrorsNameOptionTextAndRange) {
    EXPECT_EQ(UsageText([] { ParseWhole("--n", "101", -100, 100); }),
              "--n: '101' is out of range; allowed: -100 to 100");
    for (const char* text : {"", " 5", "5 ", "5x", "0x5", "5.0", "1e2", "+-5", "--5", "99999999999999999999"}) {
        EXPECT_EQ(UsageText([text] { ParseWhole("--n", text, -100, 100); }),
                  std::string("--n: '") + text + "' is not a whole number from -100 to 100");
    }
}

TEST(Numbers, DecimalNumbersAreFiniteAndWhole) {
    EXPECT_EQ(ParseNumber("--g", "0.1", 0.1, 9.99), 0.1);
    EXPECT_EQ(ParseNumber("--g", "9.99", 0.1, 9.99), 9.99);
    EXPECT_EQ(ParseNumber("--g", "1e0", 0.1, 9.99), 1.0);
    EXPECT_EQ(UsageText([] { ParseNumber("--g", "10", 0.1, 9.99); }),
              "--g: '10' is out of range; allowed: 0.1 to 9.99");
    for (const char* text : {"", "nan", "inf", "1,5", "1.5x", " 1", "0x1"}) {
        EXPECT_EQ(UsageText([text] { ParseNumber("--g", text, 0.1, 9.99); }),
                  std::string("--g: '") + text + "' is not a number from 0.1 to 9.99");
    }
}

TEST(Numbers, RatiosAreExactAndInLowestTerms) {
    const Ratio whole = ParseRatio("--r", "300");
    EXPECT_EQ(whole.numerator, 300u);
    EXPECT_EQ(whole.denominator, 1u);
    const Ratio half = ParseRatio("--r", "199.50");
    EXPECT_EQ(half.numerator, 399u);
    EXPECT_EQ(half.denominator, 2u);
}

TEST(Numbers, RatiosMustBePositiveDecimals) {
    for (const char* text : {"", "0", "0.0", "-1", "1e2", "1.2.3", ".", "1234567890"}) {
        EXPECT_EQ(UsageText([text] { ParseRatio("--r", text); }),
                  std::string("--r: '") + text + "' is not a positive decimal number of at most nine digits");
    }
}

TEST(Numbers, SplitKeepsEmptyParts) {
    EXPECT_EQ(SplitText("a,,b", ','), (std::vector<std::string_view>{"a", "", "b"}));
    EXPECT_EQ(SplitText("", ','), (std::vector<std::string_view>{""}));
    EXPECT_EQ(SplitText("a,", ','), (std::vector<std::string_view>{"a", ""}));
}

TEST(Numbers, TextIsTheShortestThatReadsBack) {
    EXPECT_EQ(NumberText(0.1), "0.1");
    EXPECT_EQ(NumberText(128.0), "128");
    EXPECT_EQ(NumberText(0.0001), "0.0001");
    EXPECT_EQ(NumberText(1e300), "1e+300");
}

}  // namespace
}  // namespace platen_tool
