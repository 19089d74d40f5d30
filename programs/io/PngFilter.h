#pragma once

#include <cstddef>
#include <cstdint>

namespace platen_tool {

// PNG's row filters (PNG specification, chapter 9), for rows of whole bytes.

// Bytes that every filtered row takes: the filter's number, then as many as the row has.
inline std::size_t FilteredBytes(std::size_t rowBytes) {
    return rowBytes + 1;
}

// Filters one row with the filter whose results, taken as signed bytes, have the smallest sum of magnitudes (of
// equal ones the first of none, sub, up, average, Paeth). `above` is the row before it, zeros for the first row of
// the image; `pixelBytes` is 1 to 8. `scratch` has room for FilteredBytes(rowBytes). Writes
// FilteredBytes(rowBytes).
void FilterRow(const std::uint8_t* row, const std::uint8_t* above, std::size_t rowBytes, std::size_t pixelBytes,
               std::uint8_t* filtered, std::uint8_t* scratch);

}  // namespace platen_tool
