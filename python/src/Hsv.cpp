#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#include "LineFilters/Hsv.h"
#include "python/src/Arguments.h"
#include "python/src/Image.h"
#include "python/src/LightnessGate.h"
#include "python/src/Module.h"

namespace platen_python {

namespace {

LightnessGate& Gate() {
    static auto* gate = new LightnessGate;  // threads may still be inside when the process ends
    return *gate;
}

constexpr std::int64_t kPiece = 1 << 15;  // pixels of a turn, about: some tenths of a millisecond

// The filter without a width: each call brings its own. The library's context is a copy of the settings and nothing
// else, and every line works from it as it then is, so a call makes one for its width.
class HsvFilter {
  public:
    HsvFilter(const py::object& saturation, const py::object& hue, const py::object& lightness) {
        param_.saturation = static_cast<std::int32_t>(Whole(saturation, "saturation", -100, 100));
        param_.hue = static_cast<std::int32_t>(Whole(hue, "hue", -180, 180));
        param_.lightness = static_cast<std::int32_t>(Whole(lightness, "lightness", -100, 100));
        param_.bitsPerPixel = 24;
        param_.width = 1;
        param_.height = 1;
        param_.rowBytes = 3;
        if (param_.saturation == 0 && param_.hue == 0 && param_.lightness == 0) {
            throw py::value_error("HsvFilter: saturation, hue and lightness are all 0; at least one must differ");
        }
        const py::gil_scoped_release release;
        if (Gate().Make(param_, table_) != 0) {
            throw std::bad_alloc();  // the settings are within their ranges
        }
    }

    py::object Apply(const py::object& given, const py::object& given_out) const {
        const Image image = Image::Pixels(given, {"image", 0, 0, 3, 1, false});
        py::object result = given_out;
        if (given_out.is_none()) {
            const auto numpy = py::module_::import("numpy");
            result = numpy.attr("empty_like")(numpy.attr("asarray")(given));
        }
        const Image out = Image::Pixels(result, {"out", 0, 0, 3, 1, true});
        image.CheckPartner(out);
        {
            const py::gil_scoped_release release;
            if (image.Packed() && out.Packed()) {
                ApplyRun(image.Row(0), out.Row(0), image.Height() * image.Width());
            } else {
                ApplyRows(image, out);
            }
        }
        return result;
    }

    std::int32_t Saturation() const {
        return param_.saturation;
    }
    std::int32_t Hue() const {
        return param_.hue;
    }
    std::int32_t Lightness() const {
        return param_.lightness;
    }

  private:
    // Pixels side by side, however many rows they make.
    void ApplyRun(const std::uint8_t* in, std::uint8_t* out, std::int64_t pixels) const {
        while (pixels > 0) {
            const std::int64_t now = std::min(pixels, kPiece);
            if (out != in) {
                std::memcpy(out, in, static_cast<std::size_t>(3 * now));
            }
            const LightnessGate::Pass pass(Gate(), table_);
            Line(out, now);
            in += 3 * now;
            out += 3 * now;
            pixels -= now;
        }
    }

    void ApplyRows(const Image& image, const Image& out) const {
        std::vector<std::uint8_t> room(image.RowBytes());
        const std::int64_t rows = std::max<std::int64_t>(1, kPiece / image.Width());
        for (std::int64_t y = 0; y < image.Height(); y += rows) {
            const LightnessGate::Pass pass(Gate(), table_);
            for (std::int64_t i = y; i < std::min(y + rows, image.Height()); ++i) {
                std::uint8_t* to = out.Room(i, room.data());
                const std::uint8_t* from = image.Take(i, room.data());
                if (to != from) {
                    std::memcpy(to, from, image.RowBytes());
                }
                Line(to, image.Width());
                out.Put(i, to);
            }
        }
    }

    void Line(std::uint8_t* line, std::int64_t pixels) const {
        _SHsvParam context = param_;
        context.width = static_cast<std::int32_t>(pixels);
        context.rowBytes = static_cast<std::uint32_t>(3 * pixels);
        if (ApplyOneLineHsv(&context, line) != 0) {
            throw std::logic_error("the HSV filter refused a line");
        }
    }

    _SHsvParam param_{};
    LightnessTable table_{};
};

}  // namespace

void AddHsv(py::module_& module) {
    py::class_<HsvFilter>(module, "HsvFilter", R"(HsvFilter(saturation=0, hue=0, lightness=0)

Saturation, hue and lightness of RGB pixels, 8 bits a sample.

saturation  -100 (grey) to 100, percent of the pixel's own
hue         -180 to 180, degrees; red turns to green at 120
lightness   -100 (black) to 100 (white), percent
At least one is not 0, else ValueError.

A filter never changes, and may be used by several threads at a time. The library keeps one lightness table for the
process: filters with different lightness take turns of a fraction of a millisecond, so that each result is right
whatever other filters do; those with the same lightness run in parallel.)")
        .def(py::init<py::object, py::object, py::object>(), py::arg("saturation") = 0, py::arg("hue") = 0,
             py::arg("lightness") = 0)
        .def("apply", &HsvFilter::Apply, py::arg("image"), py::arg("out") = py::none(),
             R"(Filters pixels and returns the result.

image  uint8, shape (width, 3) or (height, width, 3), any strides; of an image with alpha give image[..., :3]
out    receives the result, same shape, writable; the image itself is allowed: it is then changed in place.
       None: a new array

TypeError for another type of sample, ValueError for another shape, a read-only `out`, or one that overlaps the
image.)")
        .def_property_readonly("saturation", &HsvFilter::Saturation, "percent, as given")
        .def_property_readonly("hue", &HsvFilter::Hue, "degrees, as given")
        .def_property_readonly("lightness", &HsvFilter::Lightness, "percent, as given")
        .def("__repr__", [](const HsvFilter& f) {
            return "HsvFilter(saturation=" + std::to_string(f.Saturation()) + ", hue=" + std::to_string(f.Hue()) +
                   ", lightness=" + std::to_string(f.Lightness()) + ")";
        });
}

}  // namespace platen_python
