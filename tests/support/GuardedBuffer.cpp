#include "support/GuardedBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace platen_test {

GuardedBuffer::GuardedBuffer(std::size_t size, Against side, std::uint8_t fill) : size_(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t inner = (size + page - 1) / page * page;
    mapped_ = inner + 2 * page;
    mapping_ = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping_ == MAP_FAILED) {
        throw std::bad_alloc();
    }
    auto* first = static_cast<std::uint8_t*>(mapping_) + page;
    if (inner != 0 && mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) {
        throw std::bad_alloc();
    }
    data_ = side == Against::kPageBehind ? first + inner - size : first;
    if (size != 0) {
        std::memset(data_, fill, size);
    }
}

GuardedBuffer::~GuardedBuffer() {
    munmap(mapping_, mapped_);
}

}  // namespace platen_test
