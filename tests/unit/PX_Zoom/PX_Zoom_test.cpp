#include "Sources/PX_Zoom/PX_Zoom.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

namespace {

// How a process ends by abort.
#if defined(_WIN32)
const testing::ExitedWithCode kAborted(3);
#else
const testing::KilledBySignal kAborted(SIGABRT);
#endif

static_assert(std::is_same_v<decltype(PX_Zoom::linesReady), std::int32_t> &&
              std::is_same_v<decltype(PX_Zoom::zoom), PX_Zoom*> &&
              std::is_same_v<decltype(PX_Zoom::pixelFormat), std::int32_t>);
static_assert(!std::is_copy_constructible_v<PX_Zoom> && !std::is_copy_assignable_v<PX_Zoom>);
static_assert(std::is_base_of_v<PX_Zoom, PX_ZoomBilinear> && !std::is_copy_constructible_v<PX_ZoomBilinear>);

// The fields after the virtual table's pointer, as a host sees them.
struct Fields {
    void* table;
    PX_Zoom* zoom;
    std::array<std::int32_t, 8> numbers;
};

Fields Look(const PX_Zoom& zoom) {
    static_assert(sizeof(Fields) == sizeof(PX_Zoom));
    Fields fields;
    std::memcpy(&fields, static_cast<const void*>(&zoom), sizeof fields);
    return fields;
}

// A member pointer to a virtual function holds its slot's offset in the table, plus 1 on most platforms.
template <class Member>
std::size_t Slot(Member member) {
    std::uintptr_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word & ~std::uintptr_t{1}) / sizeof(void*);
}

TEST(PX_Zoom, FieldsLieInTheirOrder) {
    PX_Zoom zoom;
    ASSERT_EQ(0, zoom.Open(3, 5, 10, 20, 24, 2));
    zoom.linesReady = 101;
    zoom.active = 102;
    const Fields fields = Look(zoom);
    EXPECT_EQ(zoom.zoom, fields.zoom);
    EXPECT_EQ((std::array<std::int32_t, 8>{101, 102, 2, 3, 5, 10, 20, 24}), fields.numbers);
}

TEST(PX_Zoom, VirtualSlotsLieInTheirOrder) {
    EXPECT_EQ(2u, Slot(&PX_Zoom::Open));  // the two destructors come first
    EXPECT_EQ(3u, Slot(&PX_Zoom::Close));
    EXPECT_EQ(4u, Slot(&PX_Zoom::Send));
    EXPECT_EQ(5u, Slot(&PX_Zoom::Read));
    EXPECT_EQ(2u, Slot(&PX_ZoomBilinear::Open));
    EXPECT_EQ(3u, Slot(&PX_ZoomBilinear::Close));
    EXPECT_EQ(4u, Slot(&PX_ZoomBilinear::Send));
    EXPECT_EQ(5u, Slot(&PX_ZoomBilinear::Read));
}

TEST(PX_Zoom, BilinearOverridesAllOperations) {
    // The last four slots of the two tables, and the destructors, differ pairwise.
    PX_Zoom base;
    PX_ZoomBilinear bilinear;
    std::array<void*, 6> baseSlots;
    std::array<void*, 6> bilinearSlots;
    std::memcpy(baseSlots.data(), Look(base).table, sizeof baseSlots);
    std::memcpy(bilinearSlots.data(), Look(bilinear).table, sizeof bilinearSlots);
    for (std::size_t slot = 0; slot < baseSlots.size(); ++slot) {
        EXPECT_NE(baseSlots[slot], bilinearSlots[slot]) << slot;
    }
}

TEST(PX_Zoom, ConstructionAndCloseZeroEveryField) {
    PX_Zoom zoom;
    const Fields fresh = Look(zoom);
    EXPECT_EQ(nullptr, fresh.zoom);
    EXPECT_EQ((std::array<std::int32_t, 8>{}), fresh.numbers);
    ASSERT_EQ(0, zoom.Open(3, 5, 10, 20, 24, 2));
    zoom.linesReady = 1;
    zoom.active = 1;
    zoom.Close();
    const Fields closed = Look(zoom);
    EXPECT_EQ(0, std::memcmp(&fresh, &closed, sizeof fresh));
    zoom.Close();
    EXPECT_EQ(nullptr, zoom.zoom);
}

TEST(PX_Zoom, ClosedRefusesSendAndRead) {
    PX_Zoom zoom;
    std::uint8_t line[16] = {};
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(3, zoom.Send(line));
        EXPECT_EQ(3, zoom.Read(line));
        EXPECT_EQ(3, zoom.Send(nullptr));
        EXPECT_EQ(3, zoom.Read(nullptr));
        EXPECT_EQ(0, zoom.CheckData());
        ASSERT_EQ(0, zoom.Open(4, 4, 4, 4, 8, 2));
        ASSERT_EQ(0, zoom.Send(line));
        EXPECT_EQ(1, zoom.CheckData());
        zoom.Close();
    }
}

TEST(PX_Zoom, CheckDataOfAClosedScalerIsItsOwnField) {
    PX_Zoom zoom;
    zoom.linesReady = 7;
    EXPECT_EQ(7, zoom.CheckData());
}

TEST(PX_Zoom, SecondOpenLeavesTheFirstIntact) {
    PX_Zoom zoom;
    std::uint8_t line[16] = {1, 2, 3, 4};
    ASSERT_EQ(0, zoom.Open(4, 2, 4, 2, 8, 2));
    ASSERT_EQ(0, zoom.Send(line));
    const Fields before = Look(zoom);
    EXPECT_EQ(3, zoom.Open(200, 200, 100, 100, 24, 1));  // not even the assertion is reached
    EXPECT_EQ(3, zoom.Open(0, 0, 0, 0, 0, 2));
    const Fields after = Look(zoom);
    EXPECT_EQ(0, std::memcmp(&before, &after, sizeof before));
    std::uint8_t out[4] = {};
    EXPECT_EQ(0, zoom.Read(out));
    EXPECT_EQ(0, std::memcmp(line, out, 4));
}

TEST(PX_Zoom, ReductionSettlesOnMethod2) {
    PX_Zoom zoom;
    EXPECT_EQ(0, zoom.Open(100, 100, 200, 200, 24, 0));
    EXPECT_EQ(2, zoom.method);
}

TEST(PX_Zoom, LargeEnlargementRefusesMethod0) {
    PX_Zoom zoom;
    EXPECT_EQ(2, zoom.Open(200, 200, 100, 100, 24, 0));
    EXPECT_EQ(0, zoom.method);
    EXPECT_NE(nullptr, zoom.zoom);
    EXPECT_EQ(200, zoom.dstWidth);
}

TEST(PX_Zoom, FailedOpenStaysOpenUntilClose) {
    PX_Zoom zoom;
    std::uint8_t line[16] = {};
    ASSERT_EQ(2, zoom.Open(200, 0, 300, 100, 24, 2));
    EXPECT_NE(nullptr, zoom.zoom);
    EXPECT_EQ(3, zoom.Open(100, 100, 200, 200, 24, 2));
    EXPECT_EQ(2, zoom.Send(nullptr));
    EXPECT_EQ(3, zoom.Send(line));
    EXPECT_EQ(2, zoom.Read(nullptr));
    EXPECT_EQ(3, zoom.Read(line));
    zoom.Close();
    EXPECT_EQ(0, zoom.Open(100, 100, 200, 200, 24, 2));
}

TEST(PX_Zoom, SmallSourceSettlesOnMethod2) {
    PX_Zoom zoom;
    EXPECT_EQ(0, zoom.Open(200, 200, 4, 100, 24, 0));
    EXPECT_EQ(2, zoom.method);
}

TEST(PX_Zoom, BilevelSettlesOnMethod2) {
    PX_Zoom zoom;
    EXPECT_EQ(0, zoom.Open(200, 200, 100, 100, 1, 1));
    EXPECT_EQ(2, zoom.method);
}

// The method that a request becomes, -1 where it ends the process.
int Settled(int dstWidth, int dstHeight, int srcWidth, int srcHeight, int format, int method) {
    if (dstWidth < srcWidth || dstHeight < srcHeight) {
        return 2;
    }
    if (!(srcWidth > 5 && srcHeight > 5) && method != 1) {
        return 2;
    }
    if (format == 1) {
        return 2;
    }
    return method == 0 || method == 2 ? method : -1;
}

TEST(PX_Zoom, MethodSettlesByTheRules) {
    const int sizes[] = {-3, 0, 1, 4, 5, 6, 7};
    int settled = 0;
    for (int dstWidth : sizes) {
        for (int dstHeight : sizes) {
            for (int srcWidth : sizes) {
                for (int srcHeight : sizes) {
                    for (int format : {1, 8, 12}) {
                        for (int method : {-1, 0, 1, 2, 3}) {
                            const int want = Settled(dstWidth, dstHeight, srcWidth, srcHeight, format, method);
                            if (want == -1) {
                                continue;
                            }
                            PX_Zoom zoom;
                            const int status = zoom.Open(dstWidth, dstHeight, srcWidth, srcHeight, format, method);
                            ASSERT_EQ(want, zoom.method);
                            const bool bad = dstWidth == 0 || dstHeight == 0 || srcWidth == 0 || srcHeight == 0 ||
                                             format == 12 || want != 2;
                            const bool tooSmall =
                                (dstWidth < 0 && srcWidth < 0) || (dstHeight < 0 && srcHeight < 0);
                            ASSERT_EQ(bad ? 2 : tooSmall ? 1 : 0, status);
                            ++settled;
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(settled, 25000);
}

TEST(PX_Zoom, DestructionReleasesAnOpenScaler) {
    // The leak checkers and the ledger's tests see what stays; this one is about both destructors.
    auto* zoom = new PX_Zoom;
    ASSERT_EQ(0, zoom->Open(100, 100, 200, 200, 24, 0));
    delete zoom;
    PX_Zoom* bilinear = new PX_ZoomBilinear;
    ASSERT_EQ(0, bilinear->Open(100, 100, 200, 200, 24, 2));
    delete bilinear;
}

// A death test's child starts the program again, which an emulated program can't: there it is forked, and the
// emulator adds a line of its own to the message.
#if defined(_WIN32)  // lines end otherwise, and GoogleTest's expressions are simple
constexpr char kDeathTestStyle[] = "threadsafe";
#elif defined(PLATEN_TEST_EMULATED)
constexpr char kDeathTestStyle[] = "fast";
#define PLATEN_EMULATORS_LINE "qemu: uncaught target signal 6 [^\n]*\n"
#else
constexpr char kDeathTestStyle[] = "threadsafe";
#define PLATEN_EMULATORS_LINE ""
#endif

#if defined(_WIN32)
constexpr char kAssertion[] = "^Sources/PX_Zoom/PX_Zoom:84: failed assertion `0'";
#else
constexpr char kAssertion[] = "^Sources/PX_Zoom/PX_Zoom:84: failed assertion `0'\n" PLATEN_EMULATORS_LINE "$";
#endif

TEST(PX_ZoomDeathTest, LargeEnlargementByMethod1Aborts) {
    testing::FLAGS_gtest_death_test_style = kDeathTestStyle;
    PX_Zoom zoom;
    EXPECT_EXIT(zoom.Open(200, 200, 100, 100, 24, 1), kAborted, kAssertion);
}

TEST(PX_ZoomDeathTest, SmallSourceByMethod1AbortsToo) {
    testing::FLAGS_gtest_death_test_style = kDeathTestStyle;
    PX_Zoom zoom;
    EXPECT_EXIT(zoom.Open(200, 200, 4, 100, 24, 1), kAborted, kAssertion);
}

TEST(PX_ZoomDeathTest, AssertionComesBeforeValidation) {
    testing::FLAGS_gtest_death_test_style = kDeathTestStyle;
    PX_Zoom zoom;
    EXPECT_EXIT(zoom.Open(200, 200, 100, 100, 12, 7), kAborted, kAssertion);
    EXPECT_EXIT(zoom.Open(0, 0, 0, 0, 24, 1), kAborted, kAssertion);
}

// The text is out before the process ends, though the host has given standard error a buffer.
TEST(PX_ZoomDeathTest, AssertionIsPrintedThroughABuffer) {
    testing::FLAGS_gtest_death_test_style = kDeathTestStyle;
    PX_Zoom zoom;
    const auto buffered = [&zoom] {
        static char buffer[4096];
        std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
        zoom.Open(200, 200, 100, 100, 24, 1);
    };
    EXPECT_EXIT(buffered(), kAborted, kAssertion);
}

TEST(PX_ZoomHelpers, SamplesAndBits) {
    const int formats[] = {1, 8, 16, 24, 32, 48, 64, 12, 0, -1, 2, 128};
    const int samples[] = {1, 1, 1, 3, 4, 3, 4, 0, 0, 0, 0, 0};
    const int bits[] = {1, 8, 16, 8, 8, 16, 16, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        EXPECT_EQ(samples[i], PX_Zoom_SamplePerPixel(formats[i])) << formats[i];
        EXPECT_EQ(bits[i], PX_Zoom_BitsPerSample(formats[i])) << formats[i];
    }
}

TEST(PX_ZoomHelpers, MemFreeTwiceIsHarmless) {
    std::uint8_t* block = nullptr;
    PX_Zoom_MemFree(&block);
    PX_Zoom_MemFree(nullptr);
    ASSERT_EQ(0, PX_Zoom_MemAlloc(&block, 100));
    ASSERT_NE(nullptr, block);
    std::memset(block, 1, 100);
    PX_Zoom_MemFree(&block);
    EXPECT_EQ(nullptr, block);
    PX_Zoom_MemFree(&block);
    EXPECT_EQ(nullptr, block);
}

// What malloc gives for no bytes is a block.
TEST(PX_ZoomHelpers, MemAllocOfNoBytesIsNoFailure) {
    void* block = nullptr;
    EXPECT_EQ(0, PX_Zoom_MemAlloc(&block, 0));
    EXPECT_NE(nullptr, block);
    PX_Zoom_MemFree(&block);
}

TEST(PX_ZoomHelpers, MemAllocStoresNullOnFailure) {
    std::uint8_t byte = 0;
    std::uint8_t* block = &byte;
    EXPECT_EQ(1, PX_Zoom_MemAlloc(&block, -28));
    EXPECT_EQ(nullptr, block);
}

}  // namespace
