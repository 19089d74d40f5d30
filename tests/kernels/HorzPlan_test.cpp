#include "Sources/PX_Zoom/HorzPlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cstring>
#include <string>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/Geometry.h"
#include "support/Checksum.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

// Every variant's pass by a plan against the reference. The line, the result and the plan's room lie against
// protected pages, so whoever leaves them ends the test.

namespace {

using platen::HorzPass;
using platen::KernelTable;
using platen::PlanRoom;
using platen_test::GuardedBuffer;
using platen_test::Random;
using Side = GuardedBuffer::Against;

struct Shape {
    std::int32_t dst;
    std::int32_t src;
    std::int32_t samples;
};

std::string Describe(const Shape& shape) {
    return std::to_string(shape.src) + " to " + std::to_string(shape.dst) + ", " + std::to_string(shape.samples) +
           " samples";
}

std::vector<const KernelTable*> VariantsWithPlans() {
    std::vector<const KernelTable*> found;
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        if (kernels->expandHorzPlanned != platen::ExpandHorzPlanned_none) {
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
    const std::size_t bytes = Size(std::max(shape.dst, shape.src)) * Size(8 * shape.samples + 7);
    return bytes - Size(shape.dst * shape.samples) * sizeof(std::uint32_t);
}

// A line, its table and its room.
class Line {
  public:
    Line(const Shape& shape, std::size_t roomBytes, Side side, Random& random)
        : shape_(shape),
          columns_(Size(shape.dst)),
          src_(Size(shape.src * shape.samples), side),
          out_(Size(shape.dst * shape.samples) * sizeof(std::uint32_t), side),
          room_(roomBytes, side, 0) {
        PX_ZoomBilinear zoom;
        if (shape.src <= shape.dst) {
            zoom.Calc_ExpandParam(columns_.data(), shape.dst, shape.src);
        } else {
            zoom.Calc_ReducedParam(columns_.data(), shape.dst, shape.src);
        }
        NewSource(random);
    }

    void NewSource(Random& random) {
        const bool ends = random.OneIn(3);
        for (std::uint8_t& sample : src_.bytes()) {
            sample = ends ? static_cast<std::uint8_t>(random.OneIn(5) ? 0 : 255) : random.Byte();
        }
    }

    // Samples that go back and forth between a number and the next.
    void NewNeighbours(std::uint8_t low) {
        for (std::size_t i = 0; i < src_.size(); ++i) {
            src_[i] = static_cast<std::uint8_t>(low + i % 2);
        }
    }

    bool Run(const KernelTable& kernels) {
        std::fill(out_.bytes().begin(), out_.bytes().end(), kUntouched);
        return kernels.expandHorzPlanned(Out(), src_.data(), Pass(), {room_.data(), room_.size()});
    }

    // The result is the reference's, or there is none.
    ::testing::AssertionResult IsRight(bool planned) {
        std::vector<std::uint32_t> expected(out_.size() / sizeof(std::uint32_t), 0);
        std::memset(expected.data(), kUntouched, out_.size());
        if (planned) {
            platen::reference::ExpandHorz<std::uint32_t>(expected.data(), src_.data(), Pass());
        }
        for (std::size_t i = 0; i < expected.size(); ++i) {
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
        return {columns_.data(), shape_.dst, shape_.src, shape_.samples};
    }
    std::uint32_t* Out() const {
        return reinterpret_cast<std::uint32_t*>(out_.data());
    }

    Shape shape_;
    std::vector<PX_Zoom2_Param> columns_;
    GuardedBuffer src_;
    GuardedBuffer out_;
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

// The kind that a plan's header, which begins on a line of the cache, says behind two pointers and three numbers: 0
// where none was made, 1 where there can be none.
std::int32_t KindOfPlan(const KernelTable& kernels, const Shape& shape, std::size_t thirdsOfRoom) {
    std::vector<PX_Zoom2_Param> columns(Size(shape.dst));
    PX_ZoomBilinear zoom;
    if (shape.src <= shape.dst) {
        zoom.Calc_ExpandParam(columns.data(), shape.dst, shape.src);
    } else {
        zoom.Calc_ReducedParam(columns.data(), shape.dst, shape.src);
    }
    const std::vector<std::uint8_t> line(Size(shape.src * shape.samples));
    std::vector<std::uint32_t> out(Size(shape.dst * shape.samples));
    std::vector<std::uint8_t> room(128 + RoomBytes(shape));  // a header's bytes, where it has no room for one, too
    std::uint8_t* const begin = room.data() + (-reinterpret_cast<std::uintptr_t>(room.data()) & 63);
    kernels.expandHorzPlanned(out.data(), line.data(), {columns.data(), shape.dst, shape.src, shape.samples},
                              {begin, thirdsOfRoom * RoomBytes(shape) / 3});
    std::int32_t kind = 0;
    std::memcpy(&kind, begin + 2 * sizeof(void*) + 3 * sizeof(std::int32_t), sizeof kind);
    return kind;
}

TEST(HorzPlan, VariantsWithPlansAreThoseOfWideRegisters) {
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        const bool wide = std::strncmp(kernels->name, "avx", 3) == 0;
        EXPECT_EQ(wide, kernels->expandHorzPlanned != platen::ExpandHorzPlanned_none) << kernels->name;
    }
}

TEST(HorzPlan, EqualsReferenceAtAllSmallSizes) {
    Random random(1);
    for (std::int32_t src = 1; src <= 44; ++src) {
        for (std::int32_t dst = 1; dst <= 44; ++dst) {
            for (const std::int32_t samples : {1, 3, 4}) {
                ASSERT_NO_FATAL_FAILURE(ExpectRight({dst, src, samples}, random));
            }
        }
    }
}

TEST(HorzPlan, EqualsReferenceAtRandomSizes) {
    Random random(2);
    for (int i = 0; i < 1500; ++i) {
        const auto src = static_cast<std::int32_t>(random.Between(1, 3000));
        const auto dst = static_cast<std::int32_t>(random.Between(1, 3000));
        for (const std::int32_t samples : {1, 3, 4}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRight({dst, src, samples}, random));
        }
    }
}

// Every whole ratio and those beside it, which have other numbers of taps.
TEST(HorzPlan, EqualsReferenceAtAllRatios) {
    Random random(3);
    for (std::int32_t tenths = 10; tenths <= 90; ++tenths) {
        for (const std::int32_t beside : {-1, 0, 1}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRight({100, 10 * tenths + beside, 1}, random));
            ASSERT_NO_FATAL_FAILURE(ExpectRight({100, 10 * tenths + beside, 3}, random));
            ASSERT_NO_FATAL_FAILURE(ExpectRight({100, 10 * tenths + beside, 4}, random));
            ASSERT_NO_FATAL_FAILURE(ExpectRight({10 * tenths + beside, 100, 3}, random));
        }
    }
}

// Divisors up to the largest that plans take, and those above.
TEST(HorzPlan, EqualsReferenceAtHeavyWeights) {
    Random random(4);
    constexpr Shape kShapes[] = {{10000, 21840, 1}, {10001, 21845, 1}, {14000, 21846, 1}, {17000, 21840, 1},
                                 {17001, 21846, 1}, {15000, 32000, 1}, {4000, 21845, 1},  {3641, 21845, 1},
                                 {3500, 24000, 1},  {21845, 2, 1},     {21846, 20000, 1}, {21847, 16, 1},
                                 {21846, 9000, 3},  {21846, 9000, 4},  {21847, 9000, 3},  {14000, 21840, 3},
                                 {10001, 21845, 4}, {6000, 21840, 3},  {14000, 21846, 3}, {14000, 30000, 4},
                                 {9000, 30000, 3},  {32768, 9000, 1},  {40000, 39999, 3}, {70000, 60000, 1},
                                 {32767, 39999, 3}, {32768, 39999, 3}};
    for (const Shape& shape : kShapes) {
        for (int i = 0; i < 4; ++i) {
            ASSERT_NO_FATAL_FAILURE(ExpectRight(shape, random));
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

// The last numbers before a whole quotient, with the processor rounding in any direction. Enlarging pixels that
// differ by one makes every remainder of the divisor.
TEST(HorzPlan, QuotientsBesideWholeNumbersAreRightInAnyRounding) {
    Random random(11);
    const int before = std::fegetround();
    for (const std::int32_t dst :
         {25844, 25858, 21846, 21845, 21844, 16385, 16384, 13108, 8193, 4099, 1025, 257, 100}) {
        for (const Shape& shape :
             {Shape{dst, 17, 1}, Shape{dst / 2, dst / 4 * 3, 1}, Shape{dst / 2, dst / 4 * 3, 3}}) {
            for (const int rounding : kRoundings) {
                Line line(shape, RoomBytes(shape), AnySide(random), random);
                line.NewNeighbours(static_cast<std::uint8_t>(random.OneIn(2) ? 254 : random.Between(0, 254)));
                for (const KernelTable* kernels : VariantsWithPlans()) {
                    std::fesetround(rounding);
                    const bool planned = line.Run(*kernels);
                    std::fesetround(before);
                    ASSERT_TRUE(planned || shape.dst > 21846) << Describe(shape);
                    ASSERT_TRUE(line.IsRight(planned)) << kernels->name << ", rounding " << rounding;
                }
            }
        }
    }
}

// What pages need is planned indeed, in the room that there is; what is out of reach is not.
TEST(HorzPlan, PagesAreScaledByPlans) {
    Random random(5);
    constexpr Shape kPlanned[] = {
        {1653, 2480, 1}, {2000, 2480, 1}, {1780, 2480, 1}, {1240, 2480, 1}, {992, 2480, 1},  {826, 2480, 1},
        {413, 2480, 1},  {2480, 4960, 1}, {3720, 2480, 1}, {4960, 2480, 1}, {3720, 2480, 3}, {4960, 2480, 3},
        {3720, 2480, 4}, {2481, 2480, 3}, {1654, 4961, 1}, {1653, 2480, 3}, {1240, 2480, 3}, {992, 2480, 3},
        {826, 2480, 3},  {2479, 2480, 3}, {1653, 2480, 4}, {992, 2480, 4}};
    constexpr Shape kNot[] = {{2479, 2480, 1}, {300, 2480, 1}, {413, 2480, 3}, {826, 2480, 4}, {2480, 2480, 1},
                              {2480, 1, 3},    {7, 20, 1},     {20, 5, 1},     {20, 12, 2}};
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : kPlanned) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            EXPECT_TRUE(line.Run(*kernels)) << Describe(shape);
            EXPECT_TRUE(line.IsRight(true));
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
        platen_test::Checksum kinds;
        int planned = 0;
        for (std::int32_t dst = 1; dst <= 60; ++dst) {
            for (std::int32_t src = 1; src <= 240; src += src < 100 ? 1 : 7) {
                for (const std::int32_t samples : {1, 3, 4}) {
                    for (const std::size_t thirds : {std::size_t{3}, std::size_t{2}}) {
                        const std::int32_t kind = KindOfPlan(*kernels, {dst, src, samples}, thirds);
                        kinds.Add(static_cast<std::uint32_t>(kind));
                        planned += kind > 1 ? 1 : 0;
                    }
                }
            }
        }
        EXPECT_EQ(kinds.Value(), 0x4B1FCF2C5910AD84u) << kernels->name;
        EXPECT_EQ(planned, 17384) << kernels->name;
    }
}

// The records are needed for the first line only.
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
            ASSERT_TRUE(line.IsRight(true)) << kernels->name;
        }
    }
}

// The room's size is what counts, whatever it is.
TEST(HorzPlan, SmallRoomsAreRefused) {
    Random random(7);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 200, 1}, Shape{40, 70, 3}, Shape{60, 40, 3}}) {
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
        for (const Shape& shape : {Shape{40, 60, 1}, Shape{40, 200, 1}, Shape{40, 70, 3}, Shape{60, 40, 3}}) {
            for (std::size_t shift = 0; shift < 64; ++shift) {
                Line line(shape, 3000 + 4 * shift, Side::kPageBehind, random);
                ASSERT_TRUE(line.IsRightBy(*kernels));
                alignas(64) std::uint8_t memory[1024];
                std::vector<std::uint32_t> out(180), expected(180);
                for (std::uint8_t& sample : memory) {
                    sample = random.Byte();
                }
                const HorzPass pass = {line.columns().data(), shape.dst, shape.src, shape.samples};
                platen::reference::ExpandHorz<std::uint32_t>(expected.data(), memory + shift, pass);
                if (kernels->expandHorzPlanned(out.data(), memory + shift, pass,
                                               {line.room().data(), line.room().size()})) {
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
    constexpr Shape kShapes[] = {{100, 150, 1}, {100, 130, 1}, {100, 200, 1}, {100, 330, 1},
                                 {100, 580, 1}, {150, 100, 1}, {150, 100, 3}, {300, 200, 4},
                                 {100, 150, 3}, {100, 330, 3}, {100, 250, 4}};
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
    constexpr Shape kShapes[] = {{40, 60, 1}, {40, 230, 1}, {60, 40, 1}, {60, 40, 3}, {40, 60, 3}, {40, 90, 4}};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (int round = 0; round < 6000; ++round) {
            const Shape& shape = kShapes[round % 6];
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            PX_Zoom2_Param& record =
                line.columns()[Size(static_cast<std::int32_t>(random.Between(0, shape.dst - 1)))];
            std::int32_t fields[7];
            std::memcpy(fields, &record, sizeof fields);
            for (int i = 0; i <= round / 6 % 2; ++i) {
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

// Records that agree with themselves but not with their neighbours meet each of a plan's limits by itself.
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
        {"behind its window", {40, 120, 1}, 3, 20, 2, 0, false},
        {"before its window", {40, 120, 1}, 5, 11, 2, 0, false},
        {"a pixel as it should be", {40, 90, 3}, 5, 11, 1, 7, true},
        {"a pixel before the one before it", {40, 90, 3}, 5, 8, 1, 7, false},
        {"a pixel of too many", {40, 90, 3}, 5, 11, 3, 7, false},
        {"a pixel of too few", {40, 90, 3}, 5, 11, 0, 7, false},
    };
    Random random(12);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Case& c : kCases) {
            Line line(c.shape, RoomBytes(c.shape), Side::kPageBehind, random);
            line.columns()[Size(c.column)] = Record(c.shape, c.start, c.wholes, c.endWeight);
            ASSERT_EQ(line.Run(*kernels), c.planned) << c.what << ", " << kernels->name;
            ASSERT_TRUE(line.IsRight(c.planned)) << c.what << ", " << kernels->name;
        }
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
TEST(HorzPlan, EnlargingBehindTheLastPairIsRefused) {
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

// Every window would leave the line: all pixels are done by their records.
TEST(HorzPlan, PixelsAllAtTheLinesEndAreRight) {
    Random random(13);
    for (const KernelTable* kernels : VariantsWithPlans()) {
        for (const Shape& shape : {Shape{40, 60, 3}, Shape{40, 60, 4}, Shape{40, 90, 4}}) {
            Line line(shape, RoomBytes(shape), Side::kPageBehind, random);
            std::fill(line.columns().begin(), line.columns().end(), Record(shape, shape.src - 3, 1, 9));
            ASSERT_TRUE(line.Run(*kernels)) << Describe(shape);
            ASSERT_TRUE(line.IsRight(true)) << kernels->name;
        }
    }
}

TEST(HorzPlan, NonsensicalSizesAreRefused) {
    const PX_Zoom2_Param records[64] = {};
    const std::uint8_t line[256] = {};
    std::vector<std::uint8_t> memory(4096);
    std::uint32_t out[256] = {};
    const PlanRoom room = {memory.data(), memory.size()};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        for (const std::int32_t samples : {-1, 0, 1, 2, 3, 4, 5}) {
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, -20, 30, samples}, room));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, 20, -30, samples}, room));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, -20, -30, samples}, room));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, 0, 30, samples}, room));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, 20, 0, samples}, room));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, 30, 20, samples}, {nullptr, 0}));
            EXPECT_FALSE(kernels->expandHorzPlanned(out, line, {records, 30, 20, samples}, room)) << "zero records";
        }
    }
}

}  // namespace
