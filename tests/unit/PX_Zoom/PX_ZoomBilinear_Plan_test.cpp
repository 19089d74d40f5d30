// Streams in which the horizontal pass may store a plan after the samples of workLine[1].

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "ZoomStream.h"

namespace {

using platen::KernelTable;
using platen_test::GuardedBuffer;
using platen_test::MakeImage;
using platen_test::OracleScale;
using platen_test::Random;
using platen_test::ZoomCase;
using platen_test::ZoomContent;
using platen_test::ZoomImage;
using platen_test::ZoomStream;

// Gives the variant in use back.
struct KeepVariant {
    const KernelTable& inUse = platen::Kernels();
    ~KeepVariant() {
        platen::UseKernels(inUse);
    }
};

const KernelTable& AnyVariant(Random& random) {
    const auto all = platen::AvailableKernels();
    return *all[static_cast<std::size_t>(random.Between(0, static_cast<std::int64_t>(all.size()) - 1))];
}

bool Open(PX_ZoomBilinear& zoom, const ZoomCase& c) {
    return zoom.Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, c.format, 2) == 0;
}

// The bytes after the samples of a work line.
struct Tail {
    std::uint8_t* begin;
    std::size_t size;
};

Tail TailOf(const PX_ZoomBilinear& zoom, int index, const ZoomCase& c) {
    const std::size_t used = static_cast<std::size_t>(c.dstWidth * c.Samples()) * sizeof(std::uint32_t);
    return {static_cast<std::uint8_t*>(zoom.workLine[index]) + used, zoom.workLineBytes - used};
}

constexpr int kFormats[] = {1, 8, 24, 32, 16, 48, 64};

// One axis by direction: reduced a little or a lot, or enlarged.
void PickWidth(int limit, Random& random, ZoomCase& c) {
    c.srcWidth = static_cast<int>(random.Between(1, limit));
    c.dstWidth = static_cast<int>(random.Between(std::max(1, c.srcWidth / 8), limit));
}

TEST(PX_ZoomBilinearPlan, RandomWidthsByEveryVariant) {
    const KeepVariant keep;
    Random random(601);
    for (int round = 0; round < 240; ++round) {
        ZoomCase c{1, 1 + round % 5, 1, 1 + round / 5 % 5, kFormats[round % 7]};
        PickWidth(round % 2 == 0 ? 3000 : 200, random, c);
        const auto source = MakeImage(c, ZoomContent::kRandom, random);
        const auto want = OracleScale(c, source);
        const auto side =
            random.OneIn(2) ? GuardedBuffer::Against::kPageBehind : GuardedBuffer::Against::kPageBefore;
        for (const KernelTable* variant : platen::AvailableKernels()) {
            platen::UseKernels(*variant);
            PX_ZoomBilinear zoom;
            ASSERT_TRUE(Open(zoom, c));
            ASSERT_TRUE(ZoomStream(c, random.OneIn(2), side).Run(zoom, source, want)) << variant->name;
        }
    }
}

// Runs a source through a scaler, with something done before every line.
template <class Before>
void ExpectRightLines(const ZoomCase& c, Random& random, Before before) {
    const auto source = MakeImage(c, ZoomContent::kRandom, random);
    const auto want = OracleScale(c, source);
    PX_ZoomBilinear zoom;
    ASSERT_TRUE(Open(zoom, c));
    std::size_t delivered = 0;
    std::vector<std::uint8_t> line(c.DstBytes());
    for (const auto& sent : source) {
        before(zoom);
        auto bytes = PackLine(c, sent);
        ASSERT_EQ(0, zoom.Send(bytes.data()));
        while (zoom.CheckData() != 0) {
            ASSERT_EQ(0, zoom.Read(line.data()));
            ASSERT_EQ(PackLine(c, want[delivered]), line) << Describe(c) << ", line " << delivered;
            ++delivered;
        }
    }
    ASSERT_EQ(want.size(), delivered);
}

// A plan is for the variant that made it.
TEST(PX_ZoomBilinearPlan, VariantsMayChangeBetweenLines) {
    const KeepVariant keep;
    Random random(602);
    for (int round = 0; round < 120; ++round) {
        ZoomCase c{1, static_cast<int>(random.Between(1, 12)), 1, 6, kFormats[round % 7]};
        PickWidth(300, random, c);
        ASSERT_NO_FATAL_FAILURE(
            ExpectRightLines(c, random, [&](const PX_ZoomBilinear&) { platen::UseKernels(AnyVariant(random)); }));
    }
}

// Who writes where nothing belongs to him spoils the plan; the next line makes another.
TEST(PX_ZoomBilinearPlan, FreeRoomFilledWithRandomBytes) {
    const KeepVariant keep;
    Random random(603);
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        for (int round = 0; round < 60; ++round) {
            ZoomCase c{1, static_cast<int>(random.Between(1, 12)), 1, 6, kFormats[round % 7]};
            PickWidth(300, random, c);
            ASSERT_NO_FATAL_FAILURE(ExpectRightLines(c, random, [&](const PX_ZoomBilinear& zoom) {
                const Tail tail = TailOf(zoom, 1, c);
                std::generate_n(tail.begin, tail.size, [&] { return random.Byte(); });
                auto* records = reinterpret_cast<std::uint8_t*>(zoom.horzParam + c.dstWidth);
                const auto spare = static_cast<std::size_t>(std::max(c.srcWidth - c.dstWidth, 0));
                std::generate_n(records, spare * sizeof(PX_Zoom2_Param), [&] { return random.Byte(); });
            }));
        }
    }
}

// All but the header of a plan overwritten: any pixels, and nothing else.
TEST(PX_ZoomBilinearPlan, OverwrittenPlansOnlyChangePixels) {
    const KeepVariant keep;
    Random random(604);
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        for (int round = 0; round < 120; ++round) {
            ZoomCase c{1, static_cast<int>(random.Between(1, 12)), 1, 6, kFormats[round % 7]};
            PickWidth(300, random, c);
            PX_ZoomBilinear zoom;
            ASSERT_TRUE(Open(zoom, c));
            GuardedBuffer source(c.SrcBytes());
            GuardedBuffer target(c.DstBytes());
            int delivered = 0;
            for (int y = 0; y < c.srcHeight; ++y) {
                ASSERT_EQ(0, zoom.Send(source.data()));
                while (zoom.CheckData() != 0) {
                    ASSERT_EQ(0, zoom.Read(target.data()));
                    ++delivered;
                }
                const Tail tail = TailOf(zoom, 1, c);
                const std::size_t header = (-reinterpret_cast<std::uintptr_t>(tail.begin) & 63) + 64;
                for (std::size_t i = header; i < tail.size; ++i) {
                    tail.begin[i] = random.Byte();
                }
            }
            ASSERT_EQ(c.dstHeight, delivered);
        }
    }
}

// The kind in a plan's header overwritten: any pixels again, and right ones where it names no plan.
TEST(PX_ZoomBilinearPlan, AHeaderMayNameAnyKind) {
    constexpr std::size_t kKindAt = sizeof(void*) + 5 * sizeof(std::int32_t);
    const KeepVariant keep;
    Random random(608);
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        for (int round = 0; round < 6 * 9; ++round) {
            const int ratio = 1 + round / 6;
            const ZoomCase c{20, 40, ratio == 9 ? 11 : 20 * ratio + (ratio == 1 ? 3 : 0), 40,
                             kFormats[1 + round % 6]};
            const auto source = MakeImage(c, ZoomContent::kRandom, random);
            const auto want = OracleScale(c, source);
            PX_ZoomBilinear zoom;
            ASSERT_TRUE(Open(zoom, c));
            GuardedBuffer target(c.DstBytes());
            std::size_t y = 0;
            const auto next = [&] {
                auto bytes = PackLine(c, source[y]);
                EXPECT_EQ(0, zoom.Send(bytes.data()));
                EXPECT_EQ(0, zoom.Read(target.data()));
                ++y;
            };
            next();
            const Tail tail = TailOf(zoom, 1, c);
            std::uint8_t* const kind = tail.begin + (-reinterpret_cast<std::uintptr_t>(tail.begin) & 63) + kKindAt;
            for (std::int32_t any = -1; any <= platen::kPlanKinds; ++any) {
                std::memcpy(kind, &any, sizeof any);
                next();
            }
            const std::int32_t none = platen::kNoPlan;
            std::memcpy(kind, &none, sizeof none);
            next();
            const auto right = PackLine(c, want[y - 1]);
            ASSERT_TRUE(std::equal(right.begin(), right.end(), target.data()))
                << variant->name << ", " << Describe(c);
        }
    }
}

// The first line makes a plan in the unused bytes, if the variant has plans at all.
TEST(PX_ZoomBilinearPlan, TheFirstLineLeavesAPlan) {
    const KeepVariant keep;
    Random random(607);
    const ZoomCase c{1000, 2, 1500, 2, 8};
    const auto source = MakeImage(c, ZoomContent::kRandom, random);
    const auto want = OracleScale(c, source);
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        PX_ZoomBilinear zoom;
        ASSERT_TRUE(Open(zoom, c));
        ASSERT_TRUE(ZoomStream(c, false, GuardedBuffer::Against::kPageBehind).Run(zoom, source, want))
            << variant->name;
        const Tail room = TailOf(zoom, 1, c);
        const bool empty =
            std::all_of(room.begin, room.begin + room.size, [](std::uint8_t byte) { return byte == 0; });
        EXPECT_EQ(variant->horz->kinds == 0, empty) << variant->name;
    }
}

// The field says how much room there is: where there is none after the samples, nothing is written there.
TEST(PX_ZoomBilinearPlan, WithoutRoomThereIsNoPlan) {
    const KeepVariant keep;
    Random random(605);
    const ZoomCase c{200, 4, 300, 4, 8};
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        for (const std::uint32_t field : {0u, 799u, 800u}) {
            ASSERT_NO_FATAL_FAILURE(ExpectRightLines(c, random, [&](PX_ZoomBilinear& zoom) {
                zoom.workLineBytes = 300 * 15;
                const Tail tail = TailOf(zoom, 1, c);
                EXPECT_TRUE(std::all_of(tail.begin, tail.begin + tail.size, [](std::uint8_t b) { return b == 0; }))
                    << variant->name << ", field " << field;
                zoom.workLineBytes = field;
            }));
        }
    }
}

// Lines of a kept height need only the first work line; a host may have given back the other.
TEST(PX_ZoomBilinearPlan, NorIsThereWithoutTheSecondWorkLine) {
    const KeepVariant keep;
    Random random(606);
    for (const KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        ASSERT_NO_FATAL_FAILURE(ExpectRightLines({200, 4, 300, 4, 8}, random, [](PX_ZoomBilinear& zoom) {
            PX_Zoom_MemFree(&zoom.workLine[1]);
            EXPECT_EQ(nullptr, zoom.workLine[1]);
        }));
    }
}

// Open leaves the buffers zero, wherever a plan will come to lie.
TEST(PX_ZoomBilinearPlan, WorkLinesAreZeroUntilTheFirstLine) {
    for (const auto& [dst, src] : {std::pair{1653, 2480}, std::pair{3720, 2480}}) {
        for (const int format : kFormats) {
            PX_ZoomBilinear zoom;
            ASSERT_TRUE(Open(zoom, {dst, 2, src, 3, format}));
            const std::vector<std::uint8_t> zeros(zoom.workLineBytes);
            EXPECT_EQ(0, std::memcmp(zeros.data(), zoom.workLine[0], zeros.size()));
            EXPECT_EQ(0, std::memcmp(zeros.data(), zoom.workLine[1], zeros.size()));
        }
    }
}

// The accumulator is cleared as a whole, and the newest line's numbers are where they belong.
TEST(PX_ZoomBilinearPlan, WorkLinesHoldNumbers) {
    const ZoomCase c{200, 2, 301, 5, 8};
    PX_ZoomBilinear zoom;
    ASSERT_TRUE(Open(zoom, c));
    std::vector<std::uint8_t> line(301, 100);
    ASSERT_EQ(0, zoom.Send(line.data()));
    const auto* numbers = static_cast<const std::uint32_t*>(zoom.workLine[1]);
    EXPECT_TRUE(std::all_of(numbers, numbers + 200, [](std::uint32_t number) { return number == 100; }));
    const Tail tail = TailOf(zoom, 0, c);
    EXPECT_TRUE(std::all_of(tail.begin, tail.begin + tail.size, [](std::uint8_t byte) { return byte == 0; }));
}

// The member uses the records, whatever the stream has planned.
TEST(PX_ZoomBilinearPlan, ThePassAsAMemberGoesByTheRecords) {
    const ZoomCase c{200, 2, 300, 4, 8};
    PX_ZoomBilinear zoom;
    ASSERT_TRUE(Open(zoom, c));
    std::vector<std::uint8_t> line(300);
    for (std::size_t i = 0; i < line.size(); ++i) {
        line[i] = static_cast<std::uint8_t>(i);
    }
    ASSERT_EQ(0, zoom.Send(line.data()));
    for (int i = 0; i < 200; ++i) {
        zoom.horzParam[i] = {10, 1, 10, 0, 0, 1, 10};
    }
    std::vector<std::uint32_t> out(200);
    zoom.Expand_Horz(out.data(), line.data());
    EXPECT_EQ(std::vector<std::uint32_t>(200, 10), out);
}

// Records that are changed before the first line are what it is scaled by.
TEST(PX_ZoomBilinearPlan, RecordsChangedAfterOpenCount) {
    PX_ZoomBilinear zoom;
    ASSERT_TRUE(Open(zoom, {200, 4, 300, 4, 8}));
    std::vector<std::uint8_t> line(300, 7);
    line[10] = 99;
    for (int i = 0; i < 200; ++i) {
        zoom.horzParam[i] = {10, 1, 10, 0, 0, 1, 10};
    }
    ASSERT_EQ(0, zoom.Send(line.data()));
    std::vector<std::uint8_t> out(200);
    ASSERT_EQ(0, zoom.Read(out.data()));
    EXPECT_EQ(std::vector<std::uint8_t>(200, 99), out);
}

// Another table is another plan.
TEST(PX_ZoomBilinearPlan, ATableMayBeReplaced) {
    PX_ZoomBilinear zoom;
    ASSERT_TRUE(Open(zoom, {200, 4, 300, 4, 8}));
    std::vector<std::uint8_t> line(300, 7);
    line[10] = 99;
    std::vector<std::uint8_t> out(200);
    ASSERT_EQ(0, zoom.Send(line.data()));
    ASSERT_EQ(0, zoom.Read(out.data()));
    std::vector<PX_Zoom2_Param> table(200, {10, 1, 10, 0, 0, 1, 10});
    PX_Zoom2_Param* const own = zoom.horzParam;
    zoom.horzParam = table.data();
    ASSERT_EQ(0, zoom.Send(line.data()));
    zoom.horzParam = own;
    ASSERT_EQ(0, zoom.Read(out.data()));
    EXPECT_EQ(std::vector<std::uint8_t>(200, 99), out);
}

}  // namespace
