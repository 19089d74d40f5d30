#include "programs/io/TiffDirectory.h"

#include <algorithm>

#include "programs/io/Ratios.h"

namespace platen_tool {

namespace {

constexpr std::uint64_t kMostEntries = 4096;

constexpr std::uint16_t kXResolution = 282;
constexpr std::uint16_t kYResolution = 283;
constexpr std::uint16_t kResolutionUnit = 296;

std::uint64_t TypeBytes(std::uint16_t type) {
    switch (type) {
        case 1:  // BYTE
        case 2:  // ASCII
        case 6:  // SBYTE
        case 7:  // UNDEFINED
            return 1;
        case 3:  // SHORT
        case 8:  // SSHORT
            return 2;
        case 4:   // LONG
        case 9:   // SLONG
        case 11:  // FLOAT
        case 13:  // IFD
            return 4;
        case 5:   // RATIONAL
        case 10:  // SRATIONAL
        case 12:  // DOUBLE
        case 16:  // LONG8
        case 17:  // SLONG8
        case 18:  // IFD8
            return 8;
        default:
            return 0;
    }
}

}  // namespace

std::uint64_t TiffEntry::Bytes() const {
    const std::uint64_t each = TypeBytes(type);
    return each != 0 && count > UINT64_MAX / each ? UINT64_MAX : each * count;
}

const TiffEntry* TiffDirectory::Find(std::uint16_t tag) const {
    for (const TiffEntry& entry : entries) {
        if (entry.tag == tag) {
            return &entry;
        }
    }
    return nullptr;
}

std::uint64_t TiffDirectoryReader::Decode(const std::uint8_t* bytes, std::size_t count) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | bytes[bigEndian_ ? i : count - 1 - i];
    }
    return value;
}

std::optional<std::uint64_t> TiffDirectoryReader::ReadHeader() {
    std::uint8_t header[16];
    if (!readAt_(0, header, 8) || header[0] != header[1] || (header[0] != 'I' && header[0] != 'M')) {
        return std::nullopt;
    }
    bigEndian_ = header[0] == 'M';
    const std::uint64_t version = Decode(header + 2, 2);
    if (version == 42) {
        return Decode(header + 4, 4);
    }
    bigFile_ = version == 43;
    if (!bigFile_ || Decode(header + 4, 2) != 8 || !readAt_(8, header + 8, 8)) {
        return std::nullopt;
    }
    return Decode(header + 8, 8);
}

std::optional<TiffDirectory> TiffDirectoryReader::ReadDirectory(std::uint64_t offset) const {
    const std::size_t countBytes = bigFile_ ? 8 : 2;
    const std::size_t entryBytes = bigFile_ ? 20 : 12;
    const std::size_t offsetBytes = bigFile_ ? 8 : 4;
    std::uint8_t bytes[20];
    if (offset > INT64_MAX / 2 || !readAt_(offset, bytes, countBytes)) {
        return std::nullopt;
    }
    const std::uint64_t count = Decode(bytes, countBytes);
    if (count == 0 || count > kMostEntries) {
        return std::nullopt;
    }
    TiffDirectory directory;
    directory.at = offset;
    std::uint64_t at = offset + countBytes;
    for (std::uint64_t i = 0; i < count; ++i, at += entryBytes) {
        if (!readAt_(at, bytes, entryBytes)) {
            return std::nullopt;
        }
        TiffEntry entry;
        entry.tag = static_cast<std::uint16_t>(Decode(bytes, 2));
        entry.type = static_cast<std::uint16_t>(Decode(bytes + 2, 2));
        entry.count = Decode(bytes + 4, offsetBytes);
        const std::size_t valueIn = 4 + offsetBytes;
        entry.valueAt = entry.Bytes() <= offsetBytes ? at + valueIn : Decode(bytes + valueIn, offsetBytes);
        directory.entries.push_back(entry);
    }
    if (!readAt_(at, bytes, offsetBytes)) {
        return std::nullopt;
    }
    directory.next = Decode(bytes, offsetBytes);
    return directory;
}

std::optional<std::uint64_t> TiffDirectoryReader::Number(const TiffDirectory& directory, std::uint16_t tag) const {
    const TiffEntry* entry = directory.Find(tag);
    if (entry == nullptr || entry->count == 0) {
        return std::nullopt;
    }
    const bool whole = entry->type == 1 || entry->type == 3 || entry->type == 4 || entry->type == 16;
    std::uint8_t bytes[8];
    const auto size = static_cast<std::size_t>(TypeBytes(entry->type));
    if (!whole || !readAt_(entry->valueAt, bytes, size)) {
        return std::nullopt;
    }
    return Decode(bytes, size);
}

std::optional<Ratio> TiffDirectoryReader::Rational(const TiffDirectory& directory, std::uint16_t tag) const {
    const TiffEntry* entry = directory.Find(tag);
    std::uint8_t bytes[8];
    if (entry == nullptr || entry->count == 0 || entry->type != 5 || !readAt_(entry->valueAt, bytes, 8)) {
        return std::nullopt;
    }
    return Ratio{Decode(bytes, 4), Decode(bytes + 4, 4)};
}

std::vector<std::uint8_t> TiffDirectoryReader::Value(const TiffEntry& entry, std::uint64_t most) const {
    const std::uint64_t bytes = entry.Bytes();
    std::uint8_t last = 0;
    // Room is taken for what is there only.
    if (bytes == 0 || bytes > most || entry.valueAt > INT64_MAX / 2 ||
        !readAt_(entry.valueAt + bytes - 1, &last, 1)) {
        return {};
    }
    std::vector<std::uint8_t> value(static_cast<std::size_t>(bytes));
    if (!readAt_(entry.valueAt, value.data(), value.size())) {
        return {};
    }
    const bool ratio = entry.type == 5 || entry.type == 10;
    const auto unit = static_cast<std::ptrdiff_t>(ratio ? 4 : TypeBytes(entry.type));
    if (bigEndian_) {
        for (auto at = value.begin(); at != value.end(); at += unit) {
            std::reverse(at, at + unit);
        }
    }
    return value;
}

std::optional<Resolution> TiffDirectoryReader::ReadResolution(const TiffDirectory& directory) const {
    const std::optional<Ratio> x = Rational(directory, kXResolution);
    const std::optional<Ratio> y = Rational(directory, kYResolution);
    const std::uint64_t unit = Number(directory, kResolutionUnit).value_or(2);
    if ((!x && !y) || (unit != 2 && unit != 3)) {
        return std::nullopt;  // unit 1: only the pixels' proportions are known
    }
    return ResolutionFrom(x ? *x : *y, y ? *y : *x, unit == 3 ? LengthUnit::kCentimetre : LengthUnit::kInch);
}

}  // namespace platen_tool
