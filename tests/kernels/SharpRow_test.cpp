#include "LineFilters/SharpRow.h"

#include <gtest/gtest.h>

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
        // At the page behind, the width decides the alignment.
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

}  // namespace
