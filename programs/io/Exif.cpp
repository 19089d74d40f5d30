#include "programs/io/Exif.h"

#include <cstring>

#include "programs/io/Ratios.h"
#include "programs/io/TiffDirectory.h"

namespace platen_tool {

namespace {

constexpr std::uint16_t kOrientation = 274;
constexpr std::uint16_t kShort = 3;
constexpr std::uint16_t kRational = 5;

void Put(std::vector<std::uint8_t>& block, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        block.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

void PutEntry(std::vector<std::uint8_t>& block, std::uint16_t tag, std::uint16_t type, std::uint64_t value) {
    Put(block, tag, 2);
    Put(block, type, 2);
    Put(block, 1, 4);
    Put(block, value, 4);
}

}  // namespace

ExifFacts ReadExif(const std::uint8_t* bytes, std::size_t count) {
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
    return facts;
}

std::vector<std::uint8_t> MakeExif(int orientation, const std::optional<Resolution>& resolution) {
    std::vector<std::uint8_t> block = {'I', 'I', 42, 0, 8, 0, 0, 0};
    const std::uint64_t entries = resolution ? 4 : 1;
    const std::uint64_t after = 8 + 2 + 12 * entries + 4;  // the ratios lie after the directory
    Put(block, entries, 2);
    PutEntry(block, kOrientation, kShort, static_cast<std::uint64_t>(orientation));
    if (resolution) {
        PutEntry(block, 282, kRational, after);
        PutEntry(block, 283, kRational, after + 8);
        PutEntry(block, 296, kShort, 2);  // inches
    }
    Put(block, 0, 4);  // no thumbnail
    if (resolution) {
        for (const Ratio& axis : {resolution->x, resolution->y}) {
            const Ratio small = Reduced(axis, 0xFFFFFFFFu);
            Put(block, small.numerator, 4);
            Put(block, small.denominator, 4);
        }
    }
    return block;
}

}  // namespace platen_tool
