#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Pixels in somebody's memory, reached through the buffer protocol: numpy arrays, bytearrays, memoryviews and
// whatever else exports one. Nothing is copied; any strides are taken, negative ones included.

namespace platen_python {

namespace py = pybind11;

// What an array must be for its use. Messages are made from it.
struct Wanted {
    const char* name;         // the argument's
    std::int64_t width;       // 0: any
    std::int64_t height;      // 0: any
    std::int64_t samples;     // samples of a pixel; 0: any
    std::int64_t sampleSize;  // bytes, 1 or 2; 0: either
    bool writable;
};

class Image {
  public:
    // A page: (height, width) or (height, width, samples).
    static Image Page(py::handle object, const Wanted& wanted);

    // One row or several, width, samples and sample size known:
    //   one      (width * samples,), or with several samples (width, samples)
    //   several  (rows, width), or (rows, width, samples)
    static Image Rows(py::handle object, const Wanted& wanted);

    // Pixels of known samples, in any number: (width,) or (height, width); with several samples (width, samples) or
    // (height, width, samples).
    static Image Pixels(py::handle object, const Wanted& wanted);

    Image(Image&&) = default;
    Image& operator=(Image&&) = delete;

    std::int64_t Height() const {
        return height_;
    }
    std::int64_t Width() const {
        return width_;
    }
    std::int64_t Samples() const {
        return samples_;
    }
    std::int64_t SampleSize() const {
        return sampleSize_;
    }
    std::size_t RowBytes() const {
        return static_cast<std::size_t>(width_ * samples_ * sampleSize_);
    }
    std::ptrdiff_t PixelStride() const {
        return pixelStride_;
    }
    std::ptrdiff_t SampleStride() const {
        return sampleStride_;
    }

    // Whether the samples of a row lie next to each other.
    bool PackedRows() const;
    // Whether the rows do too, so that the image is one long row.
    bool Packed() const;

    std::uint8_t* Row(std::int64_t y) const {
        return base_ + y * rowStride_;
    }
    // The row, packed: itself, or gathered into `room` (RowBytes()).
    const std::uint8_t* Take(std::int64_t y, std::uint8_t* room) const;
    // Where to write the row to, packed: itself, or `room`, which Put then scatters.
    std::uint8_t* Room(std::int64_t y, std::uint8_t* room) const {
        return PackedRows() ? Row(y) : room;
    }
    void Put(std::int64_t y, const std::uint8_t* room) const;

    // Refuses an `out` that hasn't the same height and width, or shares memory with this image other than by being
    // it.
    void CheckPartner(const Image& out) const;

    // Whether any byte could belong to both.
    bool Overlaps(const Image& other) const;
    // Whether both are the same pixels at the same places.
    bool SamePixels(const Image& other) const;

  private:
    struct Release {
        void operator()(Py_buffer* view) const {
            PyBuffer_Release(view);
            delete view;
        }
    };

    Image(py::handle object, const Wanted& wanted);
    void CheckSampleType(py::handle object, const Wanted& wanted);
    [[noreturn]] void WrongShape(const Wanted& wanted, const std::string& allowed) const;
    void SetAxes(int rowAxis, int pixelAxis, int sampleAxis);

    std::unique_ptr<Py_buffer, Release> view_;
    std::uint8_t* base_ = nullptr;
    std::int64_t height_ = 1;
    std::int64_t width_ = 1;
    std::int64_t samples_ = 1;
    std::int64_t sampleSize_ = 1;
    std::ptrdiff_t rowStride_ = 0;
    std::ptrdiff_t pixelStride_ = 0;
    std::ptrdiff_t sampleStride_ = 0;
};

// A new array of uint8 or uint16: (height, width), or (height, width, samples) where a pixel has several.
py::object NewArray(std::int64_t height, std::int64_t width, std::int64_t samples, std::int64_t sampleSize);

}  // namespace platen_python
