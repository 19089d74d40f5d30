#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace platen_fuzz {

// Hands out a fuzzer's input piece by piece; past its end every piece is zero. Parameters are taken first,
// then lines and the order of calls.
class Producer {
  public:
    Producer(const std::uint8_t* data, std::size_t size) : data_(data), left_(size), whole_(data), size_(size) {}

    // A value of any plain type, straight from the input's bytes.
    template <class T>
    T Take() {
        T value{};
        Fill(&value, sizeof value);
        return value;
    }

    // A whole number between low and high, both included.
    std::int64_t Between(std::int64_t low, std::int64_t high) {
        const std::uint64_t span = static_cast<std::uint64_t>(high - low) + 1;
        const auto raw = Take<std::uint32_t>();
        return low + static_cast<std::int64_t>(span == 0 ? raw : raw % span);
    }

    bool Flip() {
        return (Take<std::uint8_t>() & 1) != 0;
    }

    // True for one input in `number`, by a checksum of all its bytes: what takes long stays seldom among the
    // mutants of an input that has it, too.
    bool IsOneIn(std::uint32_t number) const {
        std::uint32_t sum = 2166136261u;
        for (std::size_t i = 0; i < size_; ++i) {
            sum = static_cast<std::uint32_t>(std::uint64_t{sum ^ whole_[i]} * 16777619u);
        }
        return (sum >> 8) % number == 0;
    }

    void Fill(void* destination, std::size_t size) {
        const std::size_t given = std::min(size, left_);
        if (given != 0) {
            std::memcpy(destination, data_, given);
        }
        if (given != size) {
            std::memset(static_cast<std::uint8_t*>(destination) + given, 0, size - given);
        }
        data_ += given;
        left_ -= given;
    }

    std::size_t Left() const {
        return left_;
    }

  private:
    const std::uint8_t* data_;
    std::size_t left_;
    const std::uint8_t* whole_;
    std::size_t size_;
};

}  // namespace platen_fuzz
