#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "programs/base/Compression.h"
#include "programs/base/ImageInfo.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// How much time a PNG's compression may take.
enum class PngEffort {
    kFast,     // filtered rows, runs only
    kDefault,  // a sample of each block of rows decides
    kBest,     // each block is compressed in every mode, the smallest result is kept
};

struct WriteOptions {
    std::optional<Container> container;  // where absent: from the path's ending, for "-" the input's container
    Container inputContainer = Container::kPnm;
    std::optional<Compression> compression;  // asked for: where it can't be, the page is refused
    int tiffCompression = 0;   // kept where it fits, a TIFF compression tag; 0: the container's default
    int compressionLevel = 0;  // of a TIFF's Deflate (1..12) or Zstd (1..19); 0: the default
    int jpegQuality = 92;
    PngEffort pngEffort = PngEffort::kDefault;
    unsigned workers = 1;  // threads that compress; the bytes don't depend on it
    bool strictStream = false;
    bool force = false;  // overwrite an existing file
    bool sync = true;    // Commit returns only when the disk has everything
};

// Writes an image file line by line. The file appears under its name only when Commit has succeeded: until then
// its bytes go to a temporary name in the same folder, which the destructor removes.
//
//   auto writer = OpenWriter("page.png", options);
//   writer->BeginPage(info);
//   for (y = 0; y < info.height; ++y) writer->WriteLine(line);
//   writer->EndPage();
//   writer->Commit();
class LineWriter {
  public:
    virtual ~LineWriter() = default;

    // Begins a page. A second page is an Error (kUnsupported) for containers that hold one image only. A layout
    // that the container lacks is an Error (kUnsupported) that says which containers have it. Height 0 (not
    // known yet) is written as it goes where the container allows, spooled or refused elsewhere.
    virtual void BeginPage(const ImageInfo& info) = 0;

    // Takes the next line, in the form that ImageInfo describes.
    virtual void WriteLine(const std::uint8_t* line) = 0;

    // Returns when all lines taken so far are written. Only writers that put that off have something to do here.
    virtual void Settle() {}

    // Ends the page; fewer lines than BeginPage announced is an Error.
    virtual void EndPage() = 0;

    // Takes back a page that was begun and can't be ended: the file keeps the pages before it. Commit is all that
    // may follow. Only writers of several pages have something to keep.
    virtual void DropPage() {}

    // Flushes, checks that everything reached the disk, and gives the file its name.
    virtual void Commit() = 0;

    virtual std::string Notice() const {
        return {};
    }
};

}  // namespace platen_tool
