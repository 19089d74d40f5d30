#include "LineFilters/Sharpness.h"

#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <thread>
#include <vector>

#include "SharpFilter.h"
#include "support/AllocationLedger.h"

namespace {

using platen_test::AllocationLedger;
using platen_test::Bytes;
using platen_test::SharpFilter;
using platen_test::SharpSettings;

constexpr std::int32_t kLevels[5] = {-2, -1, 1, 2, 3};

std::int32_t SetupStatus(_SSharpParam param) {
    int untouched = 0;
    void* handle = &untouched;
    const std::int32_t status = SetupSharp(&param, &handle);
    if (status == 0) {
        EXPECT_NE(static_cast<void*>(&untouched), handle);
        DisposeSharpness(handle);
    } else {
        EXPECT_EQ(static_cast<void*>(&untouched), handle);
    }
    return status;
}

TEST(Sharpness, FieldsOutOfRangeAreRefused) {
    const auto changed = [](auto field, auto value) {
        _SSharpParam param = SharpSettings(1, 3, 5, 5);
        param.*field = value;
        return SetupStatus(param);
    };
    for (const std::int32_t level :
         {0, -3, 4, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(3, changed(&_SSharpParam::level, level));
    }
    for (const std::uint32_t bits : {0u, 1u, 16u, 32u, 48u}) {
        EXPECT_EQ(3, changed(&_SSharpParam::bitsPerPixel, bits));
    }
    for (const std::uint32_t width : {0u, 1u, 2u}) {
        EXPECT_EQ(3, changed(&_SSharpParam::width, width));
    }
    EXPECT_EQ(3, changed(&_SSharpParam::height, 0u));
    EXPECT_EQ(3, changed(&_SSharpParam::rowBytes, 0u));
    for (const std::int32_t level : kLevels) {
        EXPECT_EQ(0, changed(&_SSharpParam::level, level));
    }
}

TEST(Sharpness, RowBytesShorterThanThePixelsAreRefused) {
    EXPECT_EQ(0, SetupStatus({1, 24, 5, 5, 15}));
    EXPECT_EQ(3, SetupStatus({1, 24, 5, 5, 14}));
    EXPECT_EQ(0, SetupStatus({1, 8, 5, 5, 5}));
    EXPECT_EQ(3, SetupStatus({1, 8, 5, 5, 4}));
    EXPECT_EQ(3, SetupStatus({1, 24, 0x55555556, 5, 100}));  // 3 x width is 2 modulo 2^32
}

TEST(Sharpness, NullPointersAreRefused) {
    _SSharpParam param = SharpSettings(1, 1, 3, 3);
    void* handle = nullptr;
    std::uint8_t line[3] = {1, 2, 3};
    EXPECT_EQ(3, SetupSharp(nullptr, &handle));
    EXPECT_EQ(3, SetupSharp(&param, nullptr));
    EXPECT_EQ(3, ApplySharpFilterPutLine(nullptr, line));
    EXPECT_EQ(3, ApplySharpFilterPutLine(&handle, line));
    EXPECT_EQ(3, ApplySharpFilterGetLine(nullptr, line));
    EXPECT_EQ(3, ApplySharpFilterGetLine(&handle, line));
    EXPECT_EQ(0u, GetSharpDstLines(nullptr));
    DisposeSharpness(nullptr);
    SharpFilter filter(param);
    EXPECT_EQ(3, ApplySharpFilterPutLine(filter.Handle(), nullptr));
    EXPECT_EQ(3, ApplySharpFilterGetLine(filter.Handle(), nullptr));
    EXPECT_EQ(0u, filter.Words().linesIn);
}

TEST(Sharpness, TableHoldsTheFiveKernels) {
    const std::int32_t expected[5][11] = {
        {1, 1, 1, 1, 1, 1, 1, 1, 1, 9, -2},     {0, 1, 0, 1, 4, 1, 0, 1, 0, 8, -1},
        {0, -1, 0, -1, 12, -1, 0, -1, 0, 8, 1}, {0, -1, 0, -1, 8, -1, 0, -1, 0, 4, 2},
        {0, -3, 0, -3, 20, -3, 0, -3, 0, 8, 3},
    };
    for (std::size_t entry = 0; entry < 5; ++entry) {
        for (std::size_t word = 0; word < 11; ++word) {
            EXPECT_EQ(expected[entry][word], sfilterParamTable[entry][word]) << entry << " " << word;
        }
        EXPECT_EQ(sfilterParamTable[entry][9],
                  std::accumulate(sfilterParamTable[entry], sfilterParamTable[entry] + 9, 0));
    }
}

TEST(Sharpness, SetupCopiesSettingsAndKernel) {
    for (std::size_t entry = 0; entry < 5; ++entry) {
        const SharpFilter filter(SharpSettings(kLevels[entry], 3, 5, 7, 2));
        const platen::SharpContext& words = filter.Words();
        EXPECT_EQ(kLevels[entry], words.param->level);
        EXPECT_EQ(24u, words.param->bitsPerPixel);
        EXPECT_EQ(5u, words.param->width);
        EXPECT_EQ(7u, words.param->height);
        EXPECT_EQ(17u, words.param->rowBytes);
        EXPECT_EQ(0, std::memcmp(words.kernel, sfilterParamTable[entry], 40));
        EXPECT_EQ(0u, words.linesIn);
        EXPECT_EQ(0u, words.linesReady);
        for (const std::uint8_t* line :
             {words.newestLine, words.previousLine, words.oldestLine, words.outLine1, words.outLine2}) {
            EXPECT_EQ(Bytes(17, 0), Bytes(line, line + 17));
        }
    }
}

TEST(Sharpness, FlatImagesStayAsTheyAre) {
    for (const std::int32_t level : kLevels) {
        for (const int samples : {1, 3}) {
            for (const int value : {0, 1, 127, 254, 255}) {
                platen_test::SharpImage image(5, 4, samples);
                image.bytes.assign(image.bytes.size(), static_cast<std::uint8_t>(value));
                EXPECT_EQ(image.bytes, platen_test::Streamed(level, image, 0).bytes) << level << " " << value;
            }
        }
    }
}

TEST(Sharpness, HeightOneGivesNoLine) {
    SharpFilter filter(SharpSettings(1, 1, 3, 1));
    EXPECT_EQ(0, filter.PutFlat(9));
    EXPECT_EQ(0u, filter.Ready());
    EXPECT_EQ(Bytes(3, 0x77), filter.Get(0x77));
    EXPECT_EQ(0u, filter.Ready());
}

TEST(Sharpness, HeightTwoGivesTwoEqualLines) {
    SharpFilter filter(SharpSettings(3, 1, 4, 2));
    EXPECT_EQ(0, filter.Put({10, 200, 30, 90}));
    EXPECT_EQ(0u, filter.Ready());
    EXPECT_EQ(0, filter.Put({50, 60, 70, 80}));
    EXPECT_EQ(2u, filter.Ready());
    const Bytes first = filter.Get();
    EXPECT_EQ(1u, filter.Ready());
    const Bytes second = filter.Get();
    EXPECT_EQ(0u, filter.Ready());
    EXPECT_EQ(first, second);
    // Weights -3 20 -3 on the first line, twice -3 on the second, by 8, as magnitudes, at most 255:
    // 20*10 - 3*10 - 3*200 - 6*50 = -730 | 20*200 - 3*10 - 3*30 - 6*60 = 3520 |
    // 20*30 - 3*200 - 3*90 - 6*70 = -690 | 20*90 - 3*30 - 3*30 - 6*80 = 1140
    EXPECT_EQ((Bytes{91, 255, 86, 142}), first);
}

TEST(Sharpness, ReadyCountsAreZeroThenOnesThenTwo) {
    for (int height = 3; height <= 9; ++height) {
        SharpFilter filter(SharpSettings(1, 3, 3, height));
        int lines = 0;
        for (int y = 0; y < height; ++y) {
            filter.PutFlat(static_cast<std::uint8_t>(y));
            ASSERT_EQ(y == 0 ? 0u : y == height - 1 ? 2u : 1u, filter.Ready());
            for (; filter.Ready() != 0; ++lines) {
                filter.Get();
            }
        }
        EXPECT_EQ(height, lines);
    }
}

// One dot in the middle of a 5 x 5 field, level 3; the middle line of the result.
Bytes MiddleLineAroundDot(std::uint8_t field, std::uint8_t dot) {
    platen_test::SharpImage image(5, 5, 1);
    image.bytes.assign(25, field);
    image.At(2, 2, 0) = dot;
    const platen_test::SharpImage result = platen_test::Streamed(3, image, 0);
    // The dot's column is as its line.
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(result.At(i, 2, 0), result.At(2, i, 0));
    }
    EXPECT_EQ(field, result.At(1, 1, 0));
    return {result.bytes.begin() + 10, result.bytes.begin() + 15};
}

TEST(Sharpness, DarkDotOnBrightGivesMagnitudes) {
    // At the dot 20*0 - 12*200 = -2400, by 8 -300: 255 and not 0. Beside it 20*200 - 9*200 = 2200: 275, so 255.
    EXPECT_EQ((Bytes{200, 255, 255, 255, 200}), MiddleLineAroundDot(200, 0));
    // -12*80 = -960: 120. Beside it 11*80 = 880: 110.
    EXPECT_EQ((Bytes{80, 110, 120, 110, 80}), MiddleLineAroundDot(80, 0));
}

TEST(Sharpness, BrightDotOnDarkGivesMagnitudes) {
    // Beside the dot -3*200 = -600: 75 and not 0.
    EXPECT_EQ((Bytes{0, 75, 255, 75, 0}), MiddleLineAroundDot(0, 200));
    // 20*10 - 9*10 - 3*255 = -655: 81.875.
    EXPECT_EQ((Bytes{10, 81, 255, 81, 10}), MiddleLineAroundDot(10, 255));
}

TEST(Sharpness, BoxCountsTheFirstColumnAndTheLastButOneTwice) {
    platen_test::SharpImage image(5, 3, 1);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) {
            image.At(x, y, 0) = static_cast<std::uint8_t>(x * x * 10);  // 0 10 40 90 160
        }
    }
    const platen_test::SharpImage result = platen_test::Streamed(-2, image, 0);
    // 3*(0+0+10)/9, 3*(0+10+40)/9, 3*(10+40+90)/9, 3*(40+90+160)/9, 3*(90+160+90)/9
    EXPECT_EQ((Bytes{3, 16, 46, 96, 113}), Bytes(result.bytes.begin() + 5, result.bytes.begin() + 10));
}

TEST(Sharpness, FirstLineCountsTheLowerRowTwice) {
    SharpFilter filter(SharpSettings(-2, 1, 3, 3));
    filter.PutFlat(90);
    filter.PutFlat(30);
    EXPECT_EQ(Bytes(3, 50), filter.Get());  // (3*90 + 2*3*30) / 9
}

TEST(Sharpness, LastLineIsTheTopEdgeRuleOnTheLastTwo) {
    SharpFilter filter(SharpSettings(-2, 1, 3, 3));
    filter.PutFlat(255);
    filter.PutFlat(90);
    filter.Get();
    filter.PutFlat(30);
    EXPECT_EQ(Bytes(3, 125), filter.Get());  // (3*255 + 3*90 + 3*30) / 9
    EXPECT_EQ(Bytes(3, 50), filter.Get());   // (3*90 + 2*3*30) / 9, where rows swapped would give 70
}

TEST(Sharpness, GetWithNothingReadyCopiesStaleLine) {
    SharpFilter filter(SharpSettings(1, 1, 3, 4));
    EXPECT_EQ(Bytes(3, 0), filter.Get());  // before any line: as allocated
    filter.PutFlat(7);
    EXPECT_EQ(Bytes(3, 0), filter.Get());
    filter.PutFlat(7);
    EXPECT_EQ(Bytes(3, 7), filter.Get());
    EXPECT_EQ(0u, filter.Ready());
    EXPECT_EQ(Bytes(3, 7), filter.Get());
    EXPECT_EQ(0u, filter.Ready());
}

TEST(Sharpness, GetBehindTheLastLineCopiesNothing) {
    SharpFilter filter(SharpSettings(1, 1, 3, 2));
    filter.PutFlat(7);
    filter.PutFlat(7);
    filter.Get();
    filter.Get();
    EXPECT_EQ(Bytes(3, 0x77), filter.Get(0x77));
}

TEST(Sharpness, PutOverwritesAFinishedLineThatWasNotFetched) {
    SharpFilter filter(SharpSettings(1, 1, 3, 5));
    filter.PutFlat(1);
    filter.PutFlat(1);
    filter.PutFlat(1);
    EXPECT_EQ(1u, filter.Ready());
    filter.PutFlat(8);
    EXPECT_EQ((Bytes{0, 0, 0}), filter.Get());  // (12 - 2 - 1 - 8) / 8
}

TEST(Sharpness, PutPastHeightGoesOnWithOrdinaryLines) {
    SharpFilter filter(SharpSettings(-2, 1, 3, 2));
    filter.PutFlat(90);
    filter.PutFlat(60);
    EXPECT_EQ(2u, filter.Ready());
    filter.PutFlat(30);
    EXPECT_EQ(1u, filter.Ready());
    EXPECT_EQ(Bytes(3, 60), filter.Get());  // an ordinary line with all three rows
    EXPECT_EQ(0u, filter.Ready());
    for (int i = 0; i < 5; ++i) {
        filter.PutFlat(0);
        EXPECT_EQ(1u, filter.Ready());
    }
    EXPECT_EQ(8u, filter.Words().linesIn);
}

TEST(Sharpness, PointersOfTheContextNeverChange) {
    SharpFilter filter(SharpSettings(2, 3, 4, 6));
    const platen::SharpContext before = filter.Words();
    for (int i = 0; i < 8; ++i) {
        filter.PutFlat(static_cast<std::uint8_t>(i));
        filter.Get();
    }
    const platen::SharpContext& after = filter.Words();
    EXPECT_EQ(0, std::memcmp(&before, &after, offsetof(platen::SharpContext, linesIn)));
    EXPECT_EQ(Bytes(12, 7), Bytes(after.newestLine, after.newestLine + 12));
    EXPECT_EQ(Bytes(12, 6), Bytes(after.previousLine, after.previousLine + 12));
    EXPECT_EQ(Bytes(12, 5), Bytes(after.oldestLine, after.oldestLine + 12));
}

// A host that sets the counter back starts anew: the first line finishes none.
TEST(Sharpness, AFirstLineFinishesNothing) {
    SharpFilter filter(SharpSettings(1, 3, 5, 5));
    filter.PutFlat(1);
    filter.PutFlat(2);
    EXPECT_EQ(1u, filter.Ready());
    filter.Words().linesIn = 0;
    filter.PutFlat(3);
    EXPECT_EQ(0u, filter.Ready());
}

// Every Put moves all three lines on, also those before the ring is full: a host may have put lines there.
TEST(Sharpness, EveryPutMovesTheWholeRingOn) {
    SharpFilter filter(SharpSettings(2, 1, 4, 6));
    const platen::SharpContext& words = filter.Words();
    std::memset(words.newestLine, 11, 4);
    std::memset(words.previousLine, 12, 4);
    for (std::uint8_t value = 21; value < 25; ++value) {
        const std::uint8_t previous = words.previousLine[0];
        const std::uint8_t newest = words.newestLine[0];
        EXPECT_EQ(0, filter.PutFlat(value));
        EXPECT_EQ(Bytes(4, previous), Bytes(words.oldestLine, words.oldestLine + 4)) << "line " << +value;
        EXPECT_EQ(Bytes(4, newest), Bytes(words.previousLine, words.previousLine + 4)) << "line " << +value;
        EXPECT_EQ(Bytes(4, value), Bytes(words.newestLine, words.newestLine + 4)) << "line " << +value;
    }
}

TEST(Sharpness, PutAndGetGiveTheHandleBack) {
    SharpFilter filter(SharpSettings(2, 1, 3, 3));
    void* const context = *filter.Handle();
    for (int i = 0; i < 3; ++i) {
        filter.PutFlat(1);
        EXPECT_EQ(context, *filter.Handle());
    }
    filter.Get();
    EXPECT_EQ(context, *filter.Handle());
}

#if !defined(_WIN32)  // no page of its kind there
// Both write the handle, though it has that value: in memory that can't be written the program ends.
TEST(SharpnessDeathTest, PutAndGetWriteTheHandle) {
    SharpFilter filter(SharpSettings(2, 1, 3, 3));
    filter.PutFlat(1);
    Bytes line(3, 1);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const memory = mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* const handle = static_cast<void**>(memory);
    *handle = *filter.Handle();
    ASSERT_EQ(0, mprotect(memory, page, PROT_READ));
    EXPECT_DEATH(ApplySharpFilterPutLine(handle, line.data()), "");
    EXPECT_DEATH(ApplySharpFilterGetLine(handle, line.data()), "");
    munmap(memory, page);
}
#endif

TEST(Sharpness, PutAndGetCheckTheSettingsAgain) {
    const auto refused = [](auto field, auto value) {
        SharpFilter filter(SharpSettings(1, 3, 5, 5));
        filter.PutFlat(1);
        filter.PutFlat(2);
        const platen::SharpContext before = filter.Words();
        const auto good = before.param->*field;
        before.param->*field = value;
        Bytes line(15, 9);
        EXPECT_EQ(3, ApplySharpFilterPutLine(filter.Handle(), line.data()));
        EXPECT_EQ(3, ApplySharpFilterGetLine(filter.Handle(), line.data()));
        EXPECT_EQ(Bytes(15, 9), line);
        before.param->*field = good;
        EXPECT_EQ(2u, filter.Words().linesIn);
        EXPECT_EQ(1u, filter.Words().linesReady);
        EXPECT_EQ(Bytes(15, 2), Bytes(before.newestLine, before.newestLine + 15));
    };
    refused(&_SSharpParam::level, 0);
    refused(&_SSharpParam::level, -3);
    refused(&_SSharpParam::level, 4);
    refused(&_SSharpParam::bitsPerPixel, 16u);
    refused(&_SSharpParam::width, 2u);
    refused(&_SSharpParam::width, 6u);  // more than rowBytes
    refused(&_SSharpParam::height, 0u);
    refused(&_SSharpParam::rowBytes, 0u);
}

// The filter that has just finished the middle line of three flat ones, with a kernel of the host's own.
Bytes MiddleLineWithKernel(const std::int32_t (&kernel)[10]) {
    SharpFilter filter(SharpSettings(1, 1, 3, 4));
    std::copy(kernel, kernel + 10, filter.Words().kernel);
    filter.PutFlat(100);
    filter.PutFlat(10);
    filter.PutFlat(1);
    return filter.Get();
}

TEST(Sharpness, HostsMayWriteTheKernel) {
    EXPECT_EQ(Bytes(3, 100), MiddleLineWithKernel({0, 1, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Bytes(3, 10), MiddleLineWithKernel({0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Bytes(3, 1), MiddleLineWithKernel({0, 0, 0, 0, 0, 0, 0, 1, 0, 1}));
    EXPECT_EQ(Bytes(3, 222), MiddleLineWithKernel({1, 0, 1, 1, 0, 1, 1, 0, 1, -1}));
    EXPECT_EQ(Bytes(3, 5), MiddleLineWithKernel({0, 0, 0, 0, 4, 0, 0, 0, 0, 8}));
}

TEST(Sharpness, DivisorZeroGivesZero) {
    EXPECT_EQ(Bytes(3, 0), MiddleLineWithKernel({1, 1, 1, 1, 1, 1, 1, 1, 1, 0}));
}

TEST(Sharpness, SumsAreModulo32BitsAndTakenAsSigned) {
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    // 1 x 2^31 is the lowest integer; by -1 its magnitude is 2^31, by itself 1.
    EXPECT_EQ(Bytes(3, 255), MiddleLineWithKernel({0, 0, 0, 0, 0, 0, 0, kLowest, 0, -1}));
    EXPECT_EQ(Bytes(3, 1), MiddleLineWithKernel({0, 0, 0, 0, 0, 0, 0, kLowest, 0, kLowest}));
    EXPECT_EQ(Bytes(3, 128), MiddleLineWithKernel({0, 0, 0, 0, 0, 0, 0, kLowest, 0, 1 << 24}));
    // 10 x 2^31 is 0 modulo 2^32.
    EXPECT_EQ(Bytes(3, 0), MiddleLineWithKernel({0, 0, 0, 0, kLowest, 0, 0, 0, 0, 1}));
    // 10 x (2^31 - 1) is -10.
    EXPECT_EQ(Bytes(3, 10), MiddleLineWithKernel({0, 0, 0, 0, kHighest, 0, 0, 0, 0, 1}));
}

TEST(SharpnessOutOfMemory, SetupTakesEightBlocksAndDisposeGivesThemBack) {
    const std::vector<std::size_t> sizes = {20, sizeof(platen::SharpContext), 40, 23, 23, 23, 23, 23};
    AllocationLedger ledger;
    _SSharpParam param = SharpSettings(1, 3, 7, 3, 2);
    void* handle = nullptr;
    ASSERT_EQ(0, SetupSharp(&param, &handle));
    EXPECT_EQ(8u, ledger.Mallocs());
    EXPECT_EQ(0u, ledger.News());
    EXPECT_EQ(sizes, ledger.OutstandingSizes());
    std::uint8_t line[23] = {};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, ApplySharpFilterPutLine(&handle, line));
        EXPECT_EQ(0, ApplySharpFilterGetLine(&handle, line));
    }
    EXPECT_EQ(8u, ledger.Mallocs());
    DisposeSharpness(handle);
    EXPECT_EQ(0u, ledger.Outstanding());
}

// The request that fails, alone or with all that follow, and what is left behind.
void LeaksAfterFailure(std::size_t failing, bool andAllLater, std::size_t requests, std::size_t leaked) {
    AllocationLedger ledger;
    if (andAllLater) {
        ledger.FailFrom(failing);
    } else {
        ledger.FailOnly(failing);
    }
    _SSharpParam param = SharpSettings(1, 3, 7, 3);
    void* handle = &param;
    EXPECT_EQ(1, SetupSharp(&param, &handle));
    EXPECT_EQ(static_cast<void*>(&param), handle);
    EXPECT_EQ(requests, ledger.Mallocs()) << failing;
    EXPECT_EQ(leaked, ledger.Outstanding()) << failing;
    ledger.FreeOutstanding();
}

TEST(SharpnessOutOfMemory, BlocksAlreadyTakenAreLeaked) {
    // Settings, context, kernel: the first failure ends it.
    for (const bool andAllLater : {false, true}) {
        LeaksAfterFailure(0, andAllLater, 1, 0);
        LeaksAfterFailure(1, andAllLater, 2, 1);
        LeaksAfterFailure(2, andAllLater, 3, 2);
    }
    // The five lines: all are tried.
    for (std::size_t line = 3; line < 8; ++line) {
        LeaksAfterFailure(line, false, 8, 7);
        LeaksAfterFailure(line, true, 8, line);
    }
}

TEST(SharpnessThreads, TwoContextsOnTwoThreads) {
    const auto run = [](std::uint8_t value, bool& equal) {
        platen_test::SharpImage image(40, 60, 3);
        image.bytes.assign(image.bytes.size(), value);
        equal = true;
        for (const std::int32_t level : kLevels) {
            equal = platen_test::Streamed(level, image, 3).bytes == image.bytes && equal;
        }
    };
    bool here = false;
    bool there = false;
    std::thread other(run, std::uint8_t{200}, std::ref(there));
    run(17, here);
    other.join();
    EXPECT_TRUE(here);
    EXPECT_TRUE(there);
}

}  // namespace
