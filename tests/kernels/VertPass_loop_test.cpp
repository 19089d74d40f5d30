#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "Sources/PX_Zoom/VertPass.h"

// The vertical passes over lanes that count what they are asked for. Other tests compare bytes, and those are right
// on every path; these say which path a line takes, so that none is made slower unnoticed.

namespace platen {
namespace {

struct Counts {
    int products = 0;       // Mul32
    int floatProducts = 0;  // TruncatedProduct: a division by a float's reciprocal
    int shifts = 0;         // ShiftRight32: a division of multiples
    int divisions = 0;      // Divide32: a division of anything
    int stores = 0;         // Store, into what the pass gives
    int elsewhere = 0;      // and onto the stack
};
Counts counts;

// What the pass under test gives.
const unsigned char* results;
std::size_t resultBytes;

struct Vector {
    std::uint32_t lane[4];
};
struct Floats {
    float lane[4];
};

constexpr std::size_t kCountedLanes = 4;

template <class Of>
Vector Each(const Of& of) {
    return {{of(0), of(1), of(2), of(3)}};
}

Vector Load(const void* from) {
    Vector a;
    std::memcpy(&a, from, sizeof a);
    return a;
}

void Store(void* to, const Vector& a) {
    const std::size_t place = reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(results);
    ++(place < resultBytes ? counts.stores : counts.elsewhere);
    std::memcpy(to, &a, sizeof a);
}

Vector All32(std::uint32_t value) {
    return {{value, value, value, value}};
}

Floats AllFloats(float value) {
    return {{value, value, value, value}};
}

constexpr bool kMulsAll32 = true;

Vector Add32(const Vector& a, const Vector& b) {
    return Each([&](int i) { return a.lane[i] + b.lane[i]; });
}

Vector Mul32(const Vector& a, const Vector& factor) {
    ++counts.products;
    return Each([&](int i) { return a.lane[i] * factor.lane[i]; });
}

Vector Or(const Vector& a, const Vector& b) {
    return Each([&](int i) { return a.lane[i] | b.lane[i]; });
}

Vector And(const Vector& a, const Vector& b) {
    return Each([&](int i) { return a.lane[i] & b.lane[i]; });
}

Vector TruncatedProduct(const Vector& a, const Floats& r) {
    ++counts.floatProducts;
    return Each([&](int i) {
        const float product = static_cast<float>(static_cast<std::int32_t>(a.lane[i])) * r.lane[i];
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(product));
    });
}

struct Shift32 {
    int count;
};

Shift32 MakeShift32(int count) {
    return {count};
}

Vector ShiftRight32(const Vector& a, Shift32 by) {
    ++counts.shifts;
    return Each([&](int i) { return a.lane[i] >> by.count; });
}

struct Divisor32 {
    std::uint64_t multiplier;
    std::uint64_t addend;
    int shift;
};

Divisor32 MakeDivisor32(std::uint32_t multiplier, std::uint32_t addend, int shift) {
    return {multiplier, addend, shift};
}

Vector Divide32(const Vector& a, const Divisor32& divisor) {
    ++counts.divisions;
    return Each([&](int i) {
        return static_cast<std::uint32_t>((a.lane[i] * divisor.multiplier + divisor.addend) >>
                                          (32 + divisor.shift));
    });
}

Vector HalvesOf32(const Vector& a, const Vector& b) {
    Vector halves;
    for (std::size_t i = 0; i < kCountedLanes; ++i) {
        const std::uint16_t of[2] = {static_cast<std::uint16_t>(a.lane[i]), static_cast<std::uint16_t>(b.lane[i])};
        std::memcpy(reinterpret_cast<unsigned char*>(&halves) + 2 * i, &of[0], 2);
        std::memcpy(reinterpret_cast<unsigned char*>(&halves) + 8 + 2 * i, &of[1], 2);
    }
    return halves;
}

Vector BytesOf32(const Vector& a, const Vector& b, const Vector& c, const Vector& d) {
    Vector packed;
    for (std::size_t i = 0; i < kCountedLanes; ++i) {
        const std::uint32_t of[4] = {a.lane[i], b.lane[i], c.lane[i], d.lane[i]};
        for (std::size_t k = 0; k < 4; ++k) {
            reinterpret_cast<unsigned char*>(&packed)[4 * k + i] = static_cast<unsigned char>(of[k]);
        }
    }
    return packed;
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET counted
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"

namespace {

using platen::Counts;
using platen::counts;
using platen::kVert_counted;
using platen::kVert_reference;
using platen::VertKernels;
using platen::VertWeights;

constexpr std::uint32_t kFloatDivisors = 26214;  // the largest divisor of bytes that floats divide by
constexpr std::uint32_t kFactors = 65535;        // the largest factor that all lanes take

// Four registers of 32 bits make one of bytes, two make one of 16 bits.
template <class S>
constexpr std::size_t kStep = 16 / sizeof(S);

template <class T>
void CountInto(const std::vector<T>& out) {
    counts = {};
    platen::results = reinterpret_cast<const unsigned char*>(out.data());
    platen::resultBytes = out.size() * sizeof(T);
}

using Numbers = std::vector<std::uint32_t>;

// A line's numbers divided by `weightSum`, with what that took. The bytes are those of the reference.
Counts Reduced(const Numbers& acc, std::uint32_t weightSum,
               void (*VertKernels::*kernel)(std::uint8_t*, const std::uint32_t*, std::int32_t, std::size_t)) {
    std::vector<std::uint8_t> out(acc.size());
    std::vector<std::uint8_t> expected(acc.size());
    const auto divisor = static_cast<std::int32_t>(weightSum);
    CountInto(out);
    (kVert_counted.*kernel)(out.data(), acc.data(), divisor, acc.size());
    kVert_reference.reduceU32ToU8(expected.data(), acc.data(), divisor, acc.size());
    EXPECT_EQ(out, expected) << weightSum;
    return counts;
}

template <class S>
Counts Expanded(void (*VertKernels::*kernel)(S*, const std::uint32_t*, const std::uint32_t*, const VertWeights&,
                                             std::size_t),
                std::uint32_t above, std::uint32_t below, std::size_t count = kStep<S>) {
    const Numbers upper(count, std::numeric_limits<S>::max());
    const Numbers lower(count, 3);
    const VertWeights weights = {static_cast<std::int32_t>(above), static_cast<std::int32_t>(below),
                                 static_cast<std::int32_t>(above + below)};
    std::vector<S> out(count);
    std::vector<S> expected(count);
    CountInto(out);
    (kVert_counted.*kernel)(out.data(), upper.data(), lower.data(), weights, count);
    (kVert_reference.*kernel)(expected.data(), upper.data(), lower.data(), weights, count);
    EXPECT_EQ(out, expected) << above << ' ' << below;
    return counts;
}

// What fills a register's bytes is stored where it belongs; only what is left over is made on the stack, and
// nothing is where nothing is left.
TEST(VertPassPaths, WholeBlocksAreStoredInPlace) {
    for (const std::size_t blocks : {1u, 2u, 5u}) {
        for (const std::size_t left : {0u, 1u, 15u}) {
            const Numbers line(16 * blocks + left, 7);
            std::vector<std::uint8_t> out(line.size());
            CountInto(out);
            kVert_counted.equalToU8(out.data(), line.data(), line.size());
            EXPECT_EQ(counts.stores, static_cast<int>(blocks)) << left;
            EXPECT_EQ(counts.elsewhere, left != 0 ? 1 : 0) << blocks;

            const Counts two = Expanded(&VertKernels::expandU32ToU8, 1, 1, line.size());
            EXPECT_EQ(two.stores, static_cast<int>(blocks)) << left;
            EXPECT_EQ(two.elsewhere, left != 0 ? 2 : 1) << blocks;  // one of them the lines' bits
        }
    }
}

// A line times a weight: four samples at once as far as they go, with every weight that the lanes take.
TEST(VertPassPaths, SumsTakeFourSamplesAtOnce) {
    for (const auto kernel : {kVert_counted.setU32, kVert_counted.addU32}) {
        for (const std::size_t count : {3u, 4u, 7u, 8u, 11u}) {
            const Numbers line(count, 200);
            Numbers acc(count, 1);
            for (const std::uint32_t weight : {std::uint32_t{1}, kFactors}) {
                CountInto(acc);
                kernel(acc.data(), line.data(), static_cast<std::int32_t>(weight), count);
                EXPECT_EQ(counts.products, static_cast<int>(count / 4)) << count << ' ' << weight;
            }
            CountInto(acc);
            kernel(acc.data(), line.data(), static_cast<std::int32_t>(kFactors + 1), count);
            EXPECT_EQ(counts.products, 0) << count;
        }
    }
}

TEST(VertPassPaths, WeightOfNothingTouchesNothing) {
    const Numbers line(8, 200);
    Numbers acc(8, 1);
    CountInto(acc);
    kVert_counted.addU32(acc.data(), line.data(), 0, 8);
    EXPECT_EQ(counts.products + counts.stores, 0);
    EXPECT_EQ(acc, Numbers(8, 1));
}

// Sums of bytes go through floats up to the divisor that the proof reaches, and through nothing else.
TEST(VertPassPaths, SumsOfBytesAreDividedByFloats) {
    for (const std::uint32_t divisor : {std::uint32_t{1}, std::uint32_t{3}, std::uint32_t{256}, kFloatDivisors}) {
        Numbers acc(16);
        for (std::uint32_t k = 0; k < 16; ++k) {
            acc[k] = (255 - k) * divisor;
        }
        const Counts used = Reduced(acc, divisor, &VertKernels::reduceU32ToU8);
        EXPECT_EQ(used.floatProducts, 4) << divisor;
        EXPECT_EQ(used.divisions, 0) << divisor;
    }
    const Counts above =
        Reduced(Numbers(16, 255 * (kFloatDivisors + 1)), kFloatDivisors + 1, &VertKernels::reduceU32ToU8);
    EXPECT_EQ(above.floatProducts, 0);
    EXPECT_EQ(above.divisions, 4);
}

// A sum that no bytes make is divided again: its quotient has more than eight bits.
TEST(VertPassPaths, OtherSumsAreDividedAgain) {
    Numbers acc(16, 255 * 3);
    acc[5] = 256 * 3;
    const Counts used = Reduced(acc, 3, &VertKernels::reduceU32ToU8);
    EXPECT_EQ(used.floatProducts, 4);
    EXPECT_EQ(used.divisions, 4);
}

// Multiples of a divisor's odd part take a product and a shift, up to the largest quotient of a byte.
TEST(VertPassPaths, MultiplesAreShifted) {
    for (const std::uint32_t odd : {1u, 3u, 4095u, 65535u}) {
        for (std::uint32_t shift = 0; odd << shift <= kFactors; ++shift) {
            const std::uint32_t divisor = odd << shift;
            Numbers acc(16, 17 * divisor);
            acc[3] = 255 * divisor + odd * ((1u << shift) - 1);  // the largest multiple with the quotient 255
            const Counts used = Reduced(acc, divisor, &VertKernels::reduceMultiplesToU8);
            EXPECT_EQ(used.shifts, 4) << divisor;
            EXPECT_EQ(used.floatProducts + used.divisions, 0) << divisor;

            acc[3] += odd;  // the next has the quotient 256
            const Counts again = Reduced(acc, divisor, &VertKernels::reduceMultiplesToU8);
            EXPECT_EQ(again.shifts, 4) << divisor;
            EXPECT_EQ(again.divisions, 4) << divisor;
        }
    }
    const Counts large = Reduced(Numbers(16, 65536 * 3), 65536, &VertKernels::reduceMultiplesToU8);
    EXPECT_EQ(large.shifts, 0);
    EXPECT_EQ(large.divisions, 4);
}

// Two lines of samples with weights that make up their sum: bytes by floats as far as the proof reaches, 16 bits
// and larger sums by the divisor, all that the lanes' factors allow.
TEST(VertPassPaths, TwoLinesAreCombinedInLanes) {
    for (const auto& [above, below] : {std::pair<std::uint32_t, std::uint32_t>{1, 0},
                                       {0, 1},
                                       {1, 1},
                                       {kFloatDivisors, 0},
                                       {kFloatDivisors - 1, 1}}) {
        const Counts bytes = Expanded(&VertKernels::expandU32ToU8, above, below);
        EXPECT_EQ(bytes.products, 8) << above << ' ' << below;
        EXPECT_EQ(bytes.floatProducts, 4) << above << ' ' << below;
        EXPECT_EQ(bytes.divisions, 0) << above << ' ' << below;
    }
    for (const auto& [above, below] : {std::pair<std::uint32_t, std::uint32_t>{kFloatDivisors, 1},
                                       {kFactors, 0},
                                       {0, kFactors},
                                       {kFactors, kFactors}}) {
        const Counts bytes = Expanded(&VertKernels::expandU32ToU8, above, below);
        EXPECT_EQ(bytes.floatProducts, 0) << above << ' ' << below;
        EXPECT_EQ(bytes.divisions, 4) << above << ' ' << below;
    }
    for (const auto& [above, below] :
         {std::pair<std::uint32_t, std::uint32_t>{1, 0}, {3, 4}, {kFactors, 0}, {0, kFactors}}) {
        const Counts wide = Expanded(&VertKernels::expandU32ToU16, above, below);
        EXPECT_EQ(wide.products, 4) << above << ' ' << below;
        EXPECT_EQ(wide.floatProducts, 0) << above << ' ' << below;
        EXPECT_EQ(wide.divisions, 2) << above << ' ' << below;
    }
    for (const auto& [above, below] :
         {std::pair<std::uint32_t, std::uint32_t>{kFactors + 1, 0}, {0, kFactors + 1}}) {
        EXPECT_EQ(Expanded(&VertKernels::expandU32ToU8, above, below).products, 0) << above << ' ' << below;
    }
}

}  // namespace
