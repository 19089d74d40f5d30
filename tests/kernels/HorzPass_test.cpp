#include "Sources/PX_Zoom/HorzPass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

// Every variant of the horizontal pass that this processor has, against the reference. The variants are the table
// entries themselves, so that a name in a message is what ran.

namespace {

using platen::HorzPass;
using platen::KernelTable;
using platen_test::GuardedBuffer;
using platen_test::Random;
using Side = GuardedBuffer::Against;

enum class Content { kRandom, kZero, kMost, kGradient, kEnds };

struct Shape {
    std::int32_t dst;
    std::int32_t src;
    std::int32_t samples;
};

// The table that Open makes, and whether Open would compute such a line in 32-bit arithmetic.
struct Table {
    std::vector<PX_Zoom2_Param> columns;
    bool whole;
};

Table TableOf(const Shape& shape) {
    PX_ZoomBilinear zoom;
    Table table{std::vector<PX_Zoom2_Param>(static_cast<std::size_t>(std::max(shape.dst, 1))), true};
    if (shape.src <= shape.dst) {
        zoom.Calc_ExpandParam(table.columns.data(), shape.dst, shape.src);
    } else {
        table.whole = zoom.Calc_ReducedParam(table.columns.data(), shape.dst, shape.src) == 0;
    }
    return table;
}

template <class S>
void Fill(std::uint8_t* bytes, std::size_t count, Content content, Random& random) {
    const auto most = static_cast<S>(~S{0});
    for (std::size_t i = 0; i < count; ++i) {
        S sample = 0;
        switch (content) {
            case Content::kRandom:
                sample = static_cast<S>(random.Next());
                break;
            case Content::kZero:
                break;
            case Content::kMost:
                sample = most;
                break;
            case Content::kGradient:
                sample = static_cast<S>(i);
                break;
            case Content::kEnds:
                sample = random.OneIn(2) ? most : S{0};
                break;
        }
        std::memcpy(bytes + i * sizeof(S), &sample, sizeof sample);
    }
}

void Call(const KernelTable& kernels, std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
          std::uint8_t) {
    kernels.expandHorzU8(out, src, pass);
}

void Call(const KernelTable& kernels, std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
          std::uint16_t) {
    kernels.expandHorzU16(out, reinterpret_cast<const std::uint16_t*>(src), pass);
}

// A line laid against a protected page: source, records and result, on the side given.
template <class S>
class Line {
  public:
    Line(const Shape& shape, Side side, Content content, Random& random)
        : shape_(shape),
          table_(TableOf(shape)),
          src_(static_cast<std::size_t>(shape.src * shape.samples) * sizeof(S), side),
          records_(table_.columns.size() * sizeof(PX_Zoom2_Param), side),
          expected_(static_cast<std::size_t>(shape.dst * shape.samples)),
          out_(expected_.size() * sizeof(std::uint32_t), side) {
        std::memcpy(records_.data(), table_.columns.data(), records_.size());
        Fill<S>(src_.data(), src_.size() / sizeof(S), content, random);
        platen::reference::ExpandHorz<std::uint32_t>(expected_.data(), reinterpret_cast<const S*>(src_.data()),
                                                     Pass());
    }

    bool Whole() const {
        return table_.whole;
    }

    ::testing::AssertionResult SameBy(const KernelTable& kernels) {
        std::fill(out_.bytes().begin(), out_.bytes().end(), std::uint8_t{0xA5});
        Call(kernels, Out(), src_.data(), Pass(), S{});
        for (std::size_t i = 0; i < expected_.size(); ++i) {
            if (Out()[i] != expected_[i]) {
                return ::testing::AssertionFailure()
                       << kernels.name << ": " << shape_.src << " to " << shape_.dst << ", " << shape_.samples
                       << " samples of " << sizeof(S) << ": number " << i << " is " << Out()[i] << ", not "
                       << expected_[i];
            }
        }
        return ::testing::AssertionSuccess();
    }

  private:
    HorzPass Pass() const {
        return {reinterpret_cast<const PX_Zoom2_Param*>(records_.data()), shape_.dst, shape_.src, shape_.samples};
    }
    std::uint32_t* Out() const {
        return reinterpret_cast<std::uint32_t*>(out_.data());
    }

    Shape shape_;
    Table table_;
    GuardedBuffer src_;
    GuardedBuffer records_;
    std::vector<std::uint32_t> expected_;
    GuardedBuffer out_;
};

template <class S>
void ExpectSame(const Shape& shape, Side side, Content content, Random& random) {
    Line<S> line(shape, side, content, random);
    if (!line.Whole()) {
        return;
    }
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        ASSERT_TRUE(line.SameBy(*kernels));
    }
}

void ExpectSameInAllFormats(std::int32_t dst, std::int32_t src, Side side, Content content, Random& random) {
    for (const std::int32_t samples : {1, 3, 4}) {
        ASSERT_NO_FATAL_FAILURE(ExpectSame<std::uint8_t>({dst, src, samples}, side, content, random));
        ASSERT_NO_FATAL_FAILURE(ExpectSame<std::uint16_t>({dst, src, samples}, side, content, random));
    }
}

Content AnyContent(Random& random) {
    return static_cast<Content>(random.Between(0, 4));
}

Side AnySide(Random& random) {
    return random.OneIn(2) ? Side::kPageBehind : Side::kPageBefore;
}

TEST(HorzPass, EveryVariantHasItsOwnPass) {
    const auto variants = platen::AvailableKernels();
    for (std::size_t i = 0; i < variants.size(); ++i) {
        if (std::string(variants[i]->name) == "sse2") {
            continue;  // it takes the baseline's, which have vectors there
        }
        for (std::size_t k = 0; k < i; ++k) {
            EXPECT_STRNE(variants[i]->name, variants[k]->name);
            EXPECT_NE(variants[i]->expandHorzU8, variants[k]->expandHorzU8);
            EXPECT_NE(variants[i]->expandHorzU16, variants[k]->expandHorzU16);
        }
    }
}

TEST(HorzPass, EqualsReferenceAtAllSmallSizes) {
    Random random(1);
    for (std::int32_t src = 1; src <= 48; ++src) {
        for (std::int32_t dst = 1; dst <= 48; ++dst) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameInAllFormats(dst, src, AnySide(random), AnyContent(random), random));
        }
    }
}

// There is no column beside it that could be read.
TEST(HorzPass, EqualsReferenceForSourcesOfOneColumn) {
    Random random(7);
    for (const std::int32_t dst : {1, 2, 3, 8, 33, 300}) {
        for (const Side side : {Side::kPageBehind, Side::kPageBefore}) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameInAllFormats(dst, 1, side, Content::kRandom, random));
        }
    }
}

TEST(HorzPass, EqualsReferenceAtRandomSizes) {
    Random random(2);
    for (int i = 0; i < 400; ++i) {
        const auto src = static_cast<std::int32_t>(random.Between(1, 3000));
        const auto dst = static_cast<std::int32_t>(random.Between(1, 3000));
        ASSERT_NO_FATAL_FAILURE(ExpectSameInAllFormats(dst, src, AnySide(random), AnyContent(random), random));
    }
}

// Every whole ratio, and those just beside it: other numbers of taps are fetched in another way.
TEST(HorzPass, EqualsReferenceAtAllRatios) {
    Random random(3);
    for (std::int32_t ratio = 1; ratio <= 40; ++ratio) {
        for (const std::int32_t beside : {-1, 0, 1, 37}) {
            ASSERT_NO_FATAL_FAILURE(
                ExpectSameInAllFormats(90, 90 * ratio + beside, AnySide(random), AnyContent(random), random));
        }
    }
}

// Weight sums up to 65535, the widest weights that fit 16 bits and some that don't.
TEST(HorzPass, EqualsReferenceAtHeavyWeights) {
    Random random(4);
    constexpr Shape kShapes[] = {{1, 65535, 0},     {2, 65535, 0},     {3, 65533, 0},     {7, 65500, 0},
                                 {255, 65280, 0},   {32766, 65531, 0}, {32767, 65534, 0}, {32767, 49151, 0},
                                 {32768, 65535, 0}, {40000, 50000, 0}, {32767, 32768, 0}, {32768, 32767, 0},
                                 {32768, 2, 0},     {32769, 20000, 0}, {32767, 3000, 0},  {65535, 65534, 0},
                                 {25623, 25622, 0}, {20000, 39999, 0}, {2, 65536, 0},     {40000, 3, 0}};
    for (const Shape& shape : kShapes) {
        for (const Content content : {Content::kMost, Content::kEnds, Content::kRandom}) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameInAllFormats(shape.dst, shape.src, AnySide(random), content, random));
        }
    }
}

// Widths for which Open would choose doubles: the sums wrap as the reference's do.
TEST(HorzPass, WeightsTooHeavyForTheVectorsWrapLikeTheReference) {
    Random random(6);
    for (const Shape& shape : {Shape{20000, 70000, 1}, Shape{32767, 90000, 3}, Shape{2, 200000, 4}}) {
        for (const Content content : {Content::kMost, Content::kRandom}) {
            Line<std::uint8_t> narrow(shape, AnySide(random), content, random);
            Line<std::uint16_t> wide(shape, AnySide(random), content, random);
            EXPECT_FALSE(narrow.Whole());
            for (const KernelTable* kernels : platen::AvailableKernels()) {
                EXPECT_TRUE(narrow.SameBy(*kernels));
                EXPECT_TRUE(wide.SameBy(*kernels));
            }
        }
    }
}

// Sources from every address of a vector on.
template <class S>
void ExpectSameAtEveryAddress(const Shape& shape, Random& random) {
    const Table table = TableOf(shape);
    const HorzPass pass = {table.columns.data(), shape.dst, shape.src, shape.samples};
    const auto count = static_cast<std::size_t>(shape.dst * shape.samples);
    const auto bytes = static_cast<std::size_t>(shape.src * shape.samples) * sizeof(S);
    std::vector<std::uint32_t> expected(count);
    std::vector<std::uint32_t> out(count);
    for (std::size_t shift = 0; shift < 32; ++shift) {
        alignas(64) std::uint8_t memory[2048];
        ASSERT_LE(bytes + shift, sizeof memory);
        Fill<S>(memory + shift, bytes / sizeof(S), Content::kRandom, random);
        platen::reference::ExpandHorz<std::uint32_t>(expected.data(), reinterpret_cast<const S*>(memory + shift),
                                                     pass);
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            std::fill(out.begin(), out.end(), 0xA5A5A5A5u);
            Call(*kernels, out.data(), memory + shift, pass, S{});
            ASSERT_EQ(out, expected) << kernels->name << " from address " << shift;
        }
    }
}

TEST(HorzPass, EqualsReferenceAtEveryAddress) {
    Random random(5);
    for (const std::int32_t samples : {1, 3, 4}) {
        for (const std::int32_t dst : {20, 50, 67, 100, 150}) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameAtEveryAddress<std::uint8_t>({dst, 100, samples}, random));
            ASSERT_NO_FATAL_FAILURE(ExpectSameAtEveryAddress<std::uint16_t>({dst, 100, samples}, random));
        }
    }
}

// A number that a divisor makes whole, and the one before: where a quotient that is off by the least would show.
// The destination width is the divisor of a two-pixel source, and the column chooses the sum's remainder.
template <class S>
void ExpectWholeQuotients(std::int32_t dst) {
    const Shape shape = {dst, 2, 1};
    const Table table = TableOf(shape);
    const HorzPass pass = {table.columns.data(), shape.dst, shape.src, shape.samples};
    std::vector<std::uint32_t> expected(static_cast<std::size_t>(dst));
    std::vector<std::uint32_t> out(expected.size());
    const auto most = static_cast<S>(~S{0});
    for (const S other : {S{0}, S{1}, S{127}, static_cast<S>(most / 2), static_cast<S>(most - 1)}) {
        for (const bool up : {false, true}) {
            const S line[2] = {up ? other : most, up ? most : other};
            platen::reference::ExpandHorz<std::uint32_t>(expected.data(), line, pass);
            for (const KernelTable* kernels : platen::AvailableKernels()) {
                Call(*kernels, out.data(), reinterpret_cast<const std::uint8_t*>(line), pass, S{});
                ASSERT_EQ(out, expected) << kernels->name << " by " << dst - 1;
            }
        }
    }
}

TEST(HorzPass, QuotientsBesideWholeNumbersAreRight) {
    for (const std::int32_t dst : {9, 10, 100, 1000, 4098, 25623, 32767, 32768}) {
        ASSERT_NO_FATAL_FAILURE(ExpectWholeQuotients<std::uint8_t>(dst));
        ASSERT_NO_FATAL_FAILURE(ExpectWholeQuotients<std::uint16_t>(dst));
    }
}

TEST(HorzPass, NonsensicalSizesEqualReference) {
    const PX_Zoom2_Param records[4] = {};
    const std::uint16_t line[16] = {1, 2, 3};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        std::uint32_t out[16] = {7, 7, 7, 7};
        kernels->expandHorzU8(out, reinterpret_cast<const std::uint8_t*>(line), {records, -3, 5, 3});
        kernels->expandHorzU16(out, line, {records, -3, -5, 1});
        kernels->expandHorzU16(out, line, {records, 4, 2, 0});
        kernels->expandHorzU16(out, line, {records, 4, 4, 0});
        EXPECT_EQ(out[0], 7u) << kernels->name;
        kernels->expandHorzU16(out, line, {records, 3, -5, 1});
        EXPECT_EQ(out[2], 0u) << kernels->name;
        EXPECT_EQ(out[3], 7u) << kernels->name;
    }
}

}  // namespace
