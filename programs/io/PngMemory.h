#pragma once

#include <png.h>

namespace platen_tool {

// The allocator for png_create_read_struct_2 and its like, with a CodecGuard as their memory pointer: without
// memory the guard's step fails. libpng alone leaves some chunks out then, with no more than a warning.
png_voidp AllocateForPng(png_structp png, png_alloc_size_t bytes);

}  // namespace platen_tool
