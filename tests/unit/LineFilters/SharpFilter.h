#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "LineFilters/SharpContext.h"
#include "LineFilters/Sharpness.h"
#include "oracles/SharpOracle.h"

namespace platen_test {

using Bytes = std::vector<std::uint8_t>;

inline _SSharpParam SharpSettings(std::int32_t level, int samples, int width, int height, int padding = 0) {
    return {level, static_cast<std::uint32_t>(8 * samples), static_cast<std::uint32_t>(width),
            static_cast<std::uint32_t>(height), static_cast<std::uint32_t>(width * samples + padding)};
}

// A context and its calls.
class SharpFilter {
  public:
    explicit SharpFilter(_SSharpParam param) : rowBytes_(param.rowBytes) {
        EXPECT_EQ(0, SetupSharp(&param, &handle_));
        context_ = handle_;
    }
    ~SharpFilter() {
        DisposeSharpness(context_);
    }
    SharpFilter(const SharpFilter&) = delete;
    SharpFilter& operator=(const SharpFilter&) = delete;

    std::int32_t Put(Bytes line) {
        EXPECT_EQ(rowBytes_, line.size());
        return ApplySharpFilterPutLine(&handle_, line.data());
    }
    // Puts a line of rowBytes equal bytes.
    std::int32_t PutFlat(std::uint8_t value) {
        return Put(Bytes(rowBytes_, value));
    }
    // What Get leaves in a buffer of `fill`.
    Bytes Get(std::uint8_t fill = 0xA5) {
        Bytes line(rowBytes_, fill);
        EXPECT_EQ(0, ApplySharpFilterGetLine(&handle_, line.data()));
        EXPECT_EQ(context_, handle_);
        return line;
    }
    std::uint32_t Ready() const {
        return GetSharpDstLines(handle_);
    }
    void** Handle() {
        return &handle_;
    }
    platen::SharpContext& Words() const {
        return *static_cast<platen::SharpContext*>(context_);
    }

  private:
    std::size_t rowBytes_;
    void* handle_ = nullptr;
    void* context_ = nullptr;
};

// A whole image through Put and Get, with the count of waiting lines checked after each Put. Lines in memory are
// `padding` bytes longer than the image's.
inline SharpImage Streamed(std::int32_t level, const SharpImage& in, int padding,
                           const std::int32_t* kernel = nullptr) {
    SharpFilter filter(SharpSettings(level, in.samples, in.width, in.height, padding));
    if (kernel != nullptr) {
        std::copy(kernel, kernel + 10, filter.Words().kernel);
    }
    SharpImage out(in.width, in.height, in.samples);
    const std::ptrdiff_t lineBytes = std::ptrdiff_t{in.width} * in.samples;
    std::ptrdiff_t finished = 0;
    for (int y = 0; y < in.height; ++y) {
        Bytes line(static_cast<std::size_t>(lineBytes + padding), 0xEE);
        std::copy_n(in.bytes.begin() + y * lineBytes, lineBytes, line.begin());
        EXPECT_EQ(0, filter.Put(line));
        const std::uint32_t expected = y == 0 ? 0u : y + 1 == in.height ? 2u : 1u;
        EXPECT_EQ(expected, filter.Ready()) << "line " << y;
        while (filter.Ready() != 0 && finished < in.height) {
            const Bytes result = filter.Get();
            std::copy_n(result.begin(), lineBytes, out.bytes.begin() + finished * lineBytes);
            EXPECT_EQ(Bytes(static_cast<std::size_t>(padding), 0), Bytes(result.begin() + lineBytes, result.end()));
            ++finished;
        }
    }
    EXPECT_EQ(in.height == 1 ? 0 : in.height, finished);
    return out;
}

}  // namespace platen_test
