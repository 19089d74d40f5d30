#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

// Numbers that a Python caller gives, and the exceptions that refuse them.

namespace platen_python {

namespace py = pybind11;

// A whole number from `low` to `high`, else TypeError or ValueError with the name and the range.
std::int64_t Whole(py::handle value, const char* name, std::int64_t low, std::int64_t high);

// A (width, height) pair of whole numbers, each 1 to 2^31 - 1.
struct Size {
    std::int32_t width;
    std::int32_t height;
};
Size SizePair(py::handle value, const char* name);

// "(640, 480)"
std::string Text(Size size);

// The object's words for a message: repr, shortened.
std::string Shown(py::handle value);

}  // namespace platen_python
