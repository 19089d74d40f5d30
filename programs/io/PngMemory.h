#pragma once

#include <png.h>

namespace platen_tool {

// The allocator for png_create_read_struct_2 and its like, with a CodecGuard as their memory pointer, which learns
// of a lack of memory. libpng alone leaves some chunks out then, with no more than a warning. The step goes on:
// what zlib and libpng hold can be freed only where they come to their own ends.
png_voidp AllocateForPng(png_structp png, png_alloc_size_t bytes);

}  // namespace platen_tool
