#pragma once

// Pixel formats, sizes, and the range over finished lines. Part of platen.hpp.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <span>

#include "platen-cpp/Status.hpp"

namespace platen {
inline namespace hpp1 {

// Bits of a pixel, as the library counts formats. Bilevel lines have 8 pixels a byte, the most significant bit
// first; 16-bit samples are native unsigned integers.
enum class PixelFormat : std::int32_t {
    bilevel = 1,
    gray8 = 8,
    gray16 = 16,
    rgb8 = 24,
    rgba8 = 32,
    rgb16 = 48,
    rgba16 = 64
};

struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

namespace detail {

// The same as bytesOfLine, where std::size_t has 32 bits too.
constexpr std::uint64_t wideBytesOfLine(PixelFormat format, std::int32_t width) noexcept {
    const std::uint64_t pixels = width > 0 ? static_cast<std::uint64_t>(width) : 0;
    return (pixels * static_cast<std::uint64_t>(format) + 7) / 8;
}

}  // namespace detail

// Bytes of a line of `width` pixels; 0 for a width below 1.
constexpr std::size_t bytesOfLine(PixelFormat format, std::int32_t width) noexcept {
    return static_cast<std::size_t>(detail::wideBytesOfLine(format, width));
}

constexpr bool hasWideSamples(PixelFormat format) noexcept {
    return format == PixelFormat::gray16 || format == PixelFormat::rgb16 || format == PixelFormat::rgba16;
}

namespace detail {

struct FreeBlock {
    void operator()(void* block) const noexcept {
        std::free(block);
    }
};

// A line of its own, for lines(); not initialised, null without memory.
using LineBuffer = std::unique_ptr<std::uint8_t[], FreeBlock>;

inline LineBuffer newLine(std::size_t bytes) noexcept {
    return LineBuffer(static_cast<std::uint8_t*>(std::malloc(bytes)));
}

inline constexpr double kLargest = std::numeric_limits<std::int32_t>::max();

constexpr Problem positive(const char* what, std::int32_t value) noexcept {
    return within(what, value, 1, kLargest);
}

}  // namespace detail

// The finished lines that wait in a Sharpener or a Scaler: an input range, to be walked once. Each line lies in the
// source's own buffer and is overwritten by the next.
template <class Source, class Sample>
class FinishedLines {
  public:
    class Iterator {
      public:
        using iterator_concept = std::input_iterator_tag;
        using value_type = std::span<const Sample>;
        using difference_type = std::ptrdiff_t;

        Iterator() noexcept = default;
        explicit Iterator(Source* source) noexcept : source_(source) {
            ++*this;
        }

        std::span<const Sample> operator*() const noexcept {
            return source_->template finished<Sample>();
        }
        Iterator& operator++() noexcept {
            if (source_->waiting() == 0 || source_->fetch() != Status::done) {
                source_ = nullptr;
            }
            return *this;
        }
        void operator++(int) noexcept {
            ++*this;
        }
        friend bool operator==(const Iterator& iterator, std::default_sentinel_t) noexcept {
            return iterator.source_ == nullptr;
        }

      private:
        Source* source_ = nullptr;
    };

    explicit FinishedLines(Source& source) noexcept : source_(&source) {}
    Iterator begin() const noexcept {
        return Iterator(source_);
    }
    std::default_sentinel_t end() const noexcept {
        return {};
    }

  private:
    Source* source_;
};

}  // namespace hpp1
}  // namespace platen
