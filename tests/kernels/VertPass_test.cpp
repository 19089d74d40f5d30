#include "Sources/PX_Zoom/VertPass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

// Every variant of the vertical passes against the reference. Lines lie against protected pages on either side.

namespace {

using platen::VertKernels;
using platen::VertWeights;
using platen_test::GuardedBuffer;
using platen_test::Random;

class VertPass : public testing::TestWithParam<const platen::KernelTable*> {
  protected:
    VertPass() : before_(&platen::Kernels()) {
        platen::UseKernels(*GetParam());
    }
    ~VertPass() override {
        platen::UseKernels(*before_);
    }
    static const VertKernels& Fast() {
        return *platen::Kernels().vert;
    }
    static const VertKernels& Reference() {
        return platen::kVert_reference;
    }

  private:
    const platen::KernelTable* before_;
};

constexpr std::array kSides = {GuardedBuffer::Against::kPageBehind, GuardedBuffer::Against::kPageBefore};

GuardedBuffer::Against Side(Random& random) {
    return kSides[static_cast<std::size_t>(random.Between(0, 1))];
}

// Mostly short, so that all remainders of a block occur often.
std::size_t Count(Random& random) {
    return static_cast<std::size_t>(random.OneIn(8) ? random.Between(1, 3000) : random.Between(1, 200));
}

// A guarded line of numbers, `shift` bytes (0 or 1) off the page where that lies before, else off an even address.
template <class T>
class Line {
  public:
    Line(std::size_t count, GuardedBuffer::Against side, std::size_t shift = 0)
        : buffer_(count * sizeof(T) + shift, side),
          first_(side == GuardedBuffer::Against::kPageBefore ? shift : 0),
          count_(count) {}

    T* data() const {
        return reinterpret_cast<T*>(buffer_.data() + first_);
    }
    std::vector<std::uint8_t> Bytes() const {
        return {buffer_.bytes().begin(), buffer_.bytes().end()};
    }
    template <class Make>
    void Fill(const Make& make) const {
        for (std::size_t k = 0; k < count_; ++k) {
            data()[k] = make(k);
        }
    }

  private:
    GuardedBuffer buffer_;
    std::size_t first_;
    std::size_t count_;
};

std::int32_t WeightSum(Random& random) {
    constexpr std::array<std::int32_t, 24> kEdges = {
        1,     2,     3,     4,     7,     128,   255,   256,   257,    25622,   25623,         26214,
        26215, 32766, 32767, 32768, 32769, 65534, 65535, 65536, 131070, 1 << 30, (1 << 30) + 1, 2147483647};
    switch (random.Between(0, 3)) {
        case 0:
            return kEdges[static_cast<std::size_t>(random.Between(0, 23))];
        case 1:
            return static_cast<std::int32_t>(random.Between(1, 300));
        case 2:
            return static_cast<std::int32_t>(random.Between(1, 65535));
        default:
            return static_cast<std::int32_t>(random.Between(1, 2147483647) >> random.Between(0, 30)) | 1;
    }
}

// A dividend whose quotient is at most `largest`, often one where it is about to change.
std::uint32_t Dividend(Random& random, int kind, std::uint32_t weightSum, std::uint32_t largest) {
    const auto quotient = static_cast<std::uint32_t>(random.Between(0, largest));
    switch (kind) {
        case 0:
            return largest * weightSum;
        case 1:
            return quotient * weightSum;
        case 2:
            return quotient * weightSum - (quotient != 0 ? 1u : 0u);
        case 3:
            return static_cast<std::uint32_t>(random.Next() % (std::uint64_t{largest} * weightSum + 1));
        default:
            return static_cast<std::uint32_t>(random.Next() >> random.Between(32, 63));  // not what Open makes
    }
}

// A work line's number: extreme, a sample, or not what the horizontal pass makes.
std::uint32_t WorkNumber(Random& random, int kind, std::uint32_t largest) {
    switch (kind) {
        case 0:
            return largest;
        case 1:
            return random.OneIn(2) ? largest : 0;
        case 2:
        case 3:
            return static_cast<std::uint32_t>(random.Between(0, largest));
        default:
            return static_cast<std::uint32_t>(random.Next() >> random.Between(32, 63));
    }
}

std::int32_t Weight(Random& random) {
    return random.OneIn(8) ? 0 : WeightSum(random);
}

template <class S>
constexpr std::uint32_t kLargest = std::numeric_limits<S>::max();

template <class A>
void CompareSums(void (*fast)(A*, const std::uint32_t*, std::int32_t, std::size_t),
                 void (*reference)(A*, const std::uint32_t*, std::int32_t, std::size_t), std::uint64_t seed) {
    Random random(seed);
    for (int round = 0; round < 800; ++round) {
        const std::size_t count = Count(random);
        const int kind = static_cast<int>(random.Between(0, 4));
        Line<std::uint32_t> line(count, Side(random));
        line.Fill([&](std::size_t) { return WorkNumber(random, kind, 65535); });
        Line<A> acc(count, Side(random));
        acc.Fill([&](std::size_t) { return static_cast<A>(random.Next() >> 33); });
        std::vector<A> expected(acc.data(), acc.data() + count);
        std::int32_t weight = Weight(random);
        if (std::is_same_v<A, double> && random.OneIn(4)) {
            weight = -weight;
        }
        fast(acc.data(), line.data(), weight, count);
        reference(expected.data(), line.data(), weight, count);
        ASSERT_EQ(0, std::memcmp(expected.data(), acc.data(), count * sizeof(A)))
            << "count " << count << " weight " << weight << " kind " << kind;
    }
}

template <class S, class A>
void CompareReduce(void (*fast)(S*, const A*, std::int32_t, std::size_t),
                   void (*reference)(S*, const A*, std::int32_t, std::size_t), std::uint64_t seed) {
    constexpr std::array<double, 8> kOdd = {
        -1.0,         -0.5,  4294967295.0, 4294967295.5,
        4294967296.0, 1e300, 2147483648,   std::numeric_limits<double>::quiet_NaN()};
    Random random(seed);
    for (int round = 0; round < 1200; ++round) {
        const std::size_t count = Count(random);
        const std::int32_t weightSum = WeightSum(random);
        const int kind = static_cast<int>(random.Between(0, 4));
        const std::size_t shift = sizeof(S) == 2 && random.OneIn(2) ? 1 : 0;
        Line<A> acc(count, Side(random));
        acc.Fill([&](std::size_t) {
            const std::uint32_t whole = Dividend(random, kind, static_cast<std::uint32_t>(weightSum), kLargest<S>);
            if (std::is_same_v<A, double> && kind == 4 && random.OneIn(4)) {
                return static_cast<A>(std::is_same_v<A, double> ? kOdd[random.Next() % kOdd.size()] : 0.0);
            }
            return static_cast<A>(whole);
        });
        const auto side = Side(random);
        Line<S> out(count, side, shift);
        Line<S> expected(count, side, shift);
        fast(out.data(), acc.data(), weightSum, count);
        reference(expected.data(), acc.data(), weightSum, count);
        ASSERT_EQ(expected.Bytes(), out.Bytes())
            << "count " << count << " weightSum " << weightSum << " kind " << kind;
    }
}

VertWeights Weights(Random& random) {
    VertWeights weights = {};
    weights.sum = WeightSum(random);
    weights.upper = static_cast<std::int32_t>(random.Between(0, weights.sum));
    weights.lower = weights.sum - weights.upper;
    if (random.OneIn(8)) {
        weights.lower = Weight(random);  // not what Open makes
    }
    return weights;
}

template <class S>
using ExpandFn = void (*)(S*, const std::uint32_t*, const std::uint32_t*, const VertWeights&, std::size_t);

template <class S>
void CompareExpand(ExpandFn<S> fast, ExpandFn<S> reference, std::uint64_t seed) {
    Random random(seed);
    for (int round = 0; round < 1200; ++round) {
        const std::size_t count = Count(random);
        const VertWeights weights = Weights(random);
        const int kind = static_cast<int>(random.Between(0, 4));
        const std::size_t shift = sizeof(S) == 2 && random.OneIn(2) ? 1 : 0;
        Line<std::uint32_t> upper(count, Side(random));
        Line<std::uint32_t> lower(count, Side(random));
        upper.Fill([&](std::size_t) { return WorkNumber(random, kind, kLargest<S>); });
        lower.Fill([&](std::size_t) { return WorkNumber(random, kind, kLargest<S>); });
        const auto side = Side(random);
        Line<S> out(count, side, shift);
        Line<S> expected(count, side, shift);
        fast(out.data(), upper.data(), lower.data(), weights, count);
        reference(expected.data(), upper.data(), lower.data(), weights, count);
        ASSERT_EQ(expected.Bytes(), out.Bytes()) << "count " << count << " weights " << weights.upper << " "
                                                 << weights.lower << " / " << weights.sum << " kind " << kind;
    }
}

template <class S>
void CompareEqual(void (*fast)(S*, const std::uint32_t*, std::size_t),
                  void (*reference)(S*, const std::uint32_t*, std::size_t), std::uint64_t seed) {
    Random random(seed);
    for (int round = 0; round < 500; ++round) {
        const std::size_t count = Count(random);
        const std::size_t shift = sizeof(S) == 2 && random.OneIn(2) ? 1 : 0;
        Line<std::uint32_t> line(count, Side(random));
        line.Fill([&](std::size_t) { return static_cast<std::uint32_t>(random.Next()); });
        const auto side = Side(random);
        Line<S> out(count, side, shift);
        Line<S> expected(count, side, shift);
        fast(out.data(), line.data(), count);
        reference(expected.data(), line.data(), count);
        ASSERT_EQ(expected.Bytes(), out.Bytes()) << "count " << count;
    }
}

TEST_P(VertPass, IsTheVariantThatItNames) {
    const auto available = platen::AvailableKernels();
    EXPECT_NE(available.end(), std::find(available.begin(), available.end(), &platen::Kernels()));
    EXPECT_STREQ(GetParam()->name, platen::Kernels().name);
    EXPECT_EQ(std::string("reference") == GetParam()->name, &Fast() == &Reference());
}

TEST_P(VertPass, SetEqualsReference) {
    CompareSums(Fast().setU32, Reference().setU32, 1);
    CompareSums(Fast().setF64, Reference().setF64, 2);
}

TEST_P(VertPass, AddEqualsReference) {
    CompareSums(Fast().addU32, Reference().addU32, 3);
    CompareSums(Fast().addF64, Reference().addF64, 4);
}

TEST_P(VertPass, ReduceEqualsReference) {
    CompareReduce(Fast().reduceU32ToU8, Reference().reduceU32ToU8, 5);
    CompareReduce(Fast().reduceU32ToU16, Reference().reduceU32ToU16, 6);
    CompareReduce(Fast().reduceF64ToU8, Reference().reduceF64ToU8, 7);
    CompareReduce(Fast().reduceF64ToU16, Reference().reduceF64ToU16, 8);
}

TEST_P(VertPass, ExpandEqualsReference) {
    CompareExpand(Fast().expandU32ToU8, Reference().expandU32ToU8, 9);
    CompareExpand(Fast().expandU32ToU16, Reference().expandU32ToU16, 10);
    CompareExpand(Fast().expandF64ToU8, Reference().expandF64ToU8, 11);
    CompareExpand(Fast().expandF64ToU16, Reference().expandF64ToU16, 12);
}

TEST_P(VertPass, EqualEqualsReference) {
    CompareEqual(Fast().equalToU8, Reference().equalToU8, 13);
    CompareEqual(Fast().equalToU16, Reference().equalToU16, 14);
}

// For each weight sum the dividends on both sides of every step of the quotient: with a quotient that never falls,
// that is every dividend.
TEST_P(VertPass, BytesAreExactForEveryWeightSum) {
    std::vector<std::uint32_t> acc(512);
    std::vector<std::uint8_t> expected(512);
    std::vector<std::uint8_t> out(512);
    for (std::uint32_t q = 0; q < 256; ++q) {
        expected[2 * q] = static_cast<std::uint8_t>(q);
        expected[2 * q + 1] = static_cast<std::uint8_t>(q);
    }
    for (std::uint32_t w = 1; w <= 65535; ++w) {
        for (std::uint32_t q = 0; q < 256; ++q) {
            acc[2 * q] = q * w;
            acc[2 * q + 1] = q * w + (w - 1);
        }
        Fast().reduceU32ToU8(out.data(), acc.data(), static_cast<std::int32_t>(w), acc.size());
        ASSERT_EQ(expected, out) << "weightSum " << w;
    }
}

// The steps around the ends of the range and around the powers of two, and some more.
TEST_P(VertPass, WordsAreExactForEveryWeightSum) {
    std::vector<std::uint32_t> quotients;
    for (std::uint32_t bit = 0; bit < 16; ++bit) {
        for (const std::uint32_t off : {0u, 1u, 2u}) {
            quotients.push_back((1u << bit) - 1 + off);
            quotients.push_back(65535 - ((1u << bit) - 1 + off) % 65536);
        }
    }
    Random random(15);
    std::vector<std::uint16_t> expected(2 * quotients.size());
    std::vector<std::uint16_t> out(expected.size());
    std::vector<std::uint32_t> acc(expected.size());
    for (std::uint32_t w = 1; w <= 65535; ++w) {
        quotients[0] = static_cast<std::uint32_t>(random.Between(0, 65535));
        for (std::size_t k = 0; k < quotients.size(); ++k) {
            expected[2 * k] = static_cast<std::uint16_t>(quotients[k]);
            expected[2 * k + 1] = static_cast<std::uint16_t>(quotients[k]);
            acc[2 * k] = quotients[k] * w;
            acc[2 * k + 1] = quotients[k] * w + (w - 1);
        }
        Fast().reduceU32ToU16(out.data(), acc.data(), static_cast<std::int32_t>(w), acc.size());
        ASSERT_EQ(expected, out) << "weightSum " << w;
    }
}

// One less than a multiple of the weight sum: there a reciprocal in floats is off for many of the sums above 26214.
TEST_P(VertPass, ReduceMultiplesEqualsReference) {
    CompareReduce(Fast().reduceMultiplesToU8, Reference().reduceU32ToU8, 9);
    CompareReduce(Fast().reduceMultiplesToU16, Reference().reduceU32ToU16, 10);
}

// Counts of destination lines: all small ones, some of the others, and those whose sums are divided by an odd
// number shifted far to the left, which leaves few bits of the quotient to tell a wrong inverse.
std::vector<std::uint32_t> CountsOfLines(Random& random) {
    std::vector<std::uint32_t> counts;
    for (std::uint32_t count = 1; count <= 32767;
         count += count < 300 ? 1 : static_cast<std::uint32_t>(random.Between(1, 9))) {
        counts.push_back(count);
    }
    for (int shift = 8; shift < 15; ++shift) {
        for (const std::uint32_t odd : {3u, 5u, 7u, 11u, 93u, 127u}) {
            counts.push_back(odd << shift);
        }
    }
    return counts;
}

// Sums of 1, 2 and 4 whole lines for each count: the largest ones and some between, and one number that is none of
// them.
template <class S, class Fast, class Reference>
void CompareMultiples(const Fast& fast, const Reference& reference, Random& random) {
    constexpr std::size_t kCount = 150;
    constexpr std::uint32_t kMost = std::numeric_limits<S>::max();
    std::vector<std::uint32_t> acc(kCount);
    std::vector<S> out(kCount), expected(kCount);
    for (const std::uint32_t unit : CountsOfLines(random)) {
        for (const std::uint32_t lines : {1u, 2u, 4u}) {
            if (unit * lines > 65535) {
                continue;
            }
            const auto w = static_cast<std::int32_t>(unit * lines);
            for (std::size_t k = 0; k < kCount; ++k) {
                acc[k] = unit * (random.OneIn(4) ? kMost * lines
                                                 : static_cast<std::uint32_t>(random.Between(0, kMost * lines)));
            }
            if (random.OneIn(3)) {
                acc[static_cast<std::size_t>(random.Between(0, kCount - 1))] =
                    static_cast<std::uint32_t>(random.Next());
            }
            fast(out.data(), acc.data(), w, kCount);
            reference(expected.data(), acc.data(), w, kCount);
            ASSERT_EQ(out, expected) << "by " << w;
        }
    }
}

TEST_P(VertPass, MultiplesOfEveryCountOfLinesAreExact) {
    Random random(11);
    CompareMultiples<std::uint8_t>(Fast().reduceMultiplesToU8, Reference().reduceU32ToU8, random);
    CompareMultiples<std::uint16_t>(Fast().reduceMultiplesToU16, Reference().reduceU32ToU16, random);
}

TEST_P(VertPass, SumsOfZeroGiveZero) {
    const std::vector<std::uint32_t> line(50, 300);
    const std::vector<std::uint8_t> zeros(50, 0);
    const std::vector<std::uint16_t> wideZeros(50, 0);
    for (const auto kernel : {Fast().reduceU32ToU8, Fast().reduceMultiplesToU8}) {
        std::vector<std::uint8_t> out(50, 1);
        kernel(out.data(), line.data(), 0, 50);
        EXPECT_EQ(zeros, out);
    }
    for (const auto kernel : {Fast().reduceU32ToU16, Fast().reduceMultiplesToU16}) {
        std::vector<std::uint16_t> out(50, 1);
        kernel(out.data(), line.data(), 0, 50);
        EXPECT_EQ(wideZeros, out);
    }
    std::vector<std::uint8_t> out(50, 1);
    Fast().expandU32ToU8(out.data(), line.data(), line.data(), {3, 4, 0}, 50);
    EXPECT_EQ(zeros, out);
    Fast().expandU32ToU8(out.data(), line.data(), line.data(), {0, 0, 0}, 50);
    EXPECT_EQ(zeros, out);
}

TEST_P(VertPass, BytesBetweenTwoLinesAreExactForHeavyWeights) {
    const std::vector<std::uint32_t> upper(70, 255u);
    const std::vector<std::uint32_t> lower(70, 254u);
    std::vector<std::uint8_t> out(70), expected(70);
    for (std::int32_t sum = 26000; sum <= 65536; sum += 7) {
        const VertWeights weights = {sum - 1, 1, sum};
        Fast().expandU32ToU8(out.data(), upper.data(), lower.data(), weights, out.size());
        Reference().expandU32ToU8(expected.data(), upper.data(), lower.data(), weights, out.size());
        ASSERT_EQ(expected, out) << sum;
    }
}

// Weights of which one is as heavy as the sum and the other together.
TEST_P(VertPass, WeightsThatDoNotMakeUpTheirSumCount) {
    const std::vector<std::uint32_t> upper(70, 255u);
    const std::vector<std::uint32_t> lower(70, 200u);
    for (const VertWeights weights :
         {VertWeights{300, 100, 200}, VertWeights{100, 300, 200}, VertWeights{5, 0, 4}}) {
        std::vector<std::uint8_t> out(70), expected(70);
        Fast().expandU32ToU8(out.data(), upper.data(), lower.data(), weights, out.size());
        Reference().expandU32ToU8(expected.data(), upper.data(), lower.data(), weights, out.size());
        EXPECT_EQ(expected, out) << weights.upper << " " << weights.lower << " / " << weights.sum;
    }
}

// One number that no sum of samples can be, wherever it stands in an otherwise usual line.
TEST_P(VertPass, OneOddNumberIsSeen) {
    constexpr std::size_t kCount = 150;
    constexpr std::int32_t kWeightSum = 20000;
    const VertWeights weights = {12345, kWeightSum - 12345, kWeightSum};
    for (const std::uint32_t odd : {256u * kWeightSum, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 256u, 65536u}) {
        for (std::size_t place = 0; place < kCount; ++place) {
            std::vector<std::uint32_t> line(kCount, 200u);
            line[place] = odd;
            std::vector<std::uint8_t> out(kCount), expected(kCount);
            std::vector<std::uint16_t> wide(kCount), expectedWide(kCount);
            Fast().reduceU32ToU8(out.data(), line.data(), kWeightSum, kCount);
            Reference().reduceU32ToU8(expected.data(), line.data(), kWeightSum, kCount);
            ASSERT_EQ(expected, out) << odd << " at " << place;
            const std::vector<std::uint32_t> other(kCount, 100u);
            Fast().expandU32ToU8(out.data(), line.data(), other.data(), weights, kCount);
            Reference().expandU32ToU8(expected.data(), line.data(), other.data(), weights, kCount);
            ASSERT_EQ(expected, out) << odd << " above at " << place;
            Fast().expandU32ToU8(out.data(), other.data(), line.data(), weights, kCount);
            Reference().expandU32ToU8(expected.data(), other.data(), line.data(), weights, kCount);
            ASSERT_EQ(expected, out) << odd << " below at " << place;
            Fast().expandU32ToU16(wide.data(), other.data(), line.data(), weights, kCount);
            Reference().expandU32ToU16(expectedWide.data(), other.data(), line.data(), weights, kCount);
            ASSERT_EQ(expectedWide, wide) << odd << " below at " << place;
        }
    }
}

// Quotients of all sizes that no sum of bytes has: some have bytes' bits in the low half of a float.
TEST_P(VertPass, AQuotientAboveTheSamplesIsSeen) {
    constexpr std::size_t kCount = 37;
    for (const std::int32_t weightSum : {1, 2, 3, 100, 20000, 26214}) {
        for (int power = 8; power < 32; ++power) {
            for (const unsigned more : {0u, 1u, 2u, 6u, 200u, 300u}) {
                const std::uint64_t number =
                    ((std::uint64_t{1} << power) + more) * static_cast<std::uint64_t>(weightSum);
                if (number >> 32 != 0) {
                    continue;
                }
                std::vector<std::uint32_t> line(kCount, 0);
                line[static_cast<std::size_t>(power) % kCount] = static_cast<std::uint32_t>(number);
                std::vector<std::uint8_t> out(kCount), expected(kCount);
                Reference().reduceU32ToU8(expected.data(), line.data(), weightSum, kCount);
                for (const auto kernel : {Fast().reduceU32ToU8, Fast().reduceMultiplesToU8}) {
                    kernel(out.data(), line.data(), weightSum, kCount);
                    ASSERT_EQ(expected, out) << number << " / " << weightSum;
                }
                std::vector<std::uint16_t> wide(kCount), expectedWide(kCount);
                Reference().reduceU32ToU16(expectedWide.data(), line.data(), weightSum, kCount);
                for (const auto kernel : {Fast().reduceU32ToU16, Fast().reduceMultiplesToU16}) {
                    kernel(wide.data(), line.data(), weightSum, kCount);
                    ASSERT_EQ(expectedWide, wide) << number << " / " << weightSum;
                }
            }
        }
    }
}

// A host may give a weight of 0 with lines that it has given back.
TEST_P(VertPass, AWeightOfNothingTouchesNothing) {
    for (const VertKernels* kernels : {&Fast(), &Reference()}) {
        kernels->addU32(nullptr, nullptr, 0, 100);
        kernels->addF64(nullptr, nullptr, 0, 100);
    }
}

INSTANTIATE_TEST_SUITE_P(, VertPass,
                         testing::ValuesIn(platen::AvailableKernels().begin(), platen::AvailableKernels().end()),
                         [](const auto& variant) { return std::string(variant.param->name); });

}  // namespace
