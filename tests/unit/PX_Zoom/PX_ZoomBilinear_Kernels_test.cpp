// Which kernels a scaler's lines take. Other tests compare bytes, and those are right on every path; these look at
// the path itself, so that none is made slower unnoticed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

namespace {

using platen::KernelTable;
using platen::VertKernels;

struct Calls {
    int sums = 0;       // setU32 and addU32
    int divided = 0;    // reduceU32ToU8 and reduceU32ToU16
    int multiples = 0;  // reduceMultiplesToU8 and reduceMultiplesToU16
};
Calls calls;
const VertKernels* counted;  // who does the work

// Puts kernels in use that count what is asked of them and have `table` do it.
class CountedKernels {
  public:
    explicit CountedKernels(const KernelTable& table)
        : table_(table), vert_(*table.vert), before_(platen::Kernels()) {
        calls = {};
        counted = table.vert;
        vert_.setU32 = [](std::uint32_t* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
            ++calls.sums;
            counted->setU32(acc, line, weight, count);
        };
        vert_.addU32 = [](std::uint32_t* acc, const std::uint32_t* line, std::int32_t weight, std::size_t count) {
            ++calls.sums;
            counted->addU32(acc, line, weight, count);
        };
        vert_.reduceU32ToU8 = Counting<std::uint8_t, &VertKernels::reduceU32ToU8, &Calls::divided>;
        vert_.reduceU32ToU16 = Counting<std::uint16_t, &VertKernels::reduceU32ToU16, &Calls::divided>;
        vert_.reduceMultiplesToU8 = Counting<std::uint8_t, &VertKernels::reduceMultiplesToU8, &Calls::multiples>;
        vert_.reduceMultiplesToU16 = Counting<std::uint16_t, &VertKernels::reduceMultiplesToU16, &Calls::multiples>;
        table_.vert = &vert_;
        platen::UseKernels(table_);
    }
    ~CountedKernels() {
        platen::UseKernels(before_);
    }

  private:
    template <class S, auto kKernel, auto kCounter>
    static void Counting(S* out, const std::uint32_t* acc, std::int32_t weightSum, std::size_t count) {
        ++(calls.*kCounter);
        (counted->*kKernel)(out, acc, weightSum, count);
    }

    KernelTable table_;
    VertKernels vert_;
    const KernelTable& before_;
};

// A sum of whole lines, as many as a power of two, is divided as a multiple; any other as any number.
TEST(PX_ZoomBilinearKernels, AveragesOfWholeLinesAreDividedAsMultiples) {
    struct Case {
        std::int32_t startWeight, endWeight, weightSum;
        bool multiples;
    };
    constexpr Case kCases[] = {
        {1, 0, 1, true},  {1, 0, 2, true},   {3, 0, 3, true},    {3, 0, 6, true},   {3, 0, 12, true},
        {5, 0, 40, true}, {3, 0, 9, false},  {1, 0, 3, false},   {3, 0, 18, false}, {1, 0, 12, false},
        {3, 0, 7, false}, {3, 1, 6, false},  {3, -1, 6, false},  {3, 0, 2, false},  {3, 0, 0, false},
        {0, 0, 6, false}, {-3, 0, 6, false}, {-3, 0, -6, false}, {2, 0, 5, false},  {2, 0, 8, true},
    };
    for (const KernelTable* variant : platen::AvailableKernels()) {
        const CountedKernels counting(*variant);
        for (const int format : {8, 16}) {
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(20, 2, 20, 4, format, 2));
            for (const Case& c : kCases) {
                zoom.vertCursor->startWeight = c.startWeight;
                zoom.vertCursor->endWeight = c.endWeight;
                zoom.vertCursor->weightSum = c.weightSum;
                const std::vector<std::uint32_t> sums(20, 60);
                std::vector<std::uint16_t> line(20);
                calls = {};
                if (format == 8) {
                    zoom.Reduce_Vert(reinterpret_cast<std::uint8_t*>(line.data()),
                                     const_cast<std::uint32_t*>(sums.data()));
                } else {
                    zoom.Reduce_Vert(line.data(), const_cast<std::uint32_t*>(sums.data()));
                }
                EXPECT_EQ(calls.multiples, c.multiples ? 1 : 0)
                    << variant->name << ", format " << format << ": " << c.startWeight << ' ' << c.endWeight << ' '
                    << c.weightSum;
                EXPECT_EQ(calls.divided, c.multiples ? 0 : 1) << variant->name;
            }
        }
    }
}

// Where a kernel makes the sum of lines along with a line, no pass of its own does; where none does, each line has
// one.
TEST(PX_ZoomBilinearKernels, SumsAreMadeAlongWithTheLines) {
    struct Case {
        int dst, src;
        platen::PlanKind kind;
    };
    constexpr Case kCases[] = {{60, 120, platen::kWhole2}, {60, 180, platen::kWhole3}, {60, 130, platen::kPairs2}};
    for (const KernelTable* variant : platen::AvailableKernels()) {
        for (const Case& c : kCases) {
            const CountedKernels counting(*variant);
            PX_ZoomBilinear zoom;
            ASSERT_EQ(0, zoom.Open(c.dst, 1, c.src, 3, 8, 2));
            std::vector<std::uint8_t> line(static_cast<std::size_t>(c.src), 9);
            for (int y = 0; y < 3; ++y) {
                ASSERT_EQ(0, zoom.Send(line.data()));
            }
            const bool along = (variant->horz->kinds & variant->horz->sums & platen::PlanBit(c.kind)) != 0;
            EXPECT_EQ(calls.sums, along ? 0 : 3) << variant->name << ": " << c.dst << " of " << c.src;
        }
    }
}

// A plan is made anew when its records are computed again, and only then.
TEST(PX_ZoomBilinearKernels, APlanStaysWhereOtherRecordsAreComputed) {
    constexpr int kWide = 300;
    for (const KernelTable* variant : platen::AvailableKernels()) {
        if (variant->horz->kinds == 0) {
            continue;
        }
        const CountedKernels counting(*variant);
        // Three tables in one block: the scaler's lies between two others.
        std::vector<PX_Zoom2_Param> tables(3 * kWide);
        PX_ZoomBilinear zoom;
        ASSERT_EQ(0, zoom.Open(200, 1, kWide, 3, 8, 2));
        PX_Zoom2_Param* const own = zoom.horzParam;
        std::copy_n(own, 200, tables.begin() + kWide);
        zoom.horzParam = tables.data() + kWide;
        std::vector<std::uint8_t> line(kWide, 9);
        ASSERT_EQ(0, zoom.Send(line.data()));
        const std::size_t used = 200 * sizeof(std::uint32_t);
        const auto* const room = static_cast<const std::uint8_t*>(zoom.workLine[1]) + used;
        const auto plan = [&] { return std::vector<std::uint8_t>(room, room + zoom.workLineBytes - used); };
        const std::vector<std::uint8_t> made = plan();

        zoom.Calc_ReducedParam(tables.data(), 200, kWide);
        EXPECT_EQ(plan(), made) << variant->name << ": the table before";
        zoom.Calc_ReducedParam(tables.data() + 2 * kWide, 200, kWide);
        EXPECT_EQ(plan(), made) << variant->name << ": the table after";
        zoom.Calc_ReducedParam(tables.data() + kWide, 200, kWide);
        EXPECT_NE(plan(), made) << variant->name << ": its own";
        zoom.horzParam = own;
    }
}

}  // namespace
