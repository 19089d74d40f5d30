#include "programs/io/TiffDisguise.h"

#include <algorithm>

namespace platen_tool {

namespace {

constexpr std::uint16_t kPrivateTag = 65000;
constexpr std::uint16_t kByte = 1;

constexpr std::uint16_t kShown[] = {
    254,   255,                           // kind of page
    256,   257, 258, 259, 262, 266,       // sizes, bits, compression, photometric interpretation, fill order
    273,   274, 277, 278, 279, 280,       // strips, orientation, samples
    281,   282, 283, 284, 292, 293,       // resolution, planes, fax options
    296,   317, 320, 322, 323, 324, 325,  // unit, predictor, palette, tiles
    326,   327, 328,                      // fax lines
    332,                                  // the kind of inks
    338,   339, 347,                      // extra samples, their format, JPEG's tables
    512,   513, 514, 515, 517, 518, 519, 520, 521,  // the old kind of JPEG, to be refused as such
    529,   530, 531, 532,                           // YCbCr
    32995,                                          // extra samples by an older name
    32996,                                          // the samples' format by an older name
    32997,                                          // slices, to be refused
    34675,                                          // ICC profile
    50674,                                          // LERC's parameters
};

}  // namespace

bool TiffDisguise::Shows(std::uint16_t tag) {
    return std::find(std::begin(kShown), std::end(kShown), tag) != std::end(kShown);
}

void TiffDisguise::Cover(const TiffDirectory& directory, const TiffDirectoryReader& reader) {
    const std::size_t countBytes = reader.BigFile() ? 8 : 4;
    entryBytes_ = 4 + 2 * countBytes;
    entry_.fill(0);
    const auto put = [&](std::size_t at, std::size_t bytes, unsigned value) {
        const std::size_t low = reader.BigEndian() ? at + bytes - 1 : at;
        entry_[low] = static_cast<std::uint8_t>(value);
        entry_[reader.BigEndian() ? low - 1 : low + 1] = static_cast<std::uint8_t>(value >> 8);
    };
    put(0, 2, kPrivateTag);
    put(2, 2, kByte);
    put(4, countBytes, 1);
    places_.clear();
    std::uint64_t at = directory.at + (reader.BigFile() ? 8 : 2);
    for (const TiffEntry& entry : directory.entries) {
        if (!Shows(entry.tag)) {
            places_.push_back(at);
        }
        at += entryBytes_;
    }
}

void TiffDisguise::Apply(std::uint64_t position, std::uint8_t* bytes, std::size_t count) const noexcept {
    const std::uint64_t end = position + count;
    const std::uint64_t first = position < entryBytes_ ? 0 : position - entryBytes_ + 1;
    for (auto place = std::lower_bound(places_.begin(), places_.end(), first);
         place != places_.end() && *place < end; ++place) {
        for (std::size_t i = 0; i < entryBytes_; ++i) {
            const std::uint64_t at = *place + i;
            if (at >= position && at < end) {
                bytes[at - position] = entry_[i];
            }
        }
    }
}

}  // namespace platen_tool
