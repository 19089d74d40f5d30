#include "LineFilters/SharpRow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "LineFilters/Sharpness.h"
#include "Sources/Dispatch/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace {

using platen_test::GuardedBuffer;
using platen_test::Random;
using Side = GuardedBuffer::Against;

// Three rows and two output lines, each against a protected page.
struct Rows {
    GuardedBuffer top, middle, bottom, expected, out;

    Rows(std::size_t bytes, Side side)
        : top(bytes, side), middle(bytes, side), bottom(bytes, side), expected(bytes, side), out(bytes, side) {}

    void Fill(Random& random, int kind) {
        for (const GuardedBuffer* row : {&top, &middle, &bottom}) {
            for (std::uint8_t& byte : row->bytes()) {
                byte = kind == 0 ? random.Byte() : random.OneIn(2) ? 255 : 0;
            }
        }
    }
};

// Compares a variant's line with the reference's, for lines at a page's beginning or end.
void ExpectEqualLines(const platen::KernelTable& variant, const std::int32_t* kernel, std::size_t width,
                      std::size_t samples, bool topEdge, Rows& rows) {
    const platen::SharpRowArgs args{rows.top.data(), rows.middle.data(), rows.bottom.data(), kernel, width, samples,
                                    topEdge};
    platen::SharpRow_reference(rows.expected.data(), args);
    variant.sharpRow(rows.out.data(), args);
    ASSERT_EQ(0, std::memcmp(rows.expected.data(), rows.out.data(), rows.out.size()))
        << variant.name << ", width " << width << ", samples " << samples << ", top edge " << topEdge;
}

TEST(SharpRow, EveryVariantEqualsReferenceAtWidths3To300) {
    Random random(1);
    for (std::size_t width = 3; width <= 300; ++width) {
        for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
            Rows rows(width * samples, width % 2 == 0 ? Side::kPageBefore : Side::kPageBehind);
            rows.Fill(random, static_cast<int>(width / 2 % 2));
            for (const auto& kernel : sfilterParamTable) {
                for (const platen::KernelTable* variant : platen::AvailableKernels()) {
                    ExpectEqualLines(*variant, kernel, width, samples, width % 3 == 0, rows);
                }
            }
        }
    }
}

TEST(SharpRow, EveryVariantEqualsReferenceAtLongWidthsAndEveryAlignment) {
    Random random(2);
    for (int i = 0; i < 200; ++i) {
        const auto width = static_cast<std::size_t>(random.Between(301, 3000));
        const std::size_t samples = random.OneIn(2) ? 1 : 3;
        // At the page after it, the width decides the alignment.
        Rows rows(width * samples, Side::kPageBehind);
        rows.Fill(random, i % 2);
        for (const auto& kernel : sfilterParamTable) {
            for (const platen::KernelTable* variant : platen::AvailableKernels()) {
                ExpectEqualLines(*variant, kernel, width, samples, random.OneIn(4), rows);
            }
        }
    }
}

TEST(SharpRow, EveryVariantEqualsReferenceForKernelsFromElsewhere) {
    Random random(3);
    for (int i = 0; i < 2000; ++i) {
        std::int32_t kernel[10];
        std::memcpy(kernel, sfilterParamTable[random.Between(0, 4)], sizeof kernel);
        // One or two words away from a kernel that has a path of its own, or any words at all.
        const bool anything = random.OneIn(4);
        const int changes = anything ? 10 : static_cast<int>(random.Between(1, 2));
        for (int c = 0; c < changes; ++c) {
            kernel[anything ? c : random.Between(0, 9)] = static_cast<std::int32_t>(
                random.OneIn(3) ? static_cast<std::int64_t>(random.Next()) : random.Between(-25, 25));
        }
        Rows rows(3 * 70, Side::kPageBehind);
        rows.Fill(random, i % 2);
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            ExpectEqualLines(*variant, kernel, 70, 3, random.OneIn(4), rows);
        }
    }
}

// Arms equal, corners zero, divisor 4 or 8: every such kernel that the cross path takes or refuses.
TEST(SharpRow, EveryVariantEqualsReferenceForAllCrosses) {
    Random random(4);
    Rows rows(90, Side::kPageBehind);
    for (std::int32_t arm = -5; arm <= 5; ++arm) {
        for (std::int32_t centre = -25; centre <= 25; ++centre) {
            for (const std::int32_t divisor : {4, 8, -8, 9}) {
                const std::int32_t kernel[10] = {0, arm, 0, arm, centre, arm, 0, arm, 0, divisor};
                rows.Fill(random, centre & 1);
                for (const platen::KernelTable* variant : platen::AvailableKernels()) {
                    ExpectEqualLines(*variant, kernel, 90, 1, random.OneIn(2), rows);
                }
            }
        }
    }
}

TEST(SharpRow, RowsMayBeOneAndTheSame) {
    Random random(5);
    GuardedBuffer row(300);
    for (std::uint8_t& byte : row.bytes()) {
        byte = random.Byte();
    }
    GuardedBuffer expected(300);
    GuardedBuffer out(300);
    for (const auto& kernel : sfilterParamTable) {
        const platen::SharpRowArgs args{row.data(), row.data(), row.data(), kernel, 100, 3, false};
        platen::SharpRow_reference(expected.data(), args);
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            variant->sharpRow(out.data(), args);
            EXPECT_EQ(0, std::memcmp(expected.data(), out.data(), 300)) << variant->name;
        }
    }
}

// ---- Put: the ring of lines and the finished line ----

// The ring, the line that comes and the output line, each against a protected page or some bytes away from it.
struct Ring {
    GuardedBuffer oldest, previous, newest, line, out;

    Ring(std::size_t bytes, Side side)
        : oldest(bytes, side), previous(bytes, side), newest(bytes, side), line(bytes, side), out(bytes, side) {}

    std::array<const GuardedBuffer*, 5> All() const {
        return {&oldest, &previous, &newest, &line, &out};
    }
    void CopyFrom(const Ring& other) {
        for (std::size_t i = 0; i < 5; ++i) {
            std::memcpy(All()[i]->data(), other.All()[i]->data(), other.All()[i]->size());
        }
    }
    void Fill(Random& random, int kind) {
        for (const GuardedBuffer* buffer : All()) {
            for (std::uint8_t& byte : buffer->bytes()) {
                byte = kind == 0 ? random.Byte() : random.OneIn(2) ? 255 : 0;
            }
        }
    }
};

struct PutCase {
    const std::int32_t* kernel;
    std::size_t width;
    std::size_t samples;
    std::size_t padding;
    std::size_t offsets[5];  // of oldest, previous, newest, line, out in their buffers

    std::size_t RowBytes() const {
        return width * samples + padding;
    }
};

void RunPut(platen::SharpPutFn put, const Ring& ring, const PutCase& with) {
    const platen::SharpPutArgs args{ring.oldest.data() + with.offsets[0],
                                    ring.previous.data() + with.offsets[1],
                                    ring.newest.data() + with.offsets[2],
                                    ring.line.data() + with.offsets[3],
                                    with.RowBytes(),
                                    with.kernel,
                                    with.width,
                                    with.samples};
    put(ring.out.data() + with.offsets[4], args);
}

// All bytes of all buffers, so that nothing past the pixels of `out` is written either.
void ExpectEqualPuts(Random& random, const PutCase& with, std::size_t spare, Side side) {
    const std::size_t bytes = with.RowBytes() + spare;
    Ring source(bytes, side);
    Ring expected(bytes, side);
    Ring got(bytes, side);
    source.Fill(random, random.OneIn(2) ? 1 : 0);
    expected.CopyFrom(source);
    RunPut(platen::SharpPut_reference, expected, with);
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        got.CopyFrom(source);
        RunPut(variant->sharpPut, got, with);
        for (std::size_t i = 0; i < 5; ++i) {
            ASSERT_EQ(0, std::memcmp(expected.All()[i]->data(), got.All()[i]->data(), bytes))
                << variant->name << ", width " << with.width << ", samples " << with.samples << ", padding "
                << with.padding << ", buffer " << i;
        }
    }
}

TEST(SharpPut, ReferenceMovesTheRingOnAndFinishesTheMiddleLine) {
    Random random(6);
    Ring before(60, Side::kPageBehind);
    Ring ring(60, Side::kPageBehind);
    before.Fill(random, 0);
    ring.CopyFrom(before);
    const PutCase with{sfilterParamTable[3], 18, 3, 6, {}};
    RunPut(platen::SharpPut_reference, ring, with);
    EXPECT_EQ(0, std::memcmp(ring.oldest.data(), before.previous.data(), 60));
    EXPECT_EQ(0, std::memcmp(ring.previous.data(), before.newest.data(), 60));
    EXPECT_EQ(0, std::memcmp(ring.newest.data(), before.line.data(), 60));
    GuardedBuffer expected(54);
    platen::SharpRow_reference(expected.data(), {before.previous.data(), before.newest.data(), before.line.data(),
                                                 with.kernel, 18, 3, false});
    EXPECT_EQ(0, std::memcmp(ring.out.data(), expected.data(), 54));
    EXPECT_EQ(0, std::memcmp(ring.out.data() + 54, before.out.data() + 54, 6));
}

TEST(SharpPut, EveryVariantEqualsReferenceAtWidths3To300) {
    Random random(7);
    for (std::size_t width = 3; width <= 300; ++width) {
        for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
            for (const auto& kernel : sfilterParamTable) {
                const auto padding = static_cast<std::size_t>(random.OneIn(3) ? random.Between(0, 150) : 0);
                ExpectEqualPuts(random, {kernel, width, samples, padding, {}}, 0,
                                random.OneIn(2) ? Side::kPageBefore : Side::kPageBehind);
            }
        }
    }
}

TEST(SharpPut, EveryVariantEqualsReferenceAtEveryAlignment) {
    Random random(8);
    for (int i = 0; i < 800; ++i) {
        PutCase with{};
        with.kernel = sfilterParamTable[random.Between(0, 4)];
        with.width =
            static_cast<std::size_t>(random.OneIn(4) ? random.Between(301, 3000) : random.Between(60, 200));
        with.samples = random.OneIn(2) ? 1 : 3;
        with.padding = static_cast<std::size_t>(random.OneIn(2) ? random.Between(1, 100) : 0);
        for (std::size_t& offset : with.offsets) {
            offset = static_cast<std::size_t>(random.Between(0, 64));
        }
        with.offsets[4] = static_cast<std::size_t>(i % 64);
        ExpectEqualPuts(random, with, 64, random.OneIn(2) ? Side::kPageBefore : Side::kPageBehind);
    }
}

// The output line's address decides where the steps begin; nothing in front of the ring's lines is read for that.
TEST(SharpPut, EveryVariantReadsNothingInFrontOfTheLinesWhereverTheOutputLies) {
    Random random(11);
    for (std::size_t offset = 0; offset < 64; ++offset) {
        PutCase with{sfilterParamTable[2 + offset % 3], 100, 3, 0, {}};
        with.offsets[4] = offset;
        ExpectEqualPuts(random, with, 64, Side::kPageBefore);
    }
}

// What a host may make of it: lines of the ring that are one and the same, a line of the ring that is put again.
TEST(SharpPut, EveryVariantEqualsReferenceForBuffersThatAreOneAndTheSame) {
    constexpr std::size_t kBytes = 620;
    Random random(9);
    std::uint8_t source[5][kBytes];
    std::uint8_t expected[5][kBytes];
    std::uint8_t got[5][kBytes];
    for (int i = 0; i < 300; ++i) {
        for (auto& row : source) {
            for (std::uint8_t& byte : row) {
                byte = random.Byte();
            }
        }
        std::size_t place[4];  // of oldest, previous, newest and line
        for (std::size_t& row : place) {
            row = static_cast<std::size_t>(random.Between(0, 3));
        }
        const auto width = static_cast<std::size_t>(random.Between(3, 200));
        const auto run = [&](platen::SharpPutFn put, std::uint8_t(&rows)[5][kBytes]) {
            std::memcpy(rows, source, sizeof source);
            put(rows[4], {rows[place[0]], rows[place[1]], rows[place[2]], rows[place[3]], 3 * width + 7,
                          sfilterParamTable[i % 5], width, 3});
        };
        run(platen::SharpPut_reference, expected);
        for (const platen::KernelTable* variant : platen::AvailableKernels()) {
            run(variant->sharpPut, got);
            ASSERT_EQ(0, std::memcmp(expected, got, sizeof got)) << variant->name << ", width " << width;
        }
    }
}

// Lines that share their bytes by half, but for one byte or only the one, and lines that touch. Only pairs of which
// neither is copied to the other: what that gives is left open.
TEST(SharpPut, EveryVariantEqualsReferenceForLinesThatOverlapALittle) {
    constexpr std::ptrdiff_t kBytes = 300;
    constexpr std::size_t kPairs[3][2] = {{0, 2}, {0, 3}, {1, 3}};  // of oldest, previous, newest, line
    Random random(10);
    std::array<std::uint8_t, 12 * kBytes> source;
    std::array<std::uint8_t, source.size()> expected;
    std::array<std::uint8_t, source.size()> got;
    for (std::uint8_t& byte : source) {
        byte = random.Byte();
    }
    for (const auto& pair : kPairs) {
        for (const std::ptrdiff_t shared : {kBytes - 1, kBytes / 2, std::ptrdiff_t{1}, std::ptrdiff_t{0}}) {
            for (const std::ptrdiff_t away : {kBytes - shared, shared - kBytes}) {
                std::ptrdiff_t place[4] = {0, 2 * kBytes, 4 * kBytes, 6 * kBytes};
                place[pair[0]] = 9 * kBytes;
                place[pair[1]] = 9 * kBytes + away;
                const auto run = [&](platen::SharpPutFn put, auto& bytes) {
                    bytes = source;
                    std::uint8_t* at = bytes.data();
                    put(at + 11 * kBytes, {at + place[0], at + place[1], at + place[2], at + place[3], kBytes,
                                           sfilterParamTable[3], kBytes / 3, 3});
                };
                run(platen::SharpPut_reference, expected);
                for (const platen::KernelTable* variant : platen::AvailableKernels()) {
                    run(variant->sharpPut, got);
                    ASSERT_EQ(expected, got) << variant->name << ", lines " << pair[0] << " and " << pair[1]
                                             << " share " << shared << " bytes, " << away << " apart";
                }
            }
        }
    }
}

// The finished line in the room after the pixels of the line that comes, or so near before it that their rows
// overlap: no sample is in two places.
TEST(SharpPut, EveryVariantEqualsReferenceWhereOnlyPaddingOverlaps) {
    constexpr std::size_t kPixels = 300;
    constexpr std::size_t kRow = 2 * kPixels;
    struct Memory {
        std::uint8_t ring[3][kRow];
        std::uint8_t both[kRow + kPixels];  // the line that comes and the finished one
    };
    Random random(10);
    Memory source;
    Memory expected;
    Memory got;
    for (const auto& kernel : sfilterParamTable) {
        for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
            for (const bool outFirst : {true, false}) {
                std::generate_n(&source.ring[0][0], sizeof source.ring, [&] { return random.Byte(); });
                std::generate_n(source.both, sizeof source.both, [&] { return random.Byte(); });
                const auto run = [&](platen::SharpPutFn put, Memory& memory) {
                    memory = source;
                    put(memory.both + (outFirst ? 0 : kPixels),
                        {memory.ring[0], memory.ring[1], memory.ring[2], memory.both + (outFirst ? kPixels : 0),
                         kRow, kernel, kPixels / samples, samples});
                };
                run(platen::SharpPut_reference, expected);
                for (const platen::KernelTable* variant : platen::AvailableKernels()) {
                    run(variant->sharpPut, got);
                    ASSERT_EQ(0, std::memcmp(&expected, &got, sizeof got))
                        << variant->name << ", samples " << samples << (outFirst ? ", before" : ", after");
                }
            }
        }
    }
}

}  // namespace
