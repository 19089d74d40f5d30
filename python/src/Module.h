#pragma once

#include <pybind11/pybind11.h>

// What each file adds to the extension module.

namespace platen_python {

void AddTone(pybind11::module_& module);
void AddHsv(pybind11::module_& module);
void AddSharpener(pybind11::module_& module);
void AddScaler(pybind11::module_& module);

}  // namespace platen_python
