// What is taken, and what happens when it can't be had.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "support/AllocationLedger.h"

namespace {

using platen_test::AllocationLedger;

struct Opening {
    int dstWidth;
    int dstHeight;
    int srcWidth;
    int srcHeight;
    int format;
};

constexpr Opening kOpenings[] = {
    {7, 5, 10, 3, 1}, {7, 5, 10, 3, 8}, {10, 3, 7, 5, 24}, {4, 4, 4, 4, 64}, {3, 3, 1, 1, 48}};

int Open(PX_Zoom& zoom, const Opening& o) {
    return zoom.Open(o.dstWidth, o.dstHeight, o.srcWidth, o.srcHeight, o.format, 2);
}

std::vector<std::size_t> Blocks(const Opening& o) {
    const auto wide = static_cast<std::size_t>(std::max(o.dstWidth, o.srcWidth));
    const auto high = static_cast<std::size_t>(std::max(o.dstHeight, o.srcHeight));
    const std::size_t work = wide * static_cast<std::size_t>((o.format == 1 ? 8 : o.format) + 7);
    std::vector<std::size_t> blocks = {work, work, wide * 28, high * 28};
    if (o.format == 1) {
        blocks.push_back(wide);
    }
    return blocks;
}

TEST(PX_ZoomMemory, OpenTakesTheNamedBlocksAndCloseGivesThemBack) {
    for (const Opening& o : kOpenings) {
        std::vector<std::size_t> want = Blocks(o);
        const std::size_t blocks = want.size();
        want.insert(want.begin(), sizeof(PX_ZoomBilinear));
        AllocationLedger ledger;
        PX_Zoom zoom;
        EXPECT_EQ(0u, ledger.Mallocs() + ledger.News());
        ASSERT_EQ(0, Open(zoom, o));
        EXPECT_EQ(blocks, ledger.Mallocs());
        EXPECT_EQ(1u, ledger.News());
        EXPECT_EQ(want, ledger.OutstandingSizes());
        zoom.Close();
        EXPECT_EQ(0u, ledger.Outstanding());
    }
}

template <class Scaler>
void ExpectEverythingBackFromOneThatEnds() {
    for (const Opening& o : kOpenings) {
        const AllocationLedger ledger;
        {
            Scaler zoom;
            ASSERT_EQ(0, Open(zoom, o));
            EXPECT_NE(0u, ledger.Outstanding());
        }
        EXPECT_EQ(0u, ledger.Outstanding());
    }
}

TEST(PX_ZoomMemory, AnOpenScalerThatEndsGivesEverythingBack) {
    ExpectEverythingBackFromOneThatEnds<PX_Zoom>();
    ExpectEverythingBackFromOneThatEnds<PX_ZoomBilinear>();
}

TEST(PX_ZoomMemory, ANegativeSizeAsksForNothing) {
    for (const long size : {-1L, std::numeric_limits<long>::min()}) {
        void* block = nullptr;
        const AllocationLedger ledger;
        EXPECT_EQ(1, PX_Zoom_MemAlloc(&block, size));
        EXPECT_EQ(0u, ledger.Mallocs());
    }
}

TEST(PX_ZoomMemory, StreamingTakesNothing) {
    for (const Opening& o : kOpenings) {
        std::vector<std::uint8_t> line(1000);
        PX_Zoom zoom;
        ASSERT_EQ(0, Open(zoom, o));
        AllocationLedger ledger;
        for (int y = 0; y < o.srcHeight; ++y) {
            zoom.Send(line.data());
            while (zoom.CheckData() != 0) {
                zoom.Read(line.data());
            }
        }
        EXPECT_EQ(0u, ledger.Mallocs() + ledger.News());
    }
}

TEST(PX_ZoomMemory, EveryRefusedBlockGives1AndLeavesNothing) {
    for (const Opening& o : kOpenings) {
        const std::size_t blocks = Blocks(o).size();
        for (std::size_t fails = 0; fails < blocks; ++fails) {
            for (bool onward : {false, true}) {
                AllocationLedger ledger;
                PX_ZoomBilinear zoom;
                if (onward) {
                    ledger.FailFrom(fails);
                } else {
                    ledger.FailOnly(fails);
                }
                EXPECT_EQ(1, Open(zoom, o));
                EXPECT_EQ(fails + 1, ledger.Mallocs());  // nothing is tried after a refusal
                EXPECT_EQ(0u, ledger.Outstanding());
                EXPECT_EQ(nullptr, zoom.vertCursor);
                EXPECT_EQ(0, zoom.dstWidth);
                EXPECT_EQ(0, zoom.active);
                ledger.FailNone();
                EXPECT_EQ(0, Open(zoom, o));
            }
        }
    }
}

TEST(PX_ZoomMemory, FacadeStaysOpenAfterARefusedBlock) {
    for (const Opening& o : kOpenings) {
        const std::size_t blocks = Blocks(o).size();
        for (std::size_t fails = 0; fails < blocks; ++fails) {
            std::uint8_t line[64] = {};
            AllocationLedger ledger;
            PX_Zoom zoom;
            ledger.FailOnly(fails);
            EXPECT_EQ(1, Open(zoom, o));
            EXPECT_NE(nullptr, zoom.zoom);
            EXPECT_EQ(1u, ledger.Outstanding());
            EXPECT_EQ(3, Open(zoom, o));
            EXPECT_EQ(2, zoom.Send(nullptr));
            EXPECT_EQ(3, zoom.Send(line));
            EXPECT_EQ(3, zoom.Read(line));
            EXPECT_EQ(0, zoom.CheckData());
            zoom.Close();
            EXPECT_EQ(0u, ledger.Outstanding());
            EXPECT_EQ(0, Open(zoom, o));
        }
    }
}

TEST(PX_ZoomMemory, RefusedImplementationStoresTheMethodOnly) {
    AllocationLedger ledger;
    PX_Zoom zoom;
    ledger.FailFromNew(0);
    EXPECT_EQ(2, zoom.Open(10, 10, 20, 20, 24, 0));
    EXPECT_EQ(nullptr, zoom.zoom);
    EXPECT_EQ(2, zoom.method);
    EXPECT_EQ(0, zoom.dstWidth | zoom.dstHeight | zoom.srcWidth | zoom.srcHeight | zoom.pixelFormat | zoom.active |
                     zoom.linesReady);
    EXPECT_EQ(0u, ledger.Mallocs());
    EXPECT_EQ(1u, ledger.News());
    EXPECT_EQ(3, zoom.Send(nullptr));
    ledger.FailNone();
    EXPECT_EQ(0, zoom.Open(10, 10, 20, 20, 24, 0));
}

TEST(PX_ZoomMemory, RefusedArgumentsTakeNothing) {
    AllocationLedger ledger;
    PX_ZoomBilinear zoom;
    EXPECT_EQ(2, zoom.Open(0, 1, 1, 1, 8, 2));
    EXPECT_EQ(2, zoom.Open(1, 1, 1, 1, 9, 2));
    EXPECT_EQ(2, zoom.Open(1, 1, 1, 1, 8, 0));
    EXPECT_EQ(0u, ledger.Mallocs());
}

TEST(PX_ZoomMemory, ReopeningFreesFirst) {
    AllocationLedger ledger;
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(7, 5, 10, 3, 1, 2));
    ASSERT_EQ(0, zoom.Open(7, 5, 10, 3, 8, 2));
    EXPECT_EQ(4u, ledger.Outstanding());
    EXPECT_EQ(2, zoom.Open(0, 5, 10, 3, 8, 2));
    EXPECT_EQ(0u, ledger.Outstanding());
}

TEST(PX_ZoomMemory, WorkLineFieldKeeps29BitsButTheBufferIsLargeEnough) {
    constexpr int kWide = 7561973;  // x 71 bytes is 2^29 + 29,171
    AllocationLedger ledger;
    PX_ZoomBilinear zoom;
    ASSERT_EQ(0, zoom.Open(3, 1, kWide, 1, 64, 2));
    EXPECT_EQ(29171u, zoom.workLineBytes);
    EXPECT_EQ(29171u, ledger.OutstandingSizes()[0]);
    ASSERT_EQ(0, zoom.Open(kWide, 1, 3, 1, 64, 2));
    EXPECT_EQ(29171u, zoom.workLineBytes);
    EXPECT_EQ(std::size_t{kWide} * 4 * 8, ledger.OutstandingSizes()[0]);
    EXPECT_EQ(std::size_t{kWide} * 4 * 8, ledger.OutstandingSizes()[1]);
}

}  // namespace
