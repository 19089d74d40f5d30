#include "Sources/PX_Zoom/Geometry.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// A closed scaler whose second work line is the test's, taken out again before it closes.
class Scaler {
  public:
    Scaler(std::int32_t dstWidth, std::int32_t srcWidth, std::int32_t bitsPerPixel, void* workLine,
           std::uint32_t bytes) {
        zoom_.dstWidth = dstWidth;
        zoom_.srcWidth = srcWidth;
        zoom_.bitsPerPixel = bitsPerPixel;
        zoom_.workLine[1] = workLine;
        zoom_.workLineBytes = bytes;
    }
    ~Scaler() {
        zoom_.workLine[1] = nullptr;
    }
    const PX_ZoomBilinear& operator*() const {
        return zoom_;
    }

  private:
    PX_ZoomBilinear zoom_;
};

// What the numbers leave of the second work line is where a plan goes.
TEST(PX_ZoomGeometry, TheRoomIsWhatIsLeftAfterTheNumbers) {
    unsigned char line[200];
    for (const std::uint32_t bytes : {121u, 160u, 200u}) {
        const Scaler scaler(10, 20, 24, line, bytes);
        const platen::PlanRoom room = platen::RoomOf(*scaler);  // after 30 numbers of four bytes
        EXPECT_EQ(room.memory, line + 120);
        EXPECT_EQ(room.bytes, bytes - 120);
    }
}

// A host that has shortened the line, or has taken it out, has left none: no address, no bytes.
TEST(PX_ZoomGeometry, ThereIsNoRoomWithoutBytesOrALine) {
    unsigned char line[200];
    const Scaler without(10, 20, 24, nullptr, 200);
    EXPECT_EQ(platen::RoomOf(*without).memory, nullptr);
    EXPECT_EQ(platen::RoomOf(*without).bytes, 0u);
    for (const std::uint32_t bytes : {0u, 119u, 120u}) {
        const Scaler full(10, 20, 24, line, bytes);
        EXPECT_EQ(platen::RoomOf(*full).memory, nullptr) << bytes;
        EXPECT_EQ(platen::RoomOf(*full).bytes, 0u) << bytes;
    }
}

// A buffer is as long as the field says, but holds a line of doubles where the field's 29 bits lost some.
TEST(PX_ZoomGeometry, AWorkBufferHoldsALineOfDoubles) {
    EXPECT_EQ(platen::WorkBufferBytes(*Scaler(10, 20, 24, nullptr, 241)), 241);
    EXPECT_EQ(platen::WorkBufferBytes(*Scaler(10, 20, 24, nullptr, 240)), 240);
    EXPECT_EQ(platen::WorkBufferBytes(*Scaler(10, 20, 24, nullptr, 0)), 240);
    EXPECT_EQ(platen::WorkBufferBytes(*Scaler(1, 20, 8, nullptr, 0)), 8);
}

// A line of no width, or of less, needs nothing. Only where both widths are negative is there no buffer at all.
TEST(PX_ZoomGeometry, OnlyTwoNegativeWidthsHaveNoWorkBuffer) {
    for (const std::int32_t other : {-20, -1, 0, 1, 20}) {
        for (const std::int32_t none : {-20, -1, 0}) {
            EXPECT_EQ(platen::WorkBufferBytes(*Scaler(none, other, 8, nullptr, 0)) < 0, none < 0 && other < 0)
                << none << " of " << other;
            EXPECT_LE(platen::WorkBufferBytes(*Scaler(none, other, 8, nullptr, 0)), 0) << none << " of " << other;
            EXPECT_EQ(platen::WorkBufferBytes(*Scaler(other, none, 8, nullptr, 0)) < 0, none < 0 && other < 0)
                << other << " of " << none;
        }
    }
}

}  // namespace
