#include "programs/io/RunDeflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <vector>

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What zlib makes of raw deflate data. Empty where the data is damaged or something follows it.
Bytes Inflated(Bytes data, std::size_t expected) {
    Bytes out(expected + 1);
    z_stream stream = {};
    EXPECT_EQ(inflateInit2(&stream, -MAX_WBITS), Z_OK);
    stream.next_in = data.data();
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = inflate(&stream, Z_FINISH);
    out.resize(result == Z_STREAM_END && stream.avail_in == 0 ? stream.total_out : 0);
    inflateEnd(&stream);
    return out;
}

void ExpectRoundTrip(const Bytes& bytes) {
    EXPECT_EQ(Inflated(DeflateRuns(bytes.data(), bytes.size(), StreamPart::kLast), bytes.size()), bytes);
    // Twice in one stream.
    Bytes joined = DeflateRuns(bytes.data(), bytes.size(), StreamPart::kMoreFollows);
    const Bytes second = DeflateRuns(bytes.data(), bytes.size(), StreamPart::kLast);
    joined.insert(joined.end(), second.begin(), second.end());
    Bytes twice = bytes;
    twice.insert(twice.end(), bytes.begin(), bytes.end());
    EXPECT_EQ(Inflated(joined, twice.size()), twice);
}

TEST(RunDeflate, EveryByteAlone) {
    for (int byte = 0; byte < 256; ++byte) {
        ExpectRoundTrip({static_cast<std::uint8_t>(byte)});
    }
}

TEST(RunDeflate, RunsOfEveryLength) {
    for (std::size_t length = 1; length < 700; ++length) {
        Bytes bytes(length, 9);
        bytes.push_back(1);
        ExpectRoundTrip(bytes);
        bytes.insert(bytes.begin(), 4);
        ExpectRoundTrip(bytes);
    }
}

TEST(RunDeflate, RunsGoOnAcrossItsBlocks) {
    for (const std::size_t count : {65535u, 65536u, 65537u, 131072u, 200000u}) {
        ExpectRoundTrip(Bytes(count, 0));
    }
    EXPECT_LT(DeflateRuns(Bytes(200000, 7).data(), 200000, StreamPart::kLast).size(), 400u);
}

// Counts that rise like Fibonacci's numbers make the longest codes; a plain Huffman code would exceed 15 bits.
TEST(RunDeflate, CodesAreNeverLongerThanDeflateAllows) {
    Bytes bytes;
    std::uint32_t count = 1;
    std::uint32_t next = 1;
    for (int symbol = 0; symbol < 22; ++symbol) {
        bytes.insert(bytes.end(), count, static_cast<std::uint8_t>(symbol * 3));
        next += std::exchange(count, next);
    }
    std::shuffle(bytes.begin(), bytes.end(), std::mt19937(1));
    ASSERT_LT(bytes.size(), 65536u);
    ExpectRoundTrip(bytes);
}

TEST(RunDeflate, NoiseGrowsByTheStoredBlocksHeadersOnly) {
    std::mt19937 random(2);
    Bytes bytes(200000);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    EXPECT_LE(DeflateRuns(bytes.data(), bytes.size(), StreamPart::kLast).size(), bytes.size() + 6 * 4);
    ExpectRoundTrip(bytes);
}

TEST(RunDeflate, RandomBytesOfManyShapes) {
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes(1 + random() % (round % 100 == 0 ? 150000 : 1500));
        const unsigned long values = 1ul << (random() % 9);
        const unsigned long stay = random() % 40;
        std::uint8_t before = 0;
        for (std::uint8_t& byte : bytes) {
            byte = random() % 40 < stay ? before : static_cast<std::uint8_t>(random() % values);
            before = byte;
        }
        ExpectRoundTrip(bytes);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

}  // namespace
}  // namespace platen_tool
