// What the library's operations do in WebAssembly when memory runs out; address 0 can be written there.
//
//   short_of_memory nothrow     `new (std::nothrow)` gives a null pointer: exit code 0
//   short_of_memory plain       plain `new` ends the program: it never gets to the message

#include <cstdio>
#include <cstring>
#include <new>

int main(int argc, char** argv) {
    constexpr std::size_t kTooMuch = 0xF0000000;
    if (argc > 1 && std::strcmp(argv[1], "nothrow") == 0) {
        return ::operator new(kTooMuch, std::nothrow) == nullptr ? 0 : 1;
    }
    void* block = ::operator new(kTooMuch);
    std::printf("new returned %p\n", block);
    return 1;
}
