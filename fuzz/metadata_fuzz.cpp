// What a page says of itself: EXIF blocks, XMP, IPTC and PNG texts, without the picture around them. What is taken
// of them is written into a file of each format, and that file is read again: it is never damaged, and what both
// formats hold comes back as it was.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <zlib.h>

#include "OutputFolder.h"
#include "Producer.h"
#include "ReaderFuzz.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/PngText.h"

namespace {

using namespace platen_tool;
using platen_fuzz::Producer;
using platen_fuzz::Require;

std::vector<std::uint8_t> TakeBytes(Producer& input) {
    // Sizes up to what is left, so that a block may be all of the input.
    const auto size = std::min<std::size_t>(input.Take<std::uint16_t>(), input.Left());
    std::vector<std::uint8_t> bytes(size);
    input.Fill(bytes.data(), size);
    return bytes;
}

void Append(std::vector<std::uint8_t>& to, const std::vector<std::uint8_t>& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

template <std::size_t size>
std::vector<std::uint8_t> Begun(const char (&head)[size], const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint8_t> segment(head, head + size - 1);
    Append(segment, bytes);
    return segment;
}

// A text chunk. Half of the packed ones are packed right, or nothing would ever be unpacked.
PngChunk TakeChunk(Producer& input) {
    static constexpr const char* kNames[] = {"tEXt", "zTXt", "iTXt", "iTXt"};
    static const std::string kWords[] = {"Title", "Author", "Software", "Copyright", "XML:com.adobe.xmp", ""};
    const auto choice = input.Take<std::uint8_t>();
    PngChunk chunk;
    chunk.name = kNames[choice % 4];
    const std::string& word = kWords[(choice >> 2) % 6];
    chunk.data.assign(word.begin(), word.end());
    const bool packs = choice >= 128;
    const std::vector<std::uint8_t> bytes = TakeBytes(input);
    if (!packs) {
        Append(chunk.data, bytes);
        return chunk;
    }
    chunk.data.push_back(0);
    if (chunk.name == "iTXt") {
        chunk.data.insert(chunk.data.end(), {1, 0, 0, 0});
    } else {
        chunk.data.push_back(0);
    }
    uLongf room = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<std::uint8_t> packed(room);
    Require(compress(packed.data(), &room, bytes.data(), static_cast<uLong>(bytes.size())) == Z_OK);
    packed.resize(room);
    Append(chunk.data, packed);
    return chunk;
}

void TakeBlock(Producer& input, Description& description, ImageInfo& page) {
    switch (input.Take<std::uint8_t>() % 5) {
        case 0: {
            const auto block = TakeBytes(input);
            const ExifFacts facts = ReadExif(block.data(), block.size(), description);
            page.orientation = facts.orientation;
            page.resolution = facts.resolution;
            break;
        }
        case 1: {
            const auto segment = Begun("http://ns.adobe.com/xap/1.0/\0", TakeBytes(input));
            TakeXmpSegment(segment.data(), segment.size(), description);
            break;
        }
        case 2: {
            const auto segment = Begun("Photoshop 3.0\0", TakeBytes(input));
            TakeIptcSegment(segment.data(), segment.size(), description);
            break;
        }
        case 3: {
            const auto segment = Begun(
                "Photoshop 3.0\0"
                "8BIM\4\4\0\0",
                TakeBytes(input));
            TakeIptcSegment(segment.data(), segment.size(), description);
            break;
        }
        default:
            TakePngText(TakeChunk(input), description);
            break;
    }
}

void CheckAgain(const ImageInfo& page, const ImageInfo& again, Container container) {
    Require(again.width == page.width && again.height == page.height);
    if (container == Container::kPnm || page.description == nullptr) {
        return;
    }
    Require(again.orientation == page.orientation);
    const Description& before = *page.description;
    static const Description kNone;
    const Description& after = again.description != nullptr ? *again.description : kNone;
    const bool jpeg = container == Container::kJpeg;
    Require((jpeg && before.xmp.size() > kMostJpegXmp) || after.xmp == before.xmp);
    Require(container == Container::kPng || (jpeg && before.iptc.size() > kMostJpegIptc) ||
            after.iptc == before.iptc);
    if (container == Container::kPng) {
        Require(after.pngTexts.size() >= std::min(before.pngTexts.size(), kMostPngTexts));
    }
}

void WriteAndReadAgain(const ImageInfo& page, Container container, const char* ending) {
    const std::string path = platen_fuzz::OutputFolder() + "/page." + ending;
    WriteOptions options;
    options.container = container;
    options.sync = false;
    options.force = true;
    const auto writer = OpenWriter(path, options);
    writer->BeginPage(page);
    const std::vector<std::uint8_t> line(page.LineBytes(), 0x5A);
    for (std::uint32_t y = 0; y < page.height; ++y) {
        writer->WriteLine(line.data());
    }
    writer->EndPage();
    writer->Commit();
    if (container != Container::kPdf) {
        const auto reader = OpenReader(path, ReadOptions());
        CheckAgain(page, reader->Info(), container);
        std::vector<std::uint8_t> read(page.LineBytes());
        for (std::uint32_t y = 0; y < page.height; ++y) {
            reader->ReadLine(read.data());
        }
        Require(container == Container::kJpeg || read == line);
        Require(!reader->NextPage());
    }
    std::remove(path.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr struct {
        Container container;
        const char* ending;
    } kFormats[] = {{Container::kJpeg, "jpg"},
                    {Container::kPng, "png"},
                    {Container::kTiff, "tif"},
                    {Container::kPdf, "pdf"},
                    {Container::kPnm, "pgm"}};
    Producer input(data, size);
    const auto& format = kFormats[input.Take<std::uint8_t>() % 5];
    ImageInfo page;
    page.width = 3;
    page.height = 2;
    Description description;
    for (int block = 0; block < 12 && input.Left() != 0; ++block) {
        TakeBlock(input, description, page);
    }
    if (description != Description{}) {
        page.description = std::make_shared<const Description>(std::move(description));
    }
    platen_fuzz::WriteDescription(page);
    WriteAndReadAgain(page, format.container, format.ending);
    return 0;
}
