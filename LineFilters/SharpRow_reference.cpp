#include "LineFilters/SharpRow.h"

#include <algorithm>
#include <cstring>

// The sharpness row, one statement per rule. Sums are modulo 2^32: a host may have put any words into the kernel.

namespace platen {
namespace {

// The byte offsets of the three columns of a neighbourhood.
struct Columns {
    std::size_t left;
    std::size_t centre;
    std::size_t right;
};

Columns ColumnsAround(std::size_t x, std::size_t width, std::size_t samples) {
    const std::size_t left = x == 0 ? 0 : x - 1;                   // replication
    const std::size_t right = x == width - 1 ? width - 2 : x + 1;  // reflection about the last pixel
    return {left * samples, x * samples, right * samples};
}

std::uint32_t ThreeTerms(const std::int32_t* weights, const std::uint8_t* row, const Columns& columns) {
    return static_cast<std::uint32_t>(weights[0]) * row[columns.left] +
           static_cast<std::uint32_t>(weights[1]) * row[columns.centre] +
           static_cast<std::uint32_t>(weights[2]) * row[columns.right];
}

std::uint32_t Sum(const SharpRowArgs& row, const Columns& columns, std::size_t sample) {
    const std::int32_t* k = row.kernel;
    const std::uint32_t middle = ThreeTerms(k + 3, row.middle + sample, columns);
    const std::uint32_t bottom = ThreeTerms(k + 6, row.bottom + sample, columns);
    if (row.topEdge) {
        return middle + 2 * bottom;
    }
    return ThreeTerms(k, row.top + sample, columns) + middle + bottom;
}

std::uint32_t Magnitude(std::uint32_t bits) {
    return static_cast<std::int32_t>(bits) < 0 ? 0 - bits : bits;
}

// |sum / divisor|, which is |sum| / |divisor|: truncation is toward zero. So the lowest integer by -1 is defined.
std::uint8_t Result(std::uint32_t sum, std::int32_t divisor) {
    if (divisor == 0) {
        return 0;
    }
    const std::uint32_t quotient = Magnitude(sum) / Magnitude(static_cast<std::uint32_t>(divisor));
    return static_cast<std::uint8_t>(std::min<std::uint32_t>(quotient, 255));
}

}  // namespace

void SharpRow_reference(std::uint8_t* out, const SharpRowArgs& row) {
    for (std::size_t x = 0; x < row.width; ++x) {
        const Columns columns = ColumnsAround(x, row.width, row.samples);
        for (std::size_t sample = 0; sample < row.samples; ++sample) {
            out[columns.centre + sample] = Result(Sum(row, columns, sample), row.kernel[9]);
        }
    }
}

void SharpPut_reference(std::uint8_t* out, const SharpPutArgs& put) {
    std::memcpy(put.oldest, put.previous, put.rowBytes);
    std::memcpy(put.previous, put.newest, put.rowBytes);
    std::memcpy(put.newest, put.line, put.rowBytes);
    SharpRow_reference(out, {put.oldest, put.previous, put.newest, put.kernel, put.width, put.samples, false});
}

}  // namespace platen
