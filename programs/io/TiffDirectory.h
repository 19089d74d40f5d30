#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// One entry of a TIFF directory. The value lies at `valueAt`, in the entry itself when it is small.
struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::uint64_t valueAt = 0;

    // 0 for a type that doesn't exist; saturates.
    std::uint64_t Bytes() const;
};

struct TiffDirectory {
    std::uint64_t at = 0;
    std::uint64_t next = 0;  // 0: the last one
    std::vector<TiffEntry> entries;

    const TiffEntry* Find(std::uint16_t tag) const;
};

// Walks the directories of a TIFF file, classic or big, in either byte order, or of an EXIF block, which is built
// the same way. It serves what the codec library can't: resolutions as the ratios they are stored as, and a look
// at a file's promises before anything is allocated for them.
class TiffDirectoryReader {
  public:
    // Reads `count` bytes from `offset` on; false where there aren't so many.
    using ReadAt = std::function<bool(std::uint64_t offset, void* bytes, std::size_t count)>;

    explicit TiffDirectoryReader(ReadAt readAt) : readAt_(std::move(readAt)) {}

    // The place of the first directory; nothing where this isn't a TIFF header.
    std::optional<std::uint64_t> ReadHeader();

    // Nothing where the directory is truncated or longer than any sensible one.
    std::optional<TiffDirectory> ReadDirectory(std::uint64_t offset) const;

    // An entry's first value, where it is a whole number of a fitting type.
    std::optional<std::uint64_t> Number(const TiffDirectory& directory, std::uint16_t tag) const;
    std::optional<Ratio> Rational(const TiffDirectory& directory, std::uint16_t tag) const;
    // An entry's value of at most `most` bytes, its numbers little-endian; empty where it is larger, or not there.
    std::vector<std::uint8_t> Value(const TiffEntry& entry, std::uint64_t most) const;
    std::optional<Resolution> ReadResolution(const TiffDirectory& directory) const;

    bool BigEndian() const {
        return bigEndian_;
    }
    bool BigFile() const {
        return bigFile_;
    }

  private:
    std::uint64_t Decode(const std::uint8_t* bytes, std::size_t count) const;

    ReadAt readAt_;
    bool bigEndian_ = false;
    bool bigFile_ = false;
};

}  // namespace platen_tool
