#include "programs/io/DescriptionTexts.h"

#include "programs/io/Exif.h"
#include "programs/io/PngText.h"

namespace platen_tool {

namespace {

struct TextRow {
    std::uint16_t tag;
    const char* name;
    const char* pngKeyword;  // null: PNG has no word of its own for it
};

// By TextField.
constexpr TextRow kTable[kTextFields] = {
    {269, "DocumentName", "Title"},
    {270, "ImageDescription", "Description"},
    {271, "Make", nullptr},
    {272, "Model", nullptr},
    {305, "Software", "Software"},
    {306, "DateTime", nullptr},
    {315, "Artist", "Author"},
    {316, "HostComputer", nullptr},
    {33432, "Copyright", "Copyright"},
};

std::optional<TextField> FieldOfKeyword(const std::string& keyword) {
    for (std::size_t i = 0; i < kTextFields; ++i) {
        if (kTable[i].pngKeyword != nullptr && keyword == kTable[i].pngKeyword) {
            return static_cast<TextField>(i);
        }
    }
    return std::nullopt;
}

// What a PDF says of itself.
bool PdfHolds(TextField field) {
    return field == TextField::kDocumentName || field == TextField::kImageDescription ||
           field == TextField::kArtist || field == TextField::kSoftware;
}

}  // namespace

std::uint16_t TextTag(TextField field) {
    return kTable[static_cast<std::size_t>(field)].tag;
}

std::optional<TextField> TextFieldOf(std::uint16_t tag) {
    for (std::size_t i = 0; i < kTextFields; ++i) {
        if (kTable[i].tag == tag) {
            return static_cast<TextField>(i);
        }
    }
    return std::nullopt;
}

std::array<std::string, kTextFields> TextsFor(const ImageInfo& page) {
    if (page.description == nullptr) {
        return {};
    }
    auto texts = page.description->texts;
    for (const PngChunk& chunk : page.description->pngTexts) {
        const auto text = ReadPngText(chunk);
        const auto field = text ? FieldOfKeyword(text->keyword) : std::nullopt;
        if (field && texts[static_cast<std::size_t>(*field)].empty()) {
            texts[static_cast<std::size_t>(*field)] = text->text;
        }
    }
    return texts;
}

std::vector<std::string> LostDescription(Container container, const ImageInfo& page) {
    std::vector<std::string> lost;
    if (page.description == nullptr) {
        return lost;
    }
    const Description& description = *page.description;
    const auto texts = container == Container::kPng ? description.texts : TextsFor(page);
    for (std::size_t i = 0; i < kTextFields; ++i) {
        const bool held =
            container == Container::kPdf ? PdfHolds(static_cast<TextField>(i)) : container != Container::kPnm;
        if (!held && !texts[i].empty()) {
            lost.emplace_back(kTable[i].name);
        }
    }
    const bool jpeg = container == Container::kJpeg;
    const bool paper = container == Container::kPnm || container == Container::kPdf;
    const bool exifLost = (paper && description.HasExif()) ||
                          (jpeg && MakeExif(page, texts, ExifResolution::kIncluded).size() > kMostJpegExif);
    if (exifLost) {
        lost.emplace_back("the EXIF data");
    } else if (container == Container::kTiff && !description.image.empty()) {
        lost.emplace_back("a part of the EXIF data");
    }
    if (!description.xmp.empty() &&
        (container == Container::kPnm || (jpeg && description.xmp.size() > kMostJpegXmp))) {
        lost.emplace_back("the XMP data");
    }
    if (!description.iptc.empty() &&
        (paper || container == Container::kPng || (jpeg && description.iptc.size() > kMostJpegIptc))) {
        lost.emplace_back("the IPTC data");
    }
    for (const PngChunk& chunk : description.pngTexts) {
        const auto text = ReadPngText(chunk);
        const auto field = text ? FieldOfKeyword(text->keyword) : std::nullopt;
        if (container != Container::kPng && (!field || texts[static_cast<std::size_t>(*field)] != text->text)) {
            lost.push_back(text ? "the PNG's text '" + text->keyword + "'" : "the PNG's " + chunk.name);
        }
    }
    return lost;
}

}  // namespace platen_tool
