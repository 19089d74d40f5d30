#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"
#include "python/src/Arguments.h"
#include "python/src/Image.h"
#include "python/src/Module.h"

namespace platen_python {

namespace {

struct WorldDeleter {
    void operator()(__OpaqeToneWorld* world) const {
        DisposeToneWorld(world, 1);
    }
};
struct OperationDeleter {
    void operator()(_SToneOperation* operation) const {
        DisposeOperation(operation);
    }
};
using World = std::unique_ptr<__OpaqeToneWorld, WorldDeleter>;
using Operation = std::unique_ptr<_SToneOperation, OperationDeleter>;

void CheckMemory(std::int32_t status) {
    if (status != 0) {
        throw std::bad_alloc();
    }
}

std::uint32_t Code(const std::string& text) {
    std::uint32_t code = 0;
    for (const char c : text) {
        code = code << 8 | static_cast<unsigned char>(c);
    }
    return code;
}

using SetupFunction = std::int32_t (*)(_SToneOperation*);

SetupFunction SetupOf(const std::string& type) {
    if (type == "BrCn") {
        return SetupBrightnessContrastOperation;
    }
    if (type == "LeVe") {
        return SetupLevelOperation;
    }
    if (type == "CuRv") {
        return SetupCurvesOperation;
    }
    if (type == "CoBa") {
        return SetupColorBalanceOperation;
    }
    throw py::value_error("operation type " + type + "; allowed: BrCn, LeVe, CuRv and CoBa");
}

// The library copies as many bytes as it is told, wherever the property is: its presence and size are looked at
// first.
void SetValue(const Operation& operation, const std::string& key, const std::string& value) {
    const std::uint32_t code = Code(key);
    const auto& list = *operation->properties;
    const auto found = std::find_if(list.begin(), list.end(), [&](const auto& p) { return p.key == code; });
    if (found == list.end()) {
        throw std::bad_alloc();  // the set-up had no memory for it
    }
    if (found->size != value.size()) {
        throw py::value_error("property " + key + ": " + std::to_string(value.size()) + " bytes; it has " +
                              std::to_string(found->size));
    }
    SetOperationProperty(operation.get(), code, static_cast<std::uint32_t>(value.size()), value.data());
}

// steps: (type, ((key, value as bytes), ...)) for each operation, in order.
py::object FoldTables(const py::iterable& steps, std::int32_t depth) {
    __OpaqeToneWorld* raw = nullptr;
    CheckMemory(NewToneWorld(&raw));
    const World world(raw);
    for (const py::handle step : steps) {
        const auto [type, properties] = step.cast<std::pair<std::string, py::iterable>>();
        const SetupFunction setup = SetupOf(type);
        _SToneOperation* made = nullptr;
        CheckMemory(NewOperation(&made));
        Operation operation(made);
        CheckMemory(setup(made));
        for (const py::handle property : properties) {
            const auto [key, value] = property.cast<std::pair<std::string, std::string>>();
            SetValue(operation, key, value);
        }
        AddOperation(world.get(), operation.get());
        operation.release();  // the world disposes of it
    }
    py::object tables = NewArray(3, 256, 1, 1);
    auto* data = static_cast<std::uint8_t*>(py::array(tables).mutable_data());
    _SToneCurve curve{};
    curve.depth = depth;
    curve.redTable = data;
    curve.greenTable = data + 256;
    curve.blueTable = data + 512;
    MakeToneCurve(world.get(), &curve);
    return tables;
}

void MapPacked(const std::uint8_t* in, std::uint8_t* out, std::int64_t count, const std::uint8_t* table) {
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = table[in[i]];
    }
}

void MapPackedColours(const std::uint8_t* in, std::uint8_t* out, std::int64_t count, const std::uint8_t* tables) {
    for (std::int64_t i = 0; i < count; ++i, in += 3, out += 3) {
        const std::uint8_t red = tables[in[0]];
        const std::uint8_t green = tables[256 + in[1]];
        const std::uint8_t blue = tables[512 + in[2]];
        out[0] = red;
        out[1] = green;
        out[2] = blue;
    }
}

void MapRow(const Image& image, const Image& out, std::int64_t y, const std::uint8_t* tables) {
    if (image.PackedRows() && out.PackedRows()) {
        const auto map = image.Samples() == 3 ? MapPackedColours : MapPacked;
        map(image.Row(y), out.Row(y), image.Width(), tables);
        return;
    }
    for (std::int64_t x = 0; x < image.Width(); ++x) {
        const std::uint8_t* from = image.Row(y) + x * image.PixelStride();
        std::uint8_t* to = out.Row(y) + x * out.PixelStride();
        for (std::int64_t s = 0; s < image.Samples(); ++s) {
            to[s * out.SampleStride()] = tables[256 * s + from[s * image.SampleStride()]];
        }
    }
}

py::object ApplyTables(const py::object& tables, const py::object& given, const py::object& given_out,
                       std::int64_t samples) {
    const Image table = Image::Page(tables, {"tables", 256, 3, 1, 1, false});
    const Image image = Image::Pixels(given, {"image", 0, 0, samples, 1, false});
    py::object result = given_out;
    if (given_out.is_none()) {
        const auto numpy = py::module_::import("numpy");
        result = numpy.attr("empty_like")(numpy.attr("asarray")(given));
    }
    const Image out = Image::Pixels(result, {"out", 0, 0, samples, 1, true});
    image.CheckPartner(out);
    std::uint8_t copy[3 * 256];
    for (int i = 0; i < 3; ++i) {
        std::uint8_t room[256];
        std::memcpy(copy + 256 * i, table.Take(i, room), 256);
    }
    {
        const py::gil_scoped_release release;
        for (std::int64_t y = 0; y < image.Height(); ++y) {
            MapRow(image, out, y, copy);
        }
    }
    return result;
}

}  // namespace

void AddTone(py::module_& module) {
    module.def("fold_tables", FoldTables, py::arg("steps"), py::arg("depth"));
    module.def("apply_tables", ApplyTables, py::arg("tables"), py::arg("image"), py::arg("out"),
               py::arg("samples"));
}

}  // namespace platen_python
