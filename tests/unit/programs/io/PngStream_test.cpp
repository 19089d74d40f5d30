#include "programs/io/PngStream.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "programs/io/PngFilter.h"

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Page {
    std::size_t rowBytes;
    std::size_t pixelBytes;
    bool filters;
    std::vector<Bytes> rows;
};

Bytes Stream(const Page& page, PngEffort effort, unsigned workers) {
    Bytes out;
    PngStream stream(page.rowBytes, page.pixelBytes, page.filters, effort, workers,
                     [&out](const std::uint8_t* bytes, std::size_t count) {
                         EXPECT_NE(count, 0u);
                         out.insert(out.end(), bytes, bytes + count);
                     });
    for (const Bytes& row : page.rows) {
        stream.WriteRow(row.data());
    }
    stream.End();
    return out;
}

// PNG's filters undone, byte by byte as the PNG specification has them.
std::vector<Bytes> Unfiltered(const Bytes& filtered, const Page& page) {
    std::vector<Bytes> rows;
    Bytes above(page.rowBytes);
    for (std::size_t at = 0; at < filtered.size(); at += page.rowBytes + 1) {
        Bytes row(page.rowBytes);
        for (std::size_t i = 0; i < page.rowBytes; ++i) {
            const int a = i < page.pixelBytes ? 0 : row[i - page.pixelBytes];
            const int b = above[i];
            const int c = i < page.pixelBytes ? 0 : above[i - page.pixelBytes];
            const int p = a + b - c;
            const int pa = std::abs(p - a);
            const int pb = std::abs(p - b);
            const int pc = std::abs(p - c);
            const int paeth = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
            const int predictions[] = {0, a, b, (a + b) / 2, paeth};
            EXPECT_LT(filtered[at], 5);
            row[i] = static_cast<std::uint8_t>(filtered[at + 1 + i] + predictions[filtered[at]]);
        }
        rows.push_back(row);
        above = row;
    }
    return rows;
}

std::vector<Bytes> Decoded(const Bytes& stream, const Page& page) {
    Bytes filtered((page.rowBytes + 1) * page.rows.size());
    uLongf count = filtered.size();
    EXPECT_EQ(uncompress(filtered.data(), &count, stream.data(), stream.size()), Z_OK);  // checks the checksum too
    EXPECT_EQ(count, filtered.size());
    return Unfiltered(filtered, page);
}

enum class Kind { kNoise, kSmooth, kTiles, kBlank };

Page MakePage(Kind kind, std::size_t rowBytes, std::size_t pixelBytes, std::size_t height, bool filters = true) {
    std::mt19937 random(static_cast<unsigned>(rowBytes * 31 + height));
    Bytes tile(16 * 96);
    std::generate(tile.begin(), tile.end(), [&] { return static_cast<std::uint8_t>(random()); });
    Page page = {rowBytes, pixelBytes, filters, {}};
    for (std::size_t y = 0; y < height; ++y) {
        Bytes row(rowBytes);
        for (std::size_t x = 0; x < rowBytes; ++x) {
            const std::size_t values[] = {random(), x / 3 + y / 2 + random() % 4, tile[y % 16 * 96 + x % 96], 255};
            row[x] = static_cast<std::uint8_t>(values[static_cast<int>(kind)]);
        }
        page.rows.push_back(row);
    }
    return page;
}

class PngStreamKinds : public testing::TestWithParam<Kind> {};

TEST_P(PngStreamKinds, DecodesToItsRowsWithEveryEffort) {
    for (const PngEffort effort : {PngEffort::kFast, PngEffort::kDefault, PngEffort::kBest}) {
        for (const std::size_t rowBytes : {1u, 2u, 7u, 64u, 1000u, 5001u}) {
            for (const std::size_t height : {1u, 2u, 300u}) {
                const std::size_t pixelBytes = rowBytes % 3 + 1;
                const Page page = MakePage(GetParam(), rowBytes, pixelBytes, height);
                EXPECT_EQ(Decoded(Stream(page, effort, 1), page), page.rows) << rowBytes << " x " << height;
            }
        }
    }
}

TEST_P(PngStreamKinds, TheNumberOfWorkersDoesNotChangeTheBytes) {
    for (const PngEffort effort : {PngEffort::kFast, PngEffort::kDefault, PngEffort::kBest}) {
        const Page page = MakePage(GetParam(), 3000, 3, 360);  // five blocks
        const Bytes one = Stream(page, effort, 1);
        EXPECT_EQ(Decoded(one, page), page.rows);
        for (const unsigned workers : {2u, 4u}) {
            EXPECT_EQ(Stream(page, effort, workers), one) << workers;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, PngStreamKinds,
                         testing::Values(Kind::kNoise, Kind::kSmooth, Kind::kTiles, Kind::kBlank));

TEST(PngStream, RowsOfBitsAreNotFiltered) {
    const Page page = MakePage(Kind::kNoise, 40, 1, 50, false);
    const Bytes stream = Stream(page, PngEffort::kDefault, 1);
    Bytes filtered(41 * 50);
    uLongf count = filtered.size();
    ASSERT_EQ(uncompress(filtered.data(), &count, stream.data(), stream.size()), Z_OK);
    for (std::size_t y = 0; y < 50; ++y) {
        EXPECT_EQ(filtered[y * 41], 0) << y;
    }
}

TEST(PngStream, ARepeatingPageTakesMatches) {
    const Page page = MakePage(Kind::kTiles, 3000, 3, 700);
    const std::size_t runs = Stream(page, PngEffort::kFast, 1).size();
    EXPECT_LT(Stream(page, PngEffort::kDefault, 1).size(), runs / 2);
}

// A band that repeats itself in the middle of each block, and smooth rows around it, which are better without
// matches.
TEST(PngStream, ABlocksMiddleDoesNotSpeakForTheBlock) {
    constexpr std::size_t kRowBytes = 2600;
    constexpr std::size_t kRowsPerBlock = (256 << 10) / (kRowBytes + 1);
    Page page = MakePage(Kind::kSmooth, kRowBytes, 1, 4 * kRowsPerBlock);
    const Page tiles = MakePage(Kind::kTiles, kRowBytes, 1, 4 * kRowsPerBlock);
    for (std::size_t y = 0; y < page.rows.size(); ++y) {
        const std::size_t inBlock = y % kRowsPerBlock;
        if (inBlock >= kRowsPerBlock / 2 - 6 && inBlock < kRowsPerBlock / 2 + 6) {
            page.rows[y] = tiles.rows[y];
        }
    }
    const Bytes stream = Stream(page, PngEffort::kDefault, 1);
    EXPECT_EQ(Decoded(stream, page), page.rows);
    EXPECT_LE(stream.size(), Stream(page, PngEffort::kFast, 1).size());
}

// Rows too wide for a sample of whole ones, and blocks of a row or two.
TEST(PngStream, WideRowsAreSampledInPart) {
    for (const Kind kind : {Kind::kSmooth, Kind::kTiles, Kind::kBlank}) {
        for (const std::size_t rowBytes : {16384u, 131'000u, 262'143u, 300'001u}) {
            const Page page = MakePage(kind, rowBytes, rowBytes % 8 + 1, 5);
            EXPECT_EQ(Decoded(Stream(page, PngEffort::kDefault, 2), page), page.rows) << rowBytes;
        }
    }
}

TEST(PngStream, BestIsNeverLargerThanDefault) {
    for (const Kind kind : {Kind::kNoise, Kind::kSmooth, Kind::kTiles, Kind::kBlank}) {
        const Page page = MakePage(kind, 1500, 3, 400);
        EXPECT_LE(Stream(page, PngEffort::kBest, 1).size(), Stream(page, PngEffort::kDefault, 1).size());
    }
}

// The row's filter is the one with the smallest sum of magnitudes, the first of equal ones.
TEST(PngFilter, TakesTheSmallestSum) {
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        const std::size_t bytes = 1 + random() % 200;
        const std::size_t pixel = 1 + random() % 8;
        const unsigned long values = 1ul << (1 + random() % 8);
        Bytes row(bytes);
        Bytes above(bytes);
        for (std::size_t i = 0; i < bytes; ++i) {
            row[i] = static_cast<std::uint8_t>(random() % values + i);
            above[i] = static_cast<std::uint8_t>(random() % values + i);
        }
        Bytes results[5];
        std::uint64_t sums[5] = {};
        for (int filter = 0; filter < 5; ++filter) {
            for (std::size_t i = 0; i < bytes; ++i) {
                const int a = i < pixel ? 0 : row[i - pixel];
                const int b = above[i];
                const int c = i < pixel ? 0 : above[i - pixel];
                const int toA = std::abs(b - c);
                const int toB = std::abs(a - c);
                const int toC = std::abs(a + b - 2 * c);
                const int paeth = toA <= toB && toA <= toC ? a : toB <= toC ? b : c;
                const int predictions[] = {0, a, b, (a + b) / 2, paeth};
                results[filter].push_back(static_cast<std::uint8_t>(row[i] - predictions[filter]));
                sums[filter] +=
                    static_cast<std::uint64_t>(std::abs(static_cast<std::int8_t>(results[filter].back())));
            }
        }
        const auto best = static_cast<std::size_t>(std::min_element(sums, sums + 5) - sums);
        Bytes filtered(bytes + 1);
        Bytes scratch(bytes + 1);
        FilterRow(row.data(), above.data(), bytes, pixel, filtered.data(), scratch.data());
        ASSERT_EQ(filtered[0], best) << round;
        EXPECT_EQ(Bytes(filtered.begin() + 1, filtered.end()), results[best]) << round;
    }
}

}  // namespace
}  // namespace platen_tool
