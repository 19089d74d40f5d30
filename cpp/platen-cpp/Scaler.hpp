#pragma once

// The scaler. Part of platen.hpp.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "Sources/PX_Zoom/PX_Zoom.h"
#include "platen-cpp/Lines.hpp"
#include "platen-cpp/Status.hpp"

namespace platen {
inline namespace hpp1 {

namespace detail {

struct DestroyZoom {
    void operator()(PX_Zoom* zoom) const noexcept {
        zoom->~PX_Zoom();
        ::operator delete(static_cast<void*>(zoom));  // where it came from, not where the library's own come from
    }
};

}  // namespace detail

// What a Scaler does: any size to any size.
struct Scaling {
    Size from = {};
    Size to = {};
    PixelFormat format = PixelFormat::rgb8;

    constexpr Problem problem() const noexcept {
        const bool known = format == PixelFormat::bilevel || format == PixelFormat::gray8 ||
                           format == PixelFormat::rgb8 || format == PixelFormat::rgba8 || hasWideSamples(format);
        return detail::first({detail::positive("Scaling: from.width", from.width),
                              detail::positive("Scaling: from.height", from.height),
                              detail::positive("Scaling: to.width", to.width),
                              detail::positive("Scaling: to.height", to.height),
                              detail::rule("Scaling: format is none of the seven", known)});
    }
    friend bool operator==(const Scaling&, const Scaling&) = default;
};

// Scales an image that passes line by line: enlarges by linear interpolation, reduces by weighted averages, each
// axis on its own. A line sent finishes none, one or several; read them before the next one is sent.
//
// Lines are bytes whatever the format; for formats with 16-bit samples they may be given as such, too.
class Scaler {
  public:
    template <class Sample>
    using Lines = FinishedLines<Scaler, Sample>;

    Scaler() noexcept = default;

    Status open(const Scaling& scaling) noexcept {
        close();
        if (scaling.problem()) {
            return Status::badArgument;
        }
        std::unique_ptr<PX_Zoom, detail::DestroyZoom> zoom(new (std::nothrow) PX_Zoom);
        const std::size_t bytes = bytesOfLine(scaling.format, scaling.to.width);
        detail::LineBuffer buffer = detail::newLine(bytes);
        // With arguments that are in range, what the library answers but 0 is about memory.
        if (zoom == nullptr || buffer == nullptr ||
            zoom->Open(scaling.to.width, scaling.to.height, scaling.from.width, scaling.from.height,
                       static_cast<int>(scaling.format), kBilinear) != 0) {
            return Status::outOfMemory;
        }
        zoom_ = std::move(zoom);
        buffer_ = std::move(buffer);
        sourceBytes_ = bytesOfLine(scaling.format, scaling.from.width);
        bytes_ = bytes;
        wide_ = hasWideSamples(scaling.format);
        return Status::done;
    }
    void close() noexcept {
        zoom_.reset();
        buffer_.reset();
        sourceBytes_ = 0;
        bytes_ = 0;
        wide_ = false;
    }

    // Takes the next source line: at least sourceLineBytes() bytes. outOfOrder while finished lines wait, and once
    // all have been read.
    Status trySend(std::span<const std::uint8_t> line) noexcept {
        if (line.size() < sourceBytes_) {
            return Status::badArgument;
        }
        return zoom_ != nullptr && zoom_->Send(const_cast<std::uint8_t*>(line.data())) == 0 ? Status::done
                                                                                            : Status::outOfOrder;
    }
    Status trySend(std::span<const std::uint16_t> line) noexcept {
        return wide_ || zoom_ == nullptr ? trySend(bytesOf<const std::uint8_t>(line)) : Status::badArgument;
    }

    // Gives the next finished line: room for at least lineBytes() bytes. outOfOrder where none waits.
    Status tryRead(std::span<std::uint8_t> line) noexcept {
        if (line.size() < bytes_) {
            return Status::badArgument;
        }
        return zoom_ != nullptr && zoom_->Read(line.data()) == 0 ? Status::done : Status::outOfOrder;
    }
    Status tryRead(std::span<std::uint16_t> line) noexcept {
        return wide_ || zoom_ == nullptr ? tryRead(bytesOf<std::uint8_t>(line)) : Status::badArgument;
    }

    // Finished lines that wait.
    int waiting() const noexcept {
        return zoom_ != nullptr ? zoom_->CheckData() : 0;
    }

    // Those lines, one after the other, as bytes or as 16-bit samples.
    template <class Sample = std::uint8_t>
    requires(std::same_as<Sample, std::uint8_t> || std::same_as<Sample, std::uint16_t>) Lines<Sample> lines()
    noexcept {
        return Lines<Sample>(*this);
    }

#if PLATEN_HPP_THROWS
    explicit Scaler(const Scaling& scaling) {
        detail::check(scaling.problem());
        detail::check(open(scaling), "Scaler");
    }

    // Takes the next source line and gives those that it finished, none perhaps.
    [[nodiscard]] Lines<std::uint8_t> push(std::span<const std::uint8_t> line) {
        detail::checkLine(trySend(line), "Scaler::push", line.size(), sourceBytes_);
        return lines();
    }
    [[nodiscard]] Lines<std::uint16_t> push(std::span<const std::uint16_t> line) {
        detail::checkLine(trySend(line), "Scaler::push", line.size_bytes(), sourceBytes_);
        return lines<std::uint16_t>();
    }
    void read(std::span<std::uint8_t> line) {
        detail::checkLine(tryRead(line), "Scaler::read", line.size(), bytes_);
    }
    void read(std::span<std::uint16_t> line) {
        detail::checkLine(tryRead(line), "Scaler::read", line.size_bytes(), bytes_);
    }
#endif

    // Bytes of a line, in and out; 0 while closed.
    std::size_t sourceLineBytes() const noexcept {
        return sourceBytes_;
    }
    std::size_t lineBytes() const noexcept {
        return bytes_;
    }
    PX_Zoom* handle() const noexcept {
        return zoom_.get();
    }

  private:
    template <class, class>
    friend class FinishedLines;

    static constexpr int kBilinear = 2;

    template <class Byte, class Sample>
    static std::span<Byte> bytesOf(std::span<Sample> line) noexcept {
        return {reinterpret_cast<Byte*>(line.data()), line.size_bytes()};
    }

    Status fetch() noexcept {
        return tryRead(std::span<std::uint8_t>(buffer_.get(), bytes_));
    }
    template <class Sample>
    std::span<const Sample> finished() const noexcept {
        return {reinterpret_cast<const Sample*>(buffer_.get()), bytes_ / sizeof(Sample)};
    }

    std::unique_ptr<PX_Zoom, detail::DestroyZoom> zoom_;
    detail::LineBuffer buffer_;
    std::size_t sourceBytes_ = 0;
    std::size_t bytes_ = 0;
    bool wide_ = false;
};

}  // namespace hpp1
}  // namespace platen
