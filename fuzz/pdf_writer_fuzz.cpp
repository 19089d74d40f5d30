// The PDF writer: pages of any layout, resolution, profile, title and description, ended or dropped. What comes out
// has the form that readers need: a table of objects, each where it says, and texts in UTF-16.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "OutputFolder.h"
#include "Producer.h"
#include "programs/base/Error.h"
#include "programs/io/OpenWriter.h"

namespace {

using namespace platen_tool;
using platen_fuzz::Producer;
using platen_fuzz::Require;

std::string TakeText(Producer& input, std::size_t size) {
    std::string text(size, 'a');
    input.Fill(text.data(), text.size());
    return text;
}

ImageInfo TakePage(Producer& input) {
    static constexpr int kBits[] = {1, 8, 16};
    ImageInfo info;
    info.width = static_cast<std::uint32_t>(input.Between(1, 70));
    info.height = static_cast<std::uint32_t>(input.Between(1, 12));
    info.bitsPerSample = kBits[input.Take<std::uint8_t>() % 3];
    info.samplesPerPixel = static_cast<int>(input.Between(1, 4));
    info.orientation = static_cast<int>(input.Between(1, 8));
    if (input.Flip()) {
        const auto ratio = [&] {
            return Ratio{input.Take<std::uint64_t>() >> 20 | 1u,
                         input.Take<std::uint32_t>() | 1u};  // readers give no 0
        };
        info.resolution = Resolution{ratio(), ratio()};
    }
    info.iccProfile.resize(input.Take<std::uint8_t>() % 200);
    input.Fill(info.iccProfile.data(), info.iccProfile.size());
    if (input.Flip()) {
        Description description;
        for (const TextField field : {TextField::kDocumentName, TextField::kArtist, TextField::kImageDescription,
                                      TextField::kSoftware, TextField::kCopyright}) {
            description.Text(field) = TakeText(input, input.Take<std::uint8_t>() % 40);
        }
        description.xmp.resize(input.Take<std::uint8_t>() % 50);
        input.Fill(description.xmp.data(), description.xmp.size());
        info.description = std::make_shared<const Description>(std::move(description));
    }
    return info;
}

// Whole, paired units in hexadecimal digits, whatever the bytes were.
void CheckText(const std::string& text) {
    Require(text.size() % 4 == 0 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos);
    Require(text.compare(0, 4, "FEFF") == 0);
    bool high = false;
    for (std::size_t at = 4; at < text.size(); at += 4) {
        const unsigned long unit = std::stoul(text.substr(at, 4), nullptr, 16);
        Require(high == (unit >= 0xDC00 && unit < 0xE000));
        high = unit >= 0xD800 && unit < 0xDC00;
    }
    Require(!high);
}

// What the file says of itself: a title, and other texts where there are any.
void CheckInformation(const std::string& pdf) {
    const std::size_t begin = pdf.rfind("<</Title <");
    const std::size_t end = pdf.find(" /Producer (platen)", begin);
    Require(begin != std::string::npos && end != std::string::npos);
    const std::string texts = pdf.substr(begin + 2, end - begin - 2);
    for (std::size_t at = 0; at < texts.size();) {
        const std::size_t open = texts.find('<', at);
        const std::size_t close = texts.find('>', at);
        Require(texts[at] == '/' && open < close && close != std::string::npos);
        const std::string name = texts.substr(at, open - at);
        Require(name == "/Title " || name == "/Author " || name == "/Subject " || name == "/Creator ");
        CheckText(texts.substr(open + 1, close - open - 1));
        at = close + 1;
        Require(at == texts.size() || texts[at++] == ' ');
    }
}

// Every object begins where the table at the end says, and the trailer counts them.
void CheckForm(const std::string& pdf) {
    Require(pdf.compare(0, 5, "%PDF-") == 0 && pdf.size() > 20 && pdf.compare(pdf.size() - 6, 6, "%%EOF\n") == 0);
    const std::size_t start = pdf.rfind("startxref\n");
    Require(start != std::string::npos);
    std::size_t at = std::strtoul(pdf.c_str() + start + 10, nullptr, 10);
    Require(at < pdf.size() && pdf.compare(at, 5, "xref\n") == 0);
    unsigned first = 1;
    unsigned count = 0;
    Require(std::sscanf(pdf.c_str() + at, "xref\n%u %u\n", &first, &count) == 2 && first == 0 && count > 1);
    at = pdf.find('\n', at + 5) + 1;
    Require(at + 20 * count < pdf.size());
    for (unsigned i = 1; i < count; ++i) {
        const std::string entry = pdf.substr(at + 20 * i, 20);
        const std::size_t place = std::strtoul(entry.c_str(), nullptr, 10);
        const std::string begin = std::to_string(i) + " 0 obj";
        Require(entry[17] == 'n' && place < pdf.size() && pdf.compare(place, begin.size(), begin) == 0);
    }
    Require(pdf.find("/Size " + std::to_string(count)) != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    WriteOptions options;
    options.container = Container::kPdf;
    options.sync = false;
    options.force = true;
    options.workers = 1;
    options.jpegQuality = static_cast<int>(input.Between(1, 100));
    if (input.Flip()) {
        Compression compression;
        compression.kind = static_cast<Compression::Kind>(input.Take<std::uint8_t>() % 10);
        compression.level = static_cast<int>(input.Between(0, 12));
        compression.text = "x";
        options.compression = compression;
    }
    std::string name = TakeText(input, input.Take<std::uint8_t>() % 240 + 1);  // it becomes the title
    for (char& letter : name) {
        letter = letter == 0 || letter == '/' ? '_' : letter;
    }
    const std::string path = platen_fuzz::OutputFolder() + "/x" + name + ".pdf";
    int whole = 0;
    bool committed = false;
    try {
        const auto writer = OpenWriter(path, options);
        for (int page = 0; page < 4 && (page == 0 || input.Left() > 20); ++page) {
            const ImageInfo info = TakePage(input);
            writer->BeginPage(info);
            std::vector<std::uint8_t> line(info.LineBytes());
            const bool drop = page > 0 && input.Take<std::uint8_t>() % 8 == 0;
            for (std::uint32_t y = 0; y < info.height; ++y) {
                if (drop && y == info.height / 2) {
                    break;
                }
                input.Fill(line.data(), std::min<std::size_t>(line.size(), 24));
                if (info.bitsPerSample == 1 && info.width % 8 != 0) {
                    line.back() = static_cast<std::uint8_t>(line.back() & (0xFF00 >> info.width % 8));
                }
                writer->WriteLine(line.data());
            }
            if (drop) {
                writer->DropPage();
                break;
            }
            writer->EndPage();
            ++whole;
        }
        writer->Commit();
        committed = true;
    } catch (const Error&) {
    }
    std::ifstream file(path, std::ios::binary);
    Require(file.is_open() == committed);
    if (committed) {
        const std::string pdf(std::istreambuf_iterator<char>(file), {});
        CheckForm(pdf);
        CheckInformation(pdf);
        Require(pdf.find("/Count " + std::to_string(whole)) != std::string::npos);
        std::remove(path.c_str());
    }
    return 0;
}
