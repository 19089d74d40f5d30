// Scalers of their own on threads of their own.

#include <gtest/gtest.h>

#include <thread>

#include "ZoomStream.h"

namespace {

using platen_test::GuardedBuffer;
using platen_test::Random;
using platen_test::ZoomCase;
using platen_test::ZoomContent;
using platen_test::ZoomImage;

// Whole images, each by a scaler of its own and then by the same one again.
bool ScaleImages(std::uint64_t seed) {
    constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
    Random random(seed);
    bool right = true;
    for (int i = 0; i < 42; ++i) {
        const auto side = [&random] { return static_cast<int>(random.Between(1, 70)); };
        const ZoomCase c{side(), side(), side(), side(), kFormats[i % 7]};
        const ZoomImage source = platen_test::MakeImage(c, ZoomContent::kRandom, random);
        const ZoomImage want = platen_test::OracleScale(c, source);
        PX_Zoom zoom;
        for (int turn = 0; turn < 2; ++turn) {
            right = zoom.Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, c.format, 2) == 0 && right;
            platen_test::ZoomStream stream(c, false, GuardedBuffer::Against::kPageBehind);
            right = stream.Run(zoom, source, want) && right;
            zoom.Close();
        }
    }
    return right;
}

TEST(PX_ZoomThreads, TwoScalersOnTwoThreads) {
    bool there = false;
    std::thread other([&there] { there = ScaleImages(1); });
    const bool here = ScaleImages(2);
    other.join();
    EXPECT_TRUE(here);
    EXPECT_TRUE(there);
}

}  // namespace
