#include <windows.h>

#include <cstring>
#include <new>

#include "support/GuardedBuffer.h"

// GuardedBuffer on Windows: the pages on both sides are reserved, and never committed.

namespace platen_test {

GuardedBuffer::GuardedBuffer(std::size_t size, Against side, std::uint8_t fill) : size_(size) {
    constexpr std::size_t kPage = 4096;
    const std::size_t inner = (size + kPage - 1) / kPage * kPage;
    mapped_ = inner + 2 * kPage;
    mapping_ = VirtualAlloc(nullptr, mapped_, MEM_RESERVE, PAGE_NOACCESS);
    if (mapping_ == nullptr) {
        throw std::bad_alloc();
    }
    auto* first = static_cast<std::uint8_t*>(mapping_) + kPage;
    if (inner != 0 && VirtualAlloc(first, inner, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        throw std::bad_alloc();
    }
    data_ = side == Against::kPageBehind ? first + inner - size : first;
    if (size != 0) {
        std::memset(data_, fill, size);
    }
}

GuardedBuffer::~GuardedBuffer() {
    VirtualFree(mapping_, 0, MEM_RELEASE);
}

}  // namespace platen_test
