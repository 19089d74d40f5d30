#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace platen_tool {

// Compresses bytes to raw deflate data (RFC 1951) with Huffman codes and runs of one byte, without any search for
// matches: what zlib's Z_RLE does, several times as fast. Right for filtered rows of scans, in which there is
// nothing else to find.
//
// The data begins at a byte's start. With `last` it ends the stream; else it ends in an empty stored block, as a
// sync flush does, so more data can follow. `count` is at least 1.
std::vector<std::uint8_t> DeflateRuns(const std::uint8_t* bytes, std::size_t count, bool last);

}  // namespace platen_tool
