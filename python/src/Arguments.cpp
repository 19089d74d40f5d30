#include "python/src/Arguments.h"

namespace platen_python {

namespace {

std::string Number(std::int64_t value) {
    return std::to_string(value);
}

}  // namespace

std::string Shown(py::handle value) {
    constexpr std::size_t kMost = 60;
    std::string text = py::repr(value);
    return text.size() <= kMost ? text : text.substr(0, kMost - 3) + "...";
}

std::int64_t Whole(py::handle value, const char* name, std::int64_t low, std::int64_t high) {
    const std::string range = Number(low) + " to " + Number(high);
    const py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index) {
        PyErr_Clear();
        throw py::type_error(std::string(name) + ": must be a whole number, " + range + ", not " + Shown(value));
    }
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (overflow != 0 || number < low || number > high) {
        throw py::value_error(std::string(name) + ": " + Shown(index) + " is out of range; allowed: " + range);
    }
    return number;
}

Size SizePair(py::handle value, const char* name) {
    if (!PySequence_Check(value.ptr()) || PySequence_Size(value.ptr()) != 2) {
        PyErr_Clear();
        throw py::type_error(std::string(name) + ": must be a pair (width, height), not " + Shown(value));
    }
    const auto side = [&](Py_ssize_t index, const char* what) {
        const auto item = py::reinterpret_steal<py::object>(PySequence_GetItem(value.ptr(), index));
        const std::string full = std::string(name) + ": " + what;
        return static_cast<std::int32_t>(Whole(item, full.c_str(), 1, INT32_MAX));
    };
    return {side(0, "width"), side(1, "height")};
}

std::string Text(Size size) {
    return "(" + Number(size.width) + ", " + Number(size.height) + ")";
}

}  // namespace platen_python
