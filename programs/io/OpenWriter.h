#pragma once

#include <memory>
#include <optional>
#include <string>

#include "programs/io/LineWriter.h"

namespace platen_tool {

// Opens an output; "-" is standard output. Nothing is written before BeginPage.
std::unique_ptr<LineWriter> OpenWriter(const std::string& path, const WriteOptions& options);

// What OpenWriter and a page's beginning would say, as far as it can be told without making a file: no format, a
// layout that the format lacks, a file that is there already.
void CheckOutput(const std::string& path, const WriteOptions& options, const ImageInfo& page);

// The container of an output: what was asked for, for "-" the input's, else what the path's ending names
// ("page.png"); where that names none an Error (kUsage).
Container OutputContainer(const std::string& path, std::optional<Container> asked, Container inputContainer);

// What of a page's metadata the container can't hold, as a sentence for -v; mostly empty.
std::string LostMetadata(Container container, const ImageInfo& page);

// An Error (kUnsupported) where the container holds one page only.
void RequireSeveralPages(Container container);

}  // namespace platen_tool
