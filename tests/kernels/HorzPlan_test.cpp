#include "Sources/PX_Zoom/HorzPlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/Geometry.h"
#include "support/Checksum.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

// Every variant's pass by a plan against the reference. The line, the result, the sums and the plan's room lie
// against protected pages, so whoever leaves them ends the test.

namespace {

using platen::HorzPass;
using platen::HorzPlan;
using platen::HorzTarget;
using platen::KernelTable;
using platen::PlanRoom;
using platen_test::GuardedBuffer;
using platen_test::Random;
using Side = GuardedBuffer::Against;

struct Shape {
    std::int32_t dst;
    std::int32_t src;
    std::int32_t samples;
    std::int32_t bytes = 1;  // of a sample
};

std::string Describe(const Shape& shape) {
    return std::to_string(shape.src) + " to " + std::to_string(shape.dst) + ", " + std::to_string(shape.samples) +
           " samples of " + std::to_string(shape.bytes);
}

std::vector<const KernelTable*> VariantsWithPlans() {
    std::vector<const KernelTable*> found;
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        if (kernels->horz->kinds != 0) {
            found.push_back(kernels);
        }
    }
    return found;
}

std::size_t Size(std::int32_t value) {
    return static_cast<std::size_t>(value);
}

// The room that Open leaves: a work line's buffer without its numbers.
std::size_t RoomBytes(const Shape& shape) {
    const std::size_t bytes = Size(std::max(shape.dst, shape.src)) * Size(8 * shape.samples * shape.bytes + 7);
    return bytes - Size(shape.dst * shape.samples) * sizeof(std::uint32_t);
}

void Reference(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass) {
    if (pass.sampleBytes == 1) {
        platen::reference::ExpandHorz<std::uint32_t>(out, src, pass);
    } else {
        platen::reference::ExpandHorz<std::uint32_t>(out, reinterpret_cast<const std::uint16_t*>(src), pass);
    }
}

// As Send does it: false where there is no plan.
bool Follow(const KernelTable& kernels, std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass,
            const PlanRoom& room) {
    HorzPlan plan;
    if (!platen::FindPlan(plan, pass, room, kernels.horz->kinds)) {
        return false;
    }
    kernels.horz->follow({out, nullptr, 0, false}, src, pass, plan);
    return true;
}

std::vector<PX_Zoom2_Param> TableOf(const Shape& shape) {
    std::vector<PX_Zoom2_Param> columns(Size(shape.dst));
    PX_ZoomBilinear zoom;
    if (shape.src <= shape.dst) {
        zoom.Calc_ExpandParam(columns.data(), shape.dst, shape.src);
    } else {
        zoom.Calc_ReducedParam(columns.data(), shape.dst, shape.src);
    }
    return columns;
}

// A line, its table and its room.
class Line {
  public:
    Line(const Shape& shape, std::size_t roomBytes, Side side, Random& random)
        : shape_(shape),
          columns_(TableOf(shape)),
          src_(Size(shape.src * shape.samples * shape.bytes), side),
          out_(Size(shape.dst * shape.samples) * sizeof(std::uint32_t), side),
          sums_(out_.size(), side),
          room_(roomBytes, side, 0) {
        NewSource(random);
    }

    void NewSource(Random& random) {
        const bool ends = random.OneIn(3);
        for (std::uint8_t& sample : src_.bytes()) {
            sample = ends ? static_cast<std::uint8_t>(random.OneIn(5) ? 0 : 255) : random.Byte();
        }
    }

    // Samples that go back and forth between a number and the next.
    void NewNeighbours(std::uint16_t low) {
        const auto bytes = Size(shape_.bytes);
        for (std::size_t i = 0; i < src_.size() / bytes; ++i) {
            SetSample(i, static_cast<std::uint16_t>(low + i % 2));
        }
    }

    void SetSample(std::size_t index, std::uint16_t sample) {
        if (shape_.bytes == 1) {
            src_[index] = static_cast<std::uint8_t>(sample);
        } else {
            std::memcpy(src_.data() + 2 * index, &sample, sizeof sample);
        }
    }

    bool Run(const KernelTable& kernels) {
        std::fill(out_.bytes().begin(), out_.bytes().end(), kUntouched);
        return Follow(kernels, Out(), src_.data(), Pass(), {room_.data(), room_.size()});
    }

    // The line with its sum, where the kernel makes it.
    ::testing::AssertionResult IsSummedBy(const KernelTable& kernels, std::int32_t weight, bool first,
                                          Random& random) {
        const PlanRoom room = {room_.data(), room_.size()};
        HorzPlan plan;
        if (!platen::FindPlan(plan, Pass(), room, kernels.horz->kinds) ||
            (kernels.horz->sums & platen::PlanBit(plan.kind)) == 0) {
            return ::testing::AssertionSuccess();
        }
        auto* const sums = reinterpret_cast<std::uint32_t*>(sums_.data());
        for (std::uint8_t& byte : sums_.bytes()) {
            byte = random.Byte();
        }
        std::vector<std::uint32_t> line(out_.size() / sizeof(std::uint32_t));
        std::vector<std::uint32_t> expected(sums, sums + line.size());
        Reference(line.data(), src_.data(), Pass());
        for (std::size_t i = 0; i < line.size(); ++i) {
            expected[i] = (first ? 0 : expected[i]) + line[i] * static_cast<std::uint32_t>(weight);
        }
        kernels.horz->follow({Out(), sums, weight, first}, src_.data(), Pass(), plan);
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (Out()[i] != line[i] || sums[i] != expected[i]) {
                return ::testing::AssertionFailure()
                       << Describe(shape_) << ", kind " << plan.kind << ", weight " << weight << ": number " << i
                       << " is " << Out()[i] << ", not " << line[i] << "; its sum " << sums[i] << ", not "
                       << expected[i] << ", " << kernels.name;
            }
        }
        return ::testing::AssertionSuccess();
    }

    // The result is the reference's, in all columns or the first ones, or there is none.
    ::testing::AssertionResult IsRight(bool planned, std::size_t columns = SIZE_MAX) {
        std::vector<std::uint32_t> expected(out_.size() / sizeof(std::uint32_t), 0);
        std::memset(expected.data(), kUntouched, out_.size());
        if (planned) {
            Reference(expected.data(), src_.data(), Pass());
        }
        const std::size_t last = columns == SIZE_MAX ? expected.size() : columns * Size(shape_.samples);
        for (std::size_t i = 0; i < last; ++i) {
            if (Out()[i] != expected[i]) {
                return ::testing::AssertionFailure()
                       << Describe(shape_) << (planned ? "" : ", refused") << ": number " << i << " is " << Out()[i]
                       << ", not " << expected[i];
            }
        }
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult IsRightBy(const KernelTable& kernels) {
        return IsRight(Run(kernels)) << ", " << kernels.name;
    }

    std::vector<PX_Zoom2_Param>& columns() {
        return columns_;
    }
    GuardedBuffer& room() {
        return room_;
    }

  private:
    static constexpr std::uint8_t kUntouched = 0xA5;

    HorzPass Pass() const {
        return {columns_.data(), shape_.dst, shape_.src, shape_.samples, shape_.bytes};
    }
    std::uint32_t* Out() const {
        return reinterpret_cast<std::uint32_t*>(out_.data());
    }

    Shape shape_;
    std::vector<PX_Zoom2_Param> columns_;
    GuardedBuffer src_;
    GuardedBuffer out_;
    GuardedBuffer sums_;
    GuardedBuffer room_;
};

Side AnySide(Random& random) {
    return random.OneIn(2) ? Side::kPageBehind : Side::kPageBefore;
}

void ExpectRight(const Shape& shape, Random& random) {
    Line line(shape, RoomBytes(shape), AnySide(random), random);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        ASSERT_TRUE(line.IsRightBy(*kernels));  // makes the plan, where the last variant's isn't its own
        line.NewSource(random);
        ASSERT_TRUE(line.IsRightBy(*kernels));  // finds it
    }
}

void ExpectRightInAllFormats(std::int32_t dst, std::int32_t src, Random& random) {
    for (const std::int32_t samples : {1, 3, 4}) {
        for (const std::int32_t bytes : {1, 2}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRight({dst, src, samples, bytes}, random));
        }
    }
}

// The plan that records have in a room, or one of kind 0. Its blocks are gone.
HorzPlan PlanOf(const KernelTable& kernels, const Shape& shape, const std::vector<PX_Zoom2_Param>& columns,
                std::size_t roomBytes) {
    std::vector<std::uint8_t> room(64 + roomBytes);
    std::uint8_t* const begin = room.data() + (-reinterpret_cast<std::uintptr_t>(room.data()) & 63);
    const HorzPass pass = {columns.data(), shape.dst, shape.src, shape.samples, shape.bytes};
    HorzPlan plan = {};
    return platen::FindPlan(plan, pass, {begin, roomBytes}, kernels.horz->kinds) ? plan : HorzPlan{};
}

// Its kind.
std::int32_t KindOfPlan(const KernelTable& kernels, const Shape& shape, const std::vector<PX_Zoom2_Param>& columns,
                        std::size_t roomBytes) {
    return PlanOf(kernels, shape, columns, roomBytes).kind;
}

TEST(HorzPlan, EveryVariantHasItsOwnFollower) {
    const auto variants = platen::AvailableKernels();
    for (std::size_t i = 0; i < variants.size(); ++i) {
        const std::string name = variants[i]->name;
        if (name == "avx512" || name == "neon" || name == "simd128") {
            continue;  // they take those of the target before them
        }
        for (std::size_t k = 0; k < i; ++k) {
            EXPECT_NE(variants[i]->horz, variants[k]->horz);
            EXPECT_TRUE(variants[i]->horz->kinds == 0 || variants[i]->horz->follow != variants[k]->horz->follow);
        }
    }
}

TEST(HorzPlan, VariantsWithWideRegistersHavePlansOfAllKinds) {
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        if (std::strncmp(kernels->name, "avx", 3) == 0) {
            EXPECT_EQ(platen::PlanBit(platen::kPlanKinds) - platen::PlanBit(platen::kPairs1), kernels->horz->kinds);
        }
    }
}

TEST(HorzPlan, EqualsReferenceAtAllSmallSizes) {
    Random random(1);
    for (std::int32_t src = 1; src <= 44; ++src) {
        for (std::int32_t dst = 1; dst <= 44; ++dst) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(dst, src, random));
        }
    }
}

TEST(HorzPlan, EqualsReferenceAtRandomSizes) {
    Random random(2);
    for (int i = 0; i < 700; ++i) {
        const auto src = static_cast<std::int32_t>(random.Between(1, 3000));
        const auto dst = static_cast<std::int32_t>(random.Between(1, 3000));
        ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(dst, src, random));
    }
}

// By 2, 3, 4 and 6 and other whole numbers, in lines of every length about those of a vector.
TEST(HorzPlan, EqualsReferenceAtWholeRatios) {
    Random random(16);
    for (std::int32_t ratio = 2; ratio <= 9; ++ratio) {
        for (std::int32_t dst = 1; dst <= 70; ++dst) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(dst, dst * ratio, random));
        }
        for (const std::int32_t dst : {511, 1240, 65535 / ratio, 65535 / ratio + 1}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(dst, dst * ratio, random));
        }
    }
}

// Where there is one only, the others aren't defined.
constexpr int kRoundings[] = {
    FE_TONEAREST,
#if defined(FE_UPWARD) && defined(FE_DOWNWARD) && defined(FE_TOWARDZERO)
    FE_UPWARD,
    FE_DOWNWARD,
    FE_TOWARDZERO,
#endif
};

// Every sum of 16-bit samples by 3 and 6, and of bytes by all four, with the processor rounding in any direction.
TEST(HorzPlan, EverySumOfWholePositionsHasTheRightQuotient) {
    const int before = std::fegetround();
    Random random(17);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const std::int32_t bytes : {1, 2}) {
            for (const std::int32_t ratio : {2, 3, 4, 6}) {
                for (const std::int32_t samples : {1, 3}) {
                    const Shape shape = {std::min(10000, 65535 / ratio), std::min(10000, 65535 / ratio) * ratio,
                                         samples, bytes};
                    Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
                    const std::int64_t most = (bytes == 1 ? 255 : 65535) * ratio;
                    std::int64_t sum = 0;
                    while (sum <= most) {
                        for (std::int64_t c = 0; c < shape.dst; ++c, ++sum) {
                            std::int64_t left = std::min(sum, most);
                            for (std::int64_t t = 0; t < ratio; ++t) {
                                const std::int64_t part = std::min<std::int64_t>(left, bytes == 1 ? 255 : 65535);
                                left -= part;
                                for (std::int64_t s = 0; s < samples; ++s) {
                                    line.SetSample(static_cast<std::size_t>((c * ratio + t) * samples + s),
                                                   static_cast<std::uint16_t>(part));
                                }
                            }
                        }
                        const int rounding = kRoundings[static_cast<std::size_t>(sum) % std::size(kRoundings)];
                        std::fesetround(rounding);
                        const bool planned = line.Run(*kernels);
                        std::fesetround(before);
                        ASSERT_TRUE(planned) << Describe(shape) << ", " << kernels->name;
                        ASSERT_TRUE(line.IsRight(true)) << kernels->name << ", rounding " << rounding;
                    }
                }
            }
        }
    }
}

// The sum of lines is updated in the same pass, with any weight, modulo 2^32.
TEST(HorzPlan, SumsAreMadeWithTheLine) {
    Random random(18);
    for (int round = 0; round < 1200; ++round) {
        const auto ratio = static_cast<std::int32_t>(random.Between(1, 7));
        const auto dst = static_cast<std::int32_t>(random.Between(8, round % 7 == 0 ? 700 : 90));
        const std::int32_t rest = random.OneIn(2) ? 0 : static_cast<std::int32_t>(random.Between(0, dst - 1));
        const Shape shape = {dst, dst * ratio + rest, std::int32_t{1} + 2 * (round % 2) + (round % 8 == 7 ? 1 : 0),
                             1 + round / 2 % 2};
        Line line(shape, RoomBytes(shape), AnySide(random), random);
        for (const KernelTable* kernels : VariantsWithPlans()) {
            for (const std::int32_t weight :
                 {dst, 0, 1, 32767, 32768, 65535, -3, static_cast<std::int32_t>(random.Next())}) {
                ASSERT_TRUE(line.IsSummedBy(*kernels, weight, random.OneIn(2), random));
            }
        }
    }
}

// Lines as wide as the source.
TEST(HorzPlan, KeptLinesAreTheSource) {
    Random random(19);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (std::size_t count = 0; count < 130; ++count) {
            const GuardedBuffer src(2 * count + count % 2, AnySide(random));
            const GuardedBuffer out(4 * count);
            for (std::uint8_t& byte : src.bytes()) {
                byte = random.Byte();
            }
            auto* const numbers = reinterpret_cast<std::uint32_t*>(out.data());
            kernels->horz->keepU8(numbers, src.data() + src.size() - count, count);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(src[src.size() - count + i], numbers[i]) << kernels->name;
            }
            kernels->horz->keepU16(numbers, src.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                std::uint16_t sample;
                std::memcpy(&sample, src.data() + 2 * i, sizeof sample);
                ASSERT_EQ(sample, numbers[i]) << kernels->name;
            }
        }
    }
}

// Every whole ratio and those beside it, which have other numbers of taps.
TEST(HorzPlan, EqualsReferenceAtAllRatios) {
    Random random(3);
    for (std::int32_t tenths = 10; tenths <= 90; ++tenths) {
        for (const std::int32_t beside : {-1, 0, 1}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(100, 10 * tenths + beside, random));
            ASSERT_NO_FATAL_FAILURE(ExpectRight({10 * tenths + beside, 100, 3}, random));
            ASSERT_NO_FATAL_FAILURE(ExpectRight({10 * tenths + beside, 100, 3, 2}, random));
        }
    }
    for (std::int32_t ratio = 9; ratio <= 40; ++ratio) {
        for (const std::int32_t beside : {-1, 0, 1, 37}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightInAllFormats(90, 90 * ratio + beside, random));
        }
    }
}

// Divisors up to the largest that plans take, and those above.
TEST(HorzPlan, EqualsReferenceAtHeavyWeights) {
    Random random(4);
    constexpr Shape kShapes[] = {
        {10000, 21840, 1}, {10001, 21845, 1}, {14000, 21846, 1}, {17000, 21840, 1}, {17001, 21846, 1},
        {15000, 32000, 1}, {4000, 21845, 1},  {3641, 21845, 1},  {3500, 24000, 1},  {21845, 2, 1},
        {21846, 20000, 1}, {21847, 16, 1},    {21846, 9000, 3},  {21846, 9000, 4},  {21847, 9000, 3},
        {14000, 21840, 3}, {10001, 21845, 4}, {6000, 21840, 3},  {14000, 21846, 3}, {14000, 30000, 4},
        {9000, 30000, 3},  {32768, 9000, 1},  {40000, 39999, 3}, {70000, 60000, 1}, {32767, 39999, 3},
        {32768, 39999, 3}, {8, 65535, 1},     {9, 65533, 1},     {255, 65280, 1},   {32766, 65531, 1},
        {32767, 65534, 1}, {32767, 49151, 1}, {32768, 65535, 1}, {40000, 50000, 1}, {32767, 32768, 1},
        {32768, 32767, 1}, {32769, 20000, 1}, {32767, 3000, 1},  {65535, 65534, 1}, {25623, 25622, 1},
        {20000, 39999, 1}, {9, 65536, 1}};
    for (Shape shape : kShapes) {
        for (shape.bytes = 1; shape.bytes <= 2; ++shape.bytes) {
            for (int i = 0; i < 2; ++i) {
                ASSERT_NO_FATAL_FAILURE(ExpectRight(shape, random));
            }
        }
    }
}

// The last numbers before a whole quotient, with the processor rounding in any direction. Enlarging pixels that
// differ by one makes every remainder of the divisor.
TEST(HorzPlan, QuotientsBesideWholeNumbersAreRightInAnyRounding) {
    Random random(11);
    const int before = std::fegetround();
    for (const std::int32_t dst :
         {25844, 25858, 21846, 21845, 21844, 16385, 16384, 13108, 8193, 4099, 1025, 257, 100}) {
        for (const Shape& shape :
             {Shape{dst, 17, 1}, Shape{dst / 2, dst / 4 * 3, 1}, Shape{dst / 2, dst / 4 * 3, 3},
              Shape{dst, 17, 1, 2}, Shape{dst / 2, dst / 4 * 3, 3, 2}}) {
            for (const int rounding : kRoundings) {
                Line line(shape, RoomBytes(shape), AnySide(random), random);
                const std::int64_t most = shape.bytes == 1 ? 254 : 65534;
                line.NewNeighbours(static_cast<std::uint16_t>(random.OneIn(2) ? most : random.Between(0, most)));
                for (const KernelTable* kernels : VariantsWithPlans()) {
                    std::fesetround(rounding);
                    const bool planned = line.Run(*kernels);
                    std::fesetround(before);
                    ASSERT_TRUE(planned) << Describe(shape);
                    ASSERT_TRUE(line.IsRight(planned)) << kernels->name << ", rounding " << rounding;
                }
            }
        }
    }
}

// The tables that pages need get a plan, in the room available; those out of reach get none.
TEST(HorzPlan, PagesAreScaledByPlans) {
    Random random(5);
    constexpr Shape kPlanned[] = {
        {1653, 2480, 1}, {2000, 2480, 1}, {1780, 2480, 1}, {1240, 2480, 1}, {992, 2480, 1},  {826, 2480, 1},
        {413, 2480, 1},  {2480, 4960, 1}, {3720, 2480, 1}, {4960, 2480, 1}, {3720, 2480, 3}, {4960, 2480, 3},
        {3720, 2480, 4}, {2481, 2480, 3}, {1654, 4961, 1}, {1653, 2480, 3}, {1240, 2480, 3}, {992, 2480, 3},
        {826, 2480, 3},  {2479, 2480, 3}, {1653, 2480, 4}, {992, 2480, 4},  {2479, 2480, 1}, {300, 2480, 1},
        {413, 2480, 3},  {826, 2480, 4}};
    constexpr Shape kNot[] = {{2480, 2480, 1}, {2480, 1, 3}, {7, 20, 1}, {20, 5, 1}, {20, 12, 2}};
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (Shape shape : kPlanned) {
            for (shape.bytes = 1; shape.bytes <= 2; ++shape.bytes) {
                Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
                EXPECT_TRUE(line.Run(*kernels)) << Describe(shape) << ", " << kernels->name;
                EXPECT_TRUE(line.IsRight(true));
            }
        }
        for (const Shape& shape : kNot) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            EXPECT_FALSE(line.Run(*kernels)) << Describe(shape);
            EXPECT_TRUE(line.IsRight(false));
        }
    }
}

// Every size's kind of plan, in the room that Open leaves and in two thirds of it, as one number: a plan that was
// lost would only cost time, and so nothing else would tell.
TEST(HorzPlan, EachSizeHasThePlanThatItHad) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        const auto kindOf = [&](const Shape& shape, std::size_t thirds) {
            return KindOfPlan(*kernels, shape, TableOf(shape), thirds * RoomBytes(shape) / 3);
        };
        platen_test::Checksum kinds;
        int planned = 0;
        for (std::int32_t dst = 1; dst <= 60; ++dst) {
            for (std::int32_t src = 1; src <= 240; src += src < 100 ? 1 : 7) {
                for (const std::int32_t samples : {1, 3, 4}) {
                    for (const std::size_t thirds : {std::size_t{3}, std::size_t{2}}) {
                        for (const std::int32_t bytes : {1, 2}) {
                            const std::int32_t kind = kindOf({dst, src, samples, bytes}, thirds);
                            kinds.Add(static_cast<std::uint32_t>(kind));
                            planned += kind != 0 ? 1 : 0;
                        }
                    }
                }
            }
        }
        const bool wide = std::strcmp(kernels->name, "sse2") != 0;  // all but it have byte shuffles
        EXPECT_EQ(kinds.Value(), wide ? 0x2845335B2B7B3028u : 0x6728662156F7FEA5u) << kernels->name;
        EXPECT_EQ(planned, wide ? 67448 : 67242) << kernels->name;
    }
}

// The largest sizes and the heaviest weights that have a plan, where the kernels take all kinds.
TEST(HorzPlan, LimitsArePlannedAndNothingPastThem) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        if (std::strcmp(kernels->name, "sse2") == 0) {
            continue;
        }
        const auto kindOf = [&](const Shape& shape, const std::vector<PX_Zoom2_Param>& columns) {
            return KindOfPlan(*kernels, shape, columns, 2 * RoomBytes(shape));  // more than enough
        };
        const auto opened = [&](const Shape& shape) { return kindOf(shape, TableOf(shape)); };
        EXPECT_EQ(opened({21846, 20000, 1}), platen::kEnlarge);
        EXPECT_EQ(opened({21847, 20000, 1}), platen::kTaps);
        EXPECT_EQ(opened({32768, 30000, 1}), platen::kTaps);
        EXPECT_EQ(opened({32769, 30000, 1}), 0);
        EXPECT_EQ(opened({21845, 3 * 21845, 1}), platen::kWhole3);
        EXPECT_EQ(opened({21846, 3 * 21846, 1}), 0);

        // Columns of two whole weights between those of the ends.
        const auto edited = [&](std::int32_t first, std::int32_t last, std::int32_t dst) {
            const Shape shape = {dst, 3 * dst + 20, 1, 2};
            std::vector<PX_Zoom2_Param> columns;
            for (std::int32_t c = 0; c < dst; ++c) {
                columns.push_back({3 * c, first, 3 * c + 2, last, 0, first + 2 * dst + last, 0});
            }
            return kindOf(shape, columns);
        };
        EXPECT_EQ(edited(32767, 32688, 40), platen::kTaps);  // 65535 together
        EXPECT_EQ(edited(32767, 32689, 40), 0);
        EXPECT_EQ(edited(32688, 32767, 40), platen::kTaps);
        EXPECT_EQ(edited(32768, 1, 40), 0);
        EXPECT_EQ(edited(1, 32768, 40), 0);
        EXPECT_EQ(edited(0, 0, 40), platen::kTaps);
        EXPECT_EQ(edited(-1, 0, 40), 0);

        // Four columns that begin at one place, each of so many taps.
        const auto shared = [&](std::int32_t taps) {
            std::vector<PX_Zoom2_Param> columns;
            for (std::int32_t c = 0; c < 40; ++c) {
                columns.push_back({c / 4 * 16, 40, c / 4 * 16 + taps - 1, 0, 0, taps * 40, 0});
            }
            return kindOf({40, 300, 1}, columns);
        };
        EXPECT_EQ(shared(2), platen::kPairs1);
        EXPECT_EQ(shared(3), platen::kPairs2);
        EXPECT_EQ(shared(4), platen::kPairs2);
        EXPECT_EQ(shared(5), platen::kPairs3);
        EXPECT_EQ(shared(6), platen::kPairs3);
        EXPECT_EQ(shared(7), platen::kQuads);
    }
}

TEST(HorzPlan, SumsAreMadeWithAllKindsButTaps) {
    using platen::PlanBit;
    const std::uint32_t without = PlanBit(platen::kPixels) | PlanBit(platen::kEnlarge) | PlanBit(platen::kTaps) |
                                  PlanBit(platen::kTapsDivided);
    EXPECT_EQ(platen::kSummedKinds, PlanBit(platen::kPlanKinds) - PlanBit(platen::kPairs1) - without);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        const std::uint32_t sums = kernels->horz->sums;
        EXPECT_TRUE(sums == 0 || sums == platen::kSummedKinds) << kernels->name;
        EXPECT_TRUE(sums != 0 || std::strncmp(kernels->name, "avx", 3) != 0) << kernels->name;
    }
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        EXPECT_EQ(kernels->horz->sums & ~kernels->horz->kinds, 0u) << kernels->name;
    }
}

// There is nothing to plan: blocks would take room that a narrow line doesn't have.
TEST(HorzPlan, WholePositionsNeedNoRoomButTheHeaders) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        if ((kernels->horz->kinds & platen::PlanBit(platen::kWhole2)) == 0) {
            continue;
        }
        for (const auto& [ratio, kind] : {std::pair{2, platen::kWhole2}, std::pair{3, platen::kWhole3},
                                          std::pair{4, platen::kWhole4}, std::pair{6, platen::kWhole6}}) {
            const Shape shape = {40, 40 * ratio, 1};
            EXPECT_EQ(KindOfPlan(*kernels, shape, TableOf(shape), 64), kind);
            EXPECT_EQ(KindOfPlan(*kernels, shape, TableOf(shape), 63), 0);
        }
    }
}

// The records are needed for the first line only, but for the columns that a plan leaves.
TEST(HorzPlan, APlanServesWithoutRecords) {
    Random random(6);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape :
             {Shape{800, 1200, 1}, Shape{300, 1500, 1}, Shape{900, 600, 3}, Shape{600, 2400, 1}}) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            ASSERT_TRUE(line.Run(*kernels));
            const auto records = line.columns();
            std::memset(line.columns().data(), 0x5A, records.size() * sizeof records[0]);
            ASSERT_TRUE(line.Run(*kernels));
            line.columns() = records;
            ASSERT_TRUE(line.IsRight(true, Size(shape.dst - 16))) << kernels->name;
        }
    }
}

// The records are read for every line where four bytes from a column's first tap on would leave it, which are those
// of the last block only: all other columns are the plan's.
TEST(HorzPlan, OnlyTheLastBlockOfThreeTapsNeedsTheRecords) {
    Random random(21);
    constexpr std::int32_t kColumns = 24;
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const std::int32_t src : {49, 50, 51, 60}) {  // the last column's four bytes end at 50
            const Shape shape = {kColumns, src, 1};
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            for (std::int32_t c = 0; c < kColumns; ++c) {
                line.columns()[Size(c)] = {2 * c, 8, 2 * c + 1, 9, 9, 8 + kColumns + 9, 2 * c + 2};
            }
            ASSERT_TRUE(line.Run(*kernels)) << kernels->name;
            const auto records = line.columns();
            std::fill(line.columns().begin(), line.columns().end(), PX_Zoom2_Param{});
            ASSERT_TRUE(line.Run(*kernels));
            line.columns() = records;
            ASSERT_TRUE(line.IsRight(true, Size(src < 50 ? kColumns - 8 : kColumns))) << kernels->name;
        }
    }
}

// The room's size is what counts, whatever it is.
TEST(HorzPlan, SmallRoomsAreRefused) {
    Random random(7);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 200, 1}, Shape{40, 70, 3}, Shape{60, 40, 3},
                                   Shape{40, 80, 3}, Shape{40, 60, 1, 2}}) {
            for (std::size_t bytes = 0; bytes < 2000; bytes += bytes % 7 + 1) {
                Line line(shape, bytes, AnySide(random), random);
                ASSERT_TRUE(line.IsRightBy(*kernels)) << ", room of " << bytes;
                ASSERT_TRUE(line.IsRightBy(*kernels)) << ", room of " << bytes;
            }
        }
    }
}

// A room and a line at every address.
TEST(HorzPlan, EqualsReferenceAtEveryAddress) {
    Random random(8);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 200, 1}, Shape{40, 70, 3}, Shape{60, 40, 3},
                                   Shape{40, 80, 3}, Shape{40, 70, 3, 2}}) {
            for (std::size_t shift = 0; shift < 64; ++shift) {
                Line line(shape, 3000 + 4 * shift, Side::kPageBehind, random);
                ASSERT_TRUE(line.IsRightBy(*kernels));
                alignas(64) std::uint8_t memory[1024];
                std::vector<std::uint32_t> out(180), expected(180);
                for (std::uint8_t& sample : memory) {
                    sample = random.Byte();
                }
                const HorzPass pass = {line.columns().data(), shape.dst, shape.src, shape.samples, shape.bytes};
                Reference(expected.data(), memory + shift, pass);
                if (Follow(*kernels, out.data(), memory + shift, pass, {line.room().data(), line.room().size()})) {
                    ASSERT_EQ(out, expected) << kernels->name << " from address " << shift;
                }
            }
        }
    }
}

// A plan that somebody has written to: other numbers perhaps, but nothing else is touched or read. A header that
// isn't one any more makes the plan anew.
TEST(HorzPlan, OverwrittenPlansDoNoHarm) {
    Random random(9);
    constexpr Shape kShapes[] = {{100, 150, 1},    {100, 130, 1},   {100, 200, 1}, {100, 330, 1}, {100, 580, 1},
                                 {150, 100, 1},    {150, 100, 3},   {300, 200, 4}, {100, 150, 3}, {100, 330, 3},
                                 {100, 250, 4},    {100, 200, 3},   {100, 500, 3}, {100, 900, 1}, {100, 150, 3, 2},
                                 {100, 290, 1, 2}, {150, 100, 4, 2}};
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : kShapes) {
            Line line(shape, RoomBytes(shape), AnySide(random), random);
            ASSERT_TRUE(line.Run(*kernels)) << Describe(shape);
            const std::vector<std::uint8_t> plan(line.room().bytes().begin(), line.room().bytes().end());
            const auto address = reinterpret_cast<std::uintptr_t>(line.room().data());
            const std::size_t header = -address & 63;
            for (int round = 0; round < 50; ++round) {
                for (std::size_t i = header + 64; i < plan.size(); ++i) {
                    line.room()[i] = random.Byte();
                }
                ASSERT_TRUE(line.Run(*kernels));
            }
            for (std::size_t i = 0; i < 64; ++i) {
                for (int value = 0; value < 256; ++value) {
                    line.room()[header + i] = static_cast<std::uint8_t>(value);
                    line.Run(*kernels);
                }
                std::memcpy(line.room().data(), plan.data(), plan.size());
                ASSERT_TRUE(line.IsRightBy(*kernels));
            }
            for (std::uint8_t& byte : line.room().bytes()) {
                byte = random.Byte();
            }
            ASSERT_TRUE(line.IsRightBy(*kernels)) << "made anew";
        }
    }
}

// Records that Open doesn't make: refused, or scaled as they say.
TEST(HorzPlan, OtherRecordsAreRefusedOrRight) {
    Random random(10);
    constexpr Shape kShapes[] = {{40, 60, 1}, {40, 230, 1}, {60, 40, 1},     {60, 40, 3},    {40, 60, 3},
                                 {40, 90, 4}, {40, 80, 3},  {40, 120, 1, 2}, {40, 90, 3, 2}, {60, 40, 1, 2}};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (int round = 0; round < 10000; ++round) {
            const Shape& shape = kShapes[round % 10];
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            PX_Zoom2_Param& record =
                line.columns()[Size(static_cast<std::int32_t>(random.Between(0, shape.dst - 1)))];
            std::int32_t fields[7];
            std::memcpy(fields, &record, sizeof fields);
            for (int i = 0; i <= round / 10 % 2; ++i) {
                const auto step = static_cast<std::int32_t>(random.Between(-3, 3));
                std::int32_t& field = fields[random.Between(0, 6)];
                field = random.OneIn(3) ? static_cast<std::int32_t>(random.Next()) : field + step;
            }
            std::memcpy(&record, fields, sizeof fields);
            ASSERT_TRUE(line.IsRightBy(*kernels)) << ", round " << round;
        }
    }
}

// A record whose numbers agree.
PX_Zoom2_Param Record(const Shape& shape, std::int32_t start, std::int32_t wholes, std::int32_t endWeight) {
    const std::int32_t startWeight = shape.dst / 2;
    const std::int32_t wholeEnd = start + wholes;
    return {start,
            startWeight,
            wholeEnd,
            endWeight,
            endWeight,
            startWeight + wholes * shape.dst + endWeight,
            wholeEnd + (endWeight != 0 ? 1 : 0)};
}

// Records that agree with themselves but not with their neighbours meet each of a plan's limits by itself: those of
// the kinds with windows, after which the taps are left, and those of taps.
TEST(HorzPlan, RecordsOutOfStepAreRefusedOrRight) {
    struct Case {
        const char* what;
        Shape shape;
        std::int32_t column, start, wholes, endWeight;
        bool planned;
    };
    constexpr Case kCases[] = {
        {"as many taps as a window of four columns holds", {40, 120, 1}, 3, 9, 6, 0, true},
        {"more taps than a plan has", {40, 120, 1}, 3, 9, 7, 0, false},
        {"after its window", {40, 120, 1}, 3, 20, 2, 0, true},
        {"before its window", {40, 120, 1}, 5, 11, 2, 0, true},
        {"a pixel as it should be", {40, 90, 3}, 5, 11, 1, 7, true},
        {"a pixel before the one before it", {40, 90, 3}, 5, 8, 1, 7, true},
        {"a pixel of too many", {40, 90, 3}, 5, 11, 3, 7, false},
        {"a pixel of too few", {40, 90, 3}, 5, 11, 0, 7, false},
    };
    Random random(12);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        if ((kernels->horz->kinds & platen::PlanBit(platen::kQuads)) == 0) {
            continue;  // taps alone
        }
        for (const Case& c : kCases) {
            Line line(c.shape, RoomBytes(c.shape), Side::kPageBehind, random);
            line.columns()[Size(c.column)] = Record(c.shape, c.start, c.wholes, c.endWeight);
            ASSERT_EQ(line.Run(*kernels), c.planned) << c.what << ", " << kernels->name;
            ASSERT_TRUE(line.IsRight(c.planned)) << c.what << ", " << kernels->name;
        }
    }
}

// The taps of a plan lie in the line, up to its last position and no further, those of the columns that a follower
// leaves to the records as well.
TEST(HorzPlan, TheLastTapMayBeTheLinesLastPosition) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : {Shape{40, 90, 1}, Shape{40, 90, 3}, Shape{40, 90, 4}, Shape{40, 90, 1, 2},
                                   Shape{40, 90, 3, 2}, Shape{40, 90, 4, 2}}) {
            std::vector<PX_Zoom2_Param> columns = TableOf(shape);
            const std::int32_t kind = KindOfPlan(*kernels, shape, columns, RoomBytes(shape));
            columns.back() = Record(shape, 87, 1, 7);
            EXPECT_EQ(KindOfPlan(*kernels, shape, columns, RoomBytes(shape)), kind) << Describe(shape);
            EXPECT_NE(kind, 0) << Describe(shape);
            columns.back() = Record(shape, 88, 1, 7);
            EXPECT_EQ(KindOfPlan(*kernels, shape, columns, RoomBytes(shape)), 0) << Describe(shape);
        }
    }
}

// The width is the weight of a whole position, and has to fit the followers' signed products even where no column
// has one.
TEST(HorzPlan, ReducedLinesOfMoreThan32767ColumnsHaveNoPlan) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const std::int32_t dst : {32767, 32768}) {
            const Shape shape = {dst, 40000, 1, 2};
            std::vector<PX_Zoom2_Param> columns;
            for (std::int32_t c = 0; c < dst; ++c) {
                columns.push_back({c, 1, c, 1, 1, 2, c + 1});
            }
            EXPECT_EQ(KindOfPlan(*kernels, shape, columns, RoomBytes(shape)), dst == 32767 ? platen::kTaps : 0);
        }
    }
}

// A follower of taps stores pixels of three samples with a lane too many, so it leaves out the last one, wherever
// its taps lie.
TEST(HorzPlan, TapsLeaveOutTheLastPixelOfThreeSamples) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const std::int32_t samples : {1, 3, 4}) {
            const Shape shape = {40, 20, samples, 2};
            const std::vector<PX_Zoom2_Param> columns(40, PX_Zoom2_Param{0, 19, 0, 20, 20, 39, 1});
            const HorzPlan plan = PlanOf(*kernels, shape, columns, RoomBytes(shape));
            EXPECT_EQ(plan.kind, platen::kTaps);
            EXPECT_EQ(plan.columns, samples == 3 ? 39u : 40u) << Describe(shape);
        }
    }
}

// One column of more taps and the others' plan for little room would leave some out.
TEST(HorzPlan, EveryColumnHasThreeTapsWhereAPlanIsForThem) {
    const Shape shape = {40, 300, 1};
    const std::size_t room = 64 + 5 * (2 * 32 + 2 * 4);
    const auto record = [&](std::int32_t c, std::int32_t taps) {
        const std::int32_t start = c / 4 * 16;
        return PX_Zoom2_Param{start, shape.dst, start + taps - 1, 0, 0, taps * shape.dst, start + taps - 1};
    };
    for (const KernelTable* kernels : VariantsWithPlans()) {
        std::vector<PX_Zoom2_Param> columns;
        for (std::int32_t c = 0; c < shape.dst; ++c) {
            columns.push_back(record(c, 3));
        }
        EXPECT_EQ(KindOfPlan(*kernels, shape, columns, room), platen::kPairsDivided) << kernels->name;
        for (std::int32_t c = 0; c < shape.dst; ++c) {
            columns[Size(c)] = record(c, 4);
            EXPECT_EQ(KindOfPlan(*kernels, shape, columns, room), 0) << kernels->name << ", column " << c;
            columns[Size(c)] = record(c, 3);
        }
    }
}

// Places are 32-bit numbers with a sign. Of a longer line no record is read.
TEST(HorzPlan, LinesOf2GBHaveNoPlan) {
    std::vector<PX_Zoom2_Param> columns;
    for (std::int32_t c = 0; c < 8; ++c) {
        columns.push_back({c, 3, c, 5, 5, 8, c + 1});
    }
    for (const KernelTable* kernels : VariantsWithPlans()) {
        EXPECT_NE(KindOfPlan(*kernels, {8, 0x7FFFFFFF, 1}, columns, 4096), 0) << kernels->name;
        alignas(64) std::uint8_t room[4096] = {};
        HorzPlan plan;
        const HorzPass longer = {nullptr, 8, 0x40000000, 1, 2};
        EXPECT_FALSE(platen::FindPlan(plan, longer, {room, sizeof room}, kernels->horz->kinds)) << kernels->name;
    }
}

// A host's table may end with its last record.
TEST(HorzPlan, NoRecordPastTheLastIsRead) {
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : {Shape{41, 60, 1}, Shape{41, 100, 1}, Shape{41, 210, 1}, Shape{41, 270, 1},
                                   Shape{41, 82, 1}, Shape{61, 40, 1}, Shape{61, 40, 3}, Shape{61, 40, 1, 2},
                                   Shape{41, 60, 3}, Shape{41, 60, 4}, Shape{41, 210, 3}, Shape{41, 210, 1, 2}}) {
            const std::vector<PX_Zoom2_Param> columns = TableOf(shape);
            const GuardedBuffer table(columns.size() * sizeof columns[0]);
            std::memcpy(table.data(), columns.data(), table.size());
            const HorzPass pass = {reinterpret_cast<const PX_Zoom2_Param*>(table.data()), shape.dst, shape.src,
                                   shape.samples, shape.bytes};
            alignas(64) std::uint8_t room[8192] = {};
            HorzPlan plan;
            EXPECT_TRUE(platen::FindPlan(plan, pass, {room, sizeof room}, kernels->horz->kinds))
                << Describe(shape) << ", " << kernels->name;
        }
    }
}

// A caller's bits that stand for no kind are nothing that records could have.
TEST(HorzPlan, BitsOfNoKindCountForNothing) {
    for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 90, 3}, Shape{60, 40, 1}, Shape{40, 200, 1, 2}}) {
        const std::vector<PX_Zoom2_Param> columns = TableOf(shape);
        const HorzPass pass = {columns.data(), shape.dst, shape.src, shape.samples, shape.bytes};
        const std::uint32_t all = platen::PlanBit(platen::kPlanKinds) - platen::PlanBit(platen::kPairs1);
        alignas(64) std::uint8_t room[8192] = {};
        HorzPlan known, any;
        ASSERT_TRUE(platen::FindPlan(known, pass, {room, sizeof room}, all)) << Describe(shape);
        ASSERT_TRUE(platen::FindPlan(any, pass, {room, sizeof room}, ~0u)) << Describe(shape);
        EXPECT_EQ(any.kind, known.kind) << Describe(shape);
    }
}

// Weights are divided by their sum, and none is negative, however well they add up.
TEST(HorzPlan, WeightsThatHaveNoQuotientAreRefused) {
    struct Case {
        const char* what;
        Shape shape;
        std::int32_t startWeight, endWeight;
        bool planned;
    };
    constexpr Case kCases[] = {
        {"no weight", {40, 60, 1}, 0, 0, false},
        {"a weight of one", {40, 60, 1}, 1, 0, true},
        {"a negative first one, reducing", {40, 60, 1}, -1, 30, false},
        {"a negative last one, reducing", {40, 60, 1}, 30, -1, false},
        {"all to the left", {60, 40, 1}, 59, 0, true},
        {"a negative first one, enlarging", {60, 40, 1}, -1, 60, false},
        {"a negative last one, enlarging", {60, 40, 1}, 60, -1, false},
    };
    Random random(15);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Case& c : kCases) {
            Line line(c.shape, RoomBytes(c.shape), Side::kPageBehind, random);
            PX_Zoom2_Param& record = line.columns()[5];
            record.wholeEnd = record.start;
            record.startWeight = c.startWeight;
            record.endWeight = c.endWeight;
            record.weightSum = c.startWeight + c.endWeight;
            ASSERT_EQ(line.Run(*kernels), c.planned) << c.what << ", " << kernels->name;
            ASSERT_TRUE(line.IsRight(c.planned)) << c.what << ", " << kernels->name;
        }
    }
}

// Enlarging takes two neighbours: none may begin with the line's last pixel.
TEST(HorzPlan, EnlargingPastTheLastPairIsRefused) {
    Random random(14);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const std::int32_t samples : {1, 3, 4}) {
            const Shape shape = {60, 40, samples};
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            line.columns().back().start = shape.src - 1;
            EXPECT_FALSE(line.Run(*kernels)) << Describe(shape);
            EXPECT_TRUE(line.IsRight(false)) << kernels->name;
        }
    }
}

// Every window would leave the line: there is nothing to plan.
TEST(HorzPlan, PixelsAllAtTheLinesEndHaveNoPlan) {
    Random random(13);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : {Shape{40, 60, 3}, Shape{40, 60, 4}, Shape{40, 90, 4}}) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            std::fill(line.columns().begin(), line.columns().end(), Record(shape, shape.src - 3, 1, 9));
            ASSERT_FALSE(line.Run(*kernels)) << Describe(shape);
            ASSERT_TRUE(line.IsRight(false)) << kernels->name;
        }
    }
}

// A plan's header, as HorzPlan.cpp writes it.
struct Header {
    const void* columns;
    std::int32_t dstWidth, srcWidth, samples, sampleBytes;
    std::uint32_t kinds;
    std::int32_t kind;
    std::uint32_t planned;
};

// Who writes to a room may name any kind in the header. A follower gets those only that are for such lines: what
// each is for is said where they are listed.
TEST(HorzPlan, OnlyKindsForItsLinesAreFound) {
    using platen::PlanBit;
    constexpr std::uint32_t kGrey = PlanBit(platen::kPairs1) | PlanBit(platen::kPairs2) | PlanBit(platen::kPairs3) |
                                    PlanBit(platen::kPairsDivided) | PlanBit(platen::kQuads);
    constexpr std::uint32_t kTaps = PlanBit(platen::kTaps);
    constexpr std::uint32_t kTapsDivided = PlanBit(platen::kTapsDivided);
    struct Case {
        Shape shape;
        std::uint32_t kinds;
    };
    constexpr Case kCases[] = {
        {{40, 210, 1}, kGrey | kTaps},
        {{40, 70, 3}, PlanBit(platen::kPixels) | kTaps},
        {{40, 70, 4}, PlanBit(platen::kPixels) | kTaps},
        {{60, 40, 1}, PlanBit(platen::kEnlarge) | kTaps},
        {{60, 40, 3}, PlanBit(platen::kEnlarge) | kTaps},
        {{40, 210, 1, 2}, kTaps | kTapsDivided},
        {{40, 70, 4, 2}, kTaps | kTapsDivided},
        {{60, 40, 1, 2}, kTaps},
        {{60, 40, 3, 2}, kTaps},
    };
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const auto& [shape, kinds] : kCases) {
            const std::vector<PX_Zoom2_Param> columns = TableOf(shape);
            const HorzPass pass = {columns.data(), shape.dst, shape.src, shape.samples, shape.bytes};
            alignas(64) std::uint8_t room[8192] = {};
            for (std::int32_t kind = -1; kind <= platen::kPlanKinds; ++kind) {
                const bool some = kind == platen::kTaps || kind == platen::kTapsDivided || kind == platen::kPixels;
                const Header header = {columns.data(), shape.dst,
                                       shape.src,      shape.samples,
                                       shape.bytes,    kernels->horz->kinds,
                                       kind,           some ? 16 : static_cast<std::uint32_t>(shape.dst)};
                std::memcpy(room, &header, sizeof header);
                const bool wanted = kind > 0 && (kinds & kernels->horz->kinds & PlanBit(kind)) != 0;
                HorzPlan plan;
                EXPECT_EQ(platen::FindPlan(plan, pass, {room, sizeof room}, kernels->horz->kinds), wanted)
                    << Describe(shape) << ", kind " << kind << ", " << kernels->name;
            }
        }
    }
}

// That records have no plan is kept, too, by a kind that tells it from a room that nobody has used.
TEST(HorzPlan, AHeaderTellsThatThereIsNoPlan) {
    const std::vector<PX_Zoom2_Param> columns(40);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        alignas(64) std::uint8_t room[4096] = {};
        HorzPlan plan;
        EXPECT_FALSE(
            platen::FindPlan(plan, {columns.data(), 40, 60, 1}, {room, sizeof room}, kernels->horz->kinds));
        Header header;
        std::memcpy(&header, room, sizeof header);
        EXPECT_EQ(header.columns, columns.data());
        EXPECT_EQ(header.kind, platen::kNoPlan);
    }
}

// Who changes a record says so, and the plan is made anew.
TEST(HorzPlan, AForgottenPlanIsMadeAnew) {
    Random random(20);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 80, 3}, Shape{60, 40, 3}, Shape{40, 90, 3, 2}}) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            ASSERT_TRUE(line.Run(*kernels)) << Describe(shape);
            line.columns()[3] = line.columns()[2];
            platen::ForgetPlan({line.room().data(), line.room().size()});
            ASSERT_TRUE(line.IsRightBy(*kernels));
        }
    }
    platen::ForgetPlan({nullptr, 0});
}

TEST(HorzPlan, NonsensicalSizesAreRefused) {
    const PX_Zoom2_Param records[64] = {};
    const std::uint8_t line[256] = {};
    std::vector<std::uint8_t> memory(4096);
    std::uint32_t out[256] = {};
    const PlanRoom room = {memory.data(), memory.size()};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (const std::int32_t samples : {-1, 0, 1, 2, 3, 4, 5}) {
            EXPECT_FALSE(Follow(*kernels, out, line, {records, -20, 30, samples}, room));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, 20, -30, samples}, room));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, -20, -30, samples}, room));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, 0, 30, samples}, room));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, 20, 0, samples}, room));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, 30, 20, samples}, {nullptr, 0}));
            EXPECT_FALSE(Follow(*kernels, out, line, {records, 30, 20, samples}, room)) << "zero records";
        }
    }
}

}  // namespace
