#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "programs/io/LineWriter.h"
#include "programs/io/OrderedWorkers.h"
#include "programs/io/RunDeflate.h"

namespace platen_tool {

// Turns a page's rows into the zlib stream that a PNG's IDAT chunks hold.
//
// The rows are cut into blocks of about 256 kB, which are filtered and compressed on their own, by as many threads
// as `workers` says, and come out in order. Each block but the last ends in a sync flush, so they can be joined.
// The bytes depend on the rows and the effort only, not on the number of workers.
//
// On scans the search for matches takes most of a PNG's time and gains almost nothing once the rows are filtered:
// what is left is noise. Where a page repeats itself (dither, lineart, screenshots) matches without filters are
// better. So each block takes filters and runs, or filters and matches, or matches alone.
class PngStream {
  public:
    // Takes a part of the stream, of at least one byte; called on the thread that calls WriteRow and End.
    using Sink = std::function<void(const std::uint8_t* bytes, std::size_t count)>;

    // `pixelBytes` is the filters' distance, 1 to 8; rows of less than 8 bits a sample are not worth filtering and
    // have `filters` false.
    PngStream(std::size_t rowBytes, std::size_t pixelBytes, bool filters, PngEffort effort, unsigned workers,
              Sink sink);
    ~PngStream();

    // Takes a row as PNG stores it, without a filter byte.
    void WriteRow(const std::uint8_t* row);
    // Ends the stream. At least one row has been written.
    void End();

  private:
    struct Shared;
    class Window;
    class Block;

    void Submit(StreamPart part);

    std::unique_ptr<Shared> shared_;
    std::size_t rowBytes_;
    std::size_t rowsPerBlock_;
    std::vector<std::uint8_t> rows_;  // the row above the block, then the block's rows so far
    std::size_t rowCount_ = 0;
    std::shared_ptr<Window> window_;  // of the block submitted last; null before the first
    OrderedWorkers workers_;          // its pieces use shared_, so it goes first
};

}  // namespace platen_tool
