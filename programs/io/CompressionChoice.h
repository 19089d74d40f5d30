#pragma once

#include "programs/base/ImageInfo.h"
#include "programs/io/LineWriter.h"

namespace platen_tool {

// What an output's --compression means for its container.

// Puts levels, effort and quality where the writers look for them. An Error (kUsage) for a compression that the
// container lacks; it names those that it has.
WriteOptions WithCompression(WriteOptions options, Container container);

// The TIFF number of the compression that a page gets in a TIFF or PDF; 0 where the writer may choose. An Error
// (kUnsupported) where the compression asked for can't hold the page.
int AskedCompression(const WriteOptions& options, const ImageInfo& page);

}  // namespace platen_tool
