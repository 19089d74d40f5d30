#include "programs/io/PngFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace platen_tool {

namespace {

// The sum of the bytes' magnitudes, taken as signed: |b| is the distance of b + 128 (modulo 256) from 128, and for
// sums of distances of unsigned bytes processors have an instruction.
std::uint64_t Magnitudes(const std::uint8_t* bytes, std::size_t count) {
    constexpr std::size_t kPart = 1 << 16;  // whose sum stays within 32 bits
    constexpr std::uint8_t kZero = 128;
    std::uint64_t total = 0;
    while (count != 0) {
        const std::size_t part = std::min(count, kPart);
        std::int32_t sum = 0;
        for (std::size_t i = 0; i < part; ++i) {
            const auto shifted = static_cast<std::uint8_t>(bytes[i] + kZero);
            sum += std::abs(shifted - kZero);
        }
        total += static_cast<std::uint64_t>(sum);
        bytes += part;
        count -= part;
    }
    return total;
}

void Sub(const std::uint8_t* row, const std::uint8_t*, std::size_t bytes, std::size_t pixel, std::uint8_t* out) {
    const std::size_t first = std::min(pixel, bytes);
    std::memcpy(out, row, first);
    for (std::size_t i = first; i < bytes; ++i) {
        out[i] = static_cast<std::uint8_t>(row[i] - row[i - pixel]);
    }
}

void Up(const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t, std::uint8_t* out) {
    for (std::size_t i = 0; i < bytes; ++i) {
        out[i] = static_cast<std::uint8_t>(row[i] - above[i]);
    }
}

void Average(const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t pixel,
             std::uint8_t* out) {
    const std::size_t first = std::min(pixel, bytes);
    for (std::size_t i = 0; i < first; ++i) {
        out[i] = static_cast<std::uint8_t>(row[i] - (above[i] >> 1));
    }
    for (std::size_t i = first; i < bytes; ++i) {
        out[i] = static_cast<std::uint8_t>(row[i] - ((row[i - pixel] + above[i]) >> 1));
    }
}

// The neighbour nearest to left + above - corner; of equally near ones left, then above.
void Paeth(const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t pixel,
           std::uint8_t* out) {
    const std::size_t first = std::min(pixel, bytes);
    for (std::size_t i = 0; i < first; ++i) {
        out[i] = static_cast<std::uint8_t>(row[i] - above[i]);
    }
    for (std::size_t i = first; i < bytes; ++i) {
        const std::int16_t left = row[i - pixel];
        const std::int16_t up = above[i];
        const std::int16_t corner = above[i - pixel];
        const auto toLeft = static_cast<std::int16_t>(std::abs(up - corner));
        const auto toAbove = static_cast<std::int16_t>(std::abs(left - corner));
        const auto toCorner = static_cast<std::int16_t>(std::abs(left + up - 2 * corner));
        const std::int16_t second = toAbove <= toCorner ? up : corner;
        const std::int16_t nearest = toLeft <= toAbove && toLeft <= toCorner ? left : second;
        out[i] = static_cast<std::uint8_t>(row[i] - nearest);
    }
}

}  // namespace

void FilterRow(const std::uint8_t* row, const std::uint8_t* above, std::size_t rowBytes, std::size_t pixelBytes,
               std::uint8_t* filtered, std::uint8_t* scratch) {
    std::uint8_t* best = filtered;
    std::uint8_t* other = scratch;
    best[0] = 0;
    std::memcpy(best + 1, row, rowBytes);
    std::uint64_t smallest = Magnitudes(row, rowBytes);
    using Filter = void (*)(const std::uint8_t*, const std::uint8_t*, std::size_t, std::size_t, std::uint8_t*);
    constexpr Filter kFilters[] = {Sub, Up, Average, Paeth};
    for (std::uint8_t number = 1; number <= 4; ++number) {
        kFilters[number - 1](row, above, rowBytes, pixelBytes, other + 1);
        const std::uint64_t sum = Magnitudes(other + 1, rowBytes);
        if (sum < smallest) {
            smallest = sum;
            other[0] = number;
            std::swap(best, other);
        }
    }
    if (best != filtered) {
        std::memcpy(filtered, best, FilteredBytes(rowBytes));
    }
}

}  // namespace platen_tool
