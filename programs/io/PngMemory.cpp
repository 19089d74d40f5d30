#include "programs/io/PngMemory.h"

#include <cstdlib>

#include "programs/io/CodecGuard.h"

namespace platen_tool {

png_voidp AllocateForPng(png_structp png, png_alloc_size_t bytes) {
    void* block = std::malloc(bytes);
    if (block == nullptr) {
        static_cast<CodecGuard*>(png_get_mem_ptr(png))->outOfMemory = true;
    }
    return block;
}

}  // namespace platen_tool
