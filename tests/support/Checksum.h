#pragma once

#include <cstdint>

namespace platen_test {

// FNV-1a over numbers: each is fed as eight bytes, least significant first, whatever the host's byte order and
// the width of its type. So one constant serves every platform.
class Checksum {
  public:
    template <class Integer>
    void Add(Integer number) {
        auto bits = static_cast<std::uint64_t>(number);
        for (int i = 0; i < 8; ++i) {
            hash_ = (hash_ ^ (bits & 0xFF)) * 0x100000001B3u;
            bits >>= 8;
        }
    }

    template <class Range>
    void AddAll(const Range& numbers) {
        for (const auto number : numbers) {
            Add(number);
        }
    }

    std::uint64_t Value() const {
        return hash_;
    }

  private:
    std::uint64_t hash_ = 0xCBF29CE484222325u;
};

}  // namespace platen_test
