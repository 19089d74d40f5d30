#include "programs/io/TiffDirectory.h"

#include <gtest/gtest.h>

#include <cstring>

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A reader of a file in memory, which has to outlive it.
TiffDirectoryReader ReaderOf(const Bytes& file) {
    return TiffDirectoryReader([&file](std::uint64_t offset, void* bytes, std::size_t count) {
        if (offset > file.size() || count > file.size() - offset) {
            return false;
        }
        std::memcpy(bytes, file.data() + offset, count);
        return true;
    });
}

// Puts numbers down in either byte order.
struct File {
    bool big = false;
    Bytes bytes;

    File& Put(std::uint64_t value, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (big ? count - 1 - i : i)));
        }
        return *this;
    }
};

struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint64_t value;  // four bytes of it, as they stand in the entry
};

File Classic(const std::vector<Entry>& entries, bool big = false) {
    File file{big, {}};
    file.bytes = big ? Bytes{'M', 'M'} : Bytes{'I', 'I'};
    file.Put(42, 2).Put(8, 4).Put(entries.size(), 2);
    for (const Entry& entry : entries) {
        file.Put(entry.tag, 2).Put(entry.type, 2).Put(entry.count, 4).Put(entry.value, 4);
    }
    file.Put(0, 4);
    return file;
}

TEST(TiffDirectory, HeadersOfEveryKindAreRead) {
    for (const bool big : {false, true}) {
        const char letter = big ? 'M' : 'I';
        const auto first = [&](std::uint64_t version, std::uint64_t offsetBytes, const char* order, bool whole) {
            File file{big, Bytes(order, order + 2)};
            file.Put(version, 2);
            if (version == 42) {
                file.Put(77, 4);
            } else {
                file.Put(offsetBytes, 2).Put(0, 2).Put(77, whole ? 8 : 4);
            }
            return ReaderOf(file.bytes).ReadHeader().value_or(0);
        };
        const char order[] = {letter, letter, 0};
        EXPECT_EQ(first(42, 0, order, true), 77u);
        EXPECT_EQ(first(43, 8, order, true), 77u);
        EXPECT_EQ(first(44, 8, order, true), 0u) << "no such version";
        EXPECT_EQ(first(43, 4, order, true), 0u) << "offsets of another size";
        EXPECT_EQ(first(43, 8, order, false), 0u) << "cut off";
        EXPECT_EQ(first(42, 0, "IM", true), 0u);
        EXPECT_EQ(first(42, 0, "XX", true), 0u);
    }
    const Bytes cut = {'I', 'I', 42, 0, 8, 0, 0};
    EXPECT_FALSE(ReaderOf(cut).ReadHeader());
}

TEST(TiffDirectory, EveryTypeHasItsSize) {
    const std::uint64_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8, 0};
    for (std::uint16_t type = 0; type < std::size(sizes); ++type) {
        EXPECT_EQ((TiffEntry{1, type, 3, 0}).Bytes(), 3 * sizes[type]) << type;
    }
    EXPECT_EQ((TiffEntry{1, 12, UINT64_MAX / 8, 0}).Bytes(), UINT64_MAX - 7);
    EXPECT_EQ((TiffEntry{1, 12, UINT64_MAX / 8 + 1, 0}).Bytes(), UINT64_MAX) << "saturates";
    EXPECT_EQ((TiffEntry{1, 99, UINT64_MAX, 0}).Bytes(), 0u);
}

TEST(TiffDirectory, WholeNumbersOfAllTypesAreRead) {
    for (const bool big : {false, true}) {
        const auto number = [big](Entry entry) {
            const File file = Classic({entry}, big);
            auto reader = ReaderOf(file.bytes);
            const auto directory = reader.ReadDirectory(reader.ReadHeader().value_or(0));
            EXPECT_TRUE(directory.has_value());
            return directory ? reader.Number(*directory, 256) : std::nullopt;
        };
        // A value smaller than four bytes is stored in the first of them.
        EXPECT_EQ(number({256, 1, 1, big ? 0x12000000u : 0x12u}), 0x12u);
        EXPECT_EQ(number({256, 3, 1, big ? 0x12340000u : 0x1234u}), 0x1234u);
        EXPECT_EQ(number({256, 4, 1, 0x12345678u}), 0x12345678u);
        // Eight bytes lie elsewhere: here at the directory itself.
        EXPECT_EQ(number({256, 16, 1, 8}), big ? 0x0001010000100000u : 0x0001001001000001u);
        EXPECT_FALSE(number({256, 16, 1, 4000})) << "past the end";
        EXPECT_FALSE(number({256, 4, 0, 1})) << "without a value";
        EXPECT_FALSE(number({256, 11, 1, 1})) << "a floating-point number";
        EXPECT_FALSE(number({257, 4, 1, 1})) << "another tag";
    }
}

TEST(TiffDirectory, ADirectoryThatIsCutOffOrTooLongIsNone) {
    const File whole = Classic({{256, 4, 1, 1}, {257, 4, 1, 1}});
    for (std::size_t size = 8; size <= whole.bytes.size(); ++size) {
        const Bytes cut(whole.bytes.begin(), whole.bytes.begin() + static_cast<std::ptrdiff_t>(size));
        auto reader = ReaderOf(cut);
        EXPECT_EQ(reader.ReadDirectory(reader.ReadHeader().value_or(0)).has_value(), size == whole.bytes.size());
    }
    const File empty = Classic({});
    auto reader = ReaderOf(empty.bytes);
    EXPECT_FALSE(reader.ReadDirectory(8));
    EXPECT_FALSE(reader.ReadDirectory(UINT64_MAX));
    const File longest = Classic(std::vector<Entry>(4096, Entry{256, 4, 1, 1}));
    const File longer = Classic(std::vector<Entry>(4097, Entry{256, 4, 1, 1}));
    EXPECT_TRUE(ReaderOf(longest.bytes).ReadDirectory(8).has_value());
    EXPECT_FALSE(ReaderOf(longer.bytes).ReadDirectory(8).has_value());
}

// What a file says about its resolution; x and y of 0 are left out, a unit of 0 too.
std::optional<Resolution> ResolutionOf(std::uint32_t x, std::uint32_t y, std::uint32_t unit,
                                       std::uint16_t type = 5) {
    std::vector<Entry> entries;
    if (x != 0) {
        entries.push_back({282, type, 1, 200});
    }
    if (y != 0) {
        entries.push_back({283, type, 1, 208});
    }
    if (unit != 0) {
        entries.push_back({296, 3, 1, unit});
    }
    entries.push_back({256, 4, 1, 1});
    File file = Classic(entries);
    file.bytes.resize(200);
    file.Put(x, 4).Put(1, 4).Put(y, 4).Put(1, 4);
    auto reader = ReaderOf(file.bytes);
    const auto directory = reader.ReadDirectory(8);
    return directory ? reader.ReadResolution(*directory) : std::nullopt;
}

TEST(TiffDirectory, TheResolutionIsCompletedOrLeftOut) {
    const auto text = [](const std::optional<Resolution>& resolution) {
        return !resolution ? std::string("none")
                           : std::to_string(resolution->x.Value()) + " " + std::to_string(resolution->y.Value());
    };
    EXPECT_EQ(text(ResolutionOf(300, 150, 2)), "300.000000 150.000000");
    EXPECT_EQ(text(ResolutionOf(300, 150, 0)), "300.000000 150.000000") << "inches where nothing is said";
    EXPECT_EQ(text(ResolutionOf(100, 50, 3)), "254.000000 127.000000");
    EXPECT_EQ(text(ResolutionOf(300, 150, 1)), "none") << "proportions only";
    EXPECT_EQ(text(ResolutionOf(300, 0, 2)), "300.000000 300.000000");
    EXPECT_EQ(text(ResolutionOf(0, 150, 2)), "150.000000 150.000000");
    EXPECT_EQ(text(ResolutionOf(0, 0, 2)), "none");
    EXPECT_EQ(text(ResolutionOf(300, 150, 2, 10)), "none") << "signed ratios";
}

}  // namespace
}  // namespace platen_tool
