#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_tool {

// A chunk of a PNG, as it stands there.
struct PngChunk {
    std::string name;
    std::vector<std::uint8_t> data;

    bool operator==(const PngChunk&) const = default;
};

// A field of EXIF. The value's numbers are little-endian, whatever the file's order.
struct ExifEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::vector<std::uint8_t> value;

    bool operator==(const ExifEntry&) const = default;
};

// The texts that TIFF and EXIF have fields for.
enum class TextField : std::size_t {
    kDocumentName,
    kImageDescription,
    kMake,
    kModel,
    kSoftware,
    kDateTime,
    kArtist,
    kHostComputer,
    kCopyright,
};
inline constexpr std::size_t kTextFields = 9;

// What a file says about its page that the picture doesn't need: who made it, when and with what. It travels from
// the reader to the writer unread.
struct Description {
    std::array<std::string, kTextFields> texts;  // by TextField, without the zero at the end; empty: none
    std::vector<ExifEntry> image;  // EXIF's first directory, but for the texts and the picture's layout
    std::vector<ExifEntry> exif;
    std::vector<ExifEntry> gps;
    std::vector<ExifEntry> interop;
    std::vector<std::uint8_t> xmp;
    std::vector<std::uint8_t> iptc;
    std::vector<PngChunk> pngTexts;     // tEXt, zTXt and iTXt, but for XMP
    std::vector<std::string> tooLarge;  // what was left out for its size

    std::string& Text(TextField field) {
        return texts[static_cast<std::size_t>(field)];
    }
    const std::string& Text(TextField field) const {
        return texts[static_cast<std::size_t>(field)];
    }
    bool HasExif() const {
        return !image.empty() || !exif.empty() || !gps.empty();
    }

    bool operator==(const Description&) const = default;
};

}  // namespace platen_tool
