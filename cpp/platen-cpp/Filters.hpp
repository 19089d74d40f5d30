#pragma once

// The two line filters. Part of platen.hpp.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "platen-cpp/Lines.hpp"
#include "platen-cpp/Status.hpp"

namespace platen {
inline namespace hpp1 {

namespace detail {

struct DisposeHsvOf {
    void operator()(void* handle) const noexcept {
        Disposehsv(handle);
    }
};

struct DisposeSharpnessOf {
    void operator()(void* handle) const noexcept {
        DisposeSharpness(handle);
    }
};

}  // namespace detail

// What an HsvFilter does. At least one of the three changes is not 0.
struct Hsv {
    std::int32_t hue = 0;         // degrees, -180 to 180: red turns to green at 120, to blue at -120
    std::int32_t saturation = 0;  // percent, -100 (gray) to 100
    std::int32_t lightness = 0;   // percent, -100 (black) to 100 (white)
    std::int32_t width = 0;       // pixels of a line

    constexpr Problem problem() const noexcept {
        return detail::first({detail::within("Hsv: hue", hue, -180, 180),
                              detail::amount("Hsv: saturation", saturation),
                              detail::amount("Hsv: lightness", lightness), detail::positive("Hsv: width", width),
                              detail::rule("Hsv: hue, saturation and lightness are all 0; at least one must not be",
                                           hue != 0 || saturation != 0 || lightness != 0)});
    }
    friend bool operator==(const Hsv&, const Hsv&) = default;
};

// Changes saturation, hue and lightness of lines of three 8-bit samples a pixel, red first, in place.
//
// The library keeps one lightness table for the whole process, which every open() rebuilds: of two filters with
// different lightness, both use the table of the one that was opened last.
class HsvFilter {
  public:
    HsvFilter() noexcept = default;

    Status open(const Hsv& hsv) noexcept {
        close();
        if (hsv.problem()) {
            return Status::badArgument;
        }
        _SHsvParam param = {hsv.hue, hsv.saturation, hsv.lightness, 24, hsv.width, 1, 1};
        void* handle = nullptr;
        if (SetupHsv(&param, &handle) != 0) {
            return Status::outOfMemory;
        }
        context_.reset(handle);
        bytes_ = bytesOfLine(PixelFormat::rgb8, hsv.width);
        return Status::done;
    }
    void close() noexcept {
        context_.reset();
        bytes_ = 0;
    }

    // `line` has at least lineBytes() bytes; what follows them stays.
    Status tryApply(std::span<std::uint8_t> line) const noexcept {
        if (context_ == nullptr) {
            return Status::outOfOrder;
        }
        return line.size() >= bytes_ && ApplyOneLineHsv(context_.get(), line.data()) == 0 ? Status::done
                                                                                          : Status::badArgument;
    }

#if PLATEN_HPP_THROWS
    explicit HsvFilter(const Hsv& hsv) {
        detail::check(hsv.problem());
        detail::check(open(hsv), "HsvFilter");
    }

    void apply(std::span<std::uint8_t> line) const {
        detail::checkLine(tryApply(line), "HsvFilter::apply", line.size(), bytes_);
    }
#endif

    // 3 bytes a pixel; 0 while closed.
    std::size_t lineBytes() const noexcept {
        return bytes_;
    }
    void* handle() const noexcept {
        return context_.get();
    }

  private:
    std::unique_ptr<void, detail::DisposeHsvOf> context_;
    std::size_t bytes_ = 0;
};

// What a Sharpener does.
struct Sharpness {
    std::int32_t level = 1;  // -2 and -1 soften, 1, 2 and 3 sharpen
    Size size = {};          // of the image, at least 3 pixels wide; an image of one line never gives it back
    PixelFormat format = PixelFormat::rgb8;  // or gray8
    std::uint32_t rowBytes = 0;              // of a line, padding included; 0: what the pixels need

    constexpr Problem problem() const noexcept {
        const bool known = format == PixelFormat::rgb8 || format == PixelFormat::gray8;
        const std::uint64_t needed = detail::wideBytesOfLine(format, size.width);
        return detail::first({detail::within("Sharpness: level", level, -2, 3),
                              detail::rule("Sharpness: level is 0; allowed: -2, -1, 1, 2 and 3", level != 0),
                              detail::within("Sharpness: size.width", size.width, 3, detail::kLargest),
                              detail::positive("Sharpness: size.height", size.height),
                              detail::rule("Sharpness: format is neither rgb8 nor gray8", known),
                              detail::rule("Sharpness: rowBytes is less than the pixels need",
                                           rowBytes == 0 ? needed <= 0xFFFFFFFFu : needed <= rowBytes)});
    }
    friend bool operator==(const Sharpness&, const Sharpness&) = default;
};

// Softens or sharpens an image that passes line by line. One line is held back: nothing is finished after the first
// line, one line after each that follows, two after the last.
class Sharpener {
  public:
    Sharpener() noexcept = default;

    Status open(const Sharpness& sharpness) noexcept {
        close();
        if (sharpness.problem()) {
            return Status::badArgument;
        }
        const std::size_t bytes =
            sharpness.rowBytes != 0 ? sharpness.rowBytes : bytesOfLine(sharpness.format, sharpness.size.width);
        detail::LineBuffer buffer = detail::newLine(bytes);
        _SSharpParam param = {sharpness.level, static_cast<std::uint32_t>(sharpness.format),
                              static_cast<std::uint32_t>(sharpness.size.width),
                              static_cast<std::uint32_t>(sharpness.size.height), static_cast<std::uint32_t>(bytes)};
        void* handle = nullptr;
        if (buffer == nullptr || SetupSharp(&param, &handle) != 0) {
            return Status::outOfMemory;
        }
        context_.reset(handle);
        buffer_ = std::move(buffer);
        bytes_ = bytes;
        return Status::done;
    }
    void close() noexcept {
        context_.reset();
        buffer_.reset();
        bytes_ = 0;
    }

    // Takes the next line: at least lineBytes() bytes. outOfOrder while finished lines wait.
    Status trySend(std::span<const std::uint8_t> line) noexcept {
        if (context_ == nullptr || waiting() != 0) {
            return Status::outOfOrder;
        }
        void* handle = context_.get();
        return line.size() >= bytes_ &&
                       ApplySharpFilterPutLine(&handle, const_cast<std::uint8_t*>(line.data())) == 0
                   ? Status::done
                   : Status::badArgument;
    }

    // Gives the next finished line: room for at least lineBytes() bytes. outOfOrder where none waits.
    Status tryRead(std::span<std::uint8_t> line) noexcept {
        if (waiting() == 0) {
            return Status::outOfOrder;
        }
        void* handle = context_.get();
        return line.size() >= bytes_ && ApplySharpFilterGetLine(&handle, line.data()) == 0 ? Status::done
                                                                                           : Status::badArgument;
    }

    // Finished lines that wait: 0, 1 or 2.
    std::uint32_t waiting() const noexcept {
        return GetSharpDstLines(context_.get());
    }

    // Those lines, one after the other.
    FinishedLines<Sharpener, std::uint8_t> lines() noexcept {
        return FinishedLines<Sharpener, std::uint8_t>(*this);
    }

#if PLATEN_HPP_THROWS
    explicit Sharpener(const Sharpness& sharpness) {
        detail::check(sharpness.problem());
        detail::check(open(sharpness), "Sharpener");
    }

    // Takes the next line and gives those that it finished.
    [[nodiscard]] FinishedLines<Sharpener, std::uint8_t> push(std::span<const std::uint8_t> line) {
        detail::checkLine(trySend(line), "Sharpener::push", line.size(), bytes_);
        return lines();
    }
    void read(std::span<std::uint8_t> line) {
        detail::checkLine(tryRead(line), "Sharpener::read", line.size(), bytes_);
    }
#endif

    // Bytes of a line, in and out; 0 while closed.
    std::size_t lineBytes() const noexcept {
        return bytes_;
    }
    void* handle() const noexcept {
        return context_.get();
    }

  private:
    template <class, class>
    friend class FinishedLines;

    Status fetch() noexcept {
        return tryRead({buffer_.get(), bytes_});
    }
    template <class Sample>
    std::span<const Sample> finished() const noexcept {
        return {buffer_.get(), bytes_};
    }

    std::unique_ptr<void, detail::DisposeSharpnessOf> context_;
    detail::LineBuffer buffer_;
    std::size_t bytes_ = 0;
};

}  // namespace hpp1
}  // namespace platen
