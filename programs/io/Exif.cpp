#include "programs/io/Exif.h"

#include <algorithm>
#include <cstring>

#include "programs/io/DescriptionTexts.h"
#include "programs/io/Ratios.h"

namespace platen_tool {

namespace {

constexpr std::uint16_t kOrientation = 274;
constexpr std::uint16_t kExifDirectory = 34665;
constexpr std::uint16_t kGpsDirectory = 34853;
constexpr std::uint16_t kInteropDirectory = 40965;
constexpr std::uint16_t kPixelColumns = 40962;
constexpr std::uint16_t kPixelLines = 40963;
constexpr std::uint16_t kAscii = 2;
constexpr std::uint16_t kShort = 3;
constexpr std::uint16_t kLong = 4;
constexpr std::uint16_t kRational = 5;

// In all; a maker's note can be some hundred kilobytes.
constexpr std::uint64_t kMostExifBytes = 1 << 20;

// Of the first directory: how the picture is stored, which the writers say themselves, and the thumbnail.
constexpr std::uint16_t kLayoutTags[] = {
    254, 255, 256, 257, 258, 259, 262, 266, 273, 274, 277, 278, 279,   280,   281,   282,   283,   284,
    292, 293, 296, 301, 317, 318, 319, 320, 322, 323, 324, 325, 330,   338,   339,   347,   512,   513,
    514, 515, 517, 518, 519, 520, 521, 529, 530, 531, 532, 700, 33723, 34377, 34665, 34675, 34853, 40965};

bool IsLayout(std::uint16_t tag) {
    return std::find(std::begin(kLayoutTags), std::end(kLayoutTags), tag) != std::end(kLayoutTags);
}

// Reads directories until too many bytes have come together.
class ExifReader {
  public:
    ExifReader(const TiffDirectoryReader& reader, Description& description)
        : reader_(reader), description_(description) {}

    void ReadTexts(const TiffDirectory& directory) {
        for (const TiffEntry& entry : directory.entries) {
            const auto field = TextFieldOf(entry.tag);
            if (field && entry.type == kAscii && description_.Text(*field).empty()) {
                const auto value = Value(entry);
                std::string text(value.begin(), value.end());
                text.erase(text.find_last_not_of('\0') + 1);
                description_.Text(*field) = text;
            }
        }
    }

    void ReadImage(const TiffDirectory& directory) {
        for (const TiffEntry& entry : directory.entries) {
            if (!IsLayout(entry.tag) && !TextFieldOf(entry.tag)) {
                Keep(entry, description_.image);
            }
        }
    }

    // One level each, so what goes in a circle ends.
    void ReadSubdirectories(const TiffDirectory& directory) {
        if (const auto exif = Read(directory, kExifDirectory)) {
            KeepAll(*exif, description_.exif);
            if (const auto interop = Read(*exif, kInteropDirectory)) {
                KeepAll(*interop, description_.interop);
            }
        }
        if (const auto gps = Read(directory, kGpsDirectory)) {
            KeepAll(*gps, description_.gps);
        }
        if (tooLarge_) {
            description_.tooLarge.emplace_back("a part of the EXIF data");
        }
    }

  private:
    std::optional<TiffDirectory> Read(const TiffDirectory& parent, std::uint16_t tag) const {
        const TiffEntry* entry = parent.Find(tag);
        const auto at = entry != nullptr && entry->count == 1 ? Offset(*entry) : std::nullopt;
        return at ? reader_.ReadDirectory(*at) : std::nullopt;
    }

    std::optional<std::uint64_t> Offset(const TiffEntry& entry) const {
        const auto bytes = reader_.Value(entry, 8);
        if (bytes.size() != 4 && bytes.size() != 8) {
            return std::nullopt;
        }
        std::uint64_t at = 0;
        for (std::size_t i = bytes.size(); i > 0; --i) {
            at = at << 8 | bytes[i - 1];
        }
        return at;
    }

    void KeepAll(const TiffDirectory& directory, std::vector<ExifEntry>& to) {
        for (const TiffEntry& entry : directory.entries) {
            Keep(entry, to);
        }
    }

    void Keep(const TiffEntry& entry, std::vector<ExifEntry>& to) {
        if (entry.tag == kExifDirectory || entry.tag == kGpsDirectory || entry.tag == kInteropDirectory) {
            return;  // a place in the file that was
        }
        auto value = Value(entry);
        const bool twice =
            std::any_of(to.begin(), to.end(), [&](const ExifEntry& other) { return other.tag == entry.tag; });
        if (!value.empty() && !twice && entry.type <= 12) {
            to.push_back({entry.tag, entry.type, static_cast<std::uint32_t>(entry.count), std::move(value)});
        }
    }

    std::vector<std::uint8_t> Value(const TiffEntry& entry) {
        const std::uint64_t bytes = entry.Bytes();
        if (bytes > kMostExifBytes - bytes_) {
            tooLarge_ = true;
            return {};
        }
        bytes_ += bytes;
        return reader_.Value(entry, kMostExifBytes);
    }

    const TiffDirectoryReader& reader_;
    Description& description_;
    std::uint64_t bytes_ = 0;
    bool tooLarge_ = false;
};

void Put(std::vector<std::uint8_t>& block, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        block.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

ExifEntry Number(std::uint16_t tag, std::uint16_t type, std::uint64_t value) {
    ExifEntry entry{tag, type, 1, {}};
    Put(entry.value, value, type == kShort ? 2 : 4);
    return entry;
}

ExifEntry Rational(std::uint16_t tag, const Ratio& ratio) {
    const Ratio small = Reduced(ratio, 0xFFFFFFFFu);
    ExifEntry entry{tag, kRational, 1, {}};
    Put(entry.value, small.numerator, 4);
    Put(entry.value, small.denominator, 4);
    return entry;
}

// A directory and the values that don't fit into it take so many bytes, an even number.
std::size_t DirectoryBytes(const std::vector<ExifEntry>& entries) {
    std::size_t bytes = 2 + 12 * entries.size() + 4;
    for (const ExifEntry& entry : entries) {
        bytes += entry.value.size() > 4 ? (entry.value.size() + 1) / 2 * 2 : 0;
    }
    return bytes;
}

// Appends a directory that will lie at `at`, with no directory after it.
void PutDirectory(std::vector<std::uint8_t>& block, std::vector<ExifEntry> entries, std::uint64_t at) {
    std::sort(entries.begin(), entries.end(), [](const ExifEntry& a, const ExifEntry& b) { return a.tag < b.tag; });
    std::uint64_t values = at + 2 + 12 * entries.size() + 4;
    Put(block, entries.size(), 2);
    for (const ExifEntry& entry : entries) {
        Put(block, entry.tag, 2);
        Put(block, entry.type, 2);
        Put(block, entry.count, 4);
        if (entry.value.size() > 4) {
            Put(block, values, 4);
            values += (entry.value.size() + 1) / 2 * 2;
        } else {
            block.insert(block.end(), entry.value.begin(), entry.value.end());
            Put(block, 0, static_cast<int>(4 - entry.value.size()));
        }
    }
    Put(block, 0, 4);
    for (const ExifEntry& entry : entries) {
        if (entry.value.size() > 4) {
            block.insert(block.end(), entry.value.begin(), entry.value.end());
            Put(block, 0, static_cast<int>(entry.value.size() % 2));
        }
    }
}

// EXIF's second directory with the page's own sizes, where it has sizes.
std::vector<ExifEntry> WithSizes(std::vector<ExifEntry> entries, const ImageInfo& page) {
    for (ExifEntry& entry : entries) {
        if (entry.tag == kPixelColumns) {
            entry = Number(entry.tag, kLong, page.width);
        } else if (entry.tag == kPixelLines) {
            entry = Number(entry.tag, kLong, page.height);
        }
    }
    return entries;
}

// The EXIF directory, that of interoperability and the GPS directory one after another.
TiffExif PutSubdirectories(const ImageInfo& page, std::uint64_t offset) {
    TiffExif result;
    if (page.description == nullptr) {
        return result;
    }
    const Description& description = *page.description;
    std::vector<ExifEntry> exif = WithSizes(description.exif, page);
    if (!exif.empty()) {
        const std::uint64_t interopAt = offset + DirectoryBytes(exif) + 12;
        if (!description.interop.empty()) {
            exif.push_back(Number(kInteropDirectory, kLong, interopAt));
        }
        result.exifAt = offset;
        PutDirectory(result.bytes, std::move(exif), offset);
        if (!description.interop.empty()) {
            PutDirectory(result.bytes, description.interop, interopAt);
        }
    }
    if (!description.gps.empty()) {
        result.gpsAt = offset + result.bytes.size();
        PutDirectory(result.bytes, description.gps, result.gpsAt);
    }
    return result;
}

}  // namespace

ExifFacts ReadExif(const std::uint8_t* bytes, std::size_t count, Description& description) {
    TiffDirectoryReader reader([bytes, count](std::uint64_t offset, void* out, std::size_t wanted) {
        if (offset > count || wanted > count - offset) {
            return false;
        }
        std::memcpy(out, bytes + offset, wanted);
        return true;
    });
    ExifFacts facts;
    const auto first = reader.ReadHeader();
    const auto directory = first ? reader.ReadDirectory(*first) : std::nullopt;
    if (!directory) {
        return facts;
    }
    const std::uint64_t orientation = reader.Number(*directory, kOrientation).value_or(1);
    facts.orientation = orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
    facts.resolution = reader.ReadResolution(*directory);
    ExifReader values(reader, description);
    values.ReadTexts(*directory);
    values.ReadImage(*directory);
    values.ReadSubdirectories(*directory);
    return facts;
}

void ReadTiffDescription(const TiffDirectoryReader& reader, const TiffDirectory& page, Description& description) {
    ExifReader values(reader, description);
    values.ReadTexts(page);
    values.ReadSubdirectories(page);
}

std::vector<std::uint8_t> MakeExif(const ImageInfo& page, const std::array<std::string, kTextFields>& texts,
                                   ExifResolution resolution) {
    std::vector<ExifEntry> first;
    if (page.description != nullptr) {
        first = page.description->image;
    }
    for (std::size_t i = 0; i < kTextFields; ++i) {
        if (!texts[i].empty()) {
            ExifEntry entry{TextTag(static_cast<TextField>(i)), kAscii, 0, {texts[i].begin(), texts[i].end()}};
            entry.value.push_back(0);
            entry.count = static_cast<std::uint32_t>(entry.value.size());
            first.push_back(std::move(entry));
        }
    }
    if (page.orientation != 1) {
        first.push_back(Number(kOrientation, kShort, static_cast<std::uint64_t>(page.orientation)));
    }
    if (resolution == ExifResolution::kIncluded && page.resolution) {
        first.push_back(Rational(282, page.resolution->x));
        first.push_back(Rational(283, page.resolution->y));
        first.push_back(Number(296, kShort, 2));  // inches
    }
    const bool exif = page.description != nullptr && !page.description->exif.empty();
    const bool gps = page.description != nullptr && !page.description->gps.empty();
    if (first.empty() && !exif && !gps) {
        return {};
    }
    // The directories that follow lie after the first, which grows by an entry for each of them.
    constexpr std::uint8_t kHeader = 8;
    const std::uint64_t after = kHeader + DirectoryBytes(first) + (exif ? 12 : 0) + (gps ? 12 : 0);
    const TiffExif more = PutSubdirectories(page, after);
    if (exif) {
        first.push_back(Number(kExifDirectory, kLong, more.exifAt));
    }
    if (gps) {
        first.push_back(Number(kGpsDirectory, kLong, more.gpsAt));
    }
    std::vector<std::uint8_t> block = {'I', 'I', 42, 0, kHeader, 0, 0, 0};
    PutDirectory(block, std::move(first), kHeader);
    block.insert(block.end(), more.bytes.begin(), more.bytes.end());
    return block;
}

TiffExif MakeTiffExif(const ImageInfo& page, std::uint64_t offset) {
    return PutSubdirectories(page, offset);
}

}  // namespace platen_tool
