#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/GuardedBuffer.h"

// GuardedBuffer where no page can be protected: bytes of a pattern lie on both sides, and one that has changed ends
// the test when the buffer is done with. A read too far goes unseen here; the other platforms see it.

namespace platen_test {

namespace {

constexpr std::size_t kGuard = 4096;
constexpr std::uint8_t kPattern = 0x5C;

}  // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, Against, std::uint8_t fill)
    : mapping_(std::malloc(size + 2 * kGuard)), mapped_(size + 2 * kGuard), data_(nullptr), size_(size) {
    if (mapping_ == nullptr) {
        std::abort();
    }
    std::memset(mapping_, kPattern, mapped_);
    data_ = static_cast<std::uint8_t*>(mapping_) + kGuard;
    std::memset(data_, fill, size);
}

GuardedBuffer::~GuardedBuffer() {
    const auto* all = static_cast<const std::uint8_t*>(mapping_);
    for (std::size_t i = 0; i < kGuard; ++i) {
        if (all[i] != kPattern || all[kGuard + size_ + i] != kPattern) {
            std::fprintf(stderr, "a byte outside of a buffer of %zu bytes was written\n", size_);
            std::abort();
        }
    }
    std::free(mapping_);
}

}  // namespace platen_test
