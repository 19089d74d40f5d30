// The HSV filter's lines against an oracle: where they lie, what they take, who else runs.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "HsvFilter.h"
#include "LineFilters/HsvRow.h"
#include "oracles/HsvOracle.h"
#include "support/AllocationLedger.h"
#include "support/GuardedBuffer.h"

namespace {

using platen_test::Adjusted;
using platen_test::AllocationLedger;
using platen_test::Bytes;
using platen_test::GreyLine;
using platen_test::GuardedBuffer;
using platen_test::HsvFilter;
using platen_test::HsvOracle;
using platen_test::HsvSettings;
using platen_test::Random;
using platen_test::RandomLine;

Bytes Expected(const HsvOracle& oracle, const Bytes& line) {
    Bytes expected(line.size());
    for (std::size_t i = 0; i < line.size(); i += 3) {
        oracle.Apply(&line[i], &expected[i]);
    }
    return expected;
}

TEST(Hsv, RandomSettingsEqualTheSecondWriting) {
    Random random(23);
    for (int round = 0; round < 2000; ++round) {
        const auto hue = static_cast<std::int32_t>(random.Between(-180, 180));
        const auto saturation = static_cast<std::int32_t>(random.Between(-100, 100));
        const auto lightness = static_cast<std::int32_t>(random.Between(-100, 100));
        if (hue == 0 && saturation == 0 && lightness == 0) {
            continue;
        }
        const Bytes line = RandomLine(random, 200);
        ASSERT_EQ(Expected(HsvOracle(hue, saturation, lightness), line), Adjusted(hue, saturation, lightness, line))
            << hue << " " << saturation << " " << lightness;
    }
}

TEST(HsvRow, ReferenceStaysInsideLinesAgainstProtectedPages) {
    Random random(24);
    const HsvOracle oracle(33, 20, 0);
    std::uint8_t identity[256];
    for (std::size_t i = 0; i < 256; ++i) {
        identity[i] = static_cast<std::uint8_t>(i);
    }
    for (const auto side : {GuardedBuffer::Against::kPageBehind, GuardedBuffer::Against::kPageBefore}) {
        for (std::size_t width = 1; width <= 300; ++width) {
            const Bytes line = RandomLine(random, width);
            const GuardedBuffer buffer(line.size(), side);
            std::memcpy(buffer.data(), line.data(), line.size());
            platen::HsvRow_reference(buffer.data(), width, 33, 20, identity);
            ASSERT_EQ(Expected(oracle, line), Bytes(buffer.data(), buffer.data() + line.size())) << width;
        }
    }
}

TEST(Hsv, LinesOfEveryAlignmentLeaveTheirSurroundingsAlone) {
    Random random(25);
    const HsvOracle oracle(-45, -30, 10);
    const GuardedBuffer buffer(64 + 3 * 300 + 64);
    for (std::int32_t width = 1; width <= 300; ++width) {
        const HsvFilter filter(-45, -30, 10, width);
        const Bytes line = RandomLine(random, static_cast<std::size_t>(width));
        const Bytes expected = Expected(oracle, line);
        for (std::size_t offset = 0; offset < 64; ++offset) {
            Bytes whole(buffer.size(), 0xA5);
            std::copy(line.begin(), line.end(), whole.begin() + static_cast<std::ptrdiff_t>(offset));
            std::memcpy(buffer.data(), whole.data(), whole.size());
            ASSERT_EQ(0, filter.Apply(buffer.data() + offset));
            std::copy(expected.begin(), expected.end(), whole.begin() + static_cast<std::ptrdiff_t>(offset));
            ASSERT_EQ(0, std::memcmp(whole.data(), buffer.data(), whole.size())) << width << " " << offset;
        }
    }
}

TEST(HsvOutOfMemory, SetupTakesOneBlockAndGivesItBack) {
    const std::vector<std::size_t> sizes = {28};
    AllocationLedger ledger;
    _SHsvParam param = HsvSettings(1, 2, 3, 4);
    void* handle = nullptr;
    ASSERT_EQ(0, SetupHsv(&param, &handle));
    EXPECT_EQ(1u, ledger.Mallocs());
    EXPECT_EQ(0u, ledger.News());
    EXPECT_EQ(sizes, ledger.OutstandingSizes());
    std::uint8_t line[12] = {};
    EXPECT_EQ(0, ApplyOneLineHsv(handle, line));
    EXPECT_EQ(1u, ledger.Mallocs());
    Disposehsv(handle);
    EXPECT_EQ(0u, ledger.Outstanding());
}

TEST(HsvOutOfMemory, SetupWritesNeitherHandleNorTable) {
    { const HsvFilter filter(0, 0, -50, 1); }
    std::array<std::uint32_t, 256> before;
    std::copy(std::begin(gStorage), std::end(gStorage), before.begin());
    _SHsvParam param = HsvSettings(0, 0, 70, 4);
    void* handle = &param;
    {
        AllocationLedger ledger;
        ledger.FailFrom(0);
        EXPECT_EQ(1, SetupHsv(&param, &handle));
        EXPECT_EQ(0u, ledger.Outstanding());
        EXPECT_EQ(1u, ledger.Mallocs());
    }
    EXPECT_EQ(static_cast<void*>(&param), handle);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), std::begin(gStorage)));
}

TEST(HsvThreads, TwoContextsOnTwoThreads) {
    const auto run = [](std::int32_t hue, std::uint64_t seed, std::atomic<int>& wrong) {
        const HsvOracle oracle(hue, 10, 20);
        Random random(seed);
        const HsvFilter filter(hue, 10, 20, 64);
        for (int i = 0; i < 300; ++i) {
            const Bytes line = RandomLine(random, 64);
            Bytes adjusted = line;
            filter.Apply(adjusted.data());
            wrong += adjusted == Expected(oracle, line) ? 0 : 1;
        }
    };
    std::atomic<int> wrong{0};
    { const HsvFilter filter(1, 0, 20, 1); }  // the table that both will build again
    std::thread other(run, 50, 26, std::ref(wrong));
    run(-110, 27, wrong);
    other.join();
    EXPECT_EQ(0, wrong);
}

TEST(HsvThreads, SetupOnAnotherThreadChangesEntriesWhole) {
    const HsvOracle dark(0, 0, -60);
    const HsvOracle light(0, 0, 60);
    const HsvFilter filter(0, 0, 60, 256);
    std::atomic<bool> stop{false};
    std::thread other([&stop] {
        for (int i = 0; !stop; ++i) {
            const HsvFilter rebuilt(0, 0, i % 2 == 0 ? -60 : 60, 1);
        }
    });
    int wrong = 0;
    for (int i = 0; i < 2000; ++i) {
        Bytes line = GreyLine();
        filter.Apply(line.data());
        for (int grey = 0; grey < 256; ++grey) {
            const int got = line[3 * static_cast<std::size_t>(grey)];
            wrong += got == dark.Entry(grey) || got == light.Entry(grey) ? 0 : 1;
        }
    }
    stop = true;
    other.join();
    EXPECT_EQ(0, wrong);
}

}  // namespace
