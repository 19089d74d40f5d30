#include <algorithm>

#include "Pages.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/Exif.h"
#include "programs/io/JpegMarkers.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/PngText.h"

// What a file says about its page besides the picture: EXIF, XMP, IPTC and texts, whole, damaged and hostile.

namespace {

using namespace platen_test;
using platen_tool::Description;
using platen_tool::ExifEntry;
using platen_tool::MakeExif;
using platen_tool::PngChunk;
using platen_tool::ReadExif;
using platen_tool::TextField;

Bytes Big(std::uint64_t value, int count) {
    Bytes bytes;
    for (int i = count - 1; i >= 0; --i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    return bytes;
}

void Append(Bytes& to, const Bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}

// An entry of a big-endian directory; the value stands left in its field.
Bytes Entry(unsigned tag, unsigned type, std::uint64_t count, const Bytes& value) {
    Bytes bytes = Big(tag, 2);
    Append(bytes, Big(type, 2));
    Append(bytes, Big(count, 4));
    Append(bytes, value);
    bytes.resize(12);
    return bytes;
}

// A big-endian block of one directory.
Bytes Block(const std::vector<Bytes>& entries, const Bytes& rest = {}) {
    Bytes block = {'M', 'M', 0, 42, 0, 0, 0, 8};
    Append(block, Big(entries.size(), 2));
    for (const Bytes& entry : entries) {
        Append(block, entry);
    }
    Append(block, Big(0, 4));
    Append(block, rest);
    return block;
}

Description Read(const Bytes& block) {
    Description description;
    ReadExif(block.data(), block.size(), description);
    return description;
}

ImageInfo PageWith(const Description& description) {
    ImageInfo page = RandomPage(30, 20, 8, 3, 1).info;
    page.description = std::make_shared<const Description>(description);
    return page;
}

Description Full() {
    Description description;
    for (std::size_t i = 0; i < platen_tool::kTextFields; ++i) {
        description.texts[i] = "text number " + std::to_string(i);
    }
    description.exif = {{36864, 7, 4, {'0', '2', '3', '2'}},
                        {37500, 7, 9, {1, 2, 3, 4, 5, 6, 7, 8, 9}},
                        {40962, 4, 1, {99, 0, 0, 0}},
                        {40963, 4, 1, {98, 0, 0, 0}}};
    description.interop = {{1, 2, 4, {'R', '9', '8', 0}}};
    description.gps = {{0, 1, 4, {2, 3, 0, 0}}, {2, 5, 1, {10, 0, 0, 0, 1, 0, 0, 0}}};
    description.xmp = {'<', 'x', '/', '>', 0, 7};
    description.iptc = {28, 2, 105, 0, 3, 'a', 'b', 'c', 0, 0, 1};
    return description;
}

TEST(Description, EveryContainerKeepsWhatItCanHold) {
    const Scratch scratch;
    Page page = RandomPage(30, 20, 8, 3, 1);
    page.info.orientation = 6;
    page.info.description = std::make_shared<const Description>(Full());
    Description expected = Full();
    expected.exif[2].value = {30, 0, 0, 0};  // the sizes are the page's
    expected.exif[3].value = {20, 0, 0, 0};
    for (const std::string name : {"page.tif", "page.jpg", "page.png"}) {
        WritePages(scratch / name, {page});
        const auto reader = platen_tool::OpenReader(scratch / name, {});
        ASSERT_NE(reader->Info().description, nullptr) << name;
        Description read = *reader->Info().description;
        if (name == "page.png") {
            EXPECT_TRUE(read.iptc.empty());
            read.iptc = expected.iptc;
        }
        EXPECT_TRUE(read == expected) << name;
        EXPECT_EQ(reader->Info().orientation, 6) << name;
    }
}

TEST(Description, EachPageOfATiffHasItsOwn) {
    const Scratch scratch;
    std::vector<Page> pages = {RandomPage(9, 9, 8, 1, 1), RandomPage(9, 9, 8, 3, 2), RandomPage(9, 9, 1, 1, 3)};
    Description first;
    first.Text(TextField::kArtist) = "first";
    first.gps = Full().gps;
    Description third = Full();
    pages[0].info.description = std::make_shared<const Description>(first);
    pages[2].info.description = std::make_shared<const Description>(third);
    for (const int compression : {0, 8}) {
        WriteOptions options;
        options.force = true;
        options.tiffCompression = compression;
        WritePages(scratch / "pages.tif", pages, options);
        const auto read = ReadPages(scratch / "pages.tif");
        ASSERT_EQ(read.size(), 3u);
        EXPECT_TRUE(*read[0].info.description == first);
        EXPECT_EQ(read[1].info.description, nullptr);
        EXPECT_EQ(read[2].info.description->texts, third.texts);
        for (std::size_t i = 0; i < 3; ++i) {
            ExpectSamePage(read[i], pages[i]);
        }
    }
}

TEST(Description, BigEndianNumbersAreTurned) {
    const Bytes block = Block(
        {Entry(0x1234, 3, 2, {1, 2, 3, 4}), Entry(0x1235, 4, 1, {1, 2, 3, 4}), Entry(0x1236, 7, 3, {1, 2, 3})});
    const std::vector<ExifEntry> expected = {
        {0x1234, 3, 2, {2, 1, 4, 3}}, {0x1235, 4, 1, {4, 3, 2, 1}}, {0x1236, 7, 3, {1, 2, 3}}};
    EXPECT_TRUE(Read(block).image == expected);
}

TEST(Description, WhatIsDamagedIsLeftOut) {
    const Bytes artist = Entry(315, 2, 3, {'M', 'e', 0, 0});
    const auto texts = [&](const std::vector<Bytes>& more) {
        std::vector<Bytes> entries = {artist};
        entries.insert(entries.end(), more.begin(), more.end());
        const Description read = Read(Block(entries));
        EXPECT_EQ(read.Text(TextField::kArtist), "Me");
        return read;
    };
    EXPECT_TRUE(texts({Entry(0x9000, 7, 5, Big(0xFFFFFFF0, 4))}).image.empty());  // outside the block
    EXPECT_TRUE(texts({Entry(0x9000, 7, 0xFFFFFFFF, Big(8, 4))}).image.empty());  // longer than the block
    EXPECT_TRUE(texts({Entry(0x9000, 5, 0xFFFFFFFF, Big(8, 4))}).image.empty());  // 32 GB
    EXPECT_TRUE(texts({Entry(0x9000, 99, 1, Big(8, 4))}).image.empty());          // no such type
    EXPECT_TRUE(texts({Entry(34665, 4, 1, Big(0xFFFFFFFF, 4))}).exif.empty());    // no directory there
    EXPECT_TRUE(texts({Entry(34665, 2, 0xFFFFFFFF, Big(8, 4))}).exif.empty());
    EXPECT_EQ(texts({Entry(0x9000, 7, 0x7FFFFFFF, Big(8, 4))}).tooLarge,
              (std::vector<std::string>{"a part of the EXIF data"}));
    for (std::size_t length = 0; length < Block({artist}).size(); ++length) {
        Bytes block = Block({artist});
        block.resize(length);
        EXPECT_TRUE(Read(block) == Description{}) << length;
    }
}

// Directories that lead to themselves or to each other end, and their places in the old file don't come along.
TEST(Description, CirclesEnd) {
    for (const unsigned tag : {34665u, 34853u, 40965u}) {
        const Description read = Read(Block({Entry(315, 2, 3, {'M', 'e', 0, 0}), Entry(tag, 4, 1, Big(8, 4))}));
        EXPECT_EQ(read.Text(TextField::kArtist), "Me");
        for (const auto* list : {&read.image, &read.exif, &read.gps, &read.interop}) {
            EXPECT_TRUE(std::none_of(list->begin(), list->end(), [](const ExifEntry& entry) {
                return entry.tag == 34665 || entry.tag == 34853 || entry.tag == 40965;
            }));
        }
    }
}

TEST(Description, LargeExifIsCutAndTold) {
    const std::size_t large = 700'000;
    const Bytes block =
        Block({Entry(0x9000, 7, large, Big(38, 4)), Entry(0x9001, 7, large, Big(38, 4))}, Bytes(large, 5));
    const Description read = Read(block);
    ASSERT_EQ(read.image.size(), 1u);
    EXPECT_EQ(read.tooLarge, (std::vector<std::string>{"a part of the EXIF data"}));
    EXPECT_EQ(platen_tool::LostMetadata(platen_tool::Container::kPng, PageWith(read)),
              "a part of the EXIF data: left out, damaged or larger than is kept");
    EXPECT_EQ(
        platen_tool::LostMetadata(platen_tool::Container::kJpeg, PageWith(read)),
        "the EXIF data: left out, JPEG can't hold it; a part of the EXIF data: left out, damaged or larger than "
        "is kept");
    // A JPEG gets what the picture needs all the same.
    const Scratch scratch;
    Page page = RandomPage(9, 9, 8, 1, 1);
    page.info.description = PageWith(read).description;
    page.info.orientation = 3;
    WritePages(scratch / "page.jpg", {page});
    EXPECT_EQ(platen_tool::OpenReader(scratch / "page.jpg", {})->Info().orientation, 3);
}

TEST(Description, SegmentsOfAJpegAreWholeOrNotThere) {
    Description description;
    const auto take = [&](Bytes data) {
        description = {};
        platen_tool::TakeIptcSegment(data.data(), data.size(), description);
        return description.iptc;
    };
    Description full = Full();
    const Bytes segment = platen_tool::MakeIptcSegment(full);
    EXPECT_EQ(take(segment), full.iptc);
    for (std::size_t length = 0; length + 1 < segment.size(); ++length) {
        EXPECT_TRUE(take({segment.begin(), segment.begin() + static_cast<std::ptrdiff_t>(length)}).empty());
    }
    // After a resource of another number, of odd length and with a name.
    Bytes other(segment.begin(), segment.begin() + 14);
    Append(other, {'8', 'B', 'I', 'M', 4, 5, 3, 'a', 'b', 'c', 0, 0, 0, 1, 77, 0});
    other.insert(other.end(), segment.begin() + 14, segment.end());
    EXPECT_EQ(take(other), full.iptc);
    other[24] = 0xFF;  // a resource of 4 GB
    EXPECT_TRUE(take(other).empty());
    full.iptc.resize(70'000);
    full.xmp.resize(70'000);
    EXPECT_TRUE(platen_tool::MakeIptcSegment(full).empty());
    EXPECT_TRUE(platen_tool::MakeXmpSegment(full).empty());
    EXPECT_EQ(platen_tool::LostMetadata(platen_tool::Container::kJpeg, PageWith(full)),
              "the XMP data, the IPTC data: left out, JPEG can't hold it");
}

PngChunk Chunk(const std::string& name, const std::string& data) {
    return {name, {data.begin(), data.end()}};
}

TEST(Description, PngTextsAreReadInEachForm) {
    const auto read = [](const std::string& name, const std::string& data) {
        const auto text = platen_tool::ReadPngText(Chunk(name, data));
        return text ? text->keyword + "=" + text->text : "nothing";
    };
    using namespace std::string_literals;
    EXPECT_EQ(read("tEXt", "Author\0J\xF6rg"s), "Author=J\xC3\xB6rg");
    EXPECT_EQ(read("iTXt", "Author\0\0\0de\0Autor\0J\xC3\xB6rg"s), "Author=J\xC3\xB6rg");
    const std::string packed = "\x78\x9C\xF3\x4D\x05\x00\x01\x01\x00\xB3"s;  // "Me"
    EXPECT_EQ(read("zTXt", "Author\0\0"s + packed), "Author=Me");
    EXPECT_EQ(read("iTXt", "Author\0\1\0\0\0"s + packed), "Author=Me");
    EXPECT_EQ(read("tEXt", "a\x1B[1mb\0x"s), "a?[1mb=x");
    for (const std::string& bad : {""s, "Author"s, "\0x"s, std::string(80, 'k') + "\0x"s}) {
        EXPECT_EQ(read("tEXt", bad), "nothing") << bad;
    }
    EXPECT_EQ(read("zTXt", "Author\0"s), "nothing");
    EXPECT_EQ(read("zTXt", "Author\0\1"s + packed), "nothing");
    EXPECT_EQ(read("zTXt", "Author\0\0"s + packed.substr(0, 7)), "nothing");
    EXPECT_EQ(read("iTXt", "Author\0\2\0\0\0Me"s), "nothing");
    EXPECT_EQ(read("iTXt", "Author\0\0\0de"s), "nothing");
}

TEST(Description, TooManyPngTextsAreToldOnce) {
    Description description;
    for (int i = 0; i < 70; ++i) {
        platen_tool::TakePngText(Chunk("tEXt", "Comment"), description);
    }
    EXPECT_EQ(description.pngTexts.size(), platen_tool::kMostPngTexts);
    EXPECT_EQ(description.tooLarge, (std::vector<std::string>{"a part of the PNG's texts"}));
    description = {};
    platen_tool::TakePngText(Chunk("tEXt", std::string(3 << 20, 'x')), description);
    platen_tool::TakePngText(Chunk("tEXt", std::string(3 << 20, 'x')), description);
    EXPECT_EQ(description.pngTexts.size(), 1u);
    using namespace std::string_literals;
    platen_tool::TakePngText(Chunk("iTXt", "XML:com.adobe.xmp\0\1\0\0\0damaged"s), description);
    EXPECT_EQ(description.tooLarge.back(), "the XMP data");
    EXPECT_TRUE(description.xmp.empty());
}

}  // namespace
