#include <pybind11/pybind11.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <vector>

#include "Sources/PX_Zoom/PX_Zoom.h"
#include "python/src/Arguments.h"
#include "python/src/Busy.h"
#include "python/src/Image.h"
#include "python/src/Module.h"

namespace platen_python {

namespace {

// A pixel format as an array's row: bilevel rows are bytes of eight pixels.
struct Format {
    std::int32_t bits;
    std::int64_t samples;
    std::int64_t sampleSize;

    std::int64_t RowWidth(std::int32_t width) const {
        return bits == 1 ? (std::int64_t{width} + 7) / 8 : width;
    }
};

Format FormatOf(const py::object& bits) {
    static constexpr Format kFormats[] = {{1, 1, 1},  {8, 1, 1},  {16, 1, 2}, {24, 3, 1},
                                          {32, 4, 1}, {48, 3, 2}, {64, 4, 2}};
    const std::int64_t wanted = Whole(bits, "bits", 1, 64);
    for (const Format& format : kFormats) {
        if (format.bits == wanted) {
            return format;
        }
    }
    throw py::value_error("bits: " + std::to_string(wanted) + "; allowed: 1, 8, 16, 24, 32, 48 and 64");
}

class Scaler {
  public:
    Scaler(const py::object& source_size, const py::object& size, const py::object& bits)
        : source_(SizePair(source_size, "source_size")), size_(SizePair(size, "size")), format_(FormatOf(bits)) {
        const std::int64_t most = INT32_MAX / (format_.samples * format_.sampleSize);
        if (source_.width > most || size_.width > most) {
            throw py::value_error("a row of " + std::to_string(std::max(source_.width, size_.width)) +
                                  " pixels has more than 2147483647 bytes, the most that are allowed");
        }
        Open();
    }

    void Reset() {
        const Busy::Use use(busy_, "reset");
        Open();
    }

    py::object Push(const py::object& given) {
        const Busy::Use use(busy_, "push");
        const Image rows = Image::Rows(
            given, {"rows", format_.RowWidth(source_.width), 0, format_.samples, format_.sampleSize, false});
        const std::int64_t left = source_.height - rowsIn_;
        if (rows.Height() > left) {
            throw py::value_error("rows: " + std::to_string(rows.Height()) + " given, but of the page's " +
                                  std::to_string(source_.height) + " rows " + std::to_string(left) +
                                  " are still to come (reset() begins a new page)");
        }
        const std::int64_t most = MostRowsFrom(rows.Height());
        py::object result = NewArray(most, format_.RowWidth(size_.width), format_.samples, format_.sampleSize);
        std::int64_t made = 0;
        if (most != 0) {
            const Image out = OutPage(result, most);
            const py::gil_scoped_release release;
            made = Run(rows, out);
        } else {
            rowsIn_ += rows.Height();  // the last destination row has been read; nothing looks at these
        }
        return made == most ? result : py::object(result[py::slice(0, made, 1)]);
    }

    py::object Apply(const py::object& given, const py::object& given_out) {
        const Busy::Use use(busy_, "apply");
        if (rowsIn_ != 0 && rowsIn_ != source_.height) {
            throw py::value_error("apply: a page is in progress, " + std::to_string(rowsIn_) + " of " +
                                  std::to_string(source_.height) + " rows; push the rest, or reset()");
        }
        const Image image = Image::Page(given, {"image", format_.RowWidth(source_.width), source_.height,
                                                format_.samples, format_.sampleSize, false});
        const py::object result = given_out.is_none() ? NewArray(size_.height, format_.RowWidth(size_.width),
                                                                 format_.samples, format_.sampleSize)
                                                      : given_out;
        const Image out = OutPage(result, size_.height);
        if (image.Overlaps(out)) {
            throw py::value_error("out: shares memory with the image; it must have its own");
        }
        if (rowsIn_ != 0) {
            Open();
        }
        {
            const py::gil_scoped_release release;
            if (Run(image, out) != size_.height) {
                throw std::logic_error("the scaler gave too few lines");
            }
        }
        return result;
    }

    py::tuple SourceSize() const {
        return py::make_tuple(source_.width, source_.height);
    }
    py::tuple DestinationSize() const {
        return py::make_tuple(size_.width, size_.height);
    }
    std::int32_t Bits() const {
        return format_.bits;
    }
    std::int64_t RowsIn() const {
        return rowsIn_;
    }
    std::int64_t RowsOut() const {
        return rowsOut_;
    }

  private:
    void Open() {
        constexpr int kBilinear = 2;
        zoom_.Close();
        rowsIn_ = 0;
        rowsOut_ = 0;
        if (zoom_.Open(size_.width, size_.height, source_.width, source_.height, format_.bits, kBilinear) != 0) {
            throw std::bad_alloc();  // sizes and format are valid
        }
        inRoom_.resize(
            static_cast<std::size_t>(format_.RowWidth(source_.width) * format_.samples * format_.sampleSize));
        outRoom_.resize(
            static_cast<std::size_t>(format_.RowWidth(size_.width) * format_.samples * format_.sampleSize));
    }

    Image OutPage(const py::object& object, std::int64_t height) const {
        return Image::Page(
            object, {"out", format_.RowWidth(size_.width), height, format_.samples, format_.sampleSize, true});
    }

    // A bound of the destination rows that so many source rows can complete. Reducing, a source row completes one
    // at most. Enlarging, floor((D - 1) / (S - 1)) + 1 lie between two source rows, and the page's first one lies
    // on top.
    std::int64_t MostRowsFrom(std::int64_t rows) const {
        const std::int64_t left = size_.height - rowsOut_;
        if (size_.height <= source_.height) {
            return std::min(left, rows);
        }
        if (source_.height == 1) {
            return left;
        }
        const std::int64_t between = (std::int64_t{size_.height} - 1) / (std::int64_t{source_.height} - 1) + 1;
        return std::min(left, rows * between + 1);
    }

    // Sends the rows and reads what they complete; gives how many those are.
    std::int64_t Run(const Image& rows, const Image& out) {
        std::int64_t made = 0;
        for (std::int64_t y = 0; y < rows.Height(); ++y) {
            ++rowsIn_;
            if (rowsOut_ == size_.height) {
                continue;
            }
            // The library only reads the line; its signature is older than const.
            Check(zoom_.Send(const_cast<std::uint8_t*>(rows.Take(y, inRoom_.data()))));
            while (rowsOut_ < size_.height && zoom_.CheckData() > 0) {
                if (made == out.Height()) {
                    throw std::logic_error("the scaler gave a line too many");
                }
                std::uint8_t* line = out.Room(made, outRoom_.data());
                Check(zoom_.Read(line));
                out.Put(made, line);
                ++made;
                ++rowsOut_;
            }
        }
        return made;
    }

    static void Check(int status) {
        if (status != 0) {
            throw std::logic_error("the scaler refused a line");
        }
    }

    const Size source_;
    const Size size_;
    const Format format_;
    PX_Zoom zoom_;
    std::int64_t rowsIn_ = 0;
    std::int64_t rowsOut_ = 0;
    std::vector<std::uint8_t> inRoom_;
    std::vector<std::uint8_t> outRoom_;
    Busy busy_;
};

}  // namespace

void AddScaler(py::module_& module) {
    py::class_<Scaler>(module, "Scaler", R"(Scaler(source_size, size, bits=24)

Scales a page row by row: enlarges by linear interpolation, reduces by averaging, each axis on its own.

source_size  (width, height) of the page in pixels
size         (width, height) of the result in pixels
bits         of a pixel, and with it the rows' type and shape:
               1   uint8, eight pixels a byte, first pixel in the highest bit: (ceil(width / 8),)
               8   uint8 (width,)      24  uint8 (width, 3)      32  uint8 (width, 4)
               16  uint16 (width,)     48  uint16 (width, 3)     64  uint16 (width, 4)

ValueError for a value out of its range, MemoryError for sizes that don't fit. One thread at a time; a second one gets
a RuntimeError. KEPT: in a page one pixel wide every sample of a pixel takes the first one's value; platen.scale scales
such pages sample by sample. Four samples are four of a kind here; platen.scale takes the fourth for alpha.)")
        .def(py::init<py::object, py::object, py::object>(), py::arg("source_size"), py::arg("size"),
             py::arg("bits") = 24)
        .def("push", &Scaler::Push, py::arg("rows"),
             R"(Takes the page's next row or rows and returns those that are finished.

rows     one row, or several with a first axis more; type and shape as `bits` says; any strides
returns  the finished rows, (finished, width) or (finished, width, samples): none, one or several

ValueError where more rows come than the page has.)")
        .def("apply", &Scaler::Apply, py::arg("image"), py::arg("out") = py::none(),
             R"(Scales a whole page and returns it.

image  (height, width) or (height, width, samples), type as `bits` says; any strides
out    receives the result: writable, other memory than the image's. None: a new array)")
        .def("reset", &Scaler::Reset, "Forgets the rows so far; the next one begins a page.")
        .def_property_readonly("source_size", &Scaler::SourceSize, "(width, height) of the page in pixels")
        .def_property_readonly("size", &Scaler::DestinationSize, "(width, height) of the result in pixels")
        .def_property_readonly("bits", &Scaler::Bits, "bits of a pixel")
        .def_property_readonly("rows_in", &Scaler::RowsIn, "source rows that have been taken")
        .def_property_readonly("rows_out", &Scaler::RowsOut, "finished rows that have been returned");
}

}  // namespace platen_python
