#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platen_test {

// Bytes that lie against a protected page: the first byte too far, read or written, ends the test. Either their
// end touches the page after them, or their beginning the page before.
class GuardedBuffer {
  public:
    enum class Against { kPageBehind, kPageBefore };

    explicit GuardedBuffer(std::size_t size, Against side = Against::kPageBehind, std::uint8_t fill = 0xA5);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    std::uint8_t* data() const {
        return data_;
    }
    std::size_t size() const {
        return size_;
    }
    std::span<std::uint8_t> bytes() const {
        return {data_, size_};
    }
    std::uint8_t& operator[](std::size_t index) const {
        return data_[index];
    }

  private:
    void* mapping_;
    std::size_t mapped_;
    std::uint8_t* data_;
    std::size_t size_;
};

}  // namespace platen_test
