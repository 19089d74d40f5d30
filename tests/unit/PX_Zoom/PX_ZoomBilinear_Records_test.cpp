// Records that Open didn't make, and members that nobody prepared: every value is the rule's, on every variant, and
// nothing beside the lines is touched.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "oracles/ZoomRecordsOracle.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace {

using platen::KernelTable;
using platen_test::GuardedBuffer;
using platen_test::Random;
using platen_test::RuleAxis;
using platen_test::RulePipeline;
using Side = GuardedBuffer::Against;
using Table = std::vector<PX_Zoom2_Param>;

struct KeepVariant {
    const KernelTable& inUse = platen::Kernels();
    ~KeepVariant() {
        platen::UseKernels(inUse);
    }
};

constexpr int kFormats[] = {8, 24, 32, 16, 48, 64};

int SamplesOf(int format) {
    return format % 3 == 0 ? 3 : format % 32 == 0 ? 4 : 1;
}

bool IsWide(int format) {
    return format / SamplesOf(format) == 16;
}

Side AnySide(Random& random) {
    return random.OneIn(2) ? Side::kPageBehind : Side::kPageBefore;
}

int Between(Random& random, std::int64_t low, std::int64_t high) {
    return static_cast<int>(random.Between(low, high));
}

void Fill(GuardedBuffer& line, Random& random) {
    const bool ends = random.OneIn(3);
    for (std::uint8_t& byte : line.bytes()) {
        byte = ends ? static_cast<std::uint8_t>(random.OneIn(4) ? 0 : 255) : random.Byte();
    }
}

// A line that a page follows or precedes; of 16-bit samples also at odd addresses.
struct GuardedLine {
    GuardedLine(std::size_t bytes, Random& random) : GuardedLine(bytes, AnySide(random), random) {}
    GuardedLine(std::size_t bytes, Side side, Random& random)
        : odd(random.OneIn(2) ? 1u : 0u), buffer(bytes + odd, side), first(side == Side::kPageBefore ? odd : 0) {
        Fill(buffer, random);
    }
    std::uint8_t* Data() const {
        return buffer.data() + first;
    }
    std::size_t Size() const {
        return buffer.size() - odd;
    }

    std::size_t odd;
    GuardedBuffer buffer;
    std::size_t first;
};

// ---- tables

Table OpenedTable(const RuleAxis& axis) {
    Table table(static_cast<std::size_t>(axis.dst));
    PX_ZoomBilinear zoom;
    if (axis.src <= axis.dst) {
        zoom.Calc_ExpandParam(table.data(), axis.dst, axis.src);
    } else {
        zoom.Calc_ReducedParam(table.data(), axis.dst, axis.src);
    }
    return table;
}

int AnyWeight(Random& random) {
    switch (random.Next() % 4) {
        case 0:
            return Between(random, -300, 300);
        case 1:
            return Between(random, 0, 65535);
        case 2:
            return Between(random, INT32_MIN, INT32_MAX);
        default:
            return Between(random, 0, 100);
    }
}

int AnySum(Random& random) {
    const int sum = random.OneIn(2) ? Between(random, 1, 300) : AnyWeight(random);
    return sum == 0 ? 1 : sum;
}

// Any weights, positions that lie in the line.
PX_Zoom2_Param AnyRecord(const RuleAxis& axis, Random& random) {
    PX_Zoom2_Param p = {};
    p.startWeight = AnyWeight(random);
    p.endWeight = random.OneIn(3) ? 0 : AnyWeight(random);
    p.endRemainder = Between(random, 0, 3);
    p.weightSum = AnySum(random);
    if (axis.dst < axis.src) {
        p.start = Between(random, 0, axis.src - 1);
        p.wholeEnd = random.OneIn(4) ? Between(random, -1, p.start) : Between(random, p.start, axis.src - 1);
        if (p.wholeEnd == axis.src - 1) {
            p.endWeight = 0;
        }
    } else {
        p.start = Between(random, 0, std::max(axis.src - 2, 0));
    }
    return p;
}

enum class Edit { kNone, kNearest, kMirrored, kDoubledSums, kOneRecord, kRandom, kCount };

void Apply(Edit edit, Table& table, const RuleAxis& axis, Random& random) {
    const auto any = static_cast<std::size_t>(random.Between(0, axis.dst - 1));
    switch (edit) {
        case Edit::kNearest:
            for (int c = 0; c < axis.dst; ++c) {
                const int at = axis.dst < axis.src ? static_cast<int>(std::int64_t{axis.src} * c / axis.dst)
                                                   : table[static_cast<std::size_t>(c)].start;
                table[static_cast<std::size_t>(c)] = {at, 1, at, 0, 0, 1, at};
            }
            break;
        case Edit::kMirrored:
            std::reverse(table.begin(), table.end());
            break;
        case Edit::kDoubledSums:
            for (PX_Zoom2_Param& p : table) {
                p.weightSum *= 2;
            }
            break;
        case Edit::kOneRecord:
            table[any] = AnyRecord(axis, random);
            break;
        case Edit::kRandom:
            for (PX_Zoom2_Param& p : table) {
                p = AnyRecord(axis, random);
            }
            break;
        default:
            break;
    }
}

// Reduced a little, by a whole number or a lot, kept or enlarged.
RuleAxis AnyAxis(Random& random) {
    const int small = random.OneIn(8) ? 1 : Between(random, 1, 90);
    switch (random.Next() % 5) {
        case 0:
            return {small, small * Between(random, 1, 8)};
        case 1:
            return {small, small + (random.OneIn(3) ? 0 : Between(random, 0, 90))};
        case 2:
            return {small, Between(random, 1, 700)};
        default:
            return {small + Between(random, 0, 200), small};
    }
}

// ---- the members, called directly

std::string Where(const KernelTable& kernels, int format, const RuleAxis& axis, int edit) {
    return std::string(kernels.name) + ", format " + std::to_string(format) + ", " + std::to_string(axis.src) +
           " to " + std::to_string(axis.dst) + ", edit " + std::to_string(edit);
}

template <class A, class S>
void ExpectHorz(PX_ZoomBilinear& zoom, std::uint8_t* line, int samples) {
    const auto* source = reinterpret_cast<const S*>(line);
    const RuleAxis axis = {zoom.dstWidth, zoom.srcWidth};
    const auto want = platen_test::RuleHorz<A>(zoom.horzParam, axis, samples, source);
    std::vector<A> memory(want.size() + 1);
    auto* out = reinterpret_cast<std::uint32_t*>(memory.data());
    std::memset(static_cast<void*>(out), 0xA5, memory.size() * sizeof(A));
    zoom.Expand_Horz(memory.data(), reinterpret_cast<S*>(line));
    for (std::size_t i = 0; i < want.size(); ++i) {
        std::uint32_t number;
        std::memcpy(&number, out + i, sizeof number);
        ASSERT_EQ(want[i], number) << "number " << i << (sizeof(A) == 8 ? ", doubles" : "");
    }
    std::uint32_t after;
    std::memcpy(&after, out + want.size(), sizeof after);
    ASSERT_EQ(0xA5A5A5A5u, after);
}

template <class S>
void ExpectSamples(const std::vector<S>& want, const GuardedLine& out, const char* what) {
    ASSERT_EQ(0, std::memcmp(want.data(), out.Data(), want.size() * sizeof(S))) << what;
}

template <class A>
std::vector<A> AnyNumbers(std::size_t count, Random& random) {
    std::vector<A> numbers(count);
    const bool samples = random.OneIn(2);
    for (A& number : numbers) {
        const auto bits = static_cast<std::uint32_t>(random.Next());
        number = static_cast<A>(samples ? bits & 0xFF : bits);
    }
    return numbers;
}

template <class A, class S>
void ExpectVertical(PX_ZoomBilinear& zoom, std::size_t count, Random& random) {
    PX_Zoom2_Param record = AnyRecord({4, 9}, random);
    if (random.OneIn(2)) {
        record.startWeight = Between(random, 0, 500);
        record.endWeight = Between(random, 0, 500);
        record.weightSum = std::max(record.startWeight + record.endWeight, 1);
    }
    zoom.vertCursor = &record;

    auto acc = AnyNumbers<A>(count, random);
    auto want = acc;
    auto upper = AnyNumbers<std::uint32_t>(count, random);
    auto lower = AnyNumbers<std::uint32_t>(count, random);
    const int weight = random.OneIn(5) ? 0 : AnyWeight(random);
    platen_test::RuleAdd(want, upper, weight);
    zoom.Add_ReduceVert(acc.data(), upper.data(), weight);
    ASSERT_EQ(want, acc) << "Add_ReduceVert by " << weight;

    GuardedLine out(count * sizeof(S), random);
    auto* samples = reinterpret_cast<S*>(out.Data());
    zoom.Reduce_Vert(samples, acc.data());
    ExpectSamples(platen_test::RuleReduce<S>(want, record.weightSum), out, "Reduce_Vert");
    // Work lines of numbers, whichever type the pass computes in.
    std::vector<A> above(count), below(count);
    std::memcpy(above.data(), upper.data(), count * sizeof upper[0]);
    std::memcpy(below.data(), lower.data(), count * sizeof lower[0]);
    zoom.Expand_Vert(samples, above.data(), below.data());
    ExpectSamples(platen_test::RuleExpand<A, S>(upper, lower, record), out, "Expand_Vert");
    zoom.Equal_Vert(samples, upper.data());
    ExpectSamples(std::vector<S>(upper.begin(), upper.end()), out, "Equal_Vert");
    zoom.vertCursor = zoom.vertParam;
}

void ExpectMembers(PX_ZoomBilinear& zoom, int format, Random& random) {
    const int samples = SamplesOf(format);
    const auto count = static_cast<std::size_t>(zoom.dstWidth * samples);
    const auto width = static_cast<std::size_t>(zoom.srcWidth);
    const GuardedLine line(width * static_cast<std::size_t>(format) / 8, random);
    if (IsWide(format)) {
        ASSERT_NO_FATAL_FAILURE((ExpectHorz<std::uint32_t, std::uint16_t>(zoom, line.Data(), samples)));
        ASSERT_NO_FATAL_FAILURE((ExpectHorz<double, std::uint16_t>(zoom, line.Data(), samples)));
        ASSERT_NO_FATAL_FAILURE((ExpectVertical<std::uint32_t, std::uint16_t>(zoom, count, random)));
        ASSERT_NO_FATAL_FAILURE((ExpectVertical<double, std::uint16_t>(zoom, count, random)));
    } else {
        ASSERT_NO_FATAL_FAILURE((ExpectHorz<std::uint32_t, std::uint8_t>(zoom, line.Data(), samples)));
        ASSERT_NO_FATAL_FAILURE((ExpectHorz<double, std::uint8_t>(zoom, line.Data(), samples)));
        ASSERT_NO_FATAL_FAILURE((ExpectVertical<std::uint32_t, std::uint8_t>(zoom, count, random)));
        ASSERT_NO_FATAL_FAILURE((ExpectVertical<double, std::uint8_t>(zoom, count, random)));
    }
}

// A scaler that nobody opened: its table is the test's.
class ByHand {
  public:
    ByHand(const RuleAxis& axis, int format, const Table& table)
        : records_(table.size() * sizeof(PX_Zoom2_Param), Side::kPageBehind) {
        std::memcpy(records_.data(), table.data(), records_.size());
        zoom.dstWidth = axis.dst;
        zoom.srcWidth = axis.src;
        zoom.bitsPerPixel = format;
        zoom.horzParam = reinterpret_cast<PX_Zoom2_Param*>(records_.data());
    }
    ~ByHand() {
        zoom.horzParam = nullptr;
    }

    PX_ZoomBilinear zoom;

  private:
    GuardedBuffer records_;
};

TEST(PX_ZoomBilinearRecords, MembersOfAnOpenScalerFollowAnyRecords) {
    const KeepVariant keep;
    Random random(701);
    for (int round = 0; round < 400; ++round) {
        const RuleAxis axis = AnyAxis(random);
        const int format = kFormats[round % 6];
        const auto edit = static_cast<Edit>(round / 6 % static_cast<int>(Edit::kCount));
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, axis, static_cast<int>(edit)));
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(axis.dst, 3, axis.src, 3, format, 2));
            std::vector<std::uint8_t> line(static_cast<std::size_t>(axis.src * format / 8));
            if (random.OneIn(2)) {  // with a plan made before
                ASSERT_EQ(0, zoom.Send(line.data()));
            }
            Table table(zoom.horzParam, zoom.horzParam + axis.dst);
            Apply(edit, table, axis, random);
            std::copy(table.begin(), table.end(), zoom.horzParam);
            ASSERT_NO_FATAL_FAILURE(ExpectMembers(zoom, format, random));
        }
    }
}

TEST(PX_ZoomBilinearRecords, MembersOfAScalerFilledByHandFollowAnyRecords) {
    const KeepVariant keep;
    Random random(702);
    for (int round = 0; round < 400; ++round) {
        const RuleAxis axis = AnyAxis(random);
        const int format = kFormats[round % 6];
        const auto edit = static_cast<Edit>(round / 6 % static_cast<int>(Edit::kCount));
        Table table = OpenedTable(axis);
        Apply(edit, table, axis, random);
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, axis, static_cast<int>(edit)));
            ByHand hand(axis, format, table);
            ASSERT_NO_FATAL_FAILURE(ExpectMembers(hand.zoom, format, random));
        }
    }
}

// Without a sample a pixel there is nothing to do, and no table is looked at.
TEST(PX_ZoomBilinearRecords, MembersOfAnUnknownFormatDoNothing) {
    const KeepVariant keep;
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        PX_ZoomBilinear zoom;
        zoom.dstWidth = 20;
        zoom.srcWidth = 30;
        zoom.bitsPerPixel = 12;
        Table table = OpenedTable({20, 30});
        zoom.horzParam = table.data();
        std::uint32_t numbers[64] = {7};
        std::uint8_t bytes[64] = {9};
        zoom.Expand_Horz(numbers, bytes);
        zoom.Add_ReduceVert(numbers, numbers, 3);
        zoom.Reduce_Vert(bytes, numbers);
        zoom.Expand_Vert(bytes, numbers, numbers);
        zoom.Equal_Vert(bytes, numbers);
        EXPECT_EQ(7u, numbers[0]);
        EXPECT_EQ(9, bytes[0]);
        zoom.horzParam = nullptr;
    }
}

// A weightSum above 65535 on a table as Open makes it: sums of such weights wrap, as the rule says.
TEST(PX_ZoomBilinearRecords, HeavySumsOfAnOpenedTableWrap) {
    const KeepVariant keep;
    for (const int format : {8, 16}) {
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(20000, 1, 64307, 1, format, 2));
            ASSERT_GT(zoom.horzParam[30].weightSum, 65535);
            std::vector<std::uint8_t> line(64307 * 2, 255);
            if (format == 8) {
                ASSERT_NO_FATAL_FAILURE((ExpectHorz<std::uint32_t, std::uint8_t>(zoom, line.data(), 1)));
            } else {
                ASSERT_NO_FATAL_FAILURE((ExpectHorz<std::uint32_t, std::uint16_t>(zoom, line.data(), 1)));
            }
        }
    }
}

// "From start + 1 to wholeEnd" is none where wholeEnd lies before: a comparison of signed numbers.
TEST(PX_ZoomBilinearRecords, AWholeEndBeforeTheLineIsNoWholePosition) {
    const KeepVariant keep;
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        ByHand hand({2, 4}, 8, {{0, 2, -1, 0, 0, 2, 0}, {3, 2, -1, 6, 0, 2, 0}});
        GuardedBuffer line(4);
        line[0] = 50;
        line[3] = 20;
        std::uint32_t out[2] = {};
        hand.zoom.Expand_Horz(out, line.data());
        EXPECT_EQ(50u, out[0]) << kernels->name;
        EXPECT_EQ(20u + 3 * 50u, out[1]) << kernels->name;
    }
}

// A start before the line is a sample of 0; the whole positions after it begin with the first.
TEST(PX_ZoomBilinearRecords, AStartBeforeTheLineIsFollowedByItsFirstPositions) {
    const KeepVariant keep;
    std::uint8_t line[] = {100, 7, 9};
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        for (const int start : {-1, -5}) {
            ByHand hand({1, 3}, 8, {{start, 9, 1, 0, 0, 1, 1}});
            std::uint32_t out = 0;
            hand.zoom.Expand_Horz(&out, line);
            EXPECT_EQ(107u, out) << kernels->name;  // the first two, with a weight of 1
            double sum = 0.0;
            hand.zoom.Expand_Horz(&sum, line);
            std::memcpy(&out, &sum, sizeof out);
            EXPECT_EQ(107u, out) << kernels->name << ", doubles";
        }
    }
}

// Positions outside the line count as samples of 0, and a weightSum of 0 gives 0, whoever computes them.
TEST(PX_ZoomBilinearRecords, NothingOutsideTheLineIsRead) {
    const KeepVariant keep;
    Random random(703);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        for (const int format : kFormats) {
            for (const RuleAxis& axis : {RuleAxis{20, 41}, RuleAxis{40, 21}}) {
                for (const int at : {-1, axis.src, INT32_MIN, INT32_MAX, axis.src + 1000, -1000}) {
                    PX_ZoomBilinear zoom;
                    ASSERT_EQ(0, zoom.Open(axis.dst, 2, axis.src, 2, format, 2));
                    zoom.horzParam[7] = {at, 3, at, 0, 0, 3, 0};
                    zoom.horzParam[8].weightSum = 0;
                    zoom.horzParam[9] = {INT32_MIN, 3, INT32_MAX, 5, 0, 3, 0};
                    const GuardedLine line(static_cast<std::size_t>(axis.src * format) / 8, random);
                    ASSERT_EQ(0, zoom.Send(line.Data()));
                    const auto* numbers = static_cast<const std::uint32_t*>(zoom.workLine[0]);
                    const int samples = SamplesOf(format);
                    EXPECT_EQ(0u, numbers[8 * samples]) << kernels->name << ", format " << format;
                    if (at != -1 || axis.dst < axis.src) {
                        EXPECT_EQ(0u, numbers[7 * samples]) << kernels->name << ", format " << format << ": " << at;
                    }
                }
            }
        }
    }
}

TEST(PX_ZoomBilinearRecords, VerticalSumsOfZeroGiveZero) {
    const KeepVariant keep;
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        ByHand hand({20, 30}, 24, OpenedTable({20, 30}));
        PX_Zoom2_Param record = {0, 3, 0, 4, 0, 0, 0};
        hand.zoom.vertCursor = &record;
        std::vector<std::uint32_t> numbers(60, 200);
        std::vector<std::uint8_t> bytes(60, 1);
        hand.zoom.Reduce_Vert(bytes.data(), numbers.data());
        EXPECT_EQ(std::vector<std::uint8_t>(60, 0), bytes) << kernels->name;
        bytes.assign(60, 1);
        hand.zoom.Expand_Vert(bytes.data(), numbers.data(), numbers.data());
        EXPECT_EQ(std::vector<std::uint8_t>(60, 0), bytes) << kernels->name;
    }
}

// Of each kind the record's weights and sums that are as small or as large as they can be, and those next to them.
TEST(PX_ZoomBilinearRecords, VerticalSumsAreDividedByTheSmallestAndTheLargest) {
    const KeepVariant keep;
    Random random(710);
    const std::vector<std::uint32_t> numbers = AnyNumbers<std::uint32_t>(60, random);
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        ByHand hand({20, 30}, 24, OpenedTable({20, 30}));
        for (const int sum : {INT32_MIN, INT32_MIN + 1, -1, 1, 2, INT32_MAX - 1, INT32_MAX}) {
            for (const int weight : {INT32_MIN, -1, 0, 1, 2, INT32_MAX}) {
                for (const int endWeight : {0, 1}) {
                    SCOPED_TRACE(std::string(kernels->name) + ", " + std::to_string(weight) + " and " +
                                 std::to_string(endWeight) + " by " + std::to_string(sum));
                    PX_Zoom2_Param record = {0, weight, 0, endWeight, 0, sum, 0};
                    hand.zoom.vertCursor = &record;
                    std::vector<std::uint32_t> acc = numbers;
                    std::vector<std::uint8_t> bytes(60);
                    std::vector<std::uint16_t> words(60);
                    hand.zoom.Reduce_Vert(bytes.data(), acc.data());
                    hand.zoom.Reduce_Vert(words.data(), acc.data());
                    EXPECT_EQ(platen_test::RuleReduce<std::uint8_t>(numbers, sum), bytes);
                    EXPECT_EQ(platen_test::RuleReduce<std::uint16_t>(numbers, sum), words);
                }
            }
        }
    }
}

// ---- the stream

// Sends a page of random lines through a scaler and through the rules; after every call lines, fields and work
// lines agree. before(zoom, rules, y) may change both before source line y.
template <class Before>
void ExpectStream(PX_ZoomBilinear& zoom, RulePipeline& rules, Random& random, Before before) {
    const auto bytes = static_cast<std::size_t>(zoom.srcLineBytes);
    const auto outBytes = static_cast<std::size_t>(zoom.dstLineBytes);
    const bool reduces = zoom.dstHeight < zoom.srcHeight;
    int delivered = 0;
    const auto agree = [&](const char* call, int y) {
        ASSERT_EQ(rules.index, zoom.srcLineIndex) << call << " " << y;
        ASSERT_EQ(rules.ready, zoom.linesReady) << call << " " << y;
        ASSERT_EQ(rules.current, zoom.currentWork) << call << " " << y;
        ASSERT_EQ(rules.resend ? 1 : 0, zoom.resendLine) << call << " " << y;
        ASSERT_EQ(rules.cursor, zoom.vertCursor - zoom.vertParam) << call << " " << y;
        for (int w = 0; w < 2; ++w) {
            if (w == 0 && reduces && zoom.vertDouble == 1) {
                ASSERT_EQ(0, std::memcmp(rules.sums.data(), zoom.workLine[0], rules.sums.size() * sizeof(double)))
                    << call << " " << y << ", sums";
            } else {
                const auto& want = rules.work[w];
                ASSERT_EQ(0, std::memcmp(want.data(), zoom.workLine[w], want.size() * sizeof want[0]))
                    << call << " " << y << ", work line " << w;
            }
        }
    };
    for (int y = 0; y < zoom.srcHeight; ++y) {
        before(zoom, rules, y);
        const GuardedLine line(bytes, random);
        ASSERT_EQ(0, zoom.Send(line.Data()));
        rules.Send(line.Data());
        ASSERT_NO_FATAL_FAILURE(agree("Send", y));
        while (zoom.CheckData() > 0) {
            const GuardedLine out(outBytes, random);
            const auto want = rules.Read();
            ASSERT_EQ(0, zoom.Read(out.Data()));
            ASSERT_EQ(0, std::memcmp(want.data(), out.Data(), outBytes)) << "destination line " << delivered;
            ++delivered;
            ASSERT_NO_FATAL_FAILURE(agree("Read", y));
        }
    }
    ASSERT_EQ(zoom.dstHeight, delivered);
}

RuleAxis AnyHeight(Random& random) {
    switch (random.Next() % 4) {
        case 0: {
            const int dst = Between(random, 1, 4);
            return {dst, dst * Between(random, 2, 6)};
        }
        case 1:
            return {Between(random, 1, 5), Between(random, 5, 12)};
        case 2:
            return {6, 6};
        default:
            return {Between(random, 3, 9), Between(random, 1, 3)};
    }
}

// Weights only: where lines begin and end is the pipeline's schedule.
void EditLines(Table& lines, Random& random) {
    for (PX_Zoom2_Param& p : lines) {
        if (random.OneIn(3)) {
            p.startWeight = AnyWeight(random);
            p.endWeight = AnyWeight(random);
            p.weightSum = AnySum(random);
        }
    }
}

TEST(PX_ZoomBilinearRecords, SendFollowsRecordsThatWereEditedBeforeTheFirstLine) {
    const KeepVariant keep;
    Random random(704);
    for (int round = 0; round < 600; ++round) {
        const RuleAxis width = AnyAxis(random);
        const RuleAxis height = AnyHeight(random);
        const int format = kFormats[round % 6];
        const auto edit = static_cast<Edit>(round / 6 % static_cast<int>(Edit::kCount));
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, width, static_cast<int>(edit)));
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(width.dst, height.dst, width.src, height.src, format, 2));
            Table table(zoom.horzParam, zoom.horzParam + width.dst);
            Apply(edit, table, width, random);
            std::copy(table.begin(), table.end(), zoom.horzParam);
            if (random.OneIn(3)) {
                Table lines(zoom.vertParam, zoom.vertParam + height.dst);
                EditLines(lines, random);
                std::copy(lines.begin(), lines.end(), zoom.vertParam);
            }
            zoom.horzDouble = random.OneIn(6) ? 1 : 0;
            zoom.vertDouble = random.OneIn(6) ? 1 : 0;
            RulePipeline rules(zoom);
            ASSERT_NO_FATAL_FAILURE(ExpectStream(zoom, rules, random, [](PX_ZoomBilinear&, RulePipeline&, int) {}));
        }
    }
}

// Widths at which lines are scaled by whole vectors, and a few around the vectors' sizes.
TEST(PX_ZoomBilinearRecords, SendFollowsTheRecordsAtWholeRatios) {
    const KeepVariant keep;
    Random random(705);
    for (int round = 0; round < 500; ++round) {
        const int ratio = Between(random, 1, 8);
        const int dst = random.OneIn(3) ? Between(random, 300, 700) : Between(random, 1, 80);
        const RuleAxis width = {dst, dst * ratio};
        const int lines = Between(random, 1, 3);
        const RuleAxis height = random.OneIn(2) ? RuleAxis{lines, lines * ratio} : AnyHeight(random);
        const int format = kFormats[round % 6];
        const auto edit = random.OneIn(2) ? Edit::kNone : Edit::kOneRecord;
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, width, static_cast<int>(edit)));
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(width.dst, height.dst, width.src, height.src, format, 2));
            Table table(zoom.horzParam, zoom.horzParam + width.dst);
            Apply(edit, table, width, random);
            std::copy(table.begin(), table.end(), zoom.horzParam);
            RulePipeline rules(zoom);
            ASSERT_NO_FATAL_FAILURE(ExpectStream(zoom, rules, random, [](PX_ZoomBilinear&, RulePipeline&, int) {}));
        }
    }
}

// Sends a line, with a page after it, through a scaler of kept height whose columns have these records, on every
// variant.
template <class S>
void ExpectRuleOfSamples(const Table& table, const RuleAxis& axis, int format, Random& random) {
    const KeepVariant keep;
    const GuardedLine line(static_cast<std::size_t>(axis.src * format / 8), Side::kPageBehind, random);
    const auto want = platen_test::RuleHorz<std::uint32_t>(table.data(), axis, SamplesOf(format),
                                                           reinterpret_cast<const S*>(line.Data()));
    for (const KernelTable* kernels : platen::AvailableKernels()) {
        platen::UseKernels(*kernels);
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(axis.dst, 1, axis.src, 1, format, 2));
        std::copy(table.begin(), table.end(), zoom.horzParam);
        zoom.horzDouble = 0;  // Open's own weights may have been too heavy
        ASSERT_EQ(0, zoom.Send(line.Data()));
        ASSERT_EQ(0, std::memcmp(want.data(), zoom.workLine[0], want.size() * sizeof want[0]))
            << Where(*kernels, format, axis, 0);
    }
}

void ExpectRule(const Table& table, const RuleAxis& axis, int format, Random& random) {
    if (IsWide(format)) {
        ExpectRuleOfSamples<std::uint16_t>(table, axis, format, random);
    } else {
        ExpectRuleOfSamples<std::uint8_t>(table, axis, format, random);
    }
}

// Weights above 32767 don't fit the kernels' signed products.
TEST(PX_ZoomBilinearRecords, TheHeaviestWeightsCount) {
    Random random(711);
    constexpr int kHeavy = 40000;
    for (const bool first : {false, true}) {
        Table table;
        for (int c = 0; c < 20; ++c) {
            table.push_back({2 * c, first ? kHeavy : 1, 2 * c + 1, first ? 1 : kHeavy, 1, kHeavy + 21, 0});
        }
        ASSERT_NO_FATAL_FAILURE(ExpectRule(table, {20, 41}, 16, random));
    }
}

// A column of `taps` positions, the last of which has the end's weight.
PX_Zoom2_Param ColumnOfTaps(int start, int taps, int dst, Random& random) {
    const int first = Between(random, 1, dst);
    const int last = taps > 1 ? Between(random, 1, dst) : 0;
    const int wholes = std::max(taps - 2, 0);
    return {start, first, start + wholes, last, last, first + wholes * dst + last, start + wholes};
}

// Records that let kernels plan as they do for Open's, but for what they must look at.
TEST(PX_ZoomBilinearRecords, ColumnsOfAnyTapsAreWhole) {
    Random random(712);
    constexpr RuleAxis kAxis = {48, 300};
    for (int most = 1; most <= 9; ++most) {
        for (int round = 0; round < 12; ++round) {
            Table table;
            for (int c = 0; c < kAxis.dst; ++c) {  // four columns begin at one place, or one does alone
                const int start = round % 2 == 0 ? c / 4 * 16 : c * 5;
                const int taps = round % 3 == 0 ? most : Between(random, 1, most);
                table.push_back(ColumnOfTaps(start, taps, kAxis.dst, random));
            }
            if (round % 4 == 2) {
                table.front() = ColumnOfTaps(0, most + 1, kAxis.dst, random);
            }
            ASSERT_NO_FATAL_FAILURE(ExpectRule(table, kAxis, 8, random)) << most << " taps";
        }
    }
}

// Whole positions of a line that has some more of them.
TEST(PX_ZoomBilinearRecords, WholePositionsNeedNotFillTheLine) {
    Random random(714);
    for (const int format : kFormats) {
        for (const int ratio : {2, 3, 4, 6}) {
            for (const int dst : {8, 9, 16, 20, 33}) {
                Table table;
                for (int c = 0; c < dst; ++c) {
                    table.push_back({ratio * c, dst, ratio * c + ratio - 1, 0, 0, ratio * dst, 0});
                }
                for (int more = 0; more < 8; ++more) {
                    ASSERT_NO_FATAL_FAILURE(ExpectRule(table, {dst, ratio * dst + more}, format, random));
                }
            }
        }
    }
}

// Widths just above what a kernel's signed weights hold.
TEST(PX_ZoomBilinearRecords, WholePositionsWeighWhatTheWidthIs) {
    Random random(715);
    for (const int dst : {32767, 32768, 32769}) {
        Table table;
        for (int c = 0; c < dst; ++c) {
            table.push_back({2 * c, 1, 2 * c + 1, 1, 1, dst + 2, 0});
        }
        ASSERT_NO_FATAL_FAILURE(ExpectRule(table, {dst, 2 * dst + 1000}, 8, random));
    }
}

TEST(PX_ZoomBilinearRecords, EnlargedColumnsMayLeavePositionsOut) {
    Random random(713);
    constexpr RuleAxis kAxis = {400, 399};
    for (int step = 1; step <= 3; ++step) {
        Table table;
        for (int c = 0; c < kAxis.dst; ++c) {
            const int start = std::min(c * step, kAxis.src - 2);
            const int weight = Between(random, 0, kAxis.dst - 1);
            table.push_back({start, kAxis.dst - 1 - weight, 0, weight, 0, kAxis.dst - 1, 0});
        }
        for (const int format : {8, 24, 32}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRule(table, kAxis, format, random)) << step;
        }
    }
}

// What a host writes to the sums between two calls is part of them.
TEST(PX_ZoomBilinearRecords, WhatAHostWritesToTheSumsCounts) {
    const KeepVariant keep;
    Random random(706);
    for (int round = 0; round < 200; ++round) {
        const int ratio = Between(random, 2, 4);
        const int dst = Between(random, 1, 120);
        const int format = kFormats[round % 6];
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, {dst, dst * ratio}, 0));
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(dst, 3, dst * ratio, 3 * ratio, format, 2));
            RulePipeline rules(zoom);
            ASSERT_NO_FATAL_FAILURE(
                ExpectStream(zoom, rules, random, [&](PX_ZoomBilinear& z, RulePipeline& r, int) {
                    const auto at = static_cast<std::size_t>(random.Between(0, dst * SamplesOf(format) - 1));
                    const auto value = static_cast<std::uint32_t>(random.Next());
                    static_cast<std::uint32_t*>(z.workLine[0])[at] = value;
                    r.work[0][at] = value;
                }));
        }
    }
}

// The exported members that write a table count from the next line on, when it is the scaler's own.
TEST(PX_ZoomBilinearRecords, TablesThatTheMembersMakeAnewCountFromTheNextLineOn) {
    const KeepVariant keep;
    Random random(707);
    for (int round = 0; round < 300; ++round) {
        const RuleAxis width = AnyAxis(random);
        const RuleAxis height = AnyHeight(random);
        const int format = kFormats[round % 6];
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            SCOPED_TRACE(Where(*kernels, format, width, 0));
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(width.dst, height.dst, width.src, height.src, format, 2));
            RulePipeline rules(zoom);
            const auto anew = [&](PX_ZoomBilinear& z, RulePipeline& r, int) {
                // Another axis' records, whose positions lie in the line: a part of the table, or all of it.
                const int first = random.OneIn(3) ? Between(random, 0, width.dst - 1) : 0;
                const int count = width.dst - first;
                const int src = Between(random, 1, width.src);
                if (width.dst < width.src && src > count) {
                    z.Calc_ReducedParam(z.horzParam + first, count, src);
                } else if (src <= count && (width.dst >= width.src || src == 1)) {
                    z.Calc_ExpandParam(z.horzParam + first, count, std::min(src, std::max(width.src - 1, 1)));
                }
                std::copy(z.horzParam, z.horzParam + width.dst, r.columns.begin());
            };
            ASSERT_NO_FATAL_FAILURE(ExpectStream(zoom, rules, random, anew));
        }
    }
}

// The header leaves open what records give that a host edits by itself after the first line, but nothing outside
// the lines is read.
TEST(PX_ZoomBilinearRecords, RecordsEditedAfterTheFirstLineReadNothingOutside) {
    const KeepVariant keep;
    Random random(708);
    for (int round = 0; round < 300; ++round) {
        const RuleAxis width = AnyAxis(random);
        const int format = kFormats[round % 6];
        for (const KernelTable* kernels : platen::AvailableKernels()) {
            platen::UseKernels(*kernels);
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(width.dst, 4, width.src, 4, format, 2));
            for (int y = 0; y < 4; ++y) {
                const GuardedLine line(static_cast<std::size_t>(zoom.srcLineBytes), random);
                const GuardedLine out(static_cast<std::size_t>(zoom.dstLineBytes), random);
                ASSERT_EQ(0, zoom.Send(line.Data()));
                ASSERT_EQ(0, zoom.Read(out.Data()));
                for (int c = 0; c < width.dst; ++c) {
                    PX_Zoom2_Param& p = zoom.horzParam[c];
                    p = {AnyWeight(random), AnyWeight(random), AnyWeight(random), AnyWeight(random),
                         AnyWeight(random), AnyWeight(random), AnyWeight(random)};
                }
            }
        }
    }
}

// However many lines the records, or a host, say that wait.
TEST(PX_ZoomBilinearRecords, NoLineIsReadPastTheLastRecord) {
    std::uint8_t line[8] = {};
    for (const int srcHeight : {2, 3, 6}) {
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(8, 3, 8, srcHeight, 8, 2));
        zoom.linesReady = 7;
        for (int y = 0; y < 3; ++y) {
            EXPECT_EQ(0, zoom.Read(line));
        }
        EXPECT_EQ(3, zoom.Read(line));
        EXPECT_EQ(4, zoom.linesReady);
        EXPECT_EQ(zoom.vertParam + 3, zoom.vertCursor);
    }
    PX_ZoomBilinear zoom;
    zoom.linesReady = 1;  // closed
    EXPECT_EQ(3, zoom.Read(line));
    EXPECT_EQ(nullptr, zoom.vertCursor);
}

// They count from the next Open on, which writes its own.
TEST(PX_ZoomBilinearRecords, TheNextOpenMakesItsOwnRecords) {
    Random random(709);
    PX_ZoomBilinear zoom;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(0, zoom.Open(40, 3, 60 + i % 2, 6, 24, 2));
        RulePipeline rules(zoom);
        ASSERT_NO_FATAL_FAILURE(ExpectStream(zoom, rules, random, [](PX_ZoomBilinear&, RulePipeline&, int) {}));
        std::memset(static_cast<void*>(zoom.horzParam), 0x11, 40 * sizeof(PX_Zoom2_Param));
    }
}

}  // namespace
