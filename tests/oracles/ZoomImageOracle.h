#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

// What the scaler must give, worked out from geometry for whole images at once: no streaming, no doubles, and
// nothing shared with the library but the record's fields. All values are exact in 64 bits.

namespace platen_test {

struct ZoomCase {
    int dstWidth;
    int dstHeight;
    int srcWidth;
    int srcHeight;
    int format;

    int Samples() const {
        return format == 32 || format == 64 ? 4 : format == 24 || format == 48 ? 3 : 1;
    }
    bool Wide() const {
        return format == 16 || format == 48 || format == 64;
    }
    std::size_t LineBytes(int width) const {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(format) + 7) / 8;
    }
    std::size_t DstBytes() const {
        return LineBytes(dstWidth);
    }
    std::size_t SrcBytes() const {
        return LineBytes(srcWidth);
    }
};

// Samples of a line; bilevel pixels are 255 and 0.
using ZoomLine = std::vector<std::uint16_t>;
using ZoomImage = std::vector<ZoomLine>;

// The shaping curve in whole numbers: 2w^2 / range below the middle, point-symmetric above, cut.
inline std::int64_t OracleShape(std::int64_t weight, std::int64_t range) {
    if (2 * weight < range) {
        return 2 * weight * weight / range;
    }
    if (2 * weight == range) {
        return weight;
    }
    const std::int64_t left = range - weight;
    return range - (2 * left * left + range - 1) / range;
}

// A reduced axis as overlaps: destination position i covers [i x src, (i + 1) x src), source position k covers
// [k x dst, (k + 1) x dst).
inline PX_Zoom2_Param OracleReduced(std::int64_t i, std::int64_t dst, std::int64_t src) {
    const std::int64_t low = i * src;
    const std::int64_t high = low + src;
    const std::int64_t first = low / dst;
    const std::int64_t firstBehind = high / dst;  // the one that is covered partly, or not at all
    const std::int64_t sliver = high % dst;
    const std::int64_t firstWeight = (first + 1) * dst - low;
    const std::int64_t shaped = OracleShape(sliver, dst);
    const auto narrow = [](std::int64_t value) { return static_cast<std::int32_t>(value); };
    return {narrow(first),
            narrow(firstWeight),
            narrow(firstBehind - 1),
            narrow(shaped),
            narrow(sliver),
            narrow(firstWeight + (firstBehind - 1 - first) * dst + shaped),
            narrow(sliver == 0 ? firstBehind - 1 : firstBehind)};
}

// The left neighbour of position i x S / D, which for an exact position is the one before it.
inline std::int64_t OracleLeft(std::int64_t i, std::int64_t dst, std::int64_t src) {
    const std::int64_t place = i * (src - 1);
    return i == 0 || src == 1 ? 0 : (place + dst - 2) / (dst - 1) - 1;
}

inline PX_Zoom2_Param OracleEnlarged(std::int64_t i, std::int64_t dst, std::int64_t src) {
    const std::int64_t left = OracleLeft(i, dst, src);
    const std::int64_t part = i * (src - 1) - left * (dst - 1);
    const auto narrow = [](std::int64_t value) { return static_cast<std::int32_t>(value); };
    return {narrow(left), narrow(dst - 1 - part), 0, narrow(part), 0, narrow(dst - 1), 0};
}

inline std::vector<PX_Zoom2_Param> OracleTable(int dst, int src) {
    std::vector<PX_Zoom2_Param> table(static_cast<std::size_t>(dst));
    for (int i = 0; i < dst; ++i) {
        PX_Zoom2_Param& record = table[static_cast<std::size_t>(i)];
        if (dst < src) {
            record = OracleReduced(i, dst, src);
        } else if (src == 1) {
            record = {0, 1, 0, 0, 0, 1, i == 0 ? dst : 0};
        } else if (dst == src) {
            record = {i, 1, 0, 0, 0, 1, 1};
        } else {
            record = OracleEnlarged(i, dst, src);
        }
    }
    if (dst > src && src > 1) {
        for (int i = 0; i < dst; ++i) {
            const int start = table[static_cast<std::size_t>(i)].start;
            if (i == 0 || table[static_cast<std::size_t>(i) - 1].start != start) {
                const auto same = [start](const PX_Zoom2_Param& r) { return r.start == start; };
                auto end = table.begin() + i;
                while (end != table.end() && same(*end)) {
                    ++end;
                }
                table[static_cast<std::size_t>(i)].emit = static_cast<std::int32_t>(end - (table.begin() + i));
            }
        }
    }
    return table;
}

// The last source position that a destination position needs.
inline int OracleNeeds(const PX_Zoom2_Param& record, int dst, int src) {
    if (dst < src) {
        return record.emit;
    }
    return dst == src || src == 1 ? record.start : record.start + 1;
}

// The average of one destination position over the values that `at` gives for source positions.
template <class At>
std::uint64_t OracleAverage(const PX_Zoom2_Param& record, int dst, int src, At at) {
    const auto weight = [](std::int32_t w) { return static_cast<std::uint64_t>(w); };
    std::uint64_t sum = at(record.start) * weight(record.startWeight);
    if (dst < src) {
        for (int k = record.start + 1; k <= record.wholeEnd; ++k) {
            sum += at(k) * weight(dst);
        }
        if (record.endWeight != 0) {
            sum += at(record.wholeEnd + 1) * weight(record.endWeight);
        }
    } else if (record.endWeight != 0) {
        sum += at(record.start + 1) * weight(record.endWeight);
    }
    return sum / weight(record.weightSum);
}

inline ZoomLine OracleScaleLine(const ZoomCase& c, const std::vector<PX_Zoom2_Param>& columns,
                                const ZoomLine& source) {
    ZoomLine out;
    for (int x = 0; x < c.dstWidth; ++x) {
        for (int s = 0; s < c.Samples(); ++s) {
            const int sample = c.srcWidth == 1 ? 0 : s;
            out.push_back(static_cast<std::uint16_t>(OracleAverage(
                columns[static_cast<std::size_t>(x)], c.dstWidth, c.srcWidth,
                [&](int k) { return std::uint64_t{source[static_cast<std::size_t>(k * c.Samples() + sample)]}; })));
        }
    }
    return out;
}

inline ZoomImage OracleScale(const ZoomCase& c, const ZoomImage& source) {
    const auto columns = OracleTable(c.dstWidth, c.srcWidth);
    const auto lines = OracleTable(c.dstHeight, c.srcHeight);
    ZoomImage wide;
    for (const ZoomLine& line : source) {
        wide.push_back(OracleScaleLine(c, columns, line));
    }
    ZoomImage out;
    for (const PX_Zoom2_Param& record : lines) {
        ZoomLine line;
        for (std::size_t k = 0; k < wide[0].size(); ++k) {
            const auto at = [&](int y) { return std::uint64_t{wide[static_cast<std::size_t>(y)][k]}; };
            const std::uint64_t value = OracleAverage(record, c.dstHeight, c.srcHeight, at);
            // A bilevel pixel is set from 128 on.
            line.push_back(static_cast<std::uint16_t>(c.format == 1 ? (value >= 128 ? 255 : 0) : value));
        }
        out.push_back(line);
    }
    return out;
}

// A line as the scaler takes and gives it.
inline std::vector<std::uint8_t> PackLine(const ZoomCase& c, const ZoomLine& line) {
    std::vector<std::uint8_t> bytes;
    if (c.Wide()) {
        bytes.resize(line.size() * 2);
        std::memcpy(bytes.data(), line.data(), bytes.size());
    } else if (c.format != 1) {
        bytes.assign(line.begin(), line.end());
    } else {
        bytes.assign((line.size() + 7) / 8, 0);
        for (std::size_t x = 0; x < line.size(); ++x) {
            if (line[x] != 0) {
                bytes[x / 8] = static_cast<std::uint8_t>(bytes[x / 8] | 1u << (7 - x % 8));
            }
        }
    }
    return bytes;
}

}  // namespace platen_test
