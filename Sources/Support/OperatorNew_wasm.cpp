#include <cstdlib>
#include <new>

// WebAssembly's C++ library is built without exceptions: its plain `new` returns a null pointer where memory is
// short, and address 0 can be written there. Ours ends the module; what asks with std::nothrow gets the null
// pointer.

namespace {

void* Allocate(std::size_t size) {
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    void* block = Allocate(size);
    if (block == nullptr) {
        __builtin_trap();
    }
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
