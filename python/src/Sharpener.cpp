#include <pybind11/pybind11.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <vector>

#include "LineFilters/Sharpness.h"
#include "python/src/Arguments.h"
#include "python/src/Busy.h"
#include "python/src/Image.h"
#include "python/src/Module.h"

namespace platen_python {

namespace {

class Sharpener {
  public:
    Sharpener(const py::object& level, const py::object& size, const py::object& bits)
        : level_(static_cast<std::int32_t>(Whole(level, "level", -2, 3))),
          size_(SizePair(size, "size")),
          bits_(static_cast<std::uint32_t>(Whole(bits, "bits", 8, 24))) {
        if (level_ == 0) {
            throw py::value_error("level: 0 does nothing; allowed: -2, -1, 1, 2 and 3");
        }
        if (bits_ != 8 && bits_ != 24) {
            throw py::value_error("bits: " + std::to_string(bits_) + "; allowed: 8 and 24");
        }
        if (size_.width < 3 || size_.height < 2 || size_.width > INT32_MAX / Samples()) {
            throw py::value_error("size: " + Text(size_) + "; allowed: at least (3, 2), and rows of at most " +
                                  "2147483647 bytes");
        }
        Open();
    }
    ~Sharpener() {
        DisposeSharpness(handle_);
    }
    Sharpener(const Sharpener&) = delete;
    Sharpener& operator=(const Sharpener&) = delete;

    void Reset() {
        const Busy::Use use(busy_, "reset");
        Open();
    }

    py::object Push(const py::object& given) {
        const Busy::Use use(busy_, "push");
        const Image rows = Image::Rows(given, {"rows", size_.width, 0, Samples(), 1, false});
        const std::int64_t left = size_.height - rowsIn_;
        if (rows.Height() > left) {
            throw py::value_error("rows: " + std::to_string(rows.Height()) + " given, but of the page's " +
                                  std::to_string(size_.height) + " rows " + std::to_string(left) +
                                  " are still to come (reset() begins a new page)");
        }
        // Nothing comes with the first row, and two rows with the last.
        const std::int64_t ready = rows.Height() - (rowsIn_ == 0) + (rows.Height() == left);
        py::object result = NewArray(ready, size_.width, Samples(), 1);
        if (ready == 0) {
            Put(rows, 0);
        } else {
            const Image out = Image::Page(result, {"out", size_.width, ready, Samples(), 1, true});
            const py::gil_scoped_release release;
            Run(rows, out);
        }
        return result;
    }

    py::object Apply(const py::object& given, const py::object& given_out) {
        const Busy::Use use(busy_, "apply");
        if (rowsIn_ != 0 && rowsIn_ != size_.height) {
            throw py::value_error("apply: a page is in progress, " + std::to_string(rowsIn_) + " of " +
                                  std::to_string(size_.height) + " rows; push the rest, or reset()");
        }
        const Image image = Image::Page(given, {"image", size_.width, size_.height, Samples(), 1, false});
        const py::object result =
            given_out.is_none() ? NewArray(size_.height, size_.width, Samples(), 1) : given_out;
        const Image out = Image::Page(result, {"out", size_.width, size_.height, Samples(), 1, true});
        if (image.Overlaps(out)) {
            throw py::value_error("out: shares memory with the image; it must have its own");
        }
        if (rowsIn_ != 0) {
            Open();
        }
        {
            const py::gil_scoped_release release;
            Run(image, out);
        }
        return result;
    }

    std::int32_t Level() const {
        return level_;
    }
    py::tuple PageSize() const {
        return py::make_tuple(size_.width, size_.height);
    }
    std::uint32_t Bits() const {
        return bits_;
    }
    std::int64_t RowsIn() const {
        return rowsIn_;
    }

  private:
    std::int32_t Samples() const {
        return static_cast<std::int32_t>(bits_ / 8);
    }

    void Open() {
        _SSharpParam param{};
        param.level = level_;
        param.bitsPerPixel = bits_;
        param.width = static_cast<std::uint32_t>(size_.width);
        param.height = static_cast<std::uint32_t>(size_.height);
        param.rowBytes = static_cast<std::uint32_t>(size_.width * Samples());
        void* handle = nullptr;
        if (SetupSharp(&param, &handle) != 0) {
            throw std::bad_alloc();  // the settings are within their ranges
        }
        DisposeSharpness(handle_);
        handle_ = handle;
        rowsIn_ = 0;
        room_.resize(param.rowBytes);
    }

    void Put(const Image& rows, std::int64_t y) {
        // The library only reads the line; its signature is older than const.
        auto* line = const_cast<std::uint8_t*>(rows.Take(y, room_.data()));
        if (ApplySharpFilterPutLine(&handle_, line) != 0) {
            throw std::logic_error("the sharpness filter refused a line");
        }
        ++rowsIn_;
    }

    void Run(const Image& rows, const Image& out) {
        std::int64_t given = 0;
        for (std::int64_t y = 0; y < rows.Height(); ++y) {
            Put(rows, y);
            while (GetSharpDstLines(handle_) != 0) {
                std::uint8_t* line = out.Room(given, room_.data());
                if (given == out.Height() || ApplySharpFilterGetLine(&handle_, line) != 0) {
                    throw std::logic_error("the sharpness filter gave a line too many");
                }
                out.Put(given, line);
                ++given;
            }
        }
    }

    const std::int32_t level_;
    const Size size_;
    const std::uint32_t bits_;
    std::int64_t rowsIn_ = 0;
    void* handle_ = nullptr;
    std::vector<std::uint8_t> room_;
    Busy busy_;
};

}  // namespace

void AddSharpener(py::module_& module) {
    py::class_<Sharpener>(module, "Sharpener", R"(Sharpener(level, size, bits=24)

Softens or sharpens a page of 8-bit samples row by row; one row is held back.

level  -2 and -1 soften, 1, 2 and 3 sharpen
size   (width, height) of the page in pixels, at least (3, 2)
bits   8: grey, 24: RGB

ValueError for a value out of its range. One thread at a time; a second one gets a RuntimeError.)")
        .def(py::init<py::object, py::object, py::object>(), py::arg("level"), py::arg("size"),
             py::arg("bits") = 24)
        .def("push", &Sharpener::Push, py::arg("rows"),
             R"(Takes the page's next row or rows and returns those that are finished.

rows     uint8; one row (width,) or (width, 3), or several (rows, width) or (rows, width, 3); any strides
returns  (finished, width) or (finished, width, 3): none with the page's first row, two with its last one

ValueError where more rows come than the page has.)")
        .def("apply", &Sharpener::Apply, py::arg("image"), py::arg("out") = py::none(),
             R"(Filters a whole page and returns it.

image  uint8, (height, width) for 8 bits, (height, width, 3) for 24; any strides
out    receives the result: same shape, writable, other memory than the image's. None: a new array)")
        .def("reset", &Sharpener::Reset, "Forgets the rows so far; the next one begins a page.")
        .def_property_readonly("level", &Sharpener::Level, "the level, as given")
        .def_property_readonly("size", &Sharpener::PageSize, "(width, height) of the page in pixels")
        .def_property_readonly("bits", &Sharpener::Bits, "bits of a pixel: 8 or 24")
        .def_property_readonly("rows_in", &Sharpener::RowsIn, "rows of the page that have been taken");
}

}  // namespace platen_python
