#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "programs/io/TiffDirectory.h"

namespace platen_tool {

// What the codec library gets to see of a directory: the fields that are read, and those that its codecs need. It
// takes the memory for every field that it finds, whether it knows the field or not; so all others become one and
// the same small private field while they are read, and the library passes over repeated ones.
class TiffDisguise {
  public:
    // Whether the codec library gets to see this field.
    static bool Shows(std::uint16_t tag);

    // From now on for this directory's entries, and for no others.
    void Cover(const TiffDirectory& directory, const TiffDirectoryReader& reader);

    // Puts the private field over the covered entries, or parts of them, among `count` bytes of the file from
    // `position` on.
    void Apply(std::uint64_t position, std::uint8_t* bytes, std::size_t count) const noexcept;

  private:
    std::vector<std::uint64_t> places_;  // of the covered entries, ascending
    std::array<std::uint8_t, 20> entry_{};
    std::size_t entryBytes_ = 0;
};

}  // namespace platen_tool
