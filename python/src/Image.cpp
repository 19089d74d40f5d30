#include "python/src/Image.h"

#include <pybind11/numpy.h>

#include <bit>
#include <cstring>
#include <utility>

#include "python/src/Arguments.h"

namespace platen_python {

namespace {

// The sample's size in bytes for a format of the struct module, 0 where it isn't one of ours.
std::int64_t SizeOfFormat(const char* format) {
    std::string text = format == nullptr ? "B" : format;
    constexpr char kForeign = std::endian::native == std::endian::little ? '>' : '<';
    if (text.size() == 2 && text[0] != kForeign && text[0] != '!' && std::strchr("@=<>", text[0]) != nullptr) {
        text.erase(0, 1);
    }
    return text == "B" || text == "?" ? 1 : text == "H" ? 2 : 0;
}

std::string TypeText(py::handle object, const Py_buffer& view) {
    if (py::hasattr(object, "dtype")) {
        return "dtype " + std::string(py::str(object.attr("dtype")));
    }
    return std::string("buffer format '") + (view.format == nullptr ? "B" : view.format) + "'";
}

std::string ShapeText(const Py_buffer& view) {
    std::string text = "(";
    for (int i = 0; i < view.ndim; ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(view.shape[i]);
    }
    return text + (view.ndim == 1 ? ",)" : ")");
}

std::pair<const std::uint8_t*, const std::uint8_t*> Bounds(const Py_buffer& view) {
    const auto* low = static_cast<const std::uint8_t*>(view.buf);
    const auto* high = low + view.itemsize;
    for (int i = 0; i < view.ndim; ++i) {
        const std::ptrdiff_t reach = view.strides[i] * (view.shape[i] - 1);
        (reach < 0 ? low : high) += reach;
    }
    return {low, high};
}

}  // namespace

Image::Image(py::handle object, const Wanted& wanted) {
    if (PyObject_CheckBuffer(object.ptr()) == 0) {
        throw py::type_error(std::string(wanted.name) +
                             ": must be an array or another buffer of uint8 or uint16, not " +
                             std::string(py::str(py::type::of(object).attr("__name__"))));
    }
    auto view = std::make_unique<Py_buffer>();
    if (PyObject_GetBuffer(object.ptr(), view.get(), PyBUF_RECORDS_RO) != 0) {
        throw py::error_already_set();
    }
    view_.reset(view.release());
    CheckSampleType(object, wanted);
    if (wanted.writable && view_->readonly != 0) {
        throw py::value_error(std::string(wanted.name) +
                              ": is read-only; an array that receives a result must be writable (a copy is: "
                              "array.copy())");
    }
    for (int i = 0; i < view_->ndim; ++i) {
        if (view_->shape[i] == 0) {
            throw py::value_error(std::string(wanted.name) + ": has no pixels; its shape is " + ShapeText(*view_));
        }
    }
    base_ = static_cast<std::uint8_t*>(view_->buf);
}

void Image::CheckSampleType(py::handle object, const Wanted& wanted) {
    sampleSize_ = SizeOfFormat(view_->format);
    if (sampleSize_ == 0 || sampleSize_ != view_->itemsize ||
        (wanted.sampleSize != 0 && wanted.sampleSize != sampleSize_)) {
        const char* allowed = wanted.sampleSize == 1   ? "uint8"
                              : wanted.sampleSize == 2 ? "uint16 in the machine's byte order"
                                                       : "uint8, and uint16 in the machine's byte order";
        throw py::type_error(std::string(wanted.name) + ": has " + TypeText(object, *view_) + "; allowed is " +
                             allowed);
    }
}

void Image::WrongShape(const Wanted& wanted, const std::string& allowed) const {
    throw py::value_error(std::string(wanted.name) + ": has the shape " + ShapeText(*view_) + "; allowed is " +
                          allowed);
}

void Image::SetAxes(int rowAxis, int pixelAxis, int sampleAxis) {
    const auto set = [&](int axis, std::int64_t& count, std::ptrdiff_t& stride) {
        if (axis >= 0) {
            count = view_->shape[axis];
            stride = view_->strides[axis];
        }
    };
    set(rowAxis, height_, rowStride_);
    set(pixelAxis, width_, pixelStride_);
    set(sampleAxis, samples_, sampleStride_);
    if (sampleAxis < 0) {
        sampleStride_ = sampleSize_;
    }
}

Image Image::Page(py::handle object, const Wanted& wanted) {
    Image image(object, wanted);
    const int axes = image.view_->ndim;
    const auto side = [](std::int64_t count, const char* name) {
        return count == 0 ? std::string(name) : std::to_string(count);
    };
    std::string allowed = side(wanted.height, "height") + ", " + side(wanted.width, "width");
    allowed = wanted.samples == 1   ? "(" + allowed + ")"
              : wanted.samples != 0 ? "(" + allowed + ", " + std::to_string(wanted.samples) + ")"
                                    : "(" + allowed + ") or (" + allowed + ", samples)";
    const auto fits = [](std::int64_t asked, std::int64_t got) { return asked == 0 || asked == got; };
    if (axes != 2 && axes != 3) {
        image.WrongShape(wanted, allowed);
    }
    image.SetAxes(0, 1, axes == 3 ? 2 : -1);
    if (!fits(wanted.samples, image.samples_) || !fits(wanted.width, image.width_) ||
        !fits(wanted.height, image.height_)) {
        image.WrongShape(wanted, allowed);
    }
    if (image.width_ > INT32_MAX / (image.samples_ * image.sampleSize_) || image.height_ > INT32_MAX) {
        throw py::value_error(std::string(wanted.name) + ": has the shape " + ShapeText(*image.view_) +
                              "; allowed: 2147483647 rows of at most 2147483647 bytes");
    }
    return image;
}

Image Image::Rows(py::handle object, const Wanted& wanted) {
    Image image(object, wanted);
    const Py_buffer& view = *image.view_;
    const std::int64_t flat = wanted.width * wanted.samples;
    const bool several = wanted.samples > 1;
    const auto is = [&](int axis, std::int64_t count) { return view.shape[axis] == count; };
    if (view.ndim == 1 && is(0, flat)) {
        image.SetAxes(-1, 0, -1);
        image.width_ = wanted.width;
        image.samples_ = wanted.samples;
        image.sampleStride_ = view.strides[0];
        image.pixelStride_ = view.strides[0] * wanted.samples;
    } else if (several && view.ndim == 2 && is(0, wanted.width) && is(1, wanted.samples)) {
        image.SetAxes(-1, 0, 1);
    } else if (!several && view.ndim == 2 && is(1, wanted.width)) {
        image.SetAxes(0, 1, -1);
    } else if (view.ndim == 3 && is(1, wanted.width) && is(2, wanted.samples)) {
        image.SetAxes(0, 1, 2);
    } else {
        const std::string width = std::to_string(wanted.width);
        const std::string pixel = several ? width + ", " + std::to_string(wanted.samples) : width;
        image.WrongShape(wanted, several ? "(" + pixel + ") or (" + std::to_string(flat) +
                                               ",) for one row, (rows, " + pixel + ") for several"
                                         : "(" + width + ",) for one row, (rows, " + width + ") for several");
    }
    return image;
}

Image Image::Pixels(py::handle object, const Wanted& wanted) {
    Image image(object, wanted);
    const int most = wanted.samples > 1 ? 3 : 2;
    const int axes = image.view_->ndim;
    if (axes != most && axes != most - 1) {
        const std::string samples = ", " + std::to_string(wanted.samples) + ")";
        image.WrongShape(wanted, wanted.samples > 1 ? "(width" + samples + " or (height, width" + samples
                                                    : "(width,) or (height, width)");
    }
    image.SetAxes(axes == most ? 0 : -1, axes == most ? 1 : 0, wanted.samples > 1 ? axes - 1 : -1);
    if (image.samples_ != wanted.samples) {
        image.WrongShape(wanted, "(..., width, " + std::to_string(wanted.samples) +
                                     "); of an image with alpha, give " +
                                     "image[..., :" + std::to_string(wanted.samples) + "]");
    }
    if (image.width_ > INT32_MAX / (image.samples_ * image.sampleSize_)) {
        image.WrongShape(wanted, "rows of at most 2147483647 bytes");
    }
    return image;
}

void Image::CheckPartner(const Image& out) const {
    if (out.height_ != height_ || out.width_ != width_ || out.samples_ != samples_) {
        throw py::value_error("out: has the shape " + ShapeText(*out.view_) + "; allowed is the image's, " +
                              ShapeText(*view_));
    }
    if (Overlaps(out) && !SamePixels(out)) {
        throw py::value_error("out: shares memory with the image; allowed: the image itself and memory of its own");
    }
}

bool Image::PackedRows() const {
    return (samples_ == 1 || sampleStride_ == sampleSize_) &&
           (width_ == 1 || pixelStride_ == samples_ * sampleSize_);
}

bool Image::Packed() const {
    return PackedRows() && (height_ == 1 || rowStride_ == static_cast<std::ptrdiff_t>(RowBytes()));
}

const std::uint8_t* Image::Take(std::int64_t y, std::uint8_t* room) const {
    if (PackedRows()) {
        return Row(y);
    }
    std::uint8_t* to = room;
    for (std::int64_t x = 0; x < width_; ++x) {
        const std::uint8_t* from = Row(y) + x * pixelStride_;
        for (std::int64_t s = 0; s < samples_; ++s, from += sampleStride_) {
            for (std::int64_t b = 0; b < sampleSize_; ++b) {
                *to++ = from[b];
            }
        }
    }
    return room;
}

void Image::Put(std::int64_t y, const std::uint8_t* room) const {
    if (PackedRows()) {
        return;  // it was written where it belongs
    }
    for (std::int64_t x = 0; x < width_; ++x) {
        std::uint8_t* to = Row(y) + x * pixelStride_;
        for (std::int64_t s = 0; s < samples_; ++s, to += sampleStride_) {
            for (std::int64_t b = 0; b < sampleSize_; ++b) {
                to[b] = *room++;
            }
        }
    }
}

bool Image::Overlaps(const Image& other) const {
    const auto [low, high] = Bounds(*view_);
    const auto [otherLow, otherHigh] = Bounds(*other.view_);
    return low < otherHigh && otherLow < high;
}

bool Image::SamePixels(const Image& other) const {
    return base_ == other.base_ && rowStride_ == other.rowStride_ && pixelStride_ == other.pixelStride_ &&
           sampleStride_ == other.sampleStride_;
}

py::object NewArray(std::int64_t height, std::int64_t width, std::int64_t samples, std::int64_t sampleSize) {
    std::vector<py::ssize_t> shape = {height, width};
    if (samples > 1) {
        shape.push_back(samples);
    }
    if (sampleSize == 2) {
        return py::array_t<std::uint16_t>(shape);
    }
    return py::array_t<std::uint8_t>(shape);
}

}  // namespace platen_python
